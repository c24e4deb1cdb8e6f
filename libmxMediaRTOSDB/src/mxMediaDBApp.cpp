#include "mxMediaRTOSDB.h"

#include <algorithm>
#include <cstring>

#include "contentType.h"
#include "directExchange.h"
#include "fillField.h"
#include "request.h"
#include "utilLog.h"
#include "wireCursor.h"
#include "wireLog.h"

namespace
{

constexpr int fileRequestBytes = sizeof(db_file_request);

constexpr directCall contentInfoCall = {"getContentInfo", fileRequestBytes, DB_RESPONSE_SECOND_OFFSET, false};
constexpr directCall moreInfoCall = {"getMoreInfo", fileRequestBytes, DB_RESPONSE_BODY_OFFSET + sizeof(db_more_info),
                                     false};
constexpr directCall videoSpecificInfoCall = {"getVideoSpecificInfo", fileRequestBytes, DB_RESPONSE_TAIL_OFFSET, true};
constexpr directCall groupContentInfoCall = {"getGroupContentInfo", fileRequestBytes, DB_RESPONSE_TAIL_OFFSET, false};
constexpr directCall gumiByFileNameCall = {"getGUMIByFileName", fileRequestBytes,
                                           DB_RESPONSE_BODY_OFFSET + DB_GUMI_BYTES, false};
constexpr directCall fileNameByGumiCall = {"getFileNameByGUMI", sizeof(db_gumi_request),
                                           DB_RESPONSE_BODY_OFFSET + sizeof(db_file_spec), false};

int runFileCall(directExchange *pExchange, const directCall &call, uint32_t commandType, const db_file_spec *fs)
{
    db_file_request request;
    composeFileRequest(&request, commandType, fs->dir_name, fs->file_name);
    return directExchangeRun(pExchange, call, &request.header);
}

template <typename Record>
const Record *responseRecord(const directExchange *pExchange, size_t offset)
{
    return reinterpret_cast<const Record *>(pExchange->response + offset);
}

void logHeader(const directExchange *pExchange)
{
    logResponseHeader(responseRecord<db_response_header>(pExchange, 0));
}

template <typename Record>
void deliver(Record *pOut, const Record *pRecord)
{
    if (pOut != nullptr) {
        memcpy(pOut, pRecord, sizeof(Record));
    }
}

void deliverBytes(uint8_t *pOut, const uint8_t *pBytes, size_t length)
{
    if (pOut != nullptr && pBytes != nullptr) {
        memcpy(pOut, pBytes, length);
    }
}

bool isClip(const directExchange *pExchange)
{
    const auto *pInfo = responseRecord<db_content_info>(pExchange, DB_RESPONSE_BODY_OFFSET);
    return pExchange->length >= DB_RESPONSE_SECOND_OFFSET && (pInfo->mediaProperties & DB_MEDIA_CLIPPED) != 0;
}

// The bytes of a GUMI that were received; the others, and all of one that is not there, are zero.
void deliverGumi(uint8_t *pGumi, const directExchange *pExchange, size_t offset, bool present)
{
    memset(pGumi, 0, DB_GUMI_BYTES);
    wireCursor cursor = wireCursorAt(pExchange->response, pExchange->length, offset);
    if (present) {
        memcpy(pGumi, cursor.pNext, std::min<size_t>(cursor.remaining, DB_GUMI_BYTES));
    }
}

void deliverHighlights(uint32_t *highlights, int maxNumberHighlightsExpected, const uint8_t *pValues, uint32_t count)
{
    if (count == 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG,
                 "highlights %p, maxNumberHighlightsExpected %d, vsi->highlight_count %d - skipping copy\n",
                 static_cast<void *>(highlights), maxNumberHighlightsExpected, count);
        return;
    }
    int64_t copied = count;
    if (copied > maxNumberHighlightsExpected) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "maxNumberHighlightsExpected %d, vsi->highlight_count %d, only returning %d\n",
                 maxNumberHighlightsExpected, count, maxNumberHighlightsExpected);
        copied = maxNumberHighlightsExpected;
    }
    if (highlights == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "highlights %p - skipping highlight copy\n", static_cast<void *>(highlights));
        return;
    }
    if (copied > 0) {
        memcpy(highlights, pValues, static_cast<size_t>(copied) * sizeof(uint32_t));
    }
}

} // namespace

int dbGetContentInfo(void *, const db_file_spec *fs, db_content_info *ci)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || ci == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, ci = %p\n", static_cast<const void *>(fs),
                 static_cast<void *>(ci));
        return -1;
    }
    const int ret = runFileCall(&exchange, contentInfoCall, DB_COMMAND_CONTENT_INFO, fs);
    if (ret < 0) {
        return ret;
    }
    logHeader(&exchange);
    deliver(ci, responseRecord<db_content_info>(&exchange, DB_RESPONSE_BODY_OFFSET));
    return directExchangeFinish(&exchange);
}

int dbGetMoreInfo(void *, const db_file_spec *fs, db_more_info *mi)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || mi == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, mi = %p\n", static_cast<const void *>(fs),
                 static_cast<void *>(mi));
        return -1;
    }
    const int ret = runFileCall(&exchange, moreInfoCall, DB_COMMAND_MORE_INFO, fs);
    if (ret < 0) {
        return ret;
    }
    logHeader(&exchange);
    deliver(mi, responseRecord<db_more_info>(&exchange, DB_RESPONSE_BODY_OFFSET));
    return directExchangeFinish(&exchange);
}

