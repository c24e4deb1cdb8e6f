// The media list: whole documents, and every failure that leaves an empty one.
#include <numeric>

#include "listing.h"

// Which of the next allocations fail: bit 0 the next one.
static unsigned failingAllocations = 0;

extern "C" {
void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    const bool fails = (failingAllocations & 1u) != 0;
    failingAllocations >>= 1;
    return fails ? nullptr : __real_calloc(count, size);
}
}

namespace
{

constexpr uint32_t withGumi = DB_LIST_OPTION_INCLUDE_GUMI;
constexpr uint32_t withMore = DB_LIST_OPTION_INCLUDE_MORE_INFO;

using MediaList = ListTest;

Bytes request(uint32_t start, uint32_t options = 0)
{
    return listRequest(10, start, 0, options);
}

/** The answer to a query about one page; without keys that are known it asks for every key of every item. */
std::string answerTo(const Bytes &response, const std::string &query = "all", uint32_t options = 0)
{
    ScriptedTransport transport;
    transport.answer(request(0, options), response);
    return listAnswer(query);
}

std::string named(const std::string &file)
{
    return "{'n':'" + file + "'}";
}

std::string block(const std::string &dir, const std::string &entries)
{
    return "{'d':'" + dir + "','fs':[" + entries + "]}";
}

} // namespace

TEST_F(MediaList, EntryOfATypeIsWrongOrTheNextIsReadInTheWrongPlace)
{
    const auto group = [](db_content_type type, uint32_t highlights, const db_group_content_info &info,
                          const Bytes &masks) { return message(item(type, "G.JPG", highlights), info, masks); };
    const Bytes missing40 = {0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0};
    const Bytes highlights40 = {0xD7, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0};
    const std::string common = ",'mod':'2000','cre':'1000','us':'0','tr':'0',";
    const std::string video = common + "'ls':'-1','cl':'0','zta':'0','ao':'off','mp':'0','dur':'2','hc':'";
    const std::string burst = "{'n':'G.JPG'" + common + "'g':'7','b':'1','l':'";
    EXPECT_EQ(answerTo(page(10,
                            {
                                message(item(0, "MOXE0001.MP4", 5, 0x4 | 0x40 | 0x20 | 0x800),
                                        videoRecord({7, 0xFFFFFFFF}, 4000000000, 3)),
                                message(item(3, "B.MP4", 9), videoRecord()),
                                message(item(1, "C.MP4"), videoRecord({1})),
                                message(item(11, "D.RAW")),
                                message(item(9, "E.JPG", 1, DB_MEDIA_HAS_WDR | DB_MEDIA_HAS_RAW)),
                                message(item(7, "F.MET", 2)),
                                group(5, 0, groupInfo(7, 1, 4), {}),
                                group(6, 2, groupInfo(7, 1, 40, 1), message(missing40, highlights40)),
                                group(8, 9, groupInfo(7, 1, 3, 9), {0x40, 0, 0, 0, 0xC0, 0, 0, 0}),
                                group(10, 1, groupInfo(7, 1, 3, 2), Bytes(8)),
                            })),
              answerOf(200, blockOf("{'n':'MOXE0001.MP4'" + common +
                                    "'ls':'4000000000','cl':'3','zta':'1','ao':'wind','mp':'1','dur':'2','hc':'5'," +
                                    "'hi':[7,-1],'s':'3000'},{'n':'B.MP4'" + video + "9','hi':[],'s':'3000'}," +
                                    "{'n':'C.MP4'" + video + "0','hi':[1],'s':'3000'},{'n':'E.JPG'" + common +
                                    "'hc':'1','wdr':'1','raw':'1','s':'3000'},{'n':'F.MET'" + common +
                                    "'hc':'2','s':'3000'}," + burst + "4','t':'b','m':[],'s':'4000'}," + burst +
                                    "40','t':'t','m':['40'],'ghc':{'3':'1','5':'1'},'s':'4000'}," + burst +
                                    "3','t':'n','m':['1','3'],'ghc':{'3':'1'},'s':'4000'}," + burst +
                                    "3','t':'c','m':['1','2'],'ghc':{'1':'1'},'s':'4000'}")));

    const std::string photo = "'hc':'0','wdr':'0','raw':'0','s':'3000'}";
    const std::string ab = "'gumi':'abababababababababababababababab',";
    const db_more_info more = {};
    EXPECT_EQ(answerTo(page(5,
                            {message(item(-1, "A"), gumiOf(1), more),
                             message(item(4, "B", 0, DB_MEDIA_CLIPPED), gumiOf(0xAB), gumiOf(0x0C), more),
                             message(item(4, "C"), gumiOf(0xFF), more),
                             message(item(4, "D", 0, DB_MEDIA_IS_A_TRANSCODE), gumiOf(0xAB), more),
                             message(item(4, "E"), gumiOf(0), more)},
                            withGumi | withMore)),
              answerOf(200, blockOf("{'n':'B'" + common + ab + "'pgumi':'0c0c0c0c0c0c0c0c0c0c0c0c0c0c0c0c'," + photo +
                                    ",{'n':'C'" + common + "'DNE':'1'," + photo +
                                    ",{'n':'D','mod':'2000','cre':'1000','us':'0','tr':'1'," + ab + photo +
                                    ",{'n':'E'" + common + "'DNE':'1'," + photo)));
}

