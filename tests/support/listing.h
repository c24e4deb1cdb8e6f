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

/** A test of a list: on the card 42, and with the log level back at its first value afterwards. */
class ListTest : public testing::Test
{
  protected:
    ListTest()
    {
        card.identify();
    }
    ~ListTest() override
    {
        g_logLevel = UTIL_LOG_LEVEL_ERROR;
    }
    TemporaryCard card;
};

/** Text of a document, written with single quotes in place of double ones. */
inline std::string json(std::string text)
{
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

inline db_content_info item(db_content_type type, const std::string &file, uint32_t highlightCount = 0,
                            uint32_t mediaProperties = 0, const std::string &dir = "100MOXEL")
{
    return contentInfo(type, fileSpec(dir, file), highlightCount, mediaProperties);
}

/** An item with nothing behind its basic record. */
inline Bytes photo(const std::string &file, const std::string &dir = "100MOXEL")
{
    return message(item(DB_CONTENT_TYPE_SINGLE_PHOTO, file, 0, 0, dir));
}

/** A video record of 1500 ms, with its highlights. */
inline Bytes videoRecord(const std::vector<uint32_t> &highlights = {}, uint32_t lrvSize = 0, uint32_t clipped = 0)
{
    const auto count = static_cast<uint32_t>(highlights.size());
    Bytes bytes = message(db_video_specific_info{lrvSize, 1500, 41, 100, count, clipped});
    for (const uint32_t highlight : highlights) {
        bytes << highlight;
    }
    return bytes;
}

/** A response of entries, or of any other records, behind a header of its kind. */
template <typename Header>
Bytes responseOf(const Header &header, const std::vector<Bytes> &records)
{
    Bytes response = message(header);
    for (const Bytes &record : records) {
        response << record;
    }
    return response;
}

inline Bytes page(uint32_t total, const std::vector<Bytes> &entries, uint32_t listOptions = 0)
{
    return responseOf(listHeader(static_cast<uint32_t>(entries.size()), total, listOptions), entries);
}

/** Highlights whose text, joined by commas, is `length` characters long, at least 1. */
inline std::vector<uint32_t> highlightsOfText(size_t length)
{
    std::vector<uint32_t> highlights((length - 1) / 11, 1000000000);
    const size_t left = length - highlights.size() * 11;
    for (const size_t digits : left == 11 ? std::vector<size_t>{5, 5} : std::vector<size_t>{left}) {
        highlights.push_back(static_cast<uint32_t>(std::stoul("1" + std::string(digits - 1, '0'))));
    }
    return highlights;
}

/** Lengths of entries, none above `most`, that fill `room` characters with the commas between them. */
inline std::vector<size_t> lengthsFilling(size_t room, size_t most)
{
    const size_t count = (room + 1 + most) / (most + 1);
    std::vector<size_t> lengths(count, (room + 1) / count - 1);
    for (size_t i = 0; i < (room + 1) % count; ++i) {
        ++lengths[i];
    }
    return lengths;
}

/** What is printed: the head, then the card's document with the text of its array, in single quotes. */
inline std::string answerOf(int status, const std::string &media, const std::string &id = "42")
{
    return "HTTP/1.1 " + std::to_string(status) + " \r\nContent-Type: application/json\r\n\r\n" +
           json("{'id':'" + id + "','media':[" + media + "]}\r\n");
}

/** Answers with no more than one block of the directory 100MOXEL. */
inline std::string blockOf(const std::string &entries)
{
    return "{'d':'100MOXEL','fs':[" + entries + "]}";
}

/** Prints an answer to the end; its result must fit its status. */
template <typename Run>
std::string printedAnswer(Run run)
{
    int result = 1;
    const std::string text = printedBy([&] { result = run(); });
    const bool fits = result == (text.find("HTTP/1.1 200 ") != std::string::npos ? 0 : -1);
    return fits ? text : "result " + std::to_string(result) + " with " + text;
}

/** The same on a card without an identity. */
template <typename Run>
std::string answerWithoutCard(Run run)
{
    const TemporaryCard spoilt;
    spoilt.write("MISC", "a file in the folder's place");
    testing::internal::CaptureStderr();
    const std::string text = printedAnswer(run);
    testing::internal::GetCapturedStderr();
    return text;
}

/** An exchange that fails as the words of its log line say. */
inline void failExchange(ScriptedTransport &transport, const Bytes &request, const Bytes &response,
                         const std::string &words)
{
    if (words == "ret -3") {
        transport.sendFails(request, -3);
    } else if (words.ends_with("bytesRead -4")) {
        transport.receiveFails(request, -4);
    } else {
        transport.answer(request, response);
    }
}

inline std::string listAnswer(const std::string &query)
{
    return printedAnswer([&] { return generateMediaList(nullptr, query.c_str()); });
}

#endif
