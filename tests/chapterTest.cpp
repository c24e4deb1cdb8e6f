// Groups of chapters: what is asked about them, and what becomes of the answers, in both lists.
#include "listing.h"

namespace
{

constexpr uint32_t grouped = DB_LIST_OPTION_VIDEO_GROUPING;
constexpr uint32_t withGumi = DB_LIST_OPTION_INCLUDE_GUMI;
const Bytes pageRequest = listRequest(10, 0, 0, 0);

using Chapters = ListTest;

Bytes request(const std::vector<std::string> &files)
{
    Bytes bytes = message(db_request_header{DB_COMMAND_VIDEO_SPECIFIC_INFO, static_cast<uint32_t>(files.size()), 0});
    for (const std::string &file : files) {
        bytes << fileSpec("100MOXEL", file);
    }
    return bytes;
}

Bytes response(const std::vector<Bytes> &records, uint32_t status = DB_STATUS_OK)
{
    const auto count = static_cast<uint32_t>(records.size());
    return responseOf(responseHeader(DB_COMMAND_VIDEO_SPECIFIC_INFO, status, count), records);
}

Bytes record(const std::string &file)
{
    return message(item(0, file), videoRecord());
}

Bytes group(const std::string &file, const db_group_content_info &info, const Bytes &missing = {})
{
    return message(item(2, file), info, missing);
}

std::string pagedAnswer(int pages)
{
    return printedAnswer([&] { return dbGetPagedList(nullptr, pages, 10, 0, 0, 0); });
}

/** The first file, and those with a number in front of that of the group, 42. */
std::vector<std::string> numbered(const std::string &first, int from, int to)
{
    std::vector<std::string> files = {first};
    for (int i = from; i <= to; ++i) {
        files.push_back((i < 10 ? "MX0" : "MX") + std::to_string(i) + "0042.MP4");
    }
    return files;
}

} // namespace

TEST_F(Chapters, WrongFilesAskedFor)
{
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    const std::string first = "MOXE0042.MP4";
    const auto leftOut = [](const std::string &from, const std::string &to, const std::string &number) {
        return Lines{"WARN chapters from " + from + " to " + to + " of group " + number + " are left out, file "};
    };
    const struct {
        Bytes entry;
        std::vector<std::string> files;
        Lines warning;
    } cases[] = {
        {group(first, groupInfo(0, 0, 2)), numbered(first, 1, 2), {}},
        {group("MX010001.MP4", groupInfo(42, 3, 4)), {"MX010001.MP4", "MX040042.MP4"}, {}},
        {group("G0120003.MP4", groupInfo(0, 3, 4)), {"G0120003.MP4", "G0120004.MP4"}, {}},
        {group("MOX.MP4", groupInfo(7, 9, 10)), {"MOX.MP4", "G0070010.MP4"}, {}},
        {group(first, groupInfo(42, 0, 3, 1), {0xB0, 0, 0, 0}), {first, "MX020042.MP4", "MX030042.MP4"}, {}},
        {group(first, groupInfo(42, 0, 1, 1), {0xBF, 0xFF, 0xFF, 0xFF}), {first}, {}},
        {group(first, groupInfo(42, 98, 101)), numbered(first, 99, 99), leftOut("100", "101", "42")},
        {group(first, groupInfo(10000, 0, 2)), {first}, leftOut("1", "2", "10000")},
        {group(first, groupInfo(42, 0, 73)), numbered(first, 1, 73), {}},
        {group(first, groupInfo(42, 0, 74)), numbered(first, 1, 73), leftOut("74", "74", "42")},
        {group(first, groupInfo(42, 0, UINT32_MAX)), numbered(first, 1, 73), leftOut("74", "4294967295", "42")},
        {group(first, groupInfo(42, 9999, UINT32_MAX)), {first}, leftOut("10000", "4294967295", "42")},
    };
    for (const auto &row : cases) {
        ScriptedTransport transport;
        transport.answer(pageRequest, page(2, {row.entry, photo("NEXT.JPG")}, grouped));
        transport.answer(request(row.files), response({record("X.MP4")}));
        EXPECT_TRUE(listAnswer("all").find(json("},{'n':'NEXT.JPG'")) != std::string::npos) << row.files.back();
        Lines warnings = effectsOf("WARN");
        EXPECT_EQ(warnings.size(), row.warning.size());
        EXPECT_TRUE(warnings.empty() || warnings[0].starts_with(row.warning.at(0))) << warnings[0];
    }
}