TEST_F(MediaList, MaskLeavesAStrayTextOrDropsTooMuch)
{
    const Bytes response =
        page(2, {message(item(0, "A.MP4", 1), videoRecord({5})),
                 message(item(5, "G.JPG", 1), groupInfo(7, 1, 3, 1), Bytes{0xBF, 0, 0, 0, 0x7F, 0, 0, 0})});
    const std::string groupKeys = "'g':'7','b':'1','l':'3','t':'b','m':['2'],'ghc':{'1':'1'}}";
    const std::pair<const char *, std::string> cases[] = {
        {"fields=cre,s", blockOf("{'cre':'1000','s':'3000'},{'cre':'1000','s':'4000'}")},
        {"fields=hi", blockOf("{'hc':'1','hi':[5]}")},
        {"fields=m", blockOf("{" + groupKeys)},
        {"fields=m,n", blockOf(named("A.MP4") + ",{'n':'G.JPG'," + groupKeys)},
        {"fields=DNE,gumi,pgumi,wdr,raw,eis", ""},
        {"f=upload", blockOf("{'us':'0'},{'us':'0'}")},
    };
    for (const auto &[query, media] : cases) {
        EXPECT_EQ(answerTo(response, query), answerOf(200, media)) << query;
    }
}

TEST_F(MediaList, CheckOfItemsLeavesAStrayBlockOrComma)
{
    const auto video = [](const char *dir) { return message(item(2, "A.MP4", 0, 0, dir), videoRecord()); };
    const Bytes mixed =
        page(6, {photo("B.JPG", "101MOXEL"), video("101MOXEL"),
                 message(item(5, "B.JPG", 1, 0, "102MOXEL"), groupInfo(7, 1, 40, 1), Bytes(16)),
                 message(item(11, "D.RAW", 0, 0, "102MOXEL")), video("103MOXEL"), message(item(7, "C.MET", 0, 0, ""))});
    const auto media = [](const std::string &file, const char *first, const char *second) {
        return block(first, named(file)) + "," + block(second, named(file));
    };
    const std::tuple<const char *, uint32_t, std::string> cases[] = {
        {"f=video&fields=n", 0x100, media("A.MP4", "101MOXEL", "103MOXEL")},
        {"f=photos&fields=n", 0x200, media("B.JPG", "101MOXEL", "102MOXEL")},
        {"f=raw&fields=n", 0x800, ""},
        {"fields=hi", 0,
         block("101MOXEL", "{'hc':'0'},{'hc':'0','hi':[]}") + "," + block("103MOXEL", "{'hc':'0','hi':[]}") + "," +
             block("", "{'hc':'0'}")},
    };
    for (const auto &[query, options, text] : cases) {
        EXPECT_EQ(answerTo(mixed, query, options), answerOf(200, text)) << query;
    }
    EXPECT_EQ(answerTo(page(1, {message(item(7, "A.MET"))}), "", 0xFFFFFB00), answerOf(200, ""));
}

TEST_F(MediaList, PagesOverlapOrStopEarly)
{
    std::vector<Bytes> entries;
    std::string texts;
    for (int i = 10; i < 22; ++i) {
        entries.push_back(photo("MOXE00" + std::to_string(i) + ".JPG"));
        texts += (i == 10 ? "" : ",") + named("MOXE00" + std::to_string(i) + ".JPG");
    }
    const auto part = [&](long from, long to) {
        return std::vector<Bytes>(entries.begin() + from, entries.begin() + to);
    };
    {
        ScriptedTransport transport;
        transport.answer(request(0), page(12, part(0, 7)));
        transport.answer(request(7), page(12, part(7, 12)), true);
        EXPECT_EQ(listAnswer("fields=n"), answerOf(200, blockOf(texts)));
    }
    ScriptedTransport transport;
    transport.answer(request(0), page(11, part(0, 12)));
    transport.answer(request(10), page(12, part(10, 12)));
    EXPECT_EQ(listAnswer("fields=n"), answerOf(200, blockOf(texts)));
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    EXPECT_EQ(answerTo(page(3, part(0, 5)), "fields=n").size(), answerOf(200, blockOf(texts.substr(0, 62))).size());
    EXPECT_EQ(effectsOf("WARN"), (Lines{"WARN fieldMask = 0x00000001, unsupported \n",
                                        "WARN 3 total_entries, but 0 starting_index with 5 count_returned\n",
                                        "WARN truncating to 3 items in this page\n"}));
}

