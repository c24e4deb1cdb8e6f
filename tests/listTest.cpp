// The documents of both lists: their entries and limits, and what fails in front of them or on the way.
#include <map>
#include <regex>

#include "listing.h"

using MediaList = ListTest;

const Bytes pageRequest = listRequest(10, 0, 0, 0);
const Bytes chapterRequest = fileRequest(DB_COMMAND_VIDEO_SPECIFIC_INFO);
const Bytes group = message(item(2, "MOXE0001.MP4"), groupInfo(1, 0, 0));
const Bytes busy = message(responseHeader(0, DB_STATUS_BUSY), Bytes(60));

TEST_F(MediaList, EntryOfATypeIsWrongOrTheNextIsReadInTheWrongPlace)
{
    // Entry, list options (4 GUMI, 8 more info), query options, keys with <those of the media list|of the paged list>.
    const std::tuple<Bytes, int, int, std::string> cases[] = {
        {message(item(3, "X", 9, 0x44), videoRecord(message(7, -1), 4000000000, 3)), 0, 0x100,
         "'ls':'4000000000',<'cl':'3',|>'zta':'1','ao':'wind','mp':'0','dur':'2','hc':'9','hi':[7,-1],'s':'3000'"},
        {message(item(1, "X", 0, 0x800), gumiOf(0), videoRecord()), 4, 0x100,
         "'DNE':'1','ls':'-1',<'cl':'0',|>'zta':'0','ao':'off','mp':'1','dur':'2','hc':'0','hi':[],'s':'3000'"},
        {message(item(9, "X", 1, DB_MEDIA_HAS_WDR)), 0, 0x200, "'hc':'1','wdr':'1','raw':'0','s':'3000'"},
        {message(item(7, "X", 2)), 0, 0x400, "'hc':'2','s':'3000'"},
        {message(item(-1, "X"), uint8_t{0}, counted(15), db_more_info{}), 12, 0,
         "'gumi':'000102030405060708090a0b0c0d0e0f','s':'3000'"},
        {message(item(4, "X"), gumiOf(0xFF)), 4, 0x200, "'DNE':'1','hc':'0','wdr':'0','raw':'0','s':'3000'"},
        {message(item(8, "X"), groupInfo(7, 1, 3)), 0, 0x200,
         "'g':'7','b':'1','l':'3','t':'n','m':[]<|,'ghc':'0','ghi':[]>,'s':'4000'"},
        {message(item(6, "X", 2), groupInfo(8, 1, 40, 1), ~0u, 0xFEu, 0xFFFFFFD7u, 0xFFu), 0, 0x200,
         "'g':'8','b':'1','l':'40','t':'t','m':['40'],'ghc':<{'3':'1','5':'1'}|'2','ghi':['3','5']>,'s':'4000'"},
        {message(item(10, "X", 9), groupInfo(7, UINT32_MAX - 1, UINT32_MAX, 1), Bytes(8)), 0, 0x200,
         "'g':'7','b':'-2','l':'-1','t':'c','m':['-2'],'ghc':<{'-2':'1','-1':'1'}|'9','ghi':['-2','-1']>,'s':'4000'"},
    };
    for (const auto &[entry, options, bits, keys] : cases) {
        for (const bool paged : {false, true}) {
            ScriptedTransport transport;
            transport.answer(listRequest(10, 0, paged ? options : 0, paged ? bits : 0),
                             page(2, {entry, entry}, options));
            const std::string one =
                entryOf("X", std::regex_replace(keys, std::regex("<(.*)\\|(.*)>"), paged ? "$2" : "$1"));
            EXPECT_EQ(paged ? answer(dbGetPagedList, 1, 10, 0, options, bits) : answer(generateMediaList, "all"),
                      answerOf(200, blockOf(one + "," + one)));
        }
    }
}

