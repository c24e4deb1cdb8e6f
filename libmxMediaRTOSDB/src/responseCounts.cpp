#include "responseCounts.h"

#include "utilLog.h"

void lowerCountReturned(int level, const db_request_header *pRequest, db_response_header *pHeader)
{
    if (pHeader->count_returned > pRequest->request_count) {
        UTIL_LOG(level, "command %d requested %d, response returned %d, setting response returned to %d\n",
                 pRequest->command_type, pRequest->request_count, pHeader->count_returned, pRequest->request_count);
        pHeader->count_returned = pRequest->request_count;
    }
}

uint32_t cutToTotal(uint32_t startingIndex, const db_list_response_header *pHeader)
{
    const uint32_t count = pHeader->header.count_returned;
    const uint32_t remaining = pHeader->total_entries - startingIndex;
    if (count <= remaining) {
        return count;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "%d total_entries, but %d starting_index with %d count_returned\n",
             pHeader->total_entries, startingIndex, count);
    UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "truncating to %d items in this page\n", remaining);
    return remaining;
}