TEST_F(MediaList, FailedExchangeLosesRepeatsOrEndsTheList)
{
    const Bytes good = page(1, {photo("A.JPG")});
    const std::pair<Bytes, const char *> cases[] = {
        {{}, "ret -3"},
        {{}, "bytesRead -4"},
        {{}, "bytesRead 0"},
        {message(responseHeader(0, 3)), "status 3"},
        {message(responseHeader(0, DB_STATUS_BUSY), Bytes(60)), "status 1"},
        {cut(good, 19), "bytesRead 19"},
        {cut(page(0, {}), 39), "bytesRead 39"},
        {cut(good, 99), "bytesRead 99"},
        {page(1, {}), "bytesRead 40"},
        {page(1, {photo("A")}, withGumi), "bytesRead 100"},
        {page(1, {photo("A")}, withMore), "bytesRead 100"},
        {page(1, {message(item(4, "A", 0, DB_MEDIA_CLIPPED), gumiOf(1), Bytes(15))}, withGumi), "bytesRead 131"},
        {page(1, {message(item(0, "A"))}), "bytesRead 100"},
        {page(1, {message(item(0, "A"), db_video_specific_info{0, 0, 0, 0, 0x40000001, 0}, 0)}), "bytesRead 128"},
        {page(1, {message(item(5, "A"), groupInfo(1, 1, 0, 1), Bytes(8))}), "bytesRead 132"},
        {page(1, {message(item(5, "A", 1), groupInfo(1, 1, 33, 1), Bytes(12))}), "bytesRead 136"},
    };
    for (const auto &[response, pWords] : cases) {
        const std::string words = pWords;
        {
            ScriptedTransport transport;
            failExchange(transport, request(0), response, words);
            transport.answer(request(0), good);
            g_logLevel = UTIL_LOG_LEVEL_WARNING;
            EXPECT_EQ(listAnswer("f=upload").substr(0, 13), "HTTP/1.1 200 ") << words;
            g_logLevel = UTIL_LOG_LEVEL_ERROR;
            const std::string retry = "WARN error on IPC received, retrying, " + words + "\n";
            Lines expected = {"init", "send", "receive", "sleep 100000", retry, "send", "receive", "destroy"};
            expected.erase(expected.begin() + 2, expected.begin() + (words == "ret -3" ? 3 : 2));
            EXPECT_EQ(effects(), expected);
        }
        ScriptedTransport transport;
        for (int i = 0; i < 12; ++i) {
            failExchange(transport, request(0), response, words);
        }
        EXPECT_TRUE(
            listAnswer("fields=n,x,y").ends_with(json("{'id':'42','unsupported_fields':'x,y','media':[]}\r\n")));
        EXPECT_EQ(effectsOf("sleep").size(), 11u) << words;
        EXPECT_EQ(effectsOf("ERROR"), Lines{"ERROR error on IPC received, exiting, " + words + "\n"});
    }
}

TEST_F(MediaList, RestartRepeatsItemsOrKeepsOldOnes)
{
    const Bytes first = page(3, {photo("A.JPG"), photo("B.JPG", "101MOXEL")});
    const std::string whole = blockOf(named("A.JPG")) + "," + block("101MOXEL", named("B.JPG") + "," + named("C.JPG"));
    const std::tuple<int, Bytes, int, std::string> cases[] = {
        {1, first, 200, whole}, {11, first, 200, whole}, {12, {}, 500, ""}, {1, page(0, {}), 200, ""}};
    for (const auto &[failures, last, status, media] : cases) {
        ScriptedTransport transport;
        for (int i = 0; i < failures; ++i) {
            transport.answer(request(0), first);
            transport.answer(request(2), message(responseHeader(0, DB_STATUS_BUSY)));
        }
        if (!last.empty()) {
            transport.answer(request(0), last);
        }
        if (last == first) {
            transport.answer(request(2), page(3, {photo("C.JPG", "101MOXEL")}));
        }
        EXPECT_EQ(listAnswer("fields=n"), answerOf(status, media)) << failures;
    }
}

