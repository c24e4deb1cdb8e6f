#include "wireLog.h"

#include <cstdio>

#include "utilLog.h"

void dumpMessage(const char *pLabel, const void *pMessage, int length)
{
    if (g_logLevel < UTIL_LOG_LEVEL_TRACE) {
        return;
    }
    const auto *pBytes = static_cast<const uint8_t *>(pMessage);
    printf("%s:", pLabel);
    for (int i = 0; i < length; ++i) {
        if (i % 32 == 0) {
            printf("\n[%5.5d/%5.5d]:", i, length);
        }
        printf(" %02x", pBytes[i]);
        for (int group = 4; group <= 16; group *= 2) {
            if (i % group == group - 1) {
                printf(" ");
            }
        }
    }
    printf("\n");
}

void logRequest(const db_request_header *pRequest)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "Request: command_type %d\n", pRequest->command_type);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         request_count %d\n", pRequest->request_count);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         token 0x%08X\n", pRequest->token);
}

void logResponseHeader(const db_response_header *pHeader)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "ResponseHeader: command_type %d\n", pHeader->command_type);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                status %d\n", pHeader->status);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                count_returned %d\n", pHeader->count_returned);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                rtos_db_version %d\n", pHeader->rtos_db_version);
}

void logResponseHeaderAndToken(const db_response_header *pHeader)
{
    logResponseHeader(pHeader);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                token 0x%08X\n", pHeader->token);
}

void logListRequest(const db_list_request *pRequest)
{
    const uint32_t options = pRequest->list_options;
    const auto option = [options](uint32_t bit) { return (options & bit) != 0; };
    logRequest(&pRequest->header);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         starting_index %d\n", pRequest->starting_index);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         list_options sort_order %d\n", option(DB_LIST_OPTION_SORT_ORDER));
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         list_options video_grouping %d\n", option(DB_LIST_OPTION_VIDEO_GROUPING));
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         list_options include_gumi %d\n", option(DB_LIST_OPTION_INCLUDE_GUMI));
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         list_options include_more_info %d\n",
             option(DB_LIST_OPTION_INCLUDE_MORE_INFO));
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         query_options 0x%08X\n", pRequest->query_options);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         query_options RTOS_DB_QUERY_METADATA_SESSION_FILES: %d\n",
             (pRequest->query_options & RTOS_DB_QUERY_METADATA_SESSION_FILES) != 0);
}

void logListRequestOptions(const char *pCallName, const db_list_request *pRequest)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "%s() req->command_type:%d, list_options:0x%x,%d, query_options:0x%x,%d", pCallName,
             pRequest->header.command_type, pRequest->list_options, pRequest->list_options, pRequest->query_options,
             pRequest->query_options);
}

void logListResponseHeader(const db_list_response_header *pHeader)
{
    logResponseHeaderAndToken(&pHeader->header);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                start_index %d\n", pHeader->start_index);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                list_options 0x%08X\n", pHeader->list_options);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                query_options 0x%08X\n", pHeader->query_options);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                total_entries %d\n", pHeader->total_entries);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "                session_id 0x%08X\n", pHeader->session_id);
}

void logGroup(const db_group_content_info *pGroup)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "\n\ngroupInfo->group_number, %d\n", pGroup->group_number);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "groupInfo->first_number, %d\n", pGroup->first_number);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "groupInfo->last_number, %d\n", pGroup->last_number);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "groupInfo->num_missing, %d\n", pGroup->num_missing);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "groupInfo->group_size, %llu\n",
             static_cast<unsigned long long>(pGroup->group_size));
}

void logMissingMask(const uint8_t *pMask, size_t length)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "missing:");
    for (size_t i = 0; i < length; ++i) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "%02X ", pMask[i]);
    }
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "\n");
}

void warnOnToken(uint32_t responseToken, uint32_t requestToken)
{
    if (responseToken != requestToken) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "Tokens don't match %d %d", responseToken, requestToken);
    }
}
