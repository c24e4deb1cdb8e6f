#include "mxMediaRTOSDB.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

#include "request.h"
#include "retryLimits.h"
#include "rtosConnection.h"
#include "utilLog.h"
#include "wireCursor.h"
#include "wireLog.h"

namespace
{

bool hasLength(const char *pText, size_t length)
{
    return pText != nullptr && strnlen(pText, length + 1) == length;
}

int openConnection(rtosConnection *pRtosConn)
{
    const int opened = rtosConnectionCtor(pRtosConn);
    if (opened < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Failed to ininialize IPC: %d\n", opened);
    }
    return opened;
}

// One exchange. A response without a whole header, and a refusal, are waited on and logged, and are no failure.
int exchange(rtosConnection *pRtosConn, const db_request_header *pRequest, int requestBytes, uint8_t *pResponse)
{
    const int length = rtosCall(pRtosConn, pRequest, requestBytes, pResponse);
    if (length < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "RTOS transaction failed.\n");
        return length;
    }
    if (length < DB_RESPONSE_BODY_OFFSET) {
        usleep(RETRY_WAIT_MICROSECONDS);
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "%d bytes received, expecting %ld, retrying\n", length,
                 static_cast<long>(DB_RESPONSE_BODY_OFFSET));
        return length;
    }
    const auto *pHeader = reinterpret_cast<const db_response_header *>(pResponse);
    logResponseHeaderAndToken(pHeader);
    if (pHeader->status != DB_STATUS_OK) {
        usleep(RETRY_WAIT_MICROSECONDS);
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "error on IPC received, retrying, status %d\n", pHeader->status);
    }
    return length;
}

} // namespace

int dbSetUploadStatus(const char *pDirName, const char *pFileName, uint32_t uploadStatus, uint32_t token)
{
    if (!hasLength(pDirName, DB_DIR_NAME_BYTES) || !hasLength(pFileName, DB_FILE_NAME_BYTES)) {
        return -1;
    }
    rtosConnection connection;
    const int opened = openConnection(&connection);
    if (opened < 0) {
        return opened;
    }
    db_upload_status_request request;
    composeUploadStatusRequest(&request, pDirName, pFileName, uploadStatus);
    request.header.token = token;
    logRequest(&request.header);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         dir_name %s\n", pDirName);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         file_name %s\n", pFileName);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "         upload_status %lu\n", static_cast<unsigned long>(uploadStatus));
    uint8_t response[DB_MESSAGE_MAX_BYTES];
    const int length = exchange(&connection, &request.header, sizeof request, response);
    rtosConnectionDtor(&connection);
    return std::min(length, 0);
}

int dbGetUploadStatusHistogram(uint32_t token, void *, db_upload_histogram *histogram)
{
    rtosConnection connection;
    const int opened = openConnection(&connection);
    if (opened < 0) {
        return opened;
    }
    db_request_header request;
    composeHeader(&request, DB_COMMAND_UPLOAD_HISTOGRAM);
    request.token = token;
    logRequest(&request);
    uint8_t response[DB_MESSAGE_MAX_BYTES];
    const int length = exchange(&connection, &request, sizeof request, response);
    rtosConnectionDtor(&connection);
    if (length >= DB_RESPONSE_BODY_OFFSET) {
        const wireCursor counters = wireCursorAt(response, length, DB_RESPONSE_BODY_OFFSET);
        *histogram = {};
        memcpy(histogram, counters.pNext, std::min(counters.remaining, sizeof *histogram));
    }
    return std::min(length, 0);
}