TEST_F(MediaList, LimitOfABufferMissedByOne)
{
    const std::tuple<std::vector<size_t>, size_t, const char *> cases[] = {
        {{1536 + 24}, 1536, nullptr},
        {{1537 + 24}, 1537, "ERROR 1537 > 1536, entry buff exceeded, listEntryText:"},
        {{65536}, 1000, nullptr},
        {{65537}, 1000, "ERROR 65537 > 65536, dir buff exceeded, mediaList:"},
        {{60000, 60001, 11071}, 1000, nullptr},
        {{60000, 60001, 11072}, 1000, "ERROR exceeded buffer length for mxoutput 131073, mxMediaDBOutput:"},
    };
    const size_t hiFrame = std::string("{'hc':'0','hi':[]}").size();
    for (const auto &[blocks, longestEntry, pComplaint] : cases) {
        std::vector<Bytes> entries;
        for (size_t i = 0; i < blocks.size(); ++i) { // every block but the first has a comma in front
            const std::string dir = "10" + std::to_string(i) + "MOXEL";
            const size_t frame = block(dir, "").size() + (i == 0 ? 0 : 1);
            for (const size_t length : lengthsFilling(blocks[i] - frame, longestEntry)) {
                const Bytes video = videoRecord(highlightsOfText(length - hiFrame));
                entries.push_back(message(item(0, "A.MP4", 0, 0, dir), video));
            }
        }
        ScriptedTransport transport;
        for (uint32_t i = 0; i < entries.size(); ++i) {
            transport.answer(request(i), page(static_cast<uint32_t>(entries.size()), {entries[i]}));
        }
        const std::string text = listAnswer("fields=hi");
        if (pComplaint == nullptr) {
            const size_t total = std::accumulate(blocks.begin(), blocks.end(), size_t{0});
            EXPECT_EQ(text.size(), answerOf(200, "").size() + total);
            EXPECT_EQ(effectsOf("ERROR"), Lines{});
        } else {
            EXPECT_EQ(text, answerOf(500, ""));
            EXPECT_EQ(effectsOf(pComplaint), Lines{effectsOf("ERROR").at(0)});
        }
    }
}

TEST_F(MediaList, SetUpFailsWithTheWrongAnswer)
{
    const std::string head = "HTTP/1.1 500 \r\nContent-Type: application/json\r\n\r\n";
    {
        ScriptedTransport transport;
        EXPECT_TRUE(listAnswer("f=VIDEO").ends_with("HTTP/1.1 501" + head.substr(12)));
        EXPECT_EQ(effects().back(), "ERROR parseMediaListQuery ret: 501, query:'f=VIDEO'");
        failingAllocations = 2;
        EXPECT_EQ(listAnswer(""), head);
        EXPECT_EQ(effects().back(), "ERROR mxMediaDBOutputCtor ret < 0");
        failingAllocations = 1;
        EXPECT_EQ(printedAnswer([] { return dbGetPagedList(nullptr, 1, 1, 0, 0, 0); }), head);
        EXPECT_EQ(effects().back(), "ERROR malloc failed medialist\n");
        transport.openFails(-7);
        EXPECT_EQ(listAnswer(""), answerOf(500, ""));
        EXPECT_EQ(effects().back(), "ERROR mxIpcInit fail, ret -7\n");
    }
    for (const bool opens : {true, false}) {
        ScriptedTransport transport;
        if (!opens) {
            transport.openFails(-1);
        }
        EXPECT_EQ(answerWithoutCard([] { return generateMediaList(nullptr, ""); }), answerOf(404, "", "0"));
        EXPECT_EQ(effects().back(), opens ? "destroy" : "ERROR getCardIDStr ret < 0");
    }
}

TEST_F(MediaList, TraceOutOfOrder)
{
    g_logLevel = UTIL_LOG_LEVEL_TRACE;
    const Bytes video = message(item(2, "MOXE0001.MP4"), db_more_info{1, 2, 3, 4, 5, 6, 7}, videoRecord());
    const std::string text = answerTo(page(1, {video}, withMore));
    EXPECT_TRUE(text.starts_with("\nSnd :\n[00000/00024]:")) << text;
    EXPECT_NE(text.find("\n\nRcv :\n[00000/00152]:"), std::string::npos) << text;
    EXPECT_EQ(effectsOf("DEBUG     more_info.").size(), 6u);
    Lines seen = effects();
    std::erase_if(seen, [](const std::string &line) {
        return line.starts_with("DEBUG  ") || line.starts_with("DEBUG pSettings") || line.find(" time ") != line.npos;
    });
    EXPECT_EQ(seen, (Lines{"init", "DEBUG Request: command_type 0\n", "send", "receive",
                           "DEBUG ResponseHeader: command_type 0\n", "DEBUG Received db_more_info: \n",
                           "DEBUG videogrouping=0, Grouped video content type 2, for file 100MOXEL/MOXE0001.MP4\n",
                           "DEBUG Treating file type 2 as DB_CONTENT_TYPE_SINGLE_VIDEO\n", "destroy"}));
}
