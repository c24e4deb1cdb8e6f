// Targets that look at single calls: what they hand out was received, and what they need not touch stays.
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>

#include "cahWalk.h"
#include "chapterGroup.h"
#include "httpStatus.h"
#include "transport.h"
#include "typedResponse.h"

static bool isWhole(const videoFile &file)
{
    return wasReceived(file.pInfo, sizeof *file.pInfo) &&
           wasReceived(file.pVideo, sizeof *file.pVideo + sizeof(uint32_t) * file.pVideo->highlight_count);
}

void directCalls(Input &input)
{
    struct {
        db_content_info info;
        db_more_info more;
        db_video_specific_info video;
        db_group_content_info group;
        db_file_spec file;
        db_upload_histogram histogram;
        uint8_t gumis[2][DB_GUMI_BYTES], masks[2][DB_MASK_MAX_BYTES];
    } out, before;
    memset(&before, 0xA5, sizeof before);
    out = before;
    const size_t call = input.number(1) % 8;
    const int most = static_cast<int8_t>(input.number(1));
    const std::vector<uint32_t> unset(static_cast<size_t>(std::max(most, 0)), 0xA5A5A5A5);
    std::vector<uint32_t> tags = unset;
    const db_file_spec file = {{'1', '0', '0', 'M', 'O', 'X', 'E', 'L'}, "MOXE001.MP4"};
    const std::function<int()> calls[] = {
        [&] { return dbGetContentInfo(nullptr, &file, &out.info); },
        [&] { return dbGetMoreInfo(nullptr, &file, &out.more); },
        [&] { return dbGetVideoSpecificInfo(nullptr, &file, &out.video, &out.info, tags.data(), most); },
        [&] { return dbGetGroupContentInfo(nullptr, &file, &out.group, &out.info, out.masks[0], out.masks[1]); },
        [&] { return dbGetGUMIByFileName(nullptr, &file, out.gumis[0], out.gumis[1]); },
        [&] { return dbGetFileNameByGUMI(nullptr, before.gumis[0], &out.file); },
        [&] { return dbSetUploadStatus("100MOXEL", "MOXE0001.MP4", 7, 7); },
        [&] { return dbGetUploadStatusHistogram(7, nullptr, &out.histogram); },
    };
    Answers answers(input);
    answers.gumisAreCleared = false;
    const int result = calls[call]();
    REQUIRE(answers.exchanges <= (call < 6 ? 1 : 11));
    REQUIRE(result == 0 || result == -1 || (result == FAILED_SEND && call == 2) ||
            (result == FAILED_INIT && call < 6 && answers.exchanges == 0));
    REQUIRE(result == 0 || (memcmp(&out, &before, sizeof before) == 0 && tags == unset));
    // A histogram is copied when its handle is closed and nothing is poisoned any more.
    const size_t length = answers.answer.bytes.size();
    if (call == 7 && result == 0 && length >= DB_RESPONSE_BODY_OFFSET) {
        const auto *pCounters = reinterpret_cast<const char *>(&out.histogram);
        const std::string_view counters(pCounters, sizeof out.histogram);
        REQUIRE(counters.find_first_not_of('\0', length - DB_RESPONSE_BODY_OFFSET) == counters.npos);
    }
}

void typedResponses(Input &input)
{
    const size_t call = input.number(1) % 5;
    Answers answers(input);
    rtosConnection link;
    if (rtosConnectionCtor(&link) < 0) {
        return;
    }
    Bytes buffer(DB_MESSAGE_MAX_BYTES);
    videoFile file = {};
    const db_more_info *pMore = nullptr;
    const uint8_t *pGumi = nullptr, *pParent = nullptr;
    const std::function<int(const char *, const char *, uint8_t *)> calls[] = {
        [&](auto... where) { return getContentInfoResponse(&link, where..., &file.pInfo); },
        [&](auto... where) { return getVideoSpecificInfoResponse(&link, where..., &file.pInfo, &file.pVideo); },
        [&](auto... where) { return getFileGUMIResponse(&link, where..., &file.pInfo, &pGumi, &pParent); },
        [&](auto... where) { return getMoreInfoResponse(&link, where..., &pMore); },
        [&](auto... where) { return getWriteUploadStatusResponse(&link, where..., 7); },
    };
    const int result = calls[call]("100MOXEL", "MOXE0001.MP4", buffer.data());
    if (result == HTTP_OK) {
        REQUIRE((file.pInfo != nullptr) == (call < 3) && (pMore != nullptr) == (call == 3));
        REQUIRE(file.pInfo == nullptr || wasReceived(file.pInfo, sizeof *file.pInfo));
        const auto type = static_cast<uint32_t>(file.pInfo != nullptr ? file.pInfo->content_type : -1);
        REQUIRE(file.pVideo == nullptr || type > DB_CONTENT_TYPE_TIME_LAPSE_VIDEO || isWhole(file));
        REQUIRE(pMore == nullptr || wasReceived(pMore, sizeof *pMore));
        const std::string_view gumis(reinterpret_cast<char *>(&buffer[0]), DB_RESPONSE_GUMI_OFFSET + 2 * DB_GUMI_BYTES);
        REQUIRE(!pGumi || gumis.find_first_not_of('\0', answers.answer.bytes.size()) == gumis.npos);
        REQUIRE((pParent != nullptr) == (call == 2 && (file.pInfo->mediaProperties & DB_MEDIA_CLIPPED) != 0));
    } else {
        REQUIRE(result == HTTP_NOT_FOUND || result == HTTP_INTERNAL_SERVER_ERROR || result == HTTP_SERVICE_UNAVAILABLE);
        REQUIRE(!file.pInfo && !file.pVideo && !pMore && !pGumi && !pParent);
    }
    rtosConnectionDtor(&link);
}