TEST_F(MediaList, QueryLeavesAStrayTextBlockOrComma)
{
    db_content_info clip = item(0, "MOXE0001.MP4", 1, DB_MEDIA_IS_A_TRANSCODE);
    clip.uploadStatus = 3;
    clip.size = 5000000000;
    const Bytes three = page(3, {message(clip, videoRecord(message(5))),
                                 message(item(5, "G", 1), groupInfo(7, 1, 3, 1), Bytes{0xBF, 0, 0, 0, 0x7F, 0, 0, 0}),
                                 message(item(11, "R"))});
    const auto video = [](const char *dir) { return message(item(2, "V%n", 0, 0, dir), videoRecord()); };
    const Bytes six = page(6, {message(item(5, "G", 1, 0, "1"), groupInfo(7, 1, 40, 1), Bytes(16)), video("2"),
                               photo("P", "2"), photo("Q", "3"), video("4"), message(item(7, "M", 0, 0, ""))});
    const std::tuple<const char *, uint32_t, Bytes, std::string> cases[] = {
        {"fields=cre,s", 0, three, blockOf("{'cre':'1000','s':'5000000000'},{'cre':'1000','s':'4000'}")},
        {"fields=tr,cl,ao,dur", 0, three, blockOf("{'tr':'1','cl':'0','ao':'off','dur':'2'},{'tr':'0'}")},
        {"fields=mod,us,ls,zta,mp", 0, three,
         blockOf("{'mod':'2000','us':'3','ls':'-1','zta':'0','mp':'0'},{'mod':'2000','us':'0'}")},
        {"fields=m,n", 0, three,
         blockOf("{'n':'MOXE0001.MP4'},{'n':'G','g':'7','b':'1','l':'3','t':'b','m':['2'],'ghc':{'1':'1'}}")},
        {"fields=DNE,gumi,pgumi,wdr,raw,eis", 0, three, ""},
        {"fields=hi", 0, six,
         blockOf("{'hc':'0','hi':[]},{'hc':'0'}", "2") + "," + blockOf("{'hc':'0'}", "3") + "," +
             blockOf("{'hc':'0','hi':[]}", "4") + "," + blockOf("{'hc':'0'}", "")},
        {"f=video&fields=n", 0x100, six, blockOf("{'n':'V%n'}", "2") + "," + blockOf("{'n':'V%n'}", "4")},
        {"f=raw&fields=n", 0x800, three, ""},
    };
    for (const auto &[query, options, response, media] : cases) {
        ScriptedTransport transport;
        transport.answer(listRequest(10, 0, 0, options), response);
        EXPECT_EQ(answer(generateMediaList, query), answerOf(200, media)) << query;
    }
}

