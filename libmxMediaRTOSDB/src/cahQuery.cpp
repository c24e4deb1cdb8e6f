#include "cahQuery.h"

#include "httpStatus.h"
#include "listHeader.h"
#include "mxMediaRTOSDB.h"
#include "responseCounts.h"
#include "rtosConnection.h"
#include "typedResponse.h"
#include "utilLog.h"
#include "wireLog.h"

namespace
{

constexpr int shortResponse = -3;

int exchangePage(rtosConnection *pRtosConn, const db_list_request *pRequest, uint8_t *pResponse, int *pBytesRead)
{
    logListRequest(pRequest);
    logListRequestOptions("queryRTOSdb", pRequest);
    *pBytesRead = rtosCall(pRtosConn, pRequest, sizeof *pRequest, pResponse);
    if (*pBytesRead < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "*pBytesRead=%d, RTOS transaction failed.\n", *pBytesRead);
        return *pBytesRead;
    }
    if (*pBytesRead < DB_RESPONSE_BODY_OFFSET) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "*pBytesRead=%d < sizeof db_response_header:%d, failed, ret -3\n", *pBytesRead,
                 DB_RESPONSE_BODY_OFFSET);
        return shortResponse;
    }
    auto *pHeader = reinterpret_cast<db_response_header *>(pResponse);
    if (pHeader->status != DB_STATUS_OK) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "error on IPC received, status %d\n", pHeader->status);
    }
    const db_list_response_header received = listHeaderOf(pResponse, *pBytesRead);
    logListResponseHeader(&received);
    lowerCountReturned(UTIL_LOG_LEVEL_WARNING, &pRequest->header, pHeader);
    return 0;
}

} // namespace

int queryRTOSdb(uint32_t requestCount, uint32_t startingIndex, uint32_t token, uint8_t *pResponse, uint32_t listOptions,
                uint32_t queryOptions, int *pBytesRead)
{
    rtosConnection connection;
    if (rtosConnectionCtor(&connection) < 0) {
        return -1;
    }
    const db_list_request request = {{DB_COMMAND_LIST, requestCount, token}, startingIndex, listOptions, queryOptions};
    const int ret = exchangePage(&connection, &request, pResponse, pBytesRead);
    rtosConnectionDtor(&connection);
    if (ret == 0) {
        warnOnToken(reinterpret_cast<const db_response_header *>(pResponse)->token, token);
    }
    return ret;
}

int dbGetVideoDuration(const char *pDirName, const char *pFileName, uint32_t *pDuration)
{
    *pDuration = 0;
    rtosConnection connection;
    if (rtosConnectionCtor(&connection) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "rtosConnectionCtor ret < 0");
        return -1;
    }
    // Cleared: a file of another kind is answered without a video record, and then has no duration.
    uint8_t response[DB_MESSAGE_MAX_BYTES] = {};
    const db_content_info *pInfo = nullptr;
    const db_video_specific_info *pVideoInfo = nullptr;
    const int status = getVideoSpecificInfoResponse(&connection, pDirName, pFileName, response, &pInfo, &pVideoInfo);
    rtosConnectionDtor(&connection);
    if (status == HTTP_OK) {
        *pDuration = pVideoInfo->duration;
    }
    return status;
}