int dbGetVideoSpecificInfo(void *, const db_file_spec *fs, db_video_specific_info *vsi, db_content_info *ci,
                           uint32_t *highlights, int maxNumberHighlightsExpected)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || vsi == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, vsi = %p\n", static_cast<const void *>(fs),
                 static_cast<void *>(vsi));
        return -1;
    }
    const int ret = runFileCall(&exchange, videoSpecificInfoCall, DB_COMMAND_VIDEO_SPECIFIC_INFO, fs);
    if (ret < 0) {
        return ret;
    }
    const auto *pInfo = responseRecord<db_content_info>(&exchange, DB_RESPONSE_BODY_OFFSET);
    if (!isVideoType(pInfo->content_type)) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "struct db_content_type %d - must be video for operation\n",
                 pInfo->content_type);
        return directExchangeAbandon(&exchange);
    }
    logHeader(&exchange);
    const auto *pVideo = responseRecord<db_video_specific_info>(&exchange, DB_RESPONSE_SECOND_OFFSET);
    wireCursor cursor = wireCursorAt(exchange.response, exchange.length, DB_RESPONSE_TAIL_OFFSET);
    const uint8_t *pValues = takeValues(&cursor, pVideo->highlight_count);
    if (pValues == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "response of %d bytes does not hold %u highlights\n", exchange.length,
                 pVideo->highlight_count);
        return directExchangeAbandon(&exchange);
    }
    deliver(vsi, pVideo);
    deliver(ci, pInfo);
    deliverHighlights(highlights, maxNumberHighlightsExpected, pValues, pVideo->highlight_count);
    return directExchangeFinish(&exchange);
}

int dbGetGroupContentInfo(void *, const db_file_spec *fs, db_group_content_info *gci, db_content_info *ci,
                          uint8_t *missing, uint8_t *highlights)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || gci == nullptr || ci == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, gci = %p, ci = %p\n", static_cast<const void *>(fs),
                 static_cast<void *>(gci), static_cast<void *>(ci));
        return -1;
    }
    const int ret = runFileCall(&exchange, groupContentInfoCall, DB_COMMAND_GROUP_CONTENT_INFO, fs);
    if (ret < 0) {
        return ret;
    }
    const auto *pInfo = responseRecord<db_content_info>(&exchange, DB_RESPONSE_BODY_OFFSET);
    if (!isGroupType(pInfo->content_type)) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "struct db_content_type %d - must be group content for operation\n",
                 pInfo->content_type);
        return directExchangeAbandon(&exchange);
    }
    logHeader(&exchange);
    const auto *pGroup = responseRecord<db_group_content_info>(&exchange, DB_RESPONSE_SECOND_OFFSET);
    wireCursor cursor = wireCursorAt(exchange.response, exchange.length, DB_RESPONSE_TAIL_OFFSET);
    const bool hasMissing = pGroup->num_missing != 0;
    const bool hasHighlights = pInfo->highlight_count != 0;
    const uint8_t *pMissing = hasMissing ? takeBytes(&cursor, maskWireBytes(pGroup)) : nullptr;
    const uint8_t *pHighlights = hasHighlights ? takeBytes(&cursor, maskWireBytes(pGroup)) : nullptr;
    if ((hasMissing && pMissing == nullptr) || (hasHighlights && pHighlights == nullptr)) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "response of %d bytes does not hold the masks of numbers %u to %u\n",
                 exchange.length, pGroup->first_number, pGroup->last_number);
        return directExchangeAbandon(&exchange);
    }
    deliver(gci, pGroup);
    deliver(ci, pInfo);
    deliverBytes(missing, pMissing, maskUsedBytes(pGroup));
    deliverBytes(highlights, pHighlights, maskUsedBytes(pGroup));
    return directExchangeFinish(&exchange);
}

int dbGetGUMIByFileName(void *, const db_file_spec *fs, uint8_t *gumi, uint8_t *pgumi)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || gumi == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, gumi = %p\n", static_cast<const void *>(fs),
                 static_cast<void *>(gumi));
        return -1;
    }
    const int ret = runFileCall(&exchange, gumiByFileNameCall, DB_COMMAND_GUMI_BY_FILE_NAME, fs);
    if (ret < 0) {
        return ret;
    }
    logHeader(&exchange);
    deliverGumi(gumi, &exchange, DB_RESPONSE_GUMI_OFFSET, true);
    if (pgumi != nullptr) {
        deliverGumi(pgumi, &exchange, DB_RESPONSE_GUMI_OFFSET + DB_GUMI_BYTES, isClip(&exchange));
    }
    return directExchangeFinish(&exchange);
}

int dbGetFileNameByGUMI(void *, const uint8_t *gumi, db_file_spec *fs)
{
    directExchange exchange;
    directExchangeStart(&exchange);
    if (fs == nullptr || gumi == nullptr) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid input: fs = %p, gumi = %p\n", static_cast<void *>(fs),
                 static_cast<const void *>(gumi));
        return -1;
    }
    db_gumi_request request;
    composeHeader(&request.header, DB_COMMAND_FILE_NAME_BY_GUMI);
    memcpy(request.gumi, gumi, DB_GUMI_BYTES);
    const int ret = directExchangeRun(&exchange, fileNameByGumiCall, &request.header);
    if (ret < 0) {
        return ret;
    }
    logHeader(&exchange);
    const auto *pFile = responseRecord<db_file_spec>(&exchange, DB_RESPONSE_BODY_OFFSET);
    fillField(fs->dir_name, DB_DIR_NAME_BYTES, pFile->dir_name);
    fillField(fs->file_name, DB_FILE_NAME_BYTES, pFile->file_name);
    return directExchangeFinish(&exchange);
}
