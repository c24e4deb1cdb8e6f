/* The public header as a C program sees it, under the strictest warnings. Linked with directCallsTest. */
#include "mxMediaRTOSDB.h"

int headerCall(uint32_t command, void *const p[], int count);

/* The direct call that sends a command. */
int headerCall(uint32_t command, void *const p[], int count)
{
    return command == DB_COMMAND_CONTENT_INFO          ? dbGetContentInfo(NULL, p[0], p[1])
           : command == DB_COMMAND_MORE_INFO           ? dbGetMoreInfo(NULL, p[0], p[1])
           : command == DB_COMMAND_VIDEO_SPECIFIC_INFO ? dbGetVideoSpecificInfo(NULL, p[0], p[1], p[2], p[3], count)
           : command == DB_COMMAND_GROUP_CONTENT_INFO  ? dbGetGroupContentInfo(NULL, p[0], p[1], p[2], p[3], p[4])
           : command == DB_COMMAND_GUMI_BY_FILE_NAME   ? dbGetGUMIByFileName(NULL, p[0], p[1], p[2])
                                                       : dbGetFileNameByGUMI(NULL, p[1], p[0]);
}
