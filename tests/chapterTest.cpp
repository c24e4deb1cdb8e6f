// Groups of chapters: what is asked about them, and what is written and logged of the answers.
#include "listing.h"

using Chapters = ListTest;

// Asks about a file and those that are named with the numbers of a range.
static Bytes request(const std::string &first, const char *pFormat, int from, int to)
{
    Bytes files = message(fileSpec("100MOXEL", first));
    for (int i = from; i <= to; ++i) {
        files << fileSpec("100MOXEL", formatted(pFormat, i));
    }
    const auto count = static_cast<uint32_t>(files.size() / sizeof(db_file_spec));
    return message(db_request_header{DB_COMMAND_VIDEO_SPECIFIC_INFO, count, 0}, files);
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
        {moxe, groupInfo(static_cast<uint32_t>(-7), 0, 2), {}, "MX%02d-007.MP4", 1, 2, ""},
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
        transport.answer(listRequest(10, 0, 0, 0), page(2, {group, photo("P")}, DB_LIST_OPTION_VIDEO_GROUPING));
        transport.answer(request(first, pFormat, from, to), chapters({message(item(0, "X"), videoRecord())}));
        EXPECT_EQ(answer(generateMediaList, "f=upload"), answerOf(200, blockOf("{'us':'0'},{'us':'0'}")));
        const std::string warning = "WARN chapters from " + leftOut + " are left out, file 100MOXEL/" + first + "\n|";
        EXPECT_EQ(joined(effectsOf("WARN")), leftOut.empty() ? "" : warning);
    }
}

TEST_F(Chapters, ObjectOfAChapterIsWrong)
{
    constexpr uint32_t options = DB_LIST_OPTION_VIDEO_GROUPING | DB_LIST_OPTION_INCLUDE_GUMI;
    const db_content_info looped = item(1, "MOXE0042.MP4", 7, DB_MEDIA_CLIPPED);
    const std::vector<Bytes> entries = {
        message(looped, gumiOf(0xAA), gumiOf(0xBB), groupInfo(42, 0, 1)),
        message(item(2, "N"), gumiOf(0), groupInfo(1, 0, 1, 2), Bytes(4)), // every file is missing
        message(item(2, "N"), gumiOf(0), groupInfo(1, 2, 1)),              // there are no numbers
        message(item(4, "P"), gumiOf(0)),
    };
    const Bytes response =
        chapters({message(item(0, "X", 1, DB_MEDIA_HAS_EIS), videoRecord(message(5), 9, 1)),
                  message(item(0, "Y", 2, DB_MEDIA_AUDIO_OPTION_STEREO), videoRecord(message(6, -1))),
                  message(item(0, "Z"), videoRecord())});
    const std::string gumis = "'gumi':'" + std::string(32, 'a') + "','pgumi':'" + std::string(32, 'b') + "',";
    const std::string first = "'s':'3000','eis':'1','zta':'0','ao':'off','mp':'0','dur':'2','hc':'1','hi':[5]";
    const std::string second = "'eis':'0','zta':'0','ao':'stereo','mp':'0','dur':'2','hc':'2','hi':[6,-1],'s':'3000'";
    const std::string none = entryOf("N", "'DNE':'1','s':'4000'");
    const std::string behind =
        none + "," + none + "," + entryOf("P", "'DNE':'1','hc':'0','wdr':'0','raw':'0','s':'3000'");
    const auto whole = [&](const std::string &clip, const std::string &noClip) {
        return blockOf(entryOf("MOXE0042.MP4", gumis + "'ls':'9'," + clip + first) + "," +
                       entryOf("Y", "'ls':'-1'," + noClip + second) + "," + behind);
    };
    const std::tuple<const char *, uint32_t, std::string> cases[] = {
        {"all", 0, whole("'cl':'1',", "'cl':'0',")},
        {"fields=s,eis", 0,
         blockOf("{'s':'3000','eis':'1'},{'eis':'0','s':'3000'},{'s':'4000'},{'s':'4000'},{'s':'3000'}")},
        {"fields=wdr,m", 0, blockOf("{'wdr':'0'}")},
        {nullptr, 0, whole("", "")},
    };
    for (const auto &[query, queryOptions, media] : cases) {
        ScriptedTransport transport;
        transport.answer(listRequest(10, 0, 0, queryOptions), page(4, entries, options));
        transport.answer(request("MOXE0042.MP4", "MX%02d0042.MP4", 1, 1), response);
        EXPECT_EQ(query != nullptr ? answer(generateMediaList, query) : answer(dbGetPagedList, 1, 10, 0, 0, 0),
                  answerOf(200, media));
    }
}

TEST_F(Chapters, TraceOutOfOrder)
{
    g_logLevel = UTIL_LOG_LEVEL_TRACE;
    const Bytes video = message(item(2, "MOXE0001.MP4"), db_more_info{1, 2, 3, 4, 5, 6, 7}, videoRecord());
    ScriptedTransport transport;
    transport.answer(listRequest(10, 0, 0, 0), page(1, {video}, DB_LIST_OPTION_INCLUDE_MORE_INFO), true);
    const std::string text = answer(generateMediaList, "all");
    EXPECT_TRUE(text.starts_with("\nSnd :\n[00000/00024]:")) << text;
    EXPECT_NE(text.find("\n\nRcv :\n[00000/00152]:"), std::string::npos) << text;
    EXPECT_EQ(effectsOf("DEBUG     more_info.").size(), 6u);
    Lines seen = effects();
    std::erase_if(seen, [](const std::string &line) {
        return line.starts_with("DEBUG  ") || line.starts_with("DEBUG pSettings") || line.find(" time ") != line.npos;
    });
    EXPECT_EQ(
        seen,
        (Lines{"init", "DEBUG Request: command_type 0\n", "send", "receive", "DEBUG ResponseHeader: command_type 0\n",
               formatted("WARN Tokens don't match 0 %d", transport.lastToken), "DEBUG Received db_more_info: \n",
               "DEBUG videogrouping=0, Grouped video content type 2, for file 100MOXEL/MOXE0001.MP4\n",
               "DEBUG Treating file type 2 as DB_CONTENT_TYPE_SINGLE_VIDEO\n", "destroy"}));
}
