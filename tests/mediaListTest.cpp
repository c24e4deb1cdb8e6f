// The documents of the lists: entries, masks and limits, named files, and what is printed when a document cannot begin.
#include "listing.h"
#include "mxMediaDBOutput.h"

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

using MediaList = ListTest;

TEST_F(MediaList, EntryOfATypeIsWrongOrTheNextIsReadInTheWrongPlace)
{
    const auto x = [](db_content_type type, uint32_t highlights = 0, uint32_t properties = 0) {
        return item(type, "X", highlights, properties);
    };
    const Bytes masks40 = {0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 0xD7, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0};
    const std::string plain = "'hc':'0','wdr':'0','raw':'0','s':'3000'";
    const std::string burst = "'g':'7','b':'1','l':'3','t':'";
    const std::string b32(32, 'b');
    // Entry, list options (4 GUMI, 8 more info), query options; keys: first, those of the media or paged list, last.
    const std::tuple<Bytes, int, int, std::string, std::string, std::string, std::string> cases[] = {
        {message(x(0, 2, 0x20), videoRecord(message(7, -1), 4000000000, 3)), 0, 0x100, "'ls':'4000000000',",
         "'cl':'3',", "", "'zta':'0','ao':'stereo','mp':'0','dur':'2','hc':'2','hi':[7,-1],'s':'3000'"},
        {message(x(3, 9, 0x44), videoRecord()), 0, 0x100, "'ls':'-1',", "'cl':'0',", "",
         "'zta':'1','ao':'wind','mp':'0','dur':'2','hc':'9','hi':[],'s':'3000'"},
        {message(x(1, 0, 0x801), gumiOf(0), gumiOf(0xBB), videoRecord(message(1))), 4, 0x100,
         "'DNE':'1','pgumi':'" + b32 + "','ls':'-1',", "'cl':'0',", "",
         "'zta':'0','ao':'off','mp':'1','dur':'2','hc':'0','hi':[1],'s':'3000'"},
        {message(x(9, 1, DB_MEDIA_HAS_WDR)), 0, 0x200, "'hc':'1','wdr':'1','raw':'0','s':'3000'", "", "", ""},
        {message(x(4, 0, DB_MEDIA_HAS_RAW)), 0, 0x200, "'hc':'0','wdr':'0','raw':'1','s':'3000'", "", "", ""},
        {message(x(7, 2)), 0, 0x400, "'hc':'2','s':'3000'", "", "", ""},
        {message(x(-1), gumiOf(0xBB), db_more_info{}), 12, 0, "'gumi':'" + b32 + "','s':'3000'", "", "", ""},
        {message(x(4), gumiOf(0xFF), db_more_info{}), 12, 0x200, "'DNE':'1'," + plain, "", "", ""},
        {message(x(4), uint8_t{0}, counted(15)), 4, 0, "'gumi':'000102030405060708090a0b0c0d0e0f'," + plain, "", "",
         ""},
        {message(x(5), groupInfo(7, 1, 3)), 0, 0x200, burst + "b','m':[]", "", ",'ghc':'0','ghi':[]", ",'s':'4000'"},
        {message(x(6, 2), groupInfo(8, 1, 40, 1), masks40), 0, 0x200,
         "'g':'8','b':'1','l':'40','t':'t','m':['40'],'ghc':", "{'3':'1','5':'1'}", "'2','ghi':['3','5']",
         ",'s':'4000'"},
        {message(x(8, 9), groupInfo(7, 1, 3, 9), Bytes{0x40, 0, 0, 0, 0xC0, 0, 0, 0}), 0, 0x200,
         burst + "n','m':['1','3'],'ghc':", "{'3':'1'}", "'9','ghi':['3']", ",'s':'4000'"},
        {message(x(10, 9), groupInfo(7, UINT32_MAX - 2, UINT32_MAX, 2), Bytes(8)), 0, 0x200,
         "'g':'7','b':'-3','l':'-1','t':'c','m':['-3','-2'],'ghc':", "{'-3':'1','-2':'1','-1':'1'}",
         "'9','ghi':['-3','-2','-1']", ",'s':'4000'"},
    };
    for (const auto &[entry, options, bits, begin, media, paged, end] : cases) {
        for (const bool isPaged : {false, true}) {
            ScriptedTransport transport;
            transport.answer(listRequest(10, 0, isPaged ? options : 0, isPaged ? bits : 0),
                             page(2, {entry, entry}, options));
            const std::string text =
                isPaged ? answer(dbGetPagedList, 1, 10, 0, options, bits) : answer(generateMediaList, "all");
            const std::string one = entryOf("X", begin + (isPaged ? paged : media) + end);
            EXPECT_EQ(text, answerOf(200, blockOf(one + "," + one)));
        }
    }
}

