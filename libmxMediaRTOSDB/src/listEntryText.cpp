#include "listEntryText.h"

#include "fieldText.h"
#include "groupNumbers.h"
#include "utilLog.h"

namespace
{

// The object in hand: its keys go in front one by one, the first with the brace.
struct objectText {
    listEntryText *pEntryText;
    const char *pPrepend;
    bool keyStands;
};

#define WRITE(pObject, format, ...)                                                                                    \
    boundedWrite((pObject)->pEntryText->pOutput, (pObject)->pEntryText->buffer, (pObject)->pEntryText->pStatus,        \
                 MX_SOURCE_NAME, __LINE__, format __VA_OPT__(, ) __VA_ARGS__)

// The same for a text that needs no formatting, of pieces one behind the other.
#define WRITE_TEXT(pObject, ...)                                                                                       \
    boundedText((pObject)->pEntryText->pOutput, (pObject)->pEntryText->buffer, (pObject)->pEntryText->pStatus,         \
                MX_SOURCE_NAME, __LINE__, {__VA_ARGS__})

objectText openObject(listEntryText *pText)
{
    return {pText, pText->objectStands ? ",{" : "{", false};
}

void closeObject(objectText *pObject)
{
    if (pObject->keyStands) {
        WRITE_TEXT(pObject, "}");
        pObject->pEntryText->objectStands = true;
    }
}

bool allows(const objectText *pObject, uint32_t field)
{
    return (pObject->pEntryText->whitelistMask & field) != 0;
}

// What goes in front of the next key.
const char *prepend(objectText *pObject)
{
    const char *pPrepend = pObject->pPrepend;
    pObject->pPrepend = ",";
    pObject->keyStands = true;
    return pPrepend;
}

void writeWord(objectText *pObject, uint32_t field, const char *pKey, const char *pWord)
{
    if (allows(pObject, field)) {
        WRITE_TEXT(pObject, prepend(pObject), "\"", pKey, "\":\"", pWord, "\"");
    }
}

void writeNumber(objectText *pObject, uint32_t field, const char *pKey, uint64_t value)
{
    char digits[DECIMAL_DIGITS_BYTES];
    writeWord(pObject, field, pKey, decimalDigits(digits, value));
}

void writeGumi(objectText *pObject, uint32_t field, const char *pKey, const uint8_t *pGumi)
{
    char digits[GUMI_DIGITS_BYTES];
    writeWord(pObject, field, pKey, gumiDigits(digits, pGumi));
}

void writeSize(objectText *pObject, uint64_t size)
{
    writeNumber(pObject, FIELD_S, "s", size);
}

void writeFileKeys(objectText *pObject, const db_content_info *pInfo)
{
    if (allows(pObject, FIELD_N)) {
        WRITE(pObject, "%s\"n\":\"%.12s\"", prepend(pObject), pInfo->file_name);
    }
    writeNumber(pObject, FIELD_MOD, "mod", pInfo->modification_time);
    writeNumber(pObject, FIELD_CRE, "cre", pInfo->creation_time);
    writeNumber(pObject, FIELD_US, "us", pInfo->uploadStatus);
    writeNumber(pObject, FIELD_TR, "tr", mediaFlag(pInfo->mediaProperties, DB_MEDIA_IS_A_TRANSCODE));
}

void writeGumiKeys(objectText *pObject, const listEntry *pEntry)
{
    if (pEntry->pGumi == nullptr) {
        return;
    }
    if (gumiIsVoid(pEntry->pGumi)) {
        writeNumber(pObject, FIELD_DNE, "DNE", 1);
    } else {
        writeGumi(pObject, FIELD_GUMI, "gumi", pEntry->pGumi);
    }
    if (pEntry->pParentGumi != nullptr) {
        writeGumi(pObject, FIELD_PGUMI, "pgumi", pEntry->pParentGumi);
    }
}

void writeLrvAndClip(objectText *pObject, const db_video_specific_info *pVideo)
{
    if (pVideo->lrv_size == 0) {
        writeWord(pObject, FIELD_LS, "ls", "-1");
    } else {
        writeNumber(pObject, FIELD_LS, "ls", pVideo->lrv_size);
    }
    writeNumber(pObject, FIELD_CL, "cl", pVideo->is_clipped_file);
}

void writeAudioToHighlights(objectText *pObject, const videoFile *pRecord)
{
    const uint32_t properties = pRecord->pInfo->mediaProperties;
    writeNumber(pObject, FIELD_ZTA, "zta", mediaFlag(properties, DB_MEDIA_ZENTRA_AUDIO));
    writeWord(pObject, FIELD_AO, "ao", audioOptionWord(properties));
    writeNumber(pObject, FIELD_MP, "mp", mediaFlag(properties, DB_MEDIA_METADATA_PRESENT));
    writeNumber(pObject, FIELD_DUR, "dur", roundedSeconds(pRecord->pVideo->duration));
    writeNumber(pObject, FIELD_HC, "hc", pRecord->pInfo->highlight_count);
    if (allows(pObject, FIELD_HI)) {
        WRITE_TEXT(pObject, prepend(pObject), "\"hi\":[");
        const uint32_t count = pRecord->pVideo->highlight_count;
        for (uint32_t i = 0; i < count; ++i) {
            WRITE(pObject, "%s%d", i == 0 ? "" : ",", valueAt(pRecord->pHighlights, i));
        }
        WRITE_TEXT(pObject, "]");
    }
}

void writeStabilised(objectText *pObject, const db_content_info *pInfo)
{
    writeNumber(pObject, FIELD_EIS, "eis", mediaFlag(pInfo->mediaProperties, DB_MEDIA_HAS_EIS));
}

void writeMembers(objectText *pObject, groupNumbers numbers, const char *pBehind)
{
    const char *pSeparator = "";
    for (uint32_t number = 0; nextGroupNumber(&numbers, &number); pSeparator = ",") {
        WRITE(pObject, "%s\"%d\"%s", pSeparator, number, pBehind);
    }
}

void writeMemberHighlights(objectText *pObject, const listEntry *pEntry)
{
    // Without highlights there is no mask, and as none are wanted none is looked for in it.
    const uint32_t count = pEntry->pInfo->highlight_count;
    const groupNumbers members = markedMembers(pEntry->pGroup, pEntry->pHighlightMask, count);
    if (pObject->pEntryText->memberStyle == MEMBER_HIGHLIGHTS_AS_ARRAY) {
        WRITE(pObject, ",\"ghc\":\"%d\"", count);
        WRITE(pObject, ",\"ghi\":[");
        writeMembers(pObject, members, "");
        WRITE_TEXT(pObject, "]");
    } else if (count != 0) {
        WRITE(pObject, ",\"ghc\":{");
        writeMembers(pObject, members, ":\"1\"");
        WRITE_TEXT(pObject, "}");
    }
}

void writeGroupKeys(objectText *pObject, const listEntry *pEntry)
{
    if (!allows(pObject, FIELD_GROUP)) {
        return;
    }
    const db_group_content_info *pGroup = pEntry->pGroup;
    WRITE(pObject, "%s\"g\":\"%d\",\"b\":\"%d\",\"l\":\"%d\"", prepend(pObject), pGroup->group_number,
          pGroup->first_number, pGroup->last_number);
    WRITE(pObject, ",\"t\":\"%c\",\"m\":[", pEntry->groupLetter);
    writeMembers(pObject, markedMembers(pGroup, pEntry->pMissing, pGroup->num_missing), "");
    WRITE_TEXT(pObject, "]");
    writeMemberHighlights(pObject, pEntry);
}

// The keys of the first chapter that are not the item's own; its size has another place than that of the others.
void writeFirstChapter(objectText *pObject, const videoFile *pRecord)
{
    writeLrvAndClip(pObject, pRecord->pVideo);
    writeSize(pObject, pRecord->pInfo->size);
    writeStabilised(pObject, pRecord->pInfo);
    writeAudioToHighlights(pObject, pRecord);
}

void writeFurtherChapter(listEntryText *pText, const videoFile *pRecord)
{
    objectText object = openObject(pText);
    writeFileKeys(&object, pRecord->pInfo);
    writeLrvAndClip(&object, pRecord->pVideo);
    writeStabilised(&object, pRecord->pInfo);
    writeAudioToHighlights(&object, pRecord);
    writeSize(&object, pRecord->pInfo->size);
    closeObject(&object);
}

// The object in hand is that of the first chapter.
void writeChapters(objectText *pObject, const listEntry *pEntry, const chapterAnswer *pChapters)
{
    if (pChapters->count == 0) {
        writeSize(pObject, pEntry->pGroup->group_size);
        closeObject(pObject);
        return;
    }
    wireCursor cursor = pChapters->records;
    videoFile record = {};
    if (takeVideoFile(&cursor, &record)) {
        writeFirstChapter(pObject, &record);
    }
    closeObject(pObject);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "===== count_returned %d\n", pChapters->count);
    for (uint32_t i = 1; i < pChapters->count && takeVideoFile(&cursor, &record); ++i) {
        writeFurtherChapter(pObject->pEntryText, &record);
    }
}

} // namespace

