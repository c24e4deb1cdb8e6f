// The entries of one page, which cahIteration.cpp asks for.
//
// listEntry.cpp reads the same records for documents: it makes text of all of them, and so refuses an entry that was
// not received whole. A walk hands on less, and asks for less:
// - Of a missing mask the bytes that hold the members' bits must be there, not those that fill up its last word. The
//   highlights of a video and the highlight mask are passed over, as far as they were received.
// - It never asks for GUMIs. If they come all the same, a transcode has a parent's, too.
// - Chapters are read as a group whatever `list_options` says.
// - The files of a group get their names by its content type; chapterGroup.cpp goes by the first file's own name.
// - An entry that is cut short ends the walk with the number of those before it, a malformed one with -1, so the two
//   are told apart.
#include "cahWalk.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "cahQuery.h"
#include "contentType.h"
#include "fieldText.h"
#include "fillField.h"
#include "listHeader.h"
#include "maskBit.h"
#include "responseCounts.h"
#include "utilLog.h"
#include "wireCursor.h"
#include "wireLog.h"

namespace
{

constexpr size_t fileTextBytes = DB_FILE_NAME_BYTES + 1;
constexpr size_t gumiTextBytes = 2 * DB_GUMI_BYTES + 1;
constexpr size_t formatBytes = 24;
constexpr size_t expandedBytes = formatBytes + DECIMAL_DIGITS_BYTES + DECIMAL_DIGITS_BYTES;

enum entryResult { ENTRY_COMPLETE, ENTRY_CUT_SHORT, ENTRY_MALFORMED };

// The entry in hand. The item points at the texts, so that it is never copied.
struct cahEntry {
    cah_item_s item;
    char dirName[DB_DIR_NAME_BYTES + 1];
    char fileName[fileTextBytes];
    char gumi[gumiTextBytes];
    char parentGumi[gumiTextBytes];
    const db_group_content_info *pGroup; // null for an item of one file
    const uint8_t *pMissing;             // null when no member is missing
};

// Moves behind bytes that nobody reads, as far as there are any.
void skipBytes(wireCursor *pCursor, uint64_t wanted)
{
    const size_t skipped = static_cast<size_t>(std::min<uint64_t>(wanted, pCursor->remaining));
    pCursor->pNext += skipped;
    pCursor->remaining -= skipped;
}

// A mask must fit into what a message can hold behind its start.
bool maskSizeIsSane(const wireCursor *pCursor, size_t received, const db_group_content_info *pGroup)
{
    const size_t size = maskWireBytes(pGroup);
    const size_t offset = received - pCursor->remaining;
    if (size > DB_MESSAGE_MAX_BYTES - offset) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Mask size failed sanity check. Size=%d", static_cast<int>(size));
        return false;
    }
    return true;
}

const char *takeGumi(wireCursor *pCursor, char (&text)[gumiTextBytes])
{
    const uint8_t *pBytes = takeBytes(pCursor, DB_GUMI_BYTES);
    if (pBytes == nullptr) {
        return nullptr;
    }
    for (size_t i = 0; i < DB_GUMI_BYTES; ++i) {
        snprintf(text + 2 * i, 3, "%02X", pBytes[i]);
    }
    return text;
}

bool memberExists(const cahEntry *pEntry, uint32_t position)
{
    return pEntry->pMissing == nullptr || maskBitIsSet(pEntry->pMissing, position);
}

// A missing mask bounds its group, since it fits into the message; without one nothing does.
bool canBeWalked(const cahEntry *pEntry)
{
    const uint32_t first = pEntry->pGroup->first_number;
    const uint32_t last = pEntry->pGroup->last_number;
    if (last < first || last - first < CAH_GROUP_MAX_MEMBERS) {
        return true;
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Group of %s/%s is too large: numbers %u to %u\n", pEntry->dirName, pEntry->fileName,
             first, last);
    return false;
}

// Calls `visit` with the number of each member that exists.
template <typename Visit>
void forEachMember(const cahEntry *pEntry, Visit visit)
{
    const uint64_t first = pEntry->pGroup->first_number;
    const uint64_t last = pEntry->pGroup->last_number;
    for (uint64_t number = first; number <= last; ++number) {
        if (memberExists(pEntry, static_cast<uint32_t>(number - first))) {
            visit(static_cast<uint32_t>(number));
        }
    }
}

// A '%' from the database in place of the letter only makes "%%" of the text behind it; see expandFormat.
void makeNameFormat(const cahEntry *pEntry, char (&format)[formatBytes])
{
    const int32_t type = pEntry->item.content_type;
    const char *pBehindLetter = type == DB_CONTENT_TYPE_LOOPED_VIDEO ? "%03d%04d.MP4" : "%03d%04d.JPG";
    if (type == DB_CONTENT_TYPE_CHAPTERED_VIDEO) {
        strcpy(format, "MX%02d%04d.MP4");
    } else {
        format[0] = pEntry->fileName[0];
        strcpy(format + 1, pBehindLetter);
    }
}

