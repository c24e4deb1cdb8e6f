// The two public calls that walk the catalogue: what each asks for, and the exchange of one page. What becomes of its
// entries is in cahWalk.cpp.
#include "cahQuery.h"
#include "cahWalk.h"
#include "elapsed.h"
#include "listHeader.h"
#include "mxMediaRTOSDB.h"
#include "utilLog.h"

namespace
{

// The arguments that both calls have in common, in their order.
struct walkArguments {
    uint32_t count;
    uint32_t startIndex;
    uint32_t token;
    cahItemCallback itemCallback;
    void *itemCookie;
    cahFileCallback fileCallback;
    void *fileCookie;
    uint32_t *pSessionId;
    uint32_t *pTotal;
};

// One page and its walk. False for a failure, and for a page cut short behind its first item: no time is logged then.
bool walkPage(const walkArguments &arguments, uint32_t listOptions, uint32_t queryOptions, int *pReturned)
{
    uint8_t response[DB_MESSAGE_MAX_BYTES];
    int bytesRead = 0;
    *pReturned = queryRTOSdb(arguments.count, arguments.startIndex, arguments.token, response, listOptions,
                             queryOptions, &bytesRead);
    if (*pReturned < 0) {
        return false;
    }
    const db_list_response_header header = listHeaderOf(response, bytesRead);
    *arguments.pSessionId = header.session_id;
    if (arguments.pTotal != nullptr) {
        *arguments.pTotal = header.total_entries;
    }
    *pReturned = processQueryResponse(response, bytesRead, arguments.startIndex, arguments.itemCallback,
                                      arguments.itemCookie, arguments.fileCallback, arguments.fileCookie);
    if (*pReturned != 0) {
        return false;
    }
    *pReturned = static_cast<int>(header.header.count_returned);
    return true;
}

} // namespace

int dbGetCAHList(uint32_t count, uint32_t startIndex, uint32_t token, cahItemCallback itemCallback, void *itemCookie,
                 cahFileCallback fileCallback, void *fileCookie, uint32_t *pSessionId, uint32_t *pTotal)
{
    const timeval start = timeNow();
    int returned = 0;
    if (walkPage({count, startIndex, token, itemCallback, itemCookie, fileCallback, fileCookie, pSessionId, pTotal},
                 DB_LIST_OPTION_VIDEO_GROUPING, RTOS_DB_QUERY_ALL_MEDIA, &returned)) {
        const elapsedTime elapsed = elapsedSince(start);
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "dbGetCAHItems time %lu sec, %lu usec, count_returned:%d\n", elapsed.seconds,
                 elapsed.microseconds, returned);
    }
    return returned;
}

int dbGetCAHSessionFileList(uint32_t count, uint32_t startIndex, uint32_t token, cahItemCallback itemCallback,
                            void *itemCookie, cahFileCallback fileCallback, void *fileCookie, uint32_t *pSessionId,
                            uint32_t *pTotal)
{
    const timeval start = timeNow();
    int returned = 0;
    if (walkPage({count, startIndex, token, itemCallback, itemCookie, fileCallback, fileCookie, pSessionId, pTotal}, 0,
                 RTOS_DB_QUERY_METADATA_SESSION_FILES | RTOS_DB_QUERY_SESSION_LIST, &returned)) {
        const elapsedTime elapsed = elapsedSince(start);
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "dbGetCAHSessionFileList time %lu sec, %lu usec, count_retured:%d\n",
                 elapsed.seconds, elapsed.microseconds, returned);
    }
    return returned;
}
