/* The public header as a C program sees it, under the strictest warnings. Linked with directCallsTest. */
#include "mxMediaRTOSDB.h"

int headerCall(uint32_t command, void *const p[], int count);

/* The records by their C names, and the last constant of each family. */
DB_STATIC_ASSERT(sizeof(db_list_request) + sizeof(db_list_response_header) + sizeof(db_upload_status_request) +
                         sizeof(db_file_request) + sizeof(db_gumi_request) + sizeof(db_upload_histogram) +
                         sizeof(db_content_info) + sizeof(db_more_info) + sizeof(db_video_specific_info) +
                         sizeof(db_group_content_info) ==
                     424 &&
                 sizeof(cah_item_s) > sizeof(db_content_type));
DB_STATIC_ASSERT(DB_COMMAND_UPLOAD_HISTOGRAM == 10 && DB_STATUS_FAILURE == 5 && DB_CONTENT_TYPE_RAW_PHOTO == 11 &&
                 DB_LIST_OPTION_INCLUDE_MORE_INFO == 8 && RTOS_DB_QUERY_SESSION_LIST == 0x2000 &&
                 DB_MEDIA_METADATA_PRESENT == 0x800);

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