static void takeFile(void *, const char *pDirName, const char *pFileName)
{
    REQUIRE(strlen(pDirName) <= DB_DIR_NAME_BYTES && strlen(pFileName) <= DB_FILE_NAME_BYTES);
}

static void takeItem(void *pItems, cah_item_s *pItem)
{
    takeFile(nullptr, pItem->dir_name, pItem->file_name);
    REQUIRE(pItem->content_type <= DB_CONTENT_TYPE_RAW_PHOTO && pItem->extra_bits < 0x80 && pItem->is_clipped <= 1);
    REQUIRE(pItem->gumi == nullptr || strspn(pItem->gumi, "0123456789ABCDEF") == 2 * DB_GUMI_BYTES);
    ++*static_cast<int *>(pItems);
}

void cahWalk(Input &input)
{
    const uint32_t call = input.number(1), count = input.number(1), startIndex = input.number(4);
    const auto itemCallback = (call & 4) != 0 ? nullptr : takeItem;
    const auto fileCallback = (call & 8) != 0 ? nullptr : takeFile;
    const Bytes page = (call & 1) != 0 ? input.frame().bytes : Bytes();
    Answers answers(input);
    int items = 0;
    if (page.size() >= DB_RESPONSE_BODY_OFFSET) {
        const int result = processQueryResponse(page.data(), static_cast<int>(page.size()), startIndex, itemCallback,
                                                &items, fileCallback, nullptr);
        REQUIRE(result >= -1 && (result <= 0 || itemCallback == nullptr || result == items));
        return;
    }
    const auto list = (call & 2) != 0 ? dbGetCAHSessionFileList : dbGetCAHList;
    uint32_t sessionId = 7, total = 7;
    const int result = list(count, startIndex, 7, itemCallback, &items, fileCallback, nullptr, &sessionId, &total);
    REQUIRE((result >= 0 && result <= static_cast<int>(count)) || result == -1 || result == -3);
    REQUIRE(items <= static_cast<int>(count) && (result != -3 || (sessionId == 7 && total == 7)));
    // Of a header that is cut short the rest is 0.
    const auto isReceived = [length = answers.answer.bytes.size()](size_t offset, uint32_t value) {
        return length >= offset + sizeof value || value >> (8 * (std::max(length, offset) - offset)) == 0;
    };
    REQUIRE(result < 0 || answers.exchanges != 1 ||
            (answers.answer.bytes.size() >= DB_RESPONSE_BODY_OFFSET &&
             isReceived(offsetof(db_list_response_header, session_id), sessionId) &&
             isReceived(offsetof(db_list_response_header, total_entries), total)));
}

void chapters(Input &input)
{
    const Bytes item = input.frame().bytes;
    wireCursor cursor = wireCursorAt(item.data(), static_cast<int>(item.size()), 0);
    listEntry entry;
    Answers answers(input);
    rtosConnection link;
    if (!readListEntry(&cursor, DB_LIST_OPTION_VIDEO_GROUPING, &entry) || entry.kind != ITEM_CHAPTER_GROUP ||
        rtosConnectionCtor(&link) < 0) {
        return;
    }
    const auto pAnswer = std::make_unique<chapterAnswer>();
    const listFailure failure = askForChapters(&link.handle, &entry, true, pAnswer.get());
    REQUIRE(answers.exchanges <= 1 && (failure.kind != LIST_FAILURE_NONE || answers.exchanges == (pAnswer->count > 0)));
    videoFile file;
    for (uint32_t i = 0; failure.kind == LIST_FAILURE_NONE && i < pAnswer->count; ++i) {
        REQUIRE(takeVideoFile(&pAnswer->records, &file) && isWhole(file));
    }
    rtosConnectionDtor(&link);
}
