/**
 * @file input.h
 * The values of commands. Each function reads one value from where the run's mode has it: interactively it prompts and
 * reads a line, else it takes the next argument, or the default when there is none left.
 */
#ifndef INPUT_H
#define INPUT_H

#include <cstdint>

#include "consoleState.h"
#include "mxMediaRTOSDB.h"

/** A decimal number with a default. */
struct numberInput {
    const char *pPrompt;
    const char *pEmptyLine; ///< printed for an empty answer; null: nothing
    int fallback;           ///< value of an empty answer and of a missing argument
    const char *pReport;    ///< printed in front of a number that was answered
    bool inHex;             ///< how that number prints: "0x0000000A"
};

/** What a negative loop count among the arguments means. */
enum negativeLoopCount { NEGATIVE_MAKES_NO_PASS, NEGATIVE_MAKES_ONE_PASS };

/**
 * Prints a prompt and reads a line into the zeroed line buffer.
 * @return whether there was one; at the end of standard input the line is empty
 */
bool askLine(consoleState *pConsole, const char *pPrompt);

/** Whether an argument is left for the next value. False in interactive mode, too. */
bool argumentIsLeft(const consoleState *pConsole);

/** Directory name. @param pDirName receives 8 bytes, without a terminating zero when all are in use */
void inputDirName(consoleState *pConsole, char *pDirName);

/** File name. @param pFileName receives 12 bytes, without a terminating zero when all are in use */
void inputFileName(consoleState *pConsole, char *pFileName);

/** A number. An answered one is reported, an argument is not. */
int inputNumber(consoleState *pConsole, const numberInput &number);

/** Prints the report of a number. */
void reportNumber(const numberInput &number, int value);

/** Number of passes: as answered; of an argument 0 gives 1. */
int inputLoopCount(consoleState *pConsole, negativeLoopCount negative = NEGATIVE_MAKES_NO_PASS);

/** Sets the log level from the argument, if it is there. Asks nothing in interactive mode. */
void inputLogLevel(consoleState *pConsole);

/** GUMI: hexadecimal digits when answered, the bytes as they are of an argument. @param pGumi receives 16 bytes */
void inputGumi(consoleState *pConsole, uint8_t *pGumi);

/** Upload status, in any base that C knows. */
uint32_t inputUploadStatus(consoleState *pConsole);

/**
 * Query text, into the query buffer. A text that does not fit is refused on standard error, and the prompt comes back.
 * @return false when an argument was refused
 */
bool inputQuery(consoleState *pConsole, const char *pPrompt);

#endif