TEST_F(MediaList, LimitMissedByOneOrOldTextCountedBehindARestart)
{
    const std::string pagedKeys = "'ls':'-1','zta':'0','ao':'off','mp':'0','dur':'2','hc':'0','hi':[],'s':'3000'";
    const size_t block = blockOf("").size();
    const std::string full = "ERROR exceeded buffer length for mxoutput 131073, ";
    // Whether it is the paged list, the lengths of blocks, the first complaint and their number.
    const std::tuple<bool, std::vector<size_t>, std::string, size_t> cases[] = {
        {false, {block + 1536}, "", 0},
        {false, {block + 1600}, "ERROR 1543 > 1536, entry buff exceeded, listEntryText:", 5},
        {false, {65536}, "", 0},
        {false, {65537}, "ERROR 65537 > 65536, dir buff exceeded, mediaList:", 1},
        {false, {60000, 60000, 11070}, "", 0},
        {false, {60000, 60000, 11071}, full + "mxMediaDBOutput:", 1},
        {true, {131073 + 2}, full + "listEntryText:", 13},
    };
    for (const auto &[paged, blocks, complaint, complaints] : cases) {
        const size_t frame = (paged ? entryOf("", pagedKeys) : "{'n':'','hc':'0','hi':[],'s':'3000'}").size();
        std::vector<std::vector<Bytes>> pages;
        for (size_t i = 0; i < blocks.size(); ++i) { // entries and the commas between them fill the room in a block
            for (size_t room = blocks[i] - block, length = 0; room > 0; room -= std::min(room, length + 1)) {
                length = room <= 1600 ? room : 1000;
                const size_t own = length - frame; // characters of the name, and of highlights of ten digits each
                pages.push_back({message(item(0, std::string(own % 11 + 1, 'A'), 0, 0, std::to_string(10000000 + i)),
                                         videoRecord(Bytes(own / 11 * sizeof(uint32_t), 0x40)))});
            }
        }
        const auto count = static_cast<uint32_t>(pages.size());
        const bool refusedInPage = complaint.ends_with("listEntryText:");
        if (refusedInPage) { // the paged list goes on and is refused again; the other does not ask for the chapters
            pages.back().push_back(paged ? photo("P") : group);
        }
        ScriptedTransport transport;
        for (int restarts = complaint.empty() ? 1 : 0; restarts >= 0; --restarts) {
            for (uint32_t i = 0; i < count; ++i) {
                transport.answer(listRequest(10, i, 0, 0), page(count + refusedInPage + (restarts > 0), pages[i], 2));
            }
            if (restarts > 0) {
                transport.answer(listRequest(10, count, 0, 0), busy);
            }
        }
        const std::string text =
            paged ? answer(dbGetPagedList, 9999, 10, 0, 0, 0) : answer(generateMediaList, "fields=n,hi,s");
        const size_t whole =
            std::accumulate(blocks.begin(), blocks.end(), answerOf(200, "").size() + blocks.size() - 1);
        EXPECT_TRUE(complaint.empty() ? text.size() == whole : text == answerOf(500, paged ? "]}" : "")) << text;
        EXPECT_TRUE(joined(effectsOf("ERROR")).starts_with(complaint)) << joined();
        EXPECT_EQ(effectsOf("ERROR").size(), complaints) << complaint;
    }
}

TEST_F(MediaList, NamedFileAskedForOrToldWrongly)
{
    const auto answerTo = [](uint32_t status) { return message(responseHeader(7, status)); };
    const Bytes real = message(responseHeader(7), item(0, "REAL0001.MP4"), gumiOf(0xAA));
    const std::string found = "{'n':'REAL0001.MP4','gumi':'" + std::string(32, 'a') + "'}";
    const auto absent = [](const std::string &file) { return "{'n':'" + file + "','DNE':'1'}"; };
    // Names, exchanges about them, status, entries.
    const std::tuple<std::string, std::vector<std::pair<std::string, Bytes>>, int, std::string> cases[] = {
        {",,A.MP4,,B&status=x,C", {{"A.MP4", answerTo(4)}, {"B", real}}, 200, absent("A.MP4") + "," + found},
        {"MOXE%2C02.MP4", {{"MOXE%2C02.MP", answerTo(3)}}, 200, absent("MOXE%2C02.MP")},
        {"A,B,C", {{"A", real}, {"B", answerTo(1)}}, 503, ""},
    };
    for (const auto &[files, exchanges, status, entries] : cases) {
        ScriptedTransport transport;
        for (const auto &[file, response] : exchanges) {
            transport.answer(fileRequest(7, fileSpec("100MOXEL", file)), response);
        }
        EXPECT_EQ(answer(generateMediaList, ("f=gumi&folder=100MOXEL&files=" + files).c_str()),
                  answerOf(status, status == 200 ? blockOf(entries) : ""))
            << files;
    }
}

