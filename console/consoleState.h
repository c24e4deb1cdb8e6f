/**
 * @file consoleState.h
 * The state of a run of the console, and what commands share: their passes, and how they end.
 */
#ifndef CONSOLE_STATE_H
#define CONSOLE_STATE_H

#include <cstdint>
#include <cstdio>

enum {
    CONSOLE_LINE_MAX_BYTES = 1500, ///< longest argument 1; size of every read
    CONSOLE_QUERY_BYTES = 100      ///< room for a query and its terminating zero
};

/** All state of a run. Nothing carries from one command to the next but the log level. */
struct consoleState {
    int argc;
    char **argv;
    bool interactive;                      ///< prompts ask for values; else the arguments hold them
    int nextArgument;                      ///< position of the argument that holds the next value
    char line[CONSOLE_LINE_MAX_BYTES + 1]; ///< command word and every answer; "exit" at its start ends the run
    int32_t messageLength;                 ///< length of the line last read at the main prompt, its zero counted
    char query[CONSOLE_QUERY_BYTES];       ///< zeroed at the start of every command
};

/** How a command ended. */
struct commandEnd {
    bool endsRun; ///< the run ends at once
    int status;   ///< with this status
};

/** The command is done and the run goes on. */
constexpr commandEnd commandDone = {false, 0};

/** Ends the run after a failed call: prints its name and result. */
commandEnd endOnFailedCall(const char *pCallName, int ret);

/** Ends the run with a call's result: prints an empty line and the result. */
commandEnd endOnReturn(int ret);

/**
 * Makes a command's passes until one ends the run.
 * @param loopCount number of passes; below 1: none
 * @param pass makes one, without arguments, and gives a `commandEnd`
 */
template <typename Pass>
commandEnd runPasses(int loopCount, Pass pass)
{
    for (int number = 0; number < loopCount; ++number) {
        if (loopCount != 1) {
            printf("======== LOOP %d\n\n", number);
        }
        const commandEnd end = pass();
        if (end.endsRun) {
            return end;
        }
    }
    return commandDone;
}

#endif
