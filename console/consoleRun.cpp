#include "consoleRun.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mqueue.h>

#include "commands.h"
#include "consoleState.h"
#include "fillField.h"
#include "input.h"
#include "usage.h"

namespace
{

constexpr char stopWord[] = "exit";
constexpr size_t stopWordLength = sizeof stopWord - 1;

constexpr int commandWordArgument = 1;

bool lineSaysStop(const consoleState *pConsole)
{
    return memcmp(pConsole->line, stopWord, stopWordLength) == 0;
}

// Whoever reads the queue learns that the run ends. That nobody may be there is no concern of this run.
void sendExitMessage(const consoleState *pConsole)
{
    const mqd_t queue = mq_open("/to_DB", O_WRONLY);
    mq_send(queue, pConsole->line, static_cast<size_t>(pConsole->messageLength), 0);
    mq_close(queue);
}

// False at the end of standard input.
bool getCommandLine(consoleState *pConsole)
{
    if (!pConsole->interactive) {
        const char *pWord = pConsole->argv[commandWordArgument];
        fillField(pConsole->line, CONSOLE_LINE_MAX_BYTES, pWord);
        return true;
    }
    const bool wasRead = askLine(pConsole, "> ");
    pConsole->messageLength = static_cast<int32_t>(strlen(pConsole->line)) + 1;
    return wasRead;
}

commandEnd runCommand(consoleState *pConsole)
{
    memset(pConsole->query, 0, sizeof pConsole->query);
    const consoleCommand *pCommand = findCommand(pConsole->line);
    commandEnd end = commandDone;
    if (pCommand != nullptr) {
        end = pCommand->run(pConsole);
    } else {
        printUsage();
    }
    if (!pConsole->interactive) {
        memcpy(pConsole->line, stopWord, stopWordLength);
    }
    return end;
}

int runUntilEnd(int argc, char **argv)
{
    consoleState console = {};
    console.argc = argc;
    console.argv = argv;
    console.interactive = argc <= commandWordArgument;
    console.nextArgument = commandWordArgument + 1;

    if (console.interactive) {
        printBanner();
    }
    commandEnd end = commandDone;
    while (!end.endsRun) {
        if (!getCommandLine(&console)) {
            printf("\n");
            return 0;
        }
        if (lineSaysStop(&console)) {
            if (console.interactive) {
                sendExitMessage(&console);
            }
            return 0;
        }
        end = runCommand(&console);
        if (!end.endsRun && lineSaysStop(&console)) {
            return 0;
        }
    }
    return end.status;
}

} // namespace

int consoleRun(int argc, char **argv)
{
    const int status = runUntilEnd(argc, argv);
    // A verdict that nobody can read is none.
    if (status >= 0 && (fflush(stdout) != 0 || ferror(stdout) != 0)) {
        fprintf(stderr, "standard output could not be written\n");
        return -1;
    }
    return status;
}