TEST_F(MediaList, BeginningFailsWithTheWrongAnswer)
{
    const std::string refused = "ERROR mxIpcInit fail, ret -7\n|";
    const std::string unknown = "ERROR getCardIDStr ret < 0|";
    const std::string tooLong = "ERROR &folder= value too long (8 char max), aborting\n|";
    // Query, or null for the paged list; result of the opening, card known; text; errors.
    const std::tuple<const char *, int, bool, std::string, std::string> cases[] = {
        {"f=x", 0, true, headOf(501), "ERROR f=x not implemented\n|ERROR parseMediaListQuery ret: 501, query:'f=x'|"},
        {"p=a&t=x", 0, true, headOf(501),
         "ERROR t=x not implemented\n|ERROR parseMetadataQuery ret: 501, query:'p=a&t=x'|"},
        {"fields=x,y", -7, true, answerOf(500, "", "42','unsupported_fields':'x,y"), refused},
        {"f=gumi&folder=100MOXEL&files=A", -7, true, answerOf(500, ""), refused + "ERROR rtosConnectionCtor ret < 0|"},
        {nullptr, -7, true, answerOf(500, ""), refused},
        {"", -7, false, answerOf(404, "", "0"), refused + unknown},
        {"", 0, false, answerOf(404, "", "0"), unknown},
        {"p=100MOXEL/MOXE0001.MP4&t=dur", 0, false, headOf(404), unknown},
        {nullptr, 0, false, answerOf(200, "", "0"), ""},
        {"folder=100MOXEL&f=gumi&files=A", 0, true, "", "ERROR Required 'gumi=' key missing, aborting\n|"},
        {"f=gumi", 0, true, answerOf(400, ""), "ERROR Required '&folder=' key missing, aborting\n|"},
        {"f=gumi&folder=a%62cdefg&files=A", 0, true, answerOf(400, ""), tooLong},
        {"f=gumi&folder=", 0, true, answerOf(400, ""), tooLong},
        {"f=gumi&folder=1&files=", 0, true, answerOf(200, blockOf("", "1")), ""},
        {"f=gumi&folder=1&x=1&files=A", 0, true, answerOf(400, ""),
         "ERROR Required '&files=' key missing, aborting\n|"},
    };
    for (const auto &[query, openResult, cardKnown, text, errors] : cases) {
        ScriptedTransport transport;
        std::filesystem::remove_all(card.path("MISC"));
        card.write(cardKnown ? "MISC/card" : "MISC", "42"); // a file in the place of the folder
        if (openResult < 0) {
            transport.openFails(openResult);
        }
        const auto generate = query != nullptr && query[0] == 'p' ? generateMetadata : generateMediaList;
        EXPECT_EQ(query != nullptr ? answer(generate, query) : answer(dbGetPagedList, cardKnown, 1, 0, 0, 0), text);
        EXPECT_EQ(joined(effectsOf("ERROR")), errors);
    }
}

TEST_F(MediaList, FailedExchangeMisjudgedOrRetriedTooOften)
{
    // The exchange that fails and the words about it.
    const std::pair<ScriptedTransport::Step, std::string> cases[] = {
        {{pageRequest, -3, 0, {}, false}, "ret -3"},
        {{pageRequest, 0, -4, {}, false}, "bytesRead -4"},
        {{pageRequest, 0, 20, message(responseHeader(0, 3)), false}, "status 3"},
        {{pageRequest, 0, 20, message(responseHeader(0)), false}, "bytesRead 20"},
        {{pageRequest, 0, 40, page(1, {}), false}, "bytesRead 40"},
        {{chapterRequest, -3, 0, {}, false}, "ret -3"},
        {{chapterRequest, 0, -4, {}, false}, "status 0, bytesRead -4"},
        {{chapterRequest, 0, 20, chapters({}, 3), false}, "status 3, bytesRead 20"},
        {{chapterRequest, 0, 20, chapters({}), false}, "status 0, bytesRead 20"},
    };
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    for (const auto &[step, words] : cases) {
        for (const bool paged : {false, true}) {
            const bool aboutChapters = step.request == chapterRequest;
            ScriptedTransport transport;
            for (int i = 0; i < 12; ++i) {
                if (aboutChapters) {
                    transport.answer(pageRequest, page(2, {group, photo("B")}, DB_LIST_OPTION_VIDEO_GROUPING));
                }
                transport.steps.push_back(step);
            }
            EXPECT_EQ(paged ? answer(dbGetPagedList, 99, 10, 0, 0, 0) : answer(generateMediaList, "all"),
                      answerOf(500, paged && aboutChapters ? "]}" : ""));
            const std::string retry = "WARN error on IPC received, retrying, " + words + "\n|";
            const std::string prefix = aboutChapters && !paged && step.sent < 0 ? "ERROR MEDIADB " : "ERROR ";
            EXPECT_EQ(joined(effectsOf("sleep")) + joined(effectsOf("WARN")) + joined(effectsOf("ERROR")),
                      times(11, "sleep 100000|") + times(11, retry) + prefix + "error on IPC received, exiting, " +
                          words + "\n|");
        }
    }
}

