#include "usage.h"

#include <cstdio>

#include "commands.h"
#include "mxMediaRTOSDB.h"
#include "utilLog.h"

namespace
{

struct namedLevel {
    const char *pName;
    int level;
};

constexpr namedLevel logLevels[] = {
    {"UTIL_LOG_LEVEL_OFF", UTIL_LOG_LEVEL_OFF},     {"UTIL_LOG_LEVEL_FATAL", UTIL_LOG_LEVEL_FATAL},
    {"UTIL_LOG_LEVEL_ERROR", UTIL_LOG_LEVEL_ERROR}, {"UTIL_LOG_LEVEL_WARNING", UTIL_LOG_LEVEL_WARNING},
    {"UTIL_LOG_LEVEL_DEBUG", UTIL_LOG_LEVEL_DEBUG}, {"UTIL_LOG_LEVEL_INFO", UTIL_LOG_LEVEL_INFO},
    {"UTIL_LOG_LEVEL_TRACE", UTIL_LOG_LEVEL_TRACE}, {"UTIL_LOG_LEVEL_LAST", UTIL_LOG_LEVEL_LAST},
};

void printCommandOfRank(int rank)
{
    for (const consoleCommand &command : commandTable) {
        if (command.usageRank == rank) {
            printf("           %-24s%s %s\n", command.pLabel, command.pWord, command.pValues);
        }
    }
}

} // namespace

void printBanner()
{
    printf("Created %s-%s, DB VERSION %d\n", __DATE__, __TIME__, DB_VERSION);
    printf("Sending to Media RTOS DB - NOT SIMULATED (\"exit\" to quit):\n");
}

void printUsage()
{
    printBanner();
    printf("Usage: mxMediaRTOSDBTestApp <command> or interactive without command\n");
    printf("        COMMANDS:\n");
    for (int rank = 1; rank <= COMMAND_COUNT; ++rank) {
        printCommandOfRank(rank);
    }
    for (const namedLevel &row : logLevels) {
        printf("               %-22s = %d\n", row.pName, row.level);
    }
    printf("\n           \"exit\" to quit\n\n");
}
