/**
 * @file commands.h
 * The commands: one table, and the handlers that its rows name.
 */
#ifndef COMMANDS_H
#define COMMANDS_H

#include "consoleState.h"

/** One command. */
struct consoleCommand {
    const char *pWord;   ///< a line that begins with it runs the command
    int usageRank;       ///< place in the usage text, from 1; 0: not shown
    const char *pLabel;  ///< what it does, in the usage text
    const char *pValues; ///< its values, in the usage text; in the order of the arguments from 2 on
    commandEnd (*run)(consoleState *pConsole);
};

enum { COMMAND_COUNT = 16 };

/** The commands in the order in which their words are tried. */
extern const consoleCommand commandTable[COMMAND_COUNT];

/** The first command whose word begins the line, or null. */
const consoleCommand *findCommand(const char *pLine);

/* Each handler reads its values, at prompts or from the arguments, makes its passes and prints what they bring. */

// fileCommands.cpp
commandEnd contentInfoCommand(consoleState *pConsole);
commandEnd moreInfoCommand(consoleState *pConsole);
commandEnd groupContentInfoCommand(consoleState *pConsole);
commandEnd videoSpecificInfoCommand(consoleState *pConsole);
commandEnd gumiByFileCommand(consoleState *pConsole);
commandEnd fileByGumiCommand(consoleState *pConsole);
commandEnd histogramCommand(consoleState *pConsole);
commandEnd setUploadStatusCommand(consoleState *pConsole);

// documentCommands.cpp
commandEnd durationCommand(consoleState *pConsole);
commandEnd videoInfoCommand(consoleState *pConsole);
commandEnd mediaListCommand(consoleState *pConsole);
commandEnd metadataCommand(consoleState *pConsole);
commandEnd logLevelCommand(consoleState *pConsole);

// catalogueCommands.cpp
commandEnd pagedListCommand(consoleState *pConsole);
commandEnd cahListCommand(consoleState *pConsole);
commandEnd consistencyCommand(consoleState *pConsole);

#endif