void writeListEntry(listEntryText *pText, const listEntry *pEntry, const chapterAnswer *pChapters)
{
    const db_content_info *pInfo = pEntry->pInfo;
    objectText object = openObject(pText);
    writeFileKeys(&object, pInfo);
    writeGumiKeys(&object, pEntry);
    switch (pEntry->kind) {
    case ITEM_CHAPTER_GROUP:
        writeChapters(&object, pEntry, pChapters);
        return;
    case ITEM_VIDEO: {
        const videoFile record = {pInfo, pEntry->pVideo, pEntry->pHighlights};
        writeLrvAndClip(&object, record.pVideo);
        writeAudioToHighlights(&object, &record);
        break;
    }
    case ITEM_PHOTO:
        writeNumber(&object, FIELD_HC, "hc", pInfo->highlight_count);
        writeNumber(&object, FIELD_WDR, "wdr", mediaFlag(pInfo->mediaProperties, DB_MEDIA_HAS_WDR));
        writeNumber(&object, FIELD_RAW, "raw", mediaFlag(pInfo->mediaProperties, DB_MEDIA_HAS_RAW));
        break;
    case ITEM_METADATA:
        writeNumber(&object, FIELD_HC, "hc", pInfo->highlight_count);
        break;
    case ITEM_PHOTO_GROUP:
        writeGroupKeys(&object, pEntry);
        break;
    case ITEM_OTHER:
        break;
    }
    writeSize(&object, pEntry->kind == ITEM_PHOTO_GROUP ? pEntry->pGroup->group_size : pInfo->size);
    closeObject(&object);
}