TEST_F(MediaList, WrongPagesAskedForOrRestartLosesRepeatsOrKeepsTooMuch)
{
    const auto photoOf = [](const char *file) { return entryOf(file, "'hc':'0','wdr':'0','raw':'0','s':'3000'"); };
    const std::string one = blockOf(photoOf("A")) + "," + blockOf(photoOf("B"), "101MOXEL");
    const std::string all = blockOf(photoOf("A")) + "," + blockOf(photoOf("B") + "," + photoOf("C"), "101MOXEL");
    // Whether it is the paged list, where each answer uses up a pass; the answers below; status and text.
    const std::tuple<bool, std::string, int, std::string> cases[] = {
        {false, times(11, "1b") + "12", 200, all},
        {false, times(12, "1b"), 500, ""},
        {false, "1b0", 200, ""},
        {true, "", 200, ""},
        {true, "b", 200, ""},
        {true, "1b", 200, one}, // the old text stays until a new one comes
        {true, "1b12", 200, all},
        {true, "32", 200, all},
        {true, "14", 200, all},
        {true, "5", 200, one},
        {true, "1b0", 200, ""},
        {true, "bh", 200, blockOf(photoOf("A"))},
        {true, "gc", 200, blockOf(photoOf("A"))},
        {true, "1m", 200, one + "," + blockOf("")},
    };
    for (const auto &[paged, steps, status, media] : cases) {
        const uint32_t start = paged ? 5 : 0;
        const uint32_t total = start + 3;
        const Bytes a = photo("A"), b = photo("B", "101MOXEL"), c = photo("C", "101MOXEL");
        // Each with the number of items that are listed for good.
        const std::map<char, std::pair<uint32_t, Bytes>> answers = {
            {'0', {0, page(0, {})}},
            {'1', {2, page(total, {a, b})}},
            {'2', {1, page(total, {c})}},
            {'3', {2, page(total, {a, b, c})}}, // one more than was asked for
            {'4', {1, page(total, {c, a})}},    // one more than there are
            {'5', {2, page(1, {a, b})}},        // above the total they are listed as they come
            {'b', {0, busy}},
            {'c', {0, busy}}, // about the chapters in the page before
            {'g', {0, page(total, {a, group, b}, DB_LIST_OPTION_VIDEO_GROUPING)}},
            {'h', {0, cut(page(total, {a, b}), 159)}},
            {'m', {1, page(total, {message(item(7, "M"))})}},
        };
        ScriptedTransport transport;
        uint32_t index = start;
        for (const char step : steps) {
            const auto &[items, response] = answers.at(step);
            const Bytes request = paged ? listRequest(2, index, 0, 0x207) : listRequest(10, index, 0, 0);
            transport.answer(step == 'c' ? chapterRequest : request, response);
            index = items == 0 ? start : index + items;
        }
        const int passes = static_cast<int>(steps.size()) - steps.ends_with('c');
        EXPECT_EQ(paged ? answer(dbGetPagedList, passes, 2, 5, 0, 0x207) : answer(generateMediaList, "all"),
                  answerOf(status, media))
            << steps;
    }
    ScriptedTransport transport; // pages of no items
    transport.steps.assign(13, {listRequest(0, 5, 0, 0), 0, 40, page(8, {}), false});
    EXPECT_EQ(answer(dbGetPagedList, 13, 0, 5, 0, 0), answerOf(200, ""));
}
