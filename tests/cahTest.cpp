#include <regex>
#include <stdexcept>

#include "cahQuery.h"
#include "cahWalk.h"
#include "listing.h"

namespace
{

const Bytes p = photo("P");
const Bytes word = {0xA0, 0, 0, 0};
int itemCookie = 0;
int fileCookie = 0;

void noteItem(void *pCookie, cah_item_s *pItem)
{
    EXPECT_EQ(pCookie, &itemCookie);
    const cah_item_s &i = *pItem;
    effects().push_back(
        formatted("[%s %s type %d group %u %u-%u-%u us %u hc %u bits %u at %u %us clip %u size %zu %s/%s]",
                  i.gumi != nullptr ? i.gumi : "-", i.parent_gumi != nullptr ? i.parent_gumi : "-", i.content_type,
                  i.group_number, i.group_first, i.group_last, i.group_missing, i.upload_status, i.highlight_count,
                  i.extra_bits, i.creation_time, i.duration_s, i.is_clipped, size_t{i.size}, i.dir_name, i.file_name));
}

void noteFile(void *pCookie, const char *pDirName, const char *pFileName)
{
    EXPECT_EQ(pCookie, &fileCookie);
    EXPECT_STREQ(pDirName, "100MOXEL");
    effects().push_back(pFileName);
}

// All effects since the last look, with a blank behind each. Left out are a plain exchange in front of all others, and
// the log lines of a request's and a response's fields but the first and last.
std::string told()
{
    std::string text;
    for (const std::string &line : std::exchange(effects(), {})) {
        text += line + " ";
    }
    const std::regex known(
        "^init send receive destroy |syslog 7: .processQueryResponse: +[0-9]+. ERROR: (Db response size too "
        "small.\n)|DEBUG |(Request: c|ResponseHeader: c)[^]*?(FILES: |session_id 0x0000000)|[0-9]+ usec");
    return std::regex_replace(text, known, "$1$2$3");
}

class Cah : public testing::Test
{
  protected:
    // What a call for 4 items does, then its result, the session id and the total; 99 is one left untouched.
    std::string list(uint32_t start = 0, cahItemCallback itemCallback = nullptr,
                     cahFileCallback fileCallback = noteFile)
    {
        g_logLevel = UTIL_LOG_LEVEL_WARNING;
        uint32_t session = 99;
        uint32_t total = 99;
        const int result =
            dbGetCAHList(4, start, 5, itemCallback, &itemCookie, fileCallback, &fileCookie, &session, &total);
        return told() + formatted("%d %u %u", result, session, total);
    }
    // The same when this response comes.
    std::string list(const Bytes &response, uint32_t start = 0, cahItemCallback itemCallback = nullptr,
                     cahFileCallback fileCallback = noteFile)
    {
        transport.answer(request(start), response);
        return list(start, itemCallback, fileCallback);
    }
    static Bytes request(uint32_t start = 0)
    {
        return listRequest(4, start, DB_LIST_OPTION_VIDEO_GROUPING, 0xFFFFFB00);
    }
    ScriptedTransport transport;
};

TEST_F(Cah, ResultTakenForAnother)
{
    const std::string cutShort = "Db response size too small.\n ";
    EXPECT_EQ(list(page(5, {})), "0 7 5");
    EXPECT_EQ(list(page(7, {p, p, p, p}), 5), "WARN 7 total_entries, but 5 starting_index with 4 count_returned\n WARN "
                                              "truncating to 2 items in this page\n P P 4 7 7");
    EXPECT_EQ(list(page(7, {p, p}), 8), "P P 2 7 7") << "an index above the total";
    EXPECT_EQ(list(page(4, {message(item(-1, "A")), message(item(11, "B")), message(item(12, "C")), p})),
              "A B ERROR Invalid content type: 12\n -1 7 4");
    EXPECT_EQ(list(message(listHeader(9, 4), p, p)), "init send receive WARN command 0 requested 4, response returned "
                                                     "9, setting response returned to 4\n destroy P P " +
                                                         cutShort + "2 7 4");
    EXPECT_EQ(list(cut(page(1, {p}), 32)), cutShort + "1 0 0") << "cut in front of the total";
    EXPECT_EQ(
        list(cut(page(4, {p}), 19)),
        "init send receive ERROR *pBytesRead=19 < sizeof db_response_header:20, failed, ret -3\n destroy -3 99 99");
    EXPECT_EQ(list(message(responseHeader(0, DB_STATUS_NOT_FOUND, 0))),
              "init send receive WARN error on IPC received, status 3\n destroy 0 0 0");
    transport.openFails(-9);
    EXPECT_EQ(list(), "init ERROR mxIpcInit fail, ret -9\n -1 99 99");
    for (int attempt = 0; attempt < 11; ++attempt) {
        transport.receiveFails(request(), -4);
    }
    EXPECT_TRUE(list().ends_with(" ERROR *pBytesRead=-1, RTOS transaction failed.\n destroy -1 99 99"));
    transport.answer(request(), page(1, {p}), true);
    EXPECT_EQ(list(), "WARN Tokens don't match 0 5 P 1 7 1");
    EXPECT_EQ(transport.lastToken, 5u);
    const Bytes endless = message(listHeader(0x80000000, 0xFFFFFFFF), p);
    EXPECT_EQ(processQueryResponse(endless.data(), 100, 0, nullptr, nullptr, noteFile, nullptr), 0);

    // Cut at each length: what is whole is delivered, and the words to be skipped behind it need not be there.
    const Bytes video = message(item(0, "V", 0, DB_MEDIA_CLIPPED), gumiOf(1), gumiOf(2), videoRecord({0}));
    const Bytes burst = message(item(8, "G", 1), gumiOf(3), groupInfo(7, 1, 1, 1), word, word);
    const Bytes whole = page(3, {video, burst, message(p, gumiOf(4))}, DB_LIST_OPTION_INCLUDE_GUMI);
    for (size_t length = DB_LIST_ENTRIES_OFFSET; length < whole.size(); ++length) {
        const int delivered = length < 156 ? 0 : length < 261 ? 1 : 2;
        const char *pNames[] = {"", "V ", "V G0070001.JPG "};
        EXPECT_EQ(list(cut(whole, length)),
                  pNames[delivered] + cutShort + formatted("%d 7 3", delivered > 0 ? delivered : 3));
    }
    transport.answer(request(), page(1, {p}));
    EXPECT_THROW(list(0, [](void *, cah_item_s *) { throw std::runtime_error(""); }), std::runtime_error);
}

TEST_F(Cah, FieldOfTheItemLostOrTakenFromTheWrongPlace)
{
    db_content_info info = item(3, "MOXE0001.MP4", 2, DB_MEDIA_IS_A_TRANSCODE);
    info.uploadStatus = 30;
    info.extra_bits = 0xFFFFFF85;
    const Bytes video = message(info, gumiOf(0x0A), gumiOf(0xBC), videoRecord({1, 2}, 0, 7));
    const Bytes raw = message(item(7, "MOXE0002"), gumiOf(1));
    EXPECT_EQ(list(page(2, {video, raw}, DB_LIST_OPTION_INCLUDE_GUMI), 0, noteItem),
              "[0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A BCBCBCBCBCBCBCBCBCBCBCBCBCBCBCBC type 3 group 0 0-0-0 us 30 hc 2 "
              "bits 5 at 1000 2s clip 1 size 3000 100MOXEL/MOXE0001.MP4] MOXE0001.MP4 "
              "[01010101010101010101010101010101 - type 7 group 0 0-0-0 us 0 hc 0 bits 0 at 1000 0s clip 0 size 3000 "
              "100MOXEL/MOXE0002] MOXE0002 2 7 2");
}

TEST_F(Cah, GroupMisnamedMiscountedOrWithoutEnd)
{
    const auto photos = [](const db_group_content_info &group, const Bytes &masks = {}, uint32_t highlights = 0) {
        return page(2, {message(item(5, "G0070001.JPG", highlights), group, masks), photo("NEXT")});
    };
    EXPECT_EQ(list(photos(groupInfo(7, 1, 3, 1), word)), "G0070001.JPG G0070003.JPG NEXT 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 1, 2, 1), message(word, word), 1)), "G0070001.JPG NEXT 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(0, 0, 0), word, 1)), "G0000000.JPG NEXT 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 2, 1))), "NEXT 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 0xFFFFFFFF, 0, 1), word)), "NEXT 2 7 2") << "a span that wraps";
    EXPECT_EQ(list(photos(groupInfo(12345, 9, 9))), "G123450009.J NEXT 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 0xFFFFFFFF, 0xFFFFFFFF))), "G007-001.JPG NEXT 2 7 2");
    const Bytes format = message(item(6, "%s%n%s%n.JPG"), groupInfo(7, 1, 1));
    EXPECT_EQ(list(page(2, {format, message(item(10, "H"), groupInfo(7, 2, 2, 1), word)})),
              "%03d0007.JPG H0070002.JPG 2 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 0, 11008, 1), word)), "ERROR Mask size failed sanity check. Size=1380 -1 7 2");
    EXPECT_EQ(list(photos(groupInfo(7, 1, 0), word, 1)), "ERROR Mask size failed sanity check. Size=536870912 -1 7 2");
    const Bytes highlights = message(item(0, "V"), db_video_specific_info{0, 0, 0, 0, 0x40000000, 0});
    EXPECT_EQ(list(page(2, {highlights, p})), "V Db response size too small.\n 1 7 2") << "a count that wraps";

    // Only a group that is walked has a bound. With a mask it is the mask's: 11,008 bits fit in from offset 124 on.
    const std::string tooLarge = "ERROR Group of 100MOXEL/G0070001.JPG is too large: numbers 1 to 65537\n -1 7 ";
    const std::string known =
        "[- - type 5 group 7 1-65537-0 us 0 hc 0 bits 0 at 1000 0s clip 0 size 4000 100MOXEL/G0070001.JPG] ";
    const Bytes videos = page(1, {message(item(2, "G0070001.JPG"), groupInfo(7, 1, 65537))});
    EXPECT_EQ(list(videos, 0, noteItem, nullptr), tooLarge + "1");
    EXPECT_EQ(list(photos(groupInfo(7, 1, 65537)), 0, noteItem), known + tooLarge + "2");
    EXPECT_TRUE(list(photos(groupInfo(7, 1, 65537)), 0, noteItem, nullptr).starts_with(known + "[- - type 4 "));
    EXPECT_TRUE(list(photos(groupInfo(7, 1, 65536))).ends_with("G00765535.JP G00765536.JP NEXT 2 7 2"));
    const Bytes masked = message(item(5, "G"), groupInfo(7, 1, 11008, 1), Bytes(1376, 0xFF));
    EXPECT_TRUE(list(page(1, {masked})).ends_with("G00711007.JP G00711008.JP 1 7 1"));
}

TEST_F(Cah, DurationOfAVideoGroupNotThatOfItsMembers)
{
    const auto answer = [&](const char *pFile, const Bytes &response) {
        transport.answer(fileRequest(4, fileSpec("100MOXEL", pFile)), response);
    };
    const Bytes found = message(responseHeader(4), item(0, "V"), videoRecord());
    const Bytes chapters = message(item(2, "MOXE0004.MP4"), groupInfo(4, 0, 2));
    const Bytes loop = message(item(1, "L0070001.MP4"), groupInfo(7, 0, 2, 1), Bytes{0x60, 0, 0, 0});
    for (const bool heard : {false, true}) {
        transport.answer(request(), page(2, {chapters, loop}));
        answer("MOXE0004.MP4", found);
        answer("MX010004.MP4", message(responseHeader(4, DB_STATUS_NOT_FOUND)));
        answer("MX020004.MP4", found);
        answer("L0070001.MP4", found);
        answer("L0070002.MP4", message(responseHeader(4), p));
        const std::string text = list(0, heard ? noteItem : nullptr, heard ? noteFile : nullptr);
        EXPECT_EQ(text, "x");
    }
    uint32_t duration = 99;
    transport.openFails(-1);
    EXPECT_EQ(dbGetVideoDuration("100MOXEL", "V", &duration), -1);
    EXPECT_EQ(told() + std::to_string(duration),
              "init ERROR mxIpcInit fail, ret -1\n ERROR rtosConnectionCtor ret < 0 0");
}

TEST_F(Cah, SessionFilesAskedForOrLoggedAsMedia)
{
    const Bytes response = page(1, {message(item(6, "G0070001.JPG"), groupInfo(7, 1, 1, 1), word)});
    transport.answer(listRequest(4, 0, 0, 0x2400), response);
    transport.answer(request(), response);
    uint32_t session = 0;
    g_logLevel = UTIL_LOG_LEVEL_DEBUG;
    EXPECT_EQ(dbGetCAHSessionFileList(4, 0, 5, nullptr, nullptr, noteFile, &fileCookie, &session, nullptr), 1);
    EXPECT_EQ(told(),
              "init Request: cFILES: 1\n queryRTOSdb() req->command_type:0, list_options:0x0,0, query_options:0x2400,"
              "9216 send receive ResponseHeader: csession_id 0x00000007\n destroy \n\ngroupInfo->group_number, 7\n "
              "groupInfo->first_number, 1\n groupInfo->last_number, 1\n groupInfo->num_missing, 1\n "
              "groupInfo->group_size, 4000\n missing: A0  \n filename: G0070001.JPG format: G%03d%04d.JPG\n "
              "G0070001.JPG dbGetCAHSessionFileList time 0 sec, , count_retured:1\n ");
    EXPECT_EQ(dbGetCAHList(4, 0, 5, nullptr, nullptr, nullptr, nullptr, &session, nullptr), 1);
    EXPECT_TRUE(told().ends_with(" destroy dbGetCAHItems time 0 sec, , count_returned:1\n "));
}

} // namespace