// Writes a number as printf does it for "%0", the width, and "d". @return the end of the text
char *writePadded(char *pAt, int width, int number)
{
    char digits[DECIMAL_DIGITS_BYTES];
    const auto bits = static_cast<uint32_t>(number);
    decimalDigits(digits, number < 0 ? 0 - bits : bits);
    if (number < 0) {
        *pAt++ = '-';
        --width;
    }
    for (int length = static_cast<int>(strlen(digits)); length < width; ++length) {
        *pAt++ = '0';
    }
    return stpcpy(pAt, digits);
}

// A name from a format of makeNameFormat, as snprintf would make it but several times as fast: with the members of all
// groups there are more names than anything else.
void expandFormat(char (&name)[fileTextBytes], const char *pFormat, int first, int second)
{
    char text[expandedBytes];
    char *pAt = text;
    int number = first;
    for (; *pFormat != '\0'; ++pFormat) {
        if (*pFormat != '%') {
            *pAt++ = *pFormat;
        } else if (*++pFormat == '%') {
            *pAt++ = '%';
        } else {
            pAt = writePadded(pAt, pFormat[1] - '0', number);
            number = second;
            pFormat += 2;
        }
    }
    *pAt = '\0';
    const size_t length = std::min(static_cast<size_t>(pAt - text), fileTextBytes - 1);
    memcpy(name, text, length);
    name[length] = '\0';
}

// The first chapter, number 0, has a name of another form: `name` then keeps the item's own.
void makeMemberName(const cahEntry *pEntry, const char *pFormat, uint32_t number, char (&name)[fileTextBytes])
{
    const int group = static_cast<int>(pEntry->pGroup->group_number);
    const int member = static_cast<int>(number);
    if (pEntry->item.content_type != DB_CONTENT_TYPE_CHAPTERED_VIDEO) {
        expandFormat(name, pFormat, group, member);
    } else if (number != 0) {
        expandFormat(name, pFormat, member, group);
    }
}

uint32_t durationOfMembers(const cahEntry *pEntry)
{
    char format[formatBytes];
    char name[fileTextBytes];
    makeNameFormat(pEntry, format);
    fillField(name, sizeof name, pEntry->fileName);
    uint32_t sum = 0;
    forEachMember(pEntry, [&](uint32_t number) {
        uint32_t duration = 0;
        makeMemberName(pEntry, format, number, name);
        dbGetVideoDuration(pEntry->dirName, name, &duration);
        sum += duration;
    });
    return roundedSeconds(sum);
}

entryResult readVideo(wireCursor *pCursor, cahEntry *pEntry)
{
    const auto *pVideo = takeRecord<db_video_specific_info>(pCursor);
    if (pVideo == nullptr) {
        return ENTRY_CUT_SHORT;
    }
    pEntry->item.duration_s = roundedSeconds(pVideo->duration);
    pEntry->item.is_clipped = pVideo->is_clipped_file != 0;
    skipBytes(pCursor, uint64_t{pVideo->highlight_count} * sizeof(uint32_t));
    return ENTRY_COMPLETE;
}

entryResult readGroup(wireCursor *pCursor, size_t received, cahEntry *pEntry)
{
    const auto *pGroup = takeRecord<db_group_content_info>(pCursor);
    if (pGroup == nullptr) {
        return ENTRY_CUT_SHORT;
    }
    pEntry->pGroup = pGroup;
    pEntry->item.group_number = pGroup->group_number;
    pEntry->item.group_first = pGroup->first_number;
    pEntry->item.group_last = pGroup->last_number;
    pEntry->item.group_missing = pGroup->num_missing;
    pEntry->item.size = pGroup->group_size;
    if (pGroup->num_missing != 0) {
        if (!maskSizeIsSane(pCursor, received, pGroup)) {
            return ENTRY_MALFORMED;
        }
        pEntry->pMissing = takeBytes(pCursor, maskUsedBytes(pGroup));
        if (pEntry->pMissing == nullptr) {
            return ENTRY_CUT_SHORT;
        }
        skipBytes(pCursor, maskWireBytes(pGroup) - maskUsedBytes(pGroup));
    }
    return ENTRY_COMPLETE;
}

entryResult readVideoGroup(wireCursor *pCursor, size_t received, cahEntry *pEntry)
{
    const entryResult result = readGroup(pCursor, received, pEntry);
    if (result != ENTRY_COMPLETE) {
        return result;
    }
    if (!canBeWalked(pEntry)) {
        return ENTRY_MALFORMED;
    }
    pEntry->item.duration_s = durationOfMembers(pEntry);
    return ENTRY_COMPLETE;
}

