#include "commands.h"

#include <cstring>

#define FILE_VALUES "<dirName> <fileName> <loopCount> <log_lvl>"
#define QUERY_VALUES "<filterOperation> <loopCount> <log_lvl>"

const consoleCommand commandTable[COMMAND_COUNT] = {
    {"ci", 1, "db_content_info:", FILE_VALUES, contentInfoCommand},
    {"mi", 11, "db_more_info:", "<dirName> <fileName> <loopCount> <logLvl>", moreInfoCommand},
    {"hist", 0, "", "", histogramCommand},
    {"lvl", 15, "set debug level:", "<log_lvl>", logLevelCommand},
    {"gci", 2, "db_group_content_info:", FILE_VALUES, groupContentInfoCommand},
    {"vsi", 3, "db_video_specific_info:", FILE_VALUES, videoSpecificInfoCommand},
    {"gumibyfile", 4, "get GUMI by file:", FILE_VALUES, gumiByFileCommand},
    {"filebygumi", 5, "get file by GUMI:", "<GUMI> <loopCount> <log_lvl>", fileByGumiCommand},
    {"dur", 6, "get video duration:", FILE_VALUES, durationCommand},
    {"vid", 7, "get video info:", FILE_VALUES, videoInfoCommand},
    {"list", 8, "get media list:", QUERY_VALUES, mediaListCommand},
    {"meta", 9, "get metadata:", QUERY_VALUES, metadataCommand},
    {"pl", 10, "get x paged_list(s):",
     "<numPages> <itemPerPage> <startIndex> <listOptions> <queryOptions> <loopCount> <log_lvl>", pagedListCommand},
    {"cl", 12, "get CAH list", "<numItems> <startIndex> <loopCount> <logLvl>", cahListCommand},
    {"mus", 13, "set media upload status", "<dirName> <fileName> <newStatus> <loopCount> <logLvl>",
     setUploadStatusCommand},
    {"cc", 14, "check consistency", "<pageSize> <loopCount> <logLvl>", consistencyCommand},
};

const consoleCommand *findCommand(const char *pLine)
{
    for (const consoleCommand &command : commandTable) {
        if (strncmp(pLine, command.pWord, strlen(command.pWord)) == 0) {
            return &command;
        }
    }
    return nullptr;
}