TEST_F(Chapters, ObjectOfAChapterIsWrong)
{
    const Bytes entry =
        message(item(1, "MOXE0042.MP4", 7, DB_MEDIA_CLIPPED), gumiOf(0xAA), gumiOf(0xBB), groupInfo(42, 0, 2));
    const Bytes answer =
        response({message(item(0, "X.MP4", 1, DB_MEDIA_HAS_EIS), videoRecord({5}, 9, 1)),
                  message(item(0, "Y.MP4", 2, DB_MEDIA_AUDIO_OPTION_STEREO), videoRecord({6, 0xFFFFFFFF}))});
    const auto expected = [](const std::string &first, const std::string &second) {
        const std::string times = "','mod':'2000','cre':'1000','us':'0','tr':'0'";
        return "{'n':'MOXE0042.MP4" + times + ",'gumi':'" + std::string(32, 'a') + "','pgumi':'" +
               std::string(32, 'b') + "','ls':'9'" + first + ",'s':'3000','eis':'1','zta':'0','ao':'off','mp':'0'" +
               ",'dur':'2','hc':'1','hi':[5]},{'n':'Y.MP4" + times + ",'ls':'-1'" + second +
               ",'eis':'0','zta':'0','ao':'stereo','mp':'0','dur':'2','hc':'2','hi':[6,-1],'s':'3000'}";
    };
    const std::pair<const char *, std::string> cases[] = {
        {"all", blockOf(expected(",'cl':'1'", ",'cl':'0'"))},
        {"fields=gumi", blockOf("{'gumi':'" + std::string(32, 'a') + "'}")},
        {"fields=s,eis", blockOf("{'s':'3000','eis':'1'},{'eis':'0','s':'3000'}")},
        {"fields=wdr,raw,m", ""},
        {"paged", blockOf(expected("", ""))},
    };
    for (const auto &[query, media] : cases) {
        ScriptedTransport transport;
        transport.answer(pageRequest, page(1, {entry}, grouped | withGumi));
        transport.answer(request(numbered("MOXE0042.MP4", 1, 2)), answer);
        EXPECT_EQ(query == std::string("paged") ? pagedAnswer(1) : listAnswer(query), answerOf(200, media)) << query;
    }
    ScriptedTransport transport; // refused items are asked about, and none is where every file is missing
    transport.answer(listRequest(10, 0, 0, 0x200),
                     page(2, {group("MOXE0042.MP4", groupInfo(42, 0, 0)), photo("A.JPG")}, grouped));
    transport.answer(request({"MOXE0042.MP4"}), answer);
    EXPECT_EQ(listAnswer("f=photos&fields=n"), answerOf(200, blockOf("{'n':'A.JPG'}")));
    const std::vector<Bytes> missing = {group("A.MP4", groupInfo(1, 0, 1, 2), Bytes(4)),
                                        group("B.MP4", groupInfo(1, 2, 1))};
    transport.answer(pageRequest, page(2, missing, grouped));
    EXPECT_EQ(listAnswer("fields=n,s,eis"),
              answerOf(200, blockOf("{'n':'A.MP4','s':'4000'},{'n':'B.MP4','s':'4000'}")));
}

TEST_F(Chapters, FailedExchangeLosesRepeatsOrEndsTheList)
{
    const Bytes files = request({"MOXE0042.MP4", "MX010042.MP4"});
    const Bytes good = response({record("MOXE0042.MP4"), record("MX010042.MP4")});
    const Bytes listing = page(2, {photo("A.JPG"), group("MOXE0042.MP4", groupInfo(42, 0, 1))}, grouped);
    const std::pair<Bytes, const char *> cases[] = {
        {{}, "ret -3"},
        {{}, "status 0, bytesRead -4"},
        {cut(good, 19), "status 0, bytesRead 19"},
        {response({}, 3), "status 3, bytesRead 20"},
        {response({}), "status 0, bytesRead 20"},
        {cut(good, 187), "status 0, bytesRead 187"},
        {response({message(item(0, "A"), db_video_specific_info{0, 0, 0, 0, 0x40000000, 0})}),
         "status 0, bytesRead 104"},
    };
    for (const auto &row : cases) {
        const std::string words = row.second;
        const auto attempt = [&](ScriptedTransport &transport) {
            transport.answer(pageRequest, listing);
            failExchange(transport, files, row.first, words);
        };
        {
            ScriptedTransport transport;
            attempt(transport);
            transport.answer(pageRequest, listing);
            transport.answer(files, good);
            g_logLevel = UTIL_LOG_LEVEL_WARNING;
            EXPECT_EQ(listAnswer("fields=n"),
                      answerOf(200, blockOf("{'n':'A.JPG'},{'n':'MOXE0042.MP4'},{'n':'MX010042.MP4'}")));
            EXPECT_EQ(effectsOf("sleep").size(), 1u);
            EXPECT_EQ(effectsOf("WARN").back(), "WARN error on IPC received, retrying, " + words + "\n");
        }
        for (const bool paged : {false, true}) {
            ScriptedTransport transport;
            for (int i = 0; i < 12; ++i) {
                attempt(transport);
            }
            const std::string exit = "error on IPC received, exiting, " + words + "\n";
            // The block that is open stays open in the close of the paged list.
            EXPECT_EQ(paged ? pagedAnswer(99) : listAnswer("fields=n"), answerOf(500, paged ? "]}" : ""));
            EXPECT_EQ(effectsOf("ERROR"),
                      Lines{"ERROR " + std::string(!paged && words == "ret -3" ? "MEDIADB " : "") + exit});
        }
    }
}

TEST_F(Chapters, PassesRunOutAndLeaveHalfAnEntry)
{
    const Bytes entry = group("MOXE0042.MP4", groupInfo(42, 0, 0));
    const std::string photos =
        "{'n':'A.JPG','mod':'2000','cre':'1000','us':'0','tr':'0','hc':'0','wdr':'0','raw':'0','s':'3000'}";
    const std::pair<std::vector<Bytes>, std::string> cases[] = {{{entry}, blockOf("")},
                                                                {{photo("A.JPG"), entry}, blockOf(photos)}};
    for (const auto &[entries, media] : cases) {
        ScriptedTransport transport;
        transport.answer(pageRequest, page(9, entries, grouped));
        transport.answer(request({"MOXE0042.MP4"}), response({}, DB_STATUS_BUSY));
        EXPECT_EQ(pagedAnswer(1), answerOf(200, media));
    }
}
