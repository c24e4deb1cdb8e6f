#include <regex>

#include "listing.h"

const Bytes p = photo("P");
const Bytes word = {0xA0, 0, 0, 0};
const std::string cutShort = "ERROR: Db response size too small.\n|";
static char cookies[][6] = {"item ", ""};

static void noteItem(void *pCookie, cah_item_s *pItem)
{
    const cah_item_s &i = *pItem;
    effects().push_back(
        formatted("%s%s %s %d group %u %u-%u-%u us %u hc %u bits %u at %u %us clip %u %zu %s/%s", pCookie,
                  i.gumi != nullptr ? i.gumi : "-", i.parent_gumi != nullptr ? i.parent_gumi : "-", i.content_type,
                  i.group_number, i.group_first, i.group_last, i.group_missing, i.upload_status, i.highlight_count,
                  i.extra_bits, i.creation_time, i.duration_s, i.is_clipped, size_t{i.size}, i.dir_name, i.file_name));
}

static void noteFile(void *pCookie, const char *pDirName, const char *pFileName)
{
    EXPECT_STREQ(pDirName, "100MOXEL");
    effects().push_back(formatted("%s%s", pCookie, pFileName));
}

struct CahWalk : ListTest {
    // What a call for 9 items logs and hands out when this comes, in front of what the script holds already; then its
    // result, the session id and the total; 99 is one untouched.
    std::string list(const Bytes &response = {}, uint32_t start = 0, cahItemCallback itemCallback = nullptr,
                     cahFileCallback fileCallback = noteFile)
    {
        if (!response.empty()) {
            transport.steps.push_front({listRequest(9, start, DB_LIST_OPTION_VIDEO_GROUPING, 0xFFFFFB00), 0,
                                        static_cast<int>(response.size()), response, false});
        }
        effects().clear();
        g_logLevel = UTIL_LOG_LEVEL_WARNING;
        uint32_t seen[] = {99, 99};
        const int ret = dbGetCAHList(9, start, 5, itemCallback, cookies[0], fileCallback, cookies[1], seen, seen + 1);
        const std::regex known("(init|send|receive|sleep [0-9]+|destroy)\\||syslog 7: [^E]*");
        return std::regex_replace(joined(), known, "") + formatted("%d %u %u", ret, seen[0], seen[1]);
    }
    ScriptedTransport transport;
};

TEST_F(CahWalk, ResultTakenForAnother)
{
    const Bytes request = listRequest(9, 0, DB_LIST_OPTION_VIDEO_GROUPING, 0xFFFFFB00);
    EXPECT_EQ(list(page(5, {})), "0 7 5");
    EXPECT_EQ(list(message(listHeader(10, 7), p, p, p), 5),
              "WARN command 0 requested 9, response returned 10, setting response returned to 9\n|"
              "WARN 7 total_entries, but 5 starting_index with 9 count_returned\n|"
              "WARN truncating to 2 items in this page\n|P|P|9 7 7");
    EXPECT_EQ(list(page(7, {p, p}), 8), "P|P|2 7 7") << "an index above the total";
    EXPECT_EQ(list(page(4, {message(item(-1, "A")), message(item(11, "B")), message(item(12, "C")), p})),
              "A|B|ERROR Invalid content type: 12\n|-1 7 4");
    EXPECT_EQ(list(cut(message(listHeader(1, 0)), 35)), cutShort + "1 0 0") << "cut in front of the total";
    EXPECT_EQ(list(cut(page(4, {p}), 19)),
              "ERROR *pBytesRead=19 < sizeof db_response_header:20, failed, ret -3\n|-3 99 99");
    EXPECT_EQ(list(message(responseHeader(0, DB_STATUS_NOT_FOUND, 0))), "WARN error on IPC received, status 3\n|0 0 0");
    transport.openFails(-9);
    EXPECT_EQ(list(), "ERROR mxIpcInit fail, ret -9\n|-1 99 99");
    transport.steps.insert(transport.steps.end(), 11, {request, 0, -4, {}, false});
    EXPECT_TRUE(list().ends_with("|ERROR *pBytesRead=-1, RTOS transaction failed.\n|-1 99 99"));
    transport.answer(request, page(1, {p}), true);
    EXPECT_EQ(list(), "WARN Tokens don't match 0 5|P|1 7 1");
    transport.answer(listRequest(9, 0, 0, 0x2400), page(1, {p}));
    uint32_t id = 0;
    EXPECT_EQ(dbGetCAHSessionFileList(9, 0, 5, nullptr, nullptr, noteFile, cookies[1], &id, nullptr), 1);
    EXPECT_ANY_THROW(list(page(1, {p}), 0, [](void *, cah_item_s *) { throw 1; }));
}

