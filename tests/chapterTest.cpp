// Groups of chapters: what is asked about them, and what is written and logged of the answers.
#include "listing.h"

using Chapters = ListTest;

// Asks about a file and those that are named with the numbers of a range.
static Bytes request(const std::string &first, const char *pFormat, int from, int to)
{
    Bytes bytes = message(DB_COMMAND_VIDEO_SPECIFIC_INFO, to - from + 2, 0, fileSpec("100MOXEL", first));
    for (int i = from; i <= to; ++i) {
        bytes << fileSpec("100MOXEL", formatted(pFormat, i));
    }
    return bytes;
}

TEST_F(Chapters, WrongFilesAskedFor)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    const std::string moxe = "MOXE0042.MP4";
    const char *const pFront = "MX%02d0042.MP4";
    // First file, group, its mask, further files by format and numbers, chapters left out.
    const std::tuple<std::string, db_group_content_info, Bytes, const char *, int, int, std::string> cases[] = {
        {moxe, groupInfo(0, 0, 2), {}, pFront, 1, 2, ""},
        {"MX010001.MP4", groupInfo(42, 3, 4), {}, pFront, 4, 4, ""},
        {"G0120003.MP4", groupInfo(0, 3, 4), {}, "G012%04d.MP4", 4, 4, ""},
        {"MOX.MP4", groupInfo(7, 9, 10), {}, "G007%04d.MP4", 10, 10, ""},
        {moxe, groupInfo(42, 0, 3, 1), {0xB0, 0, 0, 0}, pFront, 2, 3, ""},
        {moxe, groupInfo(42, 0, 1, 1), {0xBF, 0xFF, 0xFF, 0xFF}, pFront, 1, 0, ""},
        {moxe, groupInfo(42, 98, 101), {}, pFront, 99, 99, "100 to 101 of group 42"},
        {moxe, groupInfo(10000, 0, 2), {}, pFront, 1, 0, "1 to 2 of group 10000"},
        {moxe, groupInfo(42, 0, 74), {}, pFront, 1, 73, "74 to 74 of group 42"},
        {moxe, groupInfo(42, 9999, UINT32_MAX), {}, pFront, 1, 0, "10000 to 4294967295 of group 42"},
    };
    for (const auto &[first, info, missing, pFormat, from, to, leftOut] : cases) {
        ScriptedTransport transport;
        const Bytes group = message(item(2, first), info, missing);
        transport.answer(listRequest(10, 0, 0, 0), page(2, {group, photo("P")}, DB_LIST_OPTION_VIDEO_GROUPING), true);
        transport.answer(request(first, pFormat, from, to), chapters({message(item(0, "X"), videoRecord())}), true);
        EXPECT_EQ(answer(generateMediaList, "f=upload"), answerOf(200, blockOf("{'us':'0'},{'us':'0'}")));
        const std::string warning = "WARN chapters from " + leftOut + " are left out, file 100MOXEL/" + first + "\n|";
        EXPECT_EQ(joined(effectsOf("WARN chapters")), leftOut.empty() ? "" : warning);
        EXPECT_EQ(effectsOf("WARN Tokens don't match 0 ").size(), 2u);
    }
}

TEST_F(Chapters, ObjectOfAChapterIsWrong)
{
    const std::vector<Bytes> entries = {
        message(item(1, "MOXE0042.MP4", 7, DB_MEDIA_CLIPPED), gumiOf(0xAA), gumiOf(0xBB), groupInfo(42, 0, 1)),
        message(item(2, "N"), gumiOf(0), groupInfo(1, 0, 1, 2), Bytes(4)), // every file is missing
        message(item(2, "N"), gumiOf(0), groupInfo(1, 2, 1)),              // there are no numbers
        message(item(4, "P"), gumiOf(0)),
    };
    const Bytes three = chapters({message(item(0, "X", 1, DB_MEDIA_HAS_EIS), videoRecord(message(5), 9, 1)),
                                  message(item(0, "Y", 2, DB_MEDIA_AUDIO_OPTION_STEREO), videoRecord(message(6, -1))),
                                  message(item(0, "Z"), videoRecord())}); // more than were asked for
    const std::string gumis = "'gumi':'" + std::string(32, 'a') + "','pgumi':'" + std::string(32, 'b');
    const std::string sound = "','zta':'0','ao':'", behind = "','mp':'0','dur':'2','hc':'";
    const std::string none = entryOf("N", "'DNE':'1','s':'4000'") + ",";
    const std::pair<const char *, std::string> cases[] = {
        {"all",
         entryOf("MOXE0042.MP4",
                 gumis + "','ls':'9','cl':'1','s':'3000','eis':'1" + sound + "off" + behind + "1','hi':[5]") +
             "," +
             entryOf("Y", "'ls':'-1','cl':'0','eis':'0" + sound + "stereo" + behind + "2','hi':[6,-1],'s':'3000'") +
             "," + none + none + entryOf("P", "'DNE':'1','hc':'0','wdr':'0','raw':'0','s':'3000'")},
        {"fields=s,eis", "{'s':'3000','eis':'1'},{'eis':'0','s':'3000'},{'s':'4000'},{'s':'4000'},{'s':'3000'}"},
        {"fields=wdr,m", "{'wdr':'0'}"},
    };
    for (const auto &[query, media] : cases) {
        ScriptedTransport transport;
        transport.answer(listRequest(10, 0, 0, 0),
                         page(4, entries, DB_LIST_OPTION_VIDEO_GROUPING | DB_LIST_OPTION_INCLUDE_GUMI));
        transport.answer(request("MOXE0042.MP4", "MX%02d0042.MP4", 1, 1), three);
        EXPECT_EQ(answer(generateMediaList, query), answerOf(200, blockOf(media)));
    }
}
