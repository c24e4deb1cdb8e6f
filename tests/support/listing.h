/**
 * @file listing.h
 * Entries and pages of a list response, and the documents that are made of them.
 */
#ifndef LISTING_H
#define LISTING_H

#include <gtest/gtest.h>

#include "card.h"
#include "effects.h"
#include "records.h"
#include "utilLog.h"

/** A test of documents, on the card 42. */
struct ListTest : testing::Test {
    TemporaryCard card;
    ListTest()
    {
        card.identify();
        g_logLevel = UTIL_LOG_LEVEL_ERROR;
    }
};

inline db_content_info item(db_content_type type, const std::string &file, uint32_t highlightCount = 0,
                            uint32_t mediaProperties = 0, const std::string &dir = "100MOXEL")
{
    return contentInfo(type, fileSpec(dir, file), highlightCount, mediaProperties);
}

/** A video record of 1500 ms, with its highlights. */
inline Bytes videoRecord(const Bytes &highlights = {}, uint32_t lrvSize = 0, uint32_t clipped = 0)
{
    const auto count = static_cast<uint32_t>(highlights.size() / sizeof(uint32_t));
    return message(db_video_specific_info{lrvSize, 1500, 41, 100, count, clipped}, highlights);
}

/** An item with nothing behind its basic record. */
inline Bytes photo(const std::string &file, const std::string &dir = "100MOXEL")
{
    return message(item(DB_CONTENT_TYPE_SINGLE_PHOTO, file, 0, 0, dir));
}

/** A message of a header and records. */
inline Bytes responseOf(const Bytes &header, const std::vector<Bytes> &records)
{
    return std::accumulate(records.begin(), records.end(), header, [](Bytes a, const Bytes &b) { return a << b; });
}

inline Bytes page(uint32_t total, const std::vector<Bytes> &entries, int64_t listOptions = 0)
{
    const auto count = static_cast<uint32_t>(entries.size());
    return responseOf(message(listHeader(count, total, static_cast<uint32_t>(listOptions))), entries);
}

inline Bytes chapters(const std::vector<Bytes> &records, uint32_t status = DB_STATUS_OK)
{
    const auto count = static_cast<uint32_t>(records.size());
    return responseOf(message(responseHeader(DB_COMMAND_VIDEO_SPECIFIC_INFO, status, count)), records);
}

/** The head that is printed in front of a document, or alone. */
inline std::string headOf(int status)
{
    return formatted("HTTP/1.1 %d \r\nContent-Type: application/json\r\n\r\n", status);
}

/** What is printed: the head, then the card's document with the text of its array, in single quotes. */
inline std::string answerOf(int status, const std::string &media, const std::string &id = "42")
{
    std::string document = "{'id':'" + id + "','media':[" + media + "]}\r\n";
    std::replace(document.begin(), document.end(), '\'', '"');
    return headOf(status) + document;
}

inline std::string blockOf(const std::string &entries, const std::string &dir = "100MOXEL")
{
    return "{'d':'" + dir + "','fs':[" + entries + "]}";
}

/** An entry with all keys; `keys` are those behind the keys of every item. */
inline std::string entryOf(const std::string &file, const std::string &keys)
{
    return "{'n':'" + file + "','mod':'2000','cre':'1000','us':'0','tr':'0'," + keys + "}";
}

/** What a call prints; its result must fit the status. */
template <typename... Arguments>
std::string answer(int (*call)(void *, Arguments...), std::type_identity_t<Arguments>... arguments)
{
    int result = 1;
    const std::string text = printedBy([&] { result = call(nullptr, arguments...); });
    EXPECT_EQ(result, text.find("HTTP/1.1 200 ") == std::string::npos ? -1 : 0) << text;
    return text;
}

#endif
