/**
 * @file consoleRun.h
 * One run of the console.
 */
#ifndef CONSOLE_RUN_H
#define CONSOLE_RUN_H

/**
 * Runs the console: one command from the arguments, or a prompt when there are none behind the program's name.
 * @return the process status: 0, or the result of the call that ended the run; -1 in place of a good one when standard
 *         output could not be written, which standard error tells
 */
int consoleRun(int argc, char **argv);

#endif