TEST_F(CahWalk, EntryMisreadOrReadBeyondTheResponse)
{
    db_content_info info = item(3, "MOXE0001.MP4", 2, DB_MEDIA_IS_A_TRANSCODE);
    info.uploadStatus = 30;
    info.extra_bits = 0xFFFFFF85;
    const Bytes video = message(info, gumiOf(0x0A), gumiOf(0xBC), videoRecord(Bytes(8), 0, 7));
    const Bytes photos = message(item(5, "G0070004.JPG"), gumiOf(2), groupInfo(7, 4, 6, 1), Bytes{0x40, 0, 0, 0});
    EXPECT_EQ(list(page(2, {video, photos}, DB_LIST_OPTION_INCLUDE_GUMI), 0, noteItem),
              "item 0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A BCBCBCBCBCBCBCBCBCBCBCBCBCBCBCBC 3 group 0 0-0-0 us 30 hc 2 "
              "bits 5 at 1000 2s clip 1 3000 100MOXEL/MOXE0001.MP4|MOXE0001.MP4|item 02020202020202020202020202020202 "
              "- 5 group 7 4-6-1 us 0 hc 0 bits 0 at 1000 0s clip 0 4000 100MOXEL/G0070004.JPG|G0070005.JPG|2 7 2");

    // Cut at each length: what is whole is delivered, and the words to be skipped behind it need not be there.
    const Bytes clip = message(item(0, "V", 0, DB_MEDIA_CLIPPED), gumiOf(1), gumiOf(2), videoRecord(Bytes(4)));
    const Bytes burst = message(item(8, "G", 1), gumiOf(3), groupInfo(7, 1, 1, 1), word, word);
    const Bytes whole = page(3, {clip, burst, message(p, gumiOf(4))}, DB_LIST_OPTION_INCLUDE_GUMI);
    const std::string seen[] = {cutShort + "3 7 3", "V|" + cutShort + "1 7 3", "V|G0070001.JPG|" + cutShort + "2 7 3"};
    for (size_t length = DB_LIST_ENTRIES_OFFSET; length < whole.size(); ++length) {
        EXPECT_EQ(list(cut(whole, length)), seen[(length >= 156) + (length >= 261)]) << length;
    }
    const Bytes highlights = message(item(0, "V"), db_video_specific_info{0, 0, 0, 0, 0x40000000, 0});
    EXPECT_EQ(list(page(2, {highlights, p})), "V|" + cutShort + "1 7 2") << "a count that wraps to no bytes";
}

TEST_F(CahWalk, GroupMisnamedMiscountedOrWithoutEnd)
{
    const auto group = [](const db_group_content_info &info, const Bytes &masks = {}, uint32_t highlights = 0) {
        return message(item(5, "G0070001.JPG", highlights), info, masks);
    };
    const Bytes format = message(item(6, "%s%n%s%n.JPG"), groupInfo(7, 1, 1));
    const Bytes longName = message(item(10, "H"), groupInfo(12345, 9, 9, 1), word);
    EXPECT_EQ(list(page(9, {group(groupInfo(7, 2, 1)), group(groupInfo(7, 1, 3, 1), word),
                            group(groupInfo(7, 1, 2, 1), message(word, word), 1), group(groupInfo(0, 0, 0), word, 1),
                            group(groupInfo(7, 0xFFFFFFFF, 0, 1), word), group(groupInfo(7, 0xFFFFFFFF, 0xFFFFFFFF)),
                            format, longName, p})),
              "G0070001.JPG|G0070003.JPG|G0070001.JPG|G0000000.JPG|G007-001.JPG|%03d0007.JPG|H123450009.J|P|9 7 9");
    const std::string insane = "ERROR Mask size failed sanity check. Size=";
    EXPECT_EQ(list(page(1, {group(groupInfo(7, 0, 11008, 1), word)})), insane + "1380|-1 7 1");
    EXPECT_EQ(list(page(1, {group(groupInfo(7, 1, 0), word, 1)})), insane + "536870912|-1 7 1");
    EXPECT_TRUE(list(page(1, {group(groupInfo(7, 1, 11008, 1), Bytes(1376, 0xFF))})).ends_with("|G00711008.JP|1 7 1"));

    // Only a group that is walked has a bound.
    EXPECT_TRUE(list(page(1, {group(groupInfo(7, 1, 65536))})).ends_with("|G00765536.JP|1 7 1"));
    const Bytes photos = page(1, {group(groupInfo(7, 1, 65537))});
    const Bytes videos = page(1, {message(item(2, "G0070001.JPG"), groupInfo(7, 1, 65537))});
    const std::string tooLarge = "ERROR Group of 100MOXEL/G0070001.JPG is too large: numbers 1 to 65537\n|-1 7 1";
    EXPECT_EQ(list(photos), tooLarge);
    EXPECT_TRUE(list(photos, 0, noteItem, nullptr).ends_with(" 4000 100MOXEL/G0070001.JPG|1 7 1"));
    EXPECT_EQ(list(videos, 0, noteItem, nullptr), tooLarge);
}

TEST_F(CahWalk, DurationOfAVideoGroupNotThatOfItsMembers)
{
    const Bytes loop = message(item(1, "L0070001.MP4"), groupInfo(7, 0, 2, 1), Bytes{0x60, 0, 0, 0});
    const Bytes found = message(responseHeader(4), item(0, "V"), videoRecord());
    const Bytes refused = message(responseHeader(4, DB_STATUS_NOT_FOUND)), other = message(responseHeader(4), p);
    transport.openFails(0); // The connection of the list opens, the next one fails.
    transport.openFails(-1);
    for (const auto &[file, response] :
         {std::pair("MX010004.MP4", found), std::pair("MX020004.MP4", refused), std::pair("MX030004.MP4", found),
          std::pair("L0070001.MP4", found), std::pair("L0070002.MP4", other)}) {
        transport.answer(fileRequest(4, fileSpec("100MOXEL", file)), response);
    }
    EXPECT_EQ(list(page(2, {message(item(2, "MOXE0004.MP4"), groupInfo(4, 0, 3)), loop}), 0, noteItem),
              "ERROR mxIpcInit fail, ret -1\n|ERROR rtosConnectionCtor ret < 0|"
              "ERROR error on IPC received, exiting, status 3\n|item - - 2 group 4 0-3-0 us 0 hc 0 bits 0 "
              "at 1000 3s clip 0 4000 100MOXEL/MOXE0004.MP4|MOXE0004.MP4|MX010004.MP4|MX020004.MP4|MX030004.MP4|item "
              "- - 1 group 7 0-2-1 us 0 hc 0 bits 0 at 1000 2s clip 0 4000 100MOXEL/L0070001.MP4|L0070001.MP4|"
              "L0070002.MP4|2 7 2");
}