TEST_F(MediaList, QueryLeavesAStrayTextBlockOrComma)
{
    db_content_info clip = item(0, "MOXE0001.MP4", 1, DB_MEDIA_IS_A_TRANSCODE);
    clip.uploadStatus = 3;
    clip.size = 5000000000;
    const Bytes two = page(2, {message(clip, videoRecord(message(5))),
                               message(item(5, "G", 1), groupInfo(7, 1, 3, 1), Bytes{0xBF, 0, 0, 0, 0x7F, 0, 0, 0})});
    const std::string groupKeys = "'g':'7','b':'1','l':'3','t':'b','m':['2'],'ghc':{'1':'1'}}";
    const Bytes group = message(item(5, "G", 1, 0, "1"), groupInfo(7, 1, 40, 1), Bytes(16));
    const auto video = [](const char *dir) { return message(item(2, "V", 0, 0, dir), videoRecord()); };
    const Bytes seven = page(7, {group, video("2"), photo("P", "2"), photo("P%n", "3"),
                                 message(item(11, "R", 0, 0, "3")), video("4"), message(item(7, "M", 0, 0, ""))});
    const auto names = [](const char *dir, const std::string &files) { return blockOf("{'n':'" + files + "'}", dir); };
    const std::string every = names("1", "G") + "," + names("2", "V'},{'n':'P") + "," + names("3", "P%n") + "," +
                              names("4", "V") + "," + names("", "M");
    const std::string counts = blockOf("{'hc':'0','hi':[]},{'hc':'0'}", "2") + "," + blockOf("{'hc':'0'}", "3") + "," +
                               blockOf("{'hc':'0','hi':[]}", "4") + "," + blockOf("{'hc':'0'}", "");
    const std::tuple<const char *, uint32_t, Bytes, std::string> cases[] = {
        {"fields=cre,s", 0, two, blockOf("{'cre':'1000','s':'5000000000'},{'cre':'1000','s':'4000'}")},
        {"fields=tr,cl,ao,dur", 0, two, blockOf("{'tr':'1','cl':'0','ao':'off','dur':'2'},{'tr':'0'}")},
        {"fields=mod,us,ls,zta,mp", 0, two,
         blockOf("{'mod':'2000','us':'3','ls':'-1','zta':'0','mp':'0'},{'mod':'2000','us':'0'}")},
        {"fields=m,n", 0, two, blockOf("{'n':'MOXE0001.MP4'},{'n':'G'," + groupKeys)},
        {"fields=DNE,gumi,pgumi,wdr,raw,eis", 0, two, ""},
        {"fields=hi", 0, seven, counts},
        {"f=video&fields=n", 0x100, seven, names("2", "V") + "," + names("4", "V")},
        {"fields=n", 0, seven, every},
        {"f=raw&fields=n", 0x800, seven, ""},
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
    // Whether it is the paged list, the longest entry, the lengths of blocks, the first complaint and their number.
    const std::tuple<bool, size_t, std::vector<size_t>, std::string, size_t> cases[] = {
        {false, 1536, {block + 1536}, "", 0},
        {false, 1537, {block + 1537}, "ERROR 1537 > 1536, entry buff exceeded, listEntryText:", 1},
        {false, 1000, {65536}, "", 0},
        {false, 1000, {65537}, "ERROR 65537 > 65536, dir buff exceeded, mediaList:", 1},
        {false, 1000, {60000, 60000, 11070}, "", 0},
        {false, 1000, {60000, 60000, 11071}, full + "mxMediaDBOutput:", 1},
        {true, 1400, {131073 + 2}, full + "listEntryText:", 19},
    };
    for (const auto &[paged, longestEntry, blocks, complaint, complaints] : cases) {
        const size_t frame = (paged ? entryOf("", pagedKeys) : "{'n':'','hc':'0','hi':[],'s':'3000'}").size();
        std::vector<std::vector<Bytes>> pages;
        for (size_t i = 0; i < blocks.size(); ++i) { // entries and the commas between them fill the room in a block
            for (size_t room = blocks[i] - block, length = 0; room > 0; room -= std::min(room, length + 1)) {
                length = room <= longestEntry ? room : longestEntry / 2;
                const size_t own = length - frame; // characters of the name, and of highlights of ten digits each
                pages.push_back({message(item(0, std::string(own % 11 + 1, 'A'), 0, 0, std::to_string(10000000 + i)),
                                         videoRecord(Bytes(own / 11 * sizeof(uint32_t), 0x40)))});
            }
        }
        const auto count = static_cast<uint32_t>(pages.size());
        const int options = paged ? DB_LIST_OPTION_VIDEO_GROUPING : 0;
        const bool refusedInPage = complaint.ends_with("listEntryText:"); // the paged list walks on to the group
        if (refusedInPage) {
            pages.back().push_back(message(item(1, "MOXE0001.MP4"), groupInfo(1, 0, 0)));
        }
        ScriptedTransport transport;
        const auto script = [&](uint32_t total) {
            for (uint32_t i = 0; i < count; ++i) {
                transport.answer(listRequest(10, i, options, 0), page(total, pages[i], 2));
            }
        };
        if (complaint.empty() && !paged) { // the paged list keeps its old text
            script(count + 1);
            transport.answer(listRequest(10, count, 0, 0), message(responseHeader(0, DB_STATUS_BUSY)));
        }
        script(count + refusedInPage);
        if (refusedInPage && paged) {
            transport.answer(fileRequest(DB_COMMAND_VIDEO_SPECIFIC_INFO),
                             chapters({message(item(0, "X"), videoRecord())}));
        }
        const std::string text =
            paged ? answer(dbGetPagedList, 9999, 10, 0, options, 0) : answer(generateMediaList, "fields=n,hi,s");
        const size_t whole =
            std::accumulate(blocks.begin(), blocks.end(), answerOf(200, "").size() + blocks.size() - 1);
        EXPECT_TRUE(complaint.empty() ? text.size() == whole : text == answerOf(500, paged ? "]}" : "")) << text;
        EXPECT_TRUE(joined(effectsOf("ERROR")).starts_with(complaint)) << joined();
        EXPECT_EQ(effectsOf("ERROR").size(), complaints) << complaint;
    }
}

TEST_F(MediaList, NamedFileAskedForOrToldWrongly)
{
    const auto header = [](uint32_t status) { return responseHeader(DB_COMMAND_GUMI_BY_FILE_NAME, status); };
    const auto found = [&](const std::string &file, uint32_t properties = 0) {
        return message(header(DB_STATUS_OK), item(0, file, 0, properties), gumiOf(0xAA), gumiOf(0xBB));
    };
    const Bytes unknown = message(header(DB_STATUS_NOT_FOUND_SILENT));
    const std::string real = "{'n':'REAL0001.MP4','gumi':'" + std::string(32, 'a') + "'";
    const auto absent = [](const std::string &file) { return "{'n':'" + file + "','DNE':'1'}"; };
    // Names, exchanges about them, status, entries.
    const std::tuple<std::string, std::vector<std::pair<std::string, Bytes>>, int, std::string> cases[] = {
        {"A.MP4,B.MP4",
         {{"A.MP4", unknown}, {"B.MP4", found("REAL0001.MP4")}},
         200,
         absent("A.MP4") + "," + real + "}"},
        {"A", {{"A", found("REAL0001.MP4", DB_MEDIA_CLIPPED)}}, 200, real + ",'pgumi':'" + std::string(32, 'b') + "'}"},
        {"A", {{"A", cut(found("A"), 95)}}, 200, "{'n':'A','gumi':'" + std::string(32, '0') + "'}"},
        {"", {}, 200, ""},
        {",,A,,B&status=x,C", {{"A", unknown}, {"B", unknown}}, 200, absent("A") + "," + absent("B")},
        {"MOXE0001.MP4X,MOXE%2C02.MP4",
         {{"MOXE0001.MP4", message(header(3))}, {"MOXE%2C02.MP", message(header(4))}},
         200,
         absent("MOXE0001.MP4") + "," + absent("MOXE%2C02.MP")},
        {"A,B,C", {{"A", found("REAL0001.MP4")}, {"B", message(header(1))}}, 503, ""},
    };
    for (const auto &[files, exchanges, status, entries] : cases) {
        for (const std::string dir : {"100MOXEL", "100"}) {
            ScriptedTransport transport;
            for (const auto &[file, response] : exchanges) {
                transport.answer(fileRequest(DB_COMMAND_GUMI_BY_FILE_NAME, fileSpec(dir, file)), response);
            }
            const std::string query = "f=gumi&folder=" + dir + "&files=" + files;
            EXPECT_EQ(answer(generateMediaList, query.c_str()),
                      answerOf(status, status == 200 ? blockOf(entries, dir) : ""))
                << query;
        }
    }
}

TEST_F(MediaList, BeginningFailsWithTheWrongAnswer)
{
    const char *const pGumi = "f=gumi&folder=100MOXEL&files=A";
    const char *const pMeta = "p=100MOXEL/MOXE0001.MP4&t=dur";
    const std::string refused = "init|ERROR mxIpcInit fail, ret -7\n|";
    const std::string noConnection = refused + "ERROR rtosConnectionCtor ret < 0|";
    const std::string unknown = "ERROR getCardIDStr ret < 0|";
    const std::string failed = " failed medialist\n|";
    const std::string noEntry = "ERROR malloc localEntryBuffer" + failed + "ERROR mxMediaDBOutputCtor ret < 0|";
    const std::string unlike = "ERROR f=x not implemented\n|ERROR parseMediaListQuery ret: 501, query:'f=x'|";
    const std::string noGumi = "ERROR Required 'gumi=' key missing, aborting\n|";
    const std::string noFolder = "init|ERROR Required '&folder=' key missing, aborting\n|destroy|";
    const std::string noFiles = "init|ERROR Required '&files=' key missing, aborting\n|destroy|";
    const std::string tooLong = "init|ERROR &folder= value too long (8 char max), aborting\n|destroy|";
    // Query, or null for the paged list; allocations that fail; result of the opening; card known; text; effects.
    const std::tuple<const char *, unsigned, int, bool, std::string, std::string> cases[] = {
        {"f=x", 0, 0, true, headOf(501), unlike},
        {"p=a/b&t=DUR", 0, 0, true, headOf(501),
         "ERROR t=DUR not implemented\n|ERROR parseMetadataQuery ret: 501, query:'p=a/b&t=DUR'|"},
        {"", 7, 0, true, headOf(500),
         "ERROR malloc localBuffer" + failed + "ERROR malloc localDirectoryBuffer" + failed + noEntry},
        {pGumi, 4, 0, true, headOf(500), noEntry},
        {pMeta, 4, 0, true, headOf(500), noEntry},
        {nullptr, 1, 0, true, headOf(500), "ERROR malloc" + failed},
        {"fields=x,y", 0, -7, true, answerOf(500, "", "42','unsupported_fields':'x,y"), refused},
        {pGumi, 0, -7, true, answerOf(500, ""), noConnection + "destroy|"},
        {pMeta, 0, -7, true, headOf(500), noConnection + "destroy|"},
        {nullptr, 0, -7, true, answerOf(500, ""), refused},
        {"", 0, -7, false, answerOf(404, "", "0"), refused + unknown},
        {"", 0, 0, false, answerOf(404, "", "0"), "init|" + unknown + "destroy|"},
        {pMeta, 0, 0, false, headOf(404), "init|" + unknown + "destroy|"},
        {nullptr, 0, 0, false, answerOf(200, "", "0"), "init|destroy|"},
        {"folder=100MOXEL&f=gumi&files=A", 0, 0, true, "", noGumi},
        {"f=gumi", 0, 0, true, answerOf(400, ""), noFolder},
        {"f=gumi&folder=a%62cdefg&files=A", 0, 0, true, answerOf(400, ""), tooLong},
        {"f=gumi&folder=", 0, 0, true, answerOf(400, ""), tooLong},
        {"f=gumi&folder=100MOXEL&x=1&files=A", 0, 0, true, answerOf(400, ""), noFiles},
    };
    for (const auto &[query, allocations, openResult, cardKnown, text, expected] : cases) {
        ScriptedTransport transport;
        std::filesystem::remove_all(card.path("MISC"));
        card.write(cardKnown ? "MISC/card" : "MISC", "42"); // a file in the place of the folder
        if (openResult < 0) {
            transport.openFails(openResult);
        }
        failingAllocations = allocations;
        const auto generate = query != nullptr && query[0] == 'p' ? generateMetadata : generateMediaList;
        EXPECT_EQ(query != nullptr ? answer(generate, query) : answer(dbGetPagedList, cardKnown, 1, 0, 0, 0), text);
        EXPECT_EQ(joined(), expected);
    }
}

TEST(Output, LongTextCutOrCountedWrongly)
{
    mxMediaDBOutput output;
    ASSERT_EQ(mxMediaDBOutputCtor(&output, nullptr), 0);
    int status = 200;
    const std::string text(LOCAL_ENTRY_BUFFER_LIMIT / 2, 'x');
    appendEntry(&output, &status, "%s%s", text.c_str(), text.c_str());
    EXPECT_EQ(output.localEntryBuffer, text + text);
    EXPECT_EQ(output.localEntryPos, output.localEntryBuffer + LOCAL_ENTRY_BUFFER_LIMIT);
    EXPECT_EQ(status, 200);
    appendEntry(&output, &status, "%s", "x");
    EXPECT_EQ(output.localEntryPos, output.localEntryBuffer);
    EXPECT_EQ(status, 500);
    mxMediaDBOutputDtor(&output);
}
