#include "listEntry.h"

#include <algorithm>

#include "utilLog.h"
#include "wireLog.h"

namespace
{

void classify(listEntry *pEntry, uint32_t listOptions)
{
    const contentTypeRow row = contentTypeOf(pEntry->pInfo->content_type);
    pEntry->kind = row.kind;
    pEntry->queryBit = row.queryBit;
    pEntry->groupLetter = row.groupLetter;
    if (row.kind == ITEM_CHAPTER_GROUP && (listOptions & DB_LIST_OPTION_VIDEO_GROUPING) == 0) {
        pEntry->kind = ITEM_VIDEO;
    }
}

bool readGumis(wireCursor *pCursor, listEntry *pEntry)
{
    pEntry->pGumi = takeBytes(pCursor, DB_GUMI_BYTES);
    if (pEntry->pGumi == nullptr || (pEntry->pInfo->mediaProperties & DB_MEDIA_CLIPPED) == 0) {
        return pEntry->pGumi != nullptr;
    }
    pEntry->pParentGumi = takeBytes(pCursor, DB_GUMI_BYTES);
    return pEntry->pParentGumi != nullptr;
}

bool readGroup(wireCursor *pCursor, listEntry *pEntry)
{
    pEntry->pGroup = takeRecord<db_group_content_info>(pCursor);
    if (pEntry->pGroup == nullptr) {
        return false;
    }
    if (pEntry->pGroup->num_missing != 0) {
        pEntry->pMissing = takeBytes(pCursor, maskWireBytes(pEntry->pGroup));
        if (pEntry->pMissing == nullptr) {
            return false;
        }
    }
    if (pEntry->kind == ITEM_PHOTO_GROUP && pEntry->pInfo->highlight_count != 0) {
        pEntry->pHighlightMask = takeBytes(pCursor, maskWireBytes(pEntry->pGroup));
        return pEntry->pHighlightMask != nullptr;
    }
    return true;
}

bool readTail(wireCursor *pCursor, listEntry *pEntry)
{
    switch (pEntry->kind) {
    case ITEM_VIDEO:
        pEntry->pVideo = takeVideoRecord(pCursor, &pEntry->pHighlights);
        return pEntry->pVideo != nullptr;
    case ITEM_PHOTO_GROUP:
    case ITEM_CHAPTER_GROUP:
        return readGroup(pCursor, pEntry);
    default:
        return true;
    }
}

void logMoreInfo(const db_more_info *pMoreInfo)
{
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "Received db_more_info: \n");
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.width = %d\n", pMoreInfo->width);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.height = %d\n", pMoreInfo->height);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.frame_rate_numerator = %d\n", pMoreInfo->frame_rate_numerator);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.frame_rate_denominator = %d\n", pMoreInfo->frame_rate_denominator);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.is_progressive = %d\n", pMoreInfo->is_progressive);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "    more_info.is_subsampled = %d\n", pMoreInfo->is_subsampled);
}

} // namespace

bool readListEntry(wireCursor *pCursor, uint32_t listOptions, listEntry *pEntry)
{
    *pEntry = {};
    pEntry->pInfo = takeRecord<db_content_info>(pCursor);
    if (pEntry->pInfo == nullptr) {
        return false;
    }
    classify(pEntry, listOptions);
    if ((listOptions & DB_LIST_OPTION_INCLUDE_GUMI) != 0 && !readGumis(pCursor, pEntry)) {
        return false;
    }
    if ((listOptions & DB_LIST_OPTION_INCLUDE_MORE_INFO) != 0) {
        pEntry->pMoreInfo = takeRecord<db_more_info>(pCursor);
        if (pEntry->pMoreInfo == nullptr) {
            return false;
        }
    }
    return readTail(pCursor, pEntry);
}

bool listEntryIsShown(const listEntry *pEntry, uint32_t queryOptions)
{
    return queryOptions == 0 ? pEntry->pInfo->content_type < DB_CONTENT_TYPE_RAW_PHOTO
                             : (queryOptions & pEntry->queryBit) != 0;
}

bool gumiIsVoid(const uint8_t *pGumi)
{
    return (pGumi[0] == 0x00 || pGumi[0] == 0xFF) &&
           std::count(pGumi, pGumi + DB_GUMI_BYTES, pGumi[0]) == DB_GUMI_BYTES;
}

void logListEntry(const listEntry *pEntry)
{
    if (g_logLevel < UTIL_LOG_LEVEL_DEBUG) {
        return;
    }
    if (pEntry->pMoreInfo != nullptr) {
        logMoreInfo(pEntry->pMoreInfo);
    }
    const db_content_info *pInfo = pEntry->pInfo;
    if (pEntry->kind == ITEM_VIDEO && contentTypeOf(pInfo->content_type).kind == ITEM_CHAPTER_GROUP) {
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "videogrouping=0, Grouped video content type %d, for file %.08s/%.12s\n",
                 pInfo->content_type, pInfo->dir_name, pInfo->file_name);
        UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "Treating file type %d as DB_CONTENT_TYPE_SINGLE_VIDEO\n", pInfo->content_type);
    }
    if (pEntry->kind == ITEM_CHAPTER_GROUP) {
        logGroup(pEntry->pGroup);
    }
}