entryResult readPhotoGroup(wireCursor *pCursor, size_t received, cahEntry *pEntry)
{
    const entryResult result = readGroup(pCursor, received, pEntry);
    if (result != ENTRY_COMPLETE || pEntry->item.highlight_count == 0) {
        return result;
    }
    if (!maskSizeIsSane(pCursor, received, pEntry->pGroup)) {
        return ENTRY_MALFORMED;
    }
    skipBytes(pCursor, maskWireBytes(pEntry->pGroup));
    return ENTRY_COMPLETE;
}

entryResult readRecord(wireCursor *pCursor, size_t received, cahEntry *pEntry)
{
    switch (contentTypeOf(pEntry->item.content_type).kind) {
    case ITEM_VIDEO:
        return readVideo(pCursor, pEntry);
    case ITEM_CHAPTER_GROUP:
        return readVideoGroup(pCursor, received, pEntry);
    case ITEM_PHOTO_GROUP:
        return readPhotoGroup(pCursor, received, pEntry);
    default:
        return ENTRY_COMPLETE;
    }
}

entryResult readEntry(wireCursor *pCursor, size_t received, uint32_t listOptions, cahEntry *pEntry)
{
    const auto *pInfo = takeRecord<db_content_info>(pCursor);
    if (pInfo == nullptr) {
        return ENTRY_CUT_SHORT;
    }
    if (pInfo->content_type > DB_CONTENT_TYPE_RAW_PHOTO) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "Invalid content type: %d\n", pInfo->content_type);
        return ENTRY_MALFORMED;
    }
    *pEntry = {};
    cah_item_s &item = pEntry->item;
    item.content_type = pInfo->content_type;
    item.size = pInfo->size;
    item.highlight_count = pInfo->highlight_count;
    item.upload_status = pInfo->uploadStatus;
    item.creation_time = pInfo->creation_time;
    item.extra_bits = pInfo->extra_bits & 0x7F;
    fillField(pEntry->dirName, DB_DIR_NAME_BYTES, pInfo->dir_name);
    fillField(pEntry->fileName, DB_FILE_NAME_BYTES, pInfo->file_name);
    item.dir_name = pEntry->dirName;
    item.file_name = pEntry->fileName;
    if ((listOptions & DB_LIST_OPTION_INCLUDE_GUMI) != 0) {
        item.gumi = takeGumi(pCursor, pEntry->gumi);
        if (item.gumi == nullptr) {
            return ENTRY_CUT_SHORT;
        }
        if ((pInfo->mediaProperties & (DB_MEDIA_CLIPPED | DB_MEDIA_IS_A_TRANSCODE)) != 0) {
            item.parent_gumi = takeGumi(pCursor, pEntry->parentGumi);
            if (item.parent_gumi == nullptr) {
                return ENTRY_CUT_SHORT;
            }
        }
    }
    return readRecord(pCursor, received, pEntry);
}

// False for a group that can't be walked.
bool deliverFiles(cahEntry *pEntry, cahFileCallback fileCallback, void *fileCookie)
{
    if (pEntry->pGroup == nullptr) {
        fileCallback(fileCookie, pEntry->dirName, pEntry->fileName);
        return true;
    }
    if (!canBeWalked(pEntry)) {
        return false;
    }
    logGroup(pEntry->pGroup);
    if (pEntry->pMissing != nullptr) {
        logMissingMask(pEntry->pMissing, maskUsedBytes(pEntry->pGroup));
    }
    char format[formatBytes];
    makeNameFormat(pEntry, format);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "filename: %s format: %s\n", pEntry->fileName, format);
    forEachMember(pEntry, [&](uint32_t number) {
        makeMemberName(pEntry, format, number, pEntry->fileName);
        fileCallback(fileCookie, pEntry->dirName, pEntry->fileName);
    });
    return true;
}

} // namespace

int processQueryResponse(const uint8_t *pResponse, int length, uint32_t startingIndex, cahItemCallback itemCallback,
                         void *itemCookie, cahFileCallback fileCallback, void *fileCookie)
{
    const db_list_response_header header = listHeaderOf(pResponse, length);
    // A total that was not received cuts nothing.
    constexpr int totalEnd = offsetof(db_list_response_header, total_entries) + sizeof header.total_entries;
    const auto count =
        static_cast<int32_t>(length >= totalEnd ? cutToTotal(startingIndex, &header) : header.header.count_returned);
    wireCursor cursor = wireCursorAt(pResponse, length, DB_LIST_ENTRIES_OFFSET);
    for (int32_t completed = 0; completed < count; ++completed) {
        cahEntry entry;
        const entryResult result = readEntry(&cursor, static_cast<size_t>(length), header.list_options, &entry);
        if (result == ENTRY_MALFORMED) {
            return -1;
        }
        if (result == ENTRY_CUT_SHORT) {
            UTIL_ERROR("ERROR: Db response size too small.\n");
            return completed;
        }
        if (itemCallback != nullptr) {
            itemCallback(itemCookie, &entry.item);
        }
        if (fileCallback != nullptr && !deliverFiles(&entry, fileCallback, fileCookie)) {
            return -1;
        }
    }
    return 0;
}
