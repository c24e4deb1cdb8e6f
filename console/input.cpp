#include "input.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fillField.h"
#include "utilLog.h"

namespace
{

constexpr numberInput loopCountInput = {
    "Enter loop count (default 1 - enter number of times command will loop): ",
    " buffer len 0, using loopCount 1 ",
    1,
    "Using loopCount: ",
    false,
};

// An answer that counts as empty: just the newline, or nothing at the end of standard input.
bool answerIsEmpty(const char *pAnswer)
{
    return strlen(pAnswer) < 2;
}

const char *takeArgument(consoleState *pConsole)
{
    return argumentIsLeft(pConsole) ? pConsole->argv[pConsole->nextArgument++] : nullptr;
}

// The answer to the prompt, or the next argument; null when there is none left.
const char *nextText(consoleState *pConsole, const char *pPrompt)
{
    if (!pConsole->interactive) {
        return takeArgument(pConsole);
    }
    askLine(pConsole, pPrompt);
    return pConsole->line;
}

void inputName(consoleState *pConsole, const char *pPrompt, const char *pDefault, char *pName, size_t width)
{
    const char *pText = nextText(pConsole, pPrompt);
    fillField(pName, width, pText != nullptr ? pText : pDefault);
}

// A number of 32 bits, signed or not: option masks above the signed range are typed in decimal, too.
int decimalNumber(const char *pText)
{
    constexpr long lowest = INT32_MIN;
    constexpr long highest = UINT32_MAX;
    return static_cast<int>(std::clamp(strtol(pText, nullptr, 10), lowest, highest));
}

// Pairs of digits up to the first text that is none.
void parseGumi(uint8_t *pGumi, const char *pDigits)
{
    for (int i = 0; i < DB_GUMI_BYTES; ++i) {
        unsigned byte = 0;
        int length = 0;
        if (sscanf(pDigits, "%2X%n", &byte, &length) != 1) {
            return;
        }
        pGumi[i] = static_cast<uint8_t>(byte);
        pDigits += length;
    }
}

bool keepQuery(consoleState *pConsole, const char *pText, size_t length)
{
    if (length >= sizeof pConsole->query) {
        fprintf(stderr, "query of %zu characters refused, the limit is %zu\n", length, sizeof pConsole->query - 1);
        return false;
    }
    memcpy(pConsole->query, pText, length);
    pConsole->query[length] = '\0';
    return true;
}

} // namespace

bool askLine(consoleState *pConsole, const char *pPrompt)
{
    printf("%s", pPrompt);
    fflush(stdout);
    memset(pConsole->line, 0, sizeof pConsole->line);
    return fgets(pConsole->line, CONSOLE_LINE_MAX_BYTES, stdin) != nullptr;
}

bool argumentIsLeft(const consoleState *pConsole)
{
    return pConsole->nextArgument < pConsole->argc;
}

void inputDirName(consoleState *pConsole, char *pDirName)
{
    inputName(pConsole, "Enter directory name: ", "100MOXEL", pDirName, DB_DIR_NAME_BYTES);
}

void inputFileName(consoleState *pConsole, char *pFileName)
{
    inputName(pConsole, "Enter file name: ", "MOXE0001.MP4", pFileName, DB_FILE_NAME_BYTES);
}

int inputNumber(consoleState *pConsole, const numberInput &number)
{
    const char *pText = nextText(pConsole, number.pPrompt);
    if (pText == nullptr) {
        return number.fallback;
    }
    if (!pConsole->interactive) {
        return decimalNumber(pText);
    }
    if (answerIsEmpty(pText)) {
        if (number.pEmptyLine != nullptr) {
            printf("%s\n", number.pEmptyLine);
        }
        return number.fallback;
    }
    const int value = decimalNumber(pText);
    reportNumber(number, value);
    return value;
}

void reportNumber(const numberInput &number, int value)
{
    if (number.inHex) {
        printf("%s0x%08X\n", number.pReport, static_cast<unsigned>(value));
    } else {
        printf("%s%d\n", number.pReport, value);
    }
}

int inputLoopCount(consoleState *pConsole, negativeLoopCount negative)
{
    const int count = inputNumber(pConsole, loopCountInput);
    const bool makesOnePass = count == 0 || (count < 0 && negative == NEGATIVE_MAKES_ONE_PASS);
    return makesOnePass && !pConsole->interactive ? 1 : count;
}

void inputLogLevel(consoleState *pConsole)
{
    const char *pText = takeArgument(pConsole);
    if (pText != nullptr) {
        util_log_set_level(static_cast<uint32_t>(decimalNumber(pText)));
    }
}

void inputGumi(consoleState *pConsole, uint8_t *pGumi)
{
    memset(pGumi, 0, DB_GUMI_BYTES);
    const char *pText = nextText(pConsole, "Enter GUMI: ");
    if (pConsole->interactive) {
        parseGumi(pGumi, pText);
    } else if (pText != nullptr) {
        memcpy(pGumi, pText, strnlen(pText, DB_GUMI_BYTES));
    }
}

uint32_t inputUploadStatus(consoleState *pConsole)
{
    const char *pText = nextText(pConsole, "Enter upload status: ");
    if (pText == nullptr || (pConsole->interactive && answerIsEmpty(pText))) {
        return 0;
    }
    const unsigned long status = strtoul(pText, nullptr, 0);
    const bool fits = status <= UINT32_MAX || -status <= UINT32_MAX;
    return fits ? static_cast<uint32_t>(status) : UINT32_MAX;
}

bool inputQuery(consoleState *pConsole, const char *pPrompt)
{
    if (!pConsole->interactive) {
        const char *pText = takeArgument(pConsole);
        return pText == nullptr || keepQuery(pConsole, pText, strlen(pText));
    }
    do {
        askLine(pConsole, pPrompt);
    } while (!keepQuery(pConsole, pConsole->line, strcspn(pConsole->line, "\r\n")));
    return true;
}
