#include "typedResponse.h"

#include <algorithm>
#include <cstring>

#include "contentType.h"
#include "httpStatus.h"
#include "request.h"
#include "responseCounts.h"
#include "utilLog.h"
#include "wireCursor.h"
#include "wireLog.h"

namespace
{

constexpr int gumiEnd = DB_RESPONSE_GUMI_OFFSET + DB_GUMI_BYTES;
constexpr int parentGumiEnd = gumiEnd + DB_GUMI_BYTES;

int discardResponse(int length)
{
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid response size (%d), discarding\n", length);
    return HTTP_INTERNAL_SERVER_ERROR;
}

int httpStatusOf(uint32_t status)
{
    switch (status) {
    case DB_STATUS_OK:
        return HTTP_OK;
    case DB_STATUS_BUSY:
    case DB_STATUS_NOT_READY:
        return HTTP_SERVICE_UNAVAILABLE;
    case DB_STATUS_NOT_FOUND_SILENT:
        return HTTP_NOT_FOUND;
    default:
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "error on IPC received, exiting, status %d\n", status);
        return status == DB_STATUS_NOT_FOUND ? HTTP_NOT_FOUND : HTTP_INTERNAL_SERVER_ERROR;
    }
}

// The exchange, and what every response must pass: with HTTP_OK a whole header was received and its status is good.
int exchange(rtosConnection *pRtosConn, const db_request_header *pRequest, int requestBytes, uint8_t *pRespBuf,
             int *pLength)
{
    logRequest(pRequest);
    *pLength = rtosCall(pRtosConn, pRequest, requestBytes, pRespBuf);
    if (*pLength < DB_RESPONSE_BODY_OFFSET) {
        return discardResponse(*pLength);
    }
    auto *pHeader = reinterpret_cast<db_response_header *>(pRespBuf);
    logResponseHeaderAndToken(pHeader);
    warnOnToken(pHeader->token, pRequest->token);
    lowerCountReturned(UTIL_LOG_LEVEL_WARNING, pRequest, pHeader);
    return httpStatusOf(pHeader->status);
}

int askAboutFile(rtosConnection *pRtosConn, uint32_t commandType, const char *pDirName, const char *pFileName,
                 uint8_t *pRespBuf, int *pLength)
{
    db_file_request request;
    composeFileRequest(&request, commandType, pDirName, pFileName);
    return exchange(pRtosConn, &request.header, sizeof request, pRespBuf, pLength);
}

const db_content_info *contentInfoIn(const uint8_t *pRespBuf)
{
    return reinterpret_cast<const db_content_info *>(pRespBuf + DB_RESPONSE_BODY_OFFSET);
}

// The same for a response that begins with a basic record: with HTTP_OK it was received and tells of a file.
int askForContent(rtosConnection *pRtosConn, uint32_t commandType, const char *pDirName, const char *pFileName,
                  uint8_t *pRespBuf, int *pLength)
{
    const int status = askAboutFile(pRtosConn, commandType, pDirName, pFileName, pRespBuf, pLength);
    if (status != HTTP_OK) {
        return status;
    }
    if (*pLength < DB_RESPONSE_SECOND_OFFSET) {
        return discardResponse(*pLength);
    }
    if (contentInfoIn(pRespBuf)->content_type == DB_CONTENT_TYPE_NO_FILE) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "Invalid content type (-1), inferring FILE NOT_FOUND\n");
        return HTTP_NOT_FOUND;
    }
    return HTTP_OK;
}

bool holdsVideo(const uint8_t *pRespBuf, int length)
{
    wireCursor cursor = wireCursorAt(pRespBuf, length, DB_RESPONSE_SECOND_OFFSET);
    const uint8_t *pHighlights = nullptr;
    return takeVideoRecord(&cursor, &pHighlights) != nullptr;
}

} // namespace

int getContentInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                           const db_content_info **ppInfo)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pDirName);
    UTIL_ASSERT(pFileName);
    UTIL_ASSERT(pRespBuf);
    UTIL_ASSERT(ppInfo);
    *ppInfo = nullptr;
    int length = 0;
    const int status = askForContent(pRtosConn, DB_COMMAND_CONTENT_INFO, pDirName, pFileName, pRespBuf, &length);
    if (status == HTTP_OK) {
        *ppInfo = contentInfoIn(pRespBuf);
    }
    return status;
}

int getVideoSpecificInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName,
                                 uint8_t *pRespBuf, const db_content_info **ppInfo,
                                 const db_video_specific_info **ppVideoInfo)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pDirName);
    UTIL_ASSERT(pFileName);
    UTIL_ASSERT(pRespBuf);
    UTIL_ASSERT(ppInfo);
    UTIL_ASSERT(ppVideoInfo);
    *ppInfo = nullptr;
    *ppVideoInfo = nullptr;
    int length = 0;
    const int status = askForContent(pRtosConn, DB_COMMAND_VIDEO_SPECIFIC_INFO, pDirName, pFileName, pRespBuf, &length);
    if (status != HTTP_OK) {
        return status;
    }
    if (isVideoType(contentInfoIn(pRespBuf)->content_type) && !holdsVideo(pRespBuf, length)) {
        return discardResponse(length);
    }
    *ppInfo = contentInfoIn(pRespBuf);
    *ppVideoInfo = reinterpret_cast<const db_video_specific_info *>(pRespBuf + DB_RESPONSE_SECOND_OFFSET);
    return HTTP_OK;
}

int getMoreInfoResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                        const db_more_info **ppMoreInfo)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pDirName);
    UTIL_ASSERT(pFileName);
    UTIL_ASSERT(pRespBuf);
    UTIL_ASSERT(ppMoreInfo);
    int length = 0;
    const int status = askAboutFile(pRtosConn, DB_COMMAND_MORE_INFO, pDirName, pFileName, pRespBuf, &length);
    if (status != HTTP_OK) {
        return status;
    }
    wireCursor cursor = wireCursorAt(pRespBuf, length, DB_RESPONSE_BODY_OFFSET);
    const auto *pMoreInfo = takeRecord<db_more_info>(&cursor);
    if (pMoreInfo == nullptr) {
        return discardResponse(length);
    }
    *ppMoreInfo = pMoreInfo;
    return HTTP_OK;
}

int getFileGUMIResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName, uint8_t *pRespBuf,
                        const db_content_info **ppInfo, const uint8_t **ppGUMI, const uint8_t **ppPGUMI)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pDirName);
    UTIL_ASSERT(pFileName);
    UTIL_ASSERT(pRespBuf);
    UTIL_ASSERT(ppInfo);
    UTIL_ASSERT(ppGUMI);
    UTIL_ASSERT(ppPGUMI);
    *ppInfo = nullptr;
    *ppGUMI = nullptr;
    *ppPGUMI = nullptr;
    int length = 0;
    const int status = askForContent(pRtosConn, DB_COMMAND_GUMI_BY_FILE_NAME, pDirName, pFileName, pRespBuf, &length);
    if (status != HTTP_OK) {
        return status;
    }
    int known = length;
    if (length < gumiEnd) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "Insufficient response size (%d), invalidating GUMIs\n", length);
        known = DB_RESPONSE_GUMI_OFFSET;
    }
    known = std::min(known, parentGumiEnd);
    memset(pRespBuf + known, 0, static_cast<size_t>(parentGumiEnd - known));
    *ppInfo = contentInfoIn(pRespBuf);
    *ppGUMI = pRespBuf + DB_RESPONSE_GUMI_OFFSET;
    *ppPGUMI = ((*ppInfo)->mediaProperties & DB_MEDIA_CLIPPED) != 0 ? pRespBuf + gumiEnd : nullptr;
    return HTTP_OK;
}

int getWriteUploadStatusResponse(rtosConnection *pRtosConn, const char *pDirName, const char *pFileName,
                                 uint8_t *pRespBuf, uint32_t uploadStatus)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pDirName);
    UTIL_ASSERT(pFileName);
    UTIL_ASSERT(pRespBuf);
    db_upload_status_request request;
    composeUploadStatusRequest(&request, pDirName, pFileName, uploadStatus);
    int length = 0;
    return exchange(pRtosConn, &request.header, sizeof request, pRespBuf, &length);
}
