// The paged list: its entries, its passes, and what a failure leaves.
#include "listing.h"

namespace
{

using PagedList = ListTest;

std::string pagedAnswer(int pages, int items, int start, int listOptions = 0, int queryOptions = 0)
{
    return printedAnswer([&] { return dbGetPagedList(nullptr, pages, items, start, listOptions, queryOptions); });
}

std::string entry(const std::string &file, const std::string &keys)
{
    return "{'n':'" + file + "','mod':'2000','cre':'1000','us':'0','tr':'0'," + keys + "}";
}

std::string photoText(const std::string &file)
{
    return entry(file, "'hc':'0','wdr':'0','raw':'0','s':'3000'");
}

std::string fileName(uint32_t index)
{
    return "MOXE0" + std::to_string(100 + index) + ".JPG";
}

// Photos of a card, from one index to another, as entries and as the text of one block.
std::vector<Bytes> photos(uint32_t from, uint32_t to)
{
    std::vector<Bytes> entries;
    for (uint32_t i = from; i < to; ++i) {
        entries.push_back(photo(fileName(i)));
    }
    return entries;
}

std::string photosText(uint32_t from, uint32_t to)
{
    std::string text;
    for (uint32_t i = from; i < to; ++i) {
        text += (i == from ? "" : ",") + photoText(fileName(i));
    }
    return from < to ? blockOf(text) : "";
}

} // namespace

TEST_F(PagedList, EntryOfATypeIsWrong)
{
    const Bytes masks = {0xBF, 0, 0, 0, 0x5F, 0, 0, 0};
    ScriptedTransport transport;
    transport.answer(listRequest(6, 0, 4, 0),
                     page(6,
                          {message(item(0, "A", 1, DB_MEDIA_CLIPPED), gumiOf(0), gumiOf(0xBB), videoRecord({5, 6})),
                           message(item(2, "B"), gumiOf(0xAA), videoRecord({}, 8)), message(item(7, "C"), gumiOf(0)),
                           message(item(5, "D"), gumiOf(0), groupInfo(7, 1, 3)), message(item(4, "E"), gumiOf(0)),
                           message(item(10, "F", 2), gumiOf(0), groupInfo(7, 1, 3, 1), masks)},
                          DB_LIST_OPTION_INCLUDE_GUMI));
    const std::string audio = "'zta':'0','ao':'off','mp':'0','dur':'2','hc':'";
    const std::string burst = "'DNE':'1','g':'7','b':'1','l':'3','t':'";
    EXPECT_EQ(pagedAnswer(1, 6, 0, 4),
              answerOf(200, blockOf(entry("A", "'DNE':'1','pgumi':'" + std::string(32, 'b') + "','ls':'-1'," + audio +
                                                   "1','hi':[5,6],'s':'3000'") +
                                    "," +
                                    entry("B", "'gumi':'" + std::string(32, 'a') + "','ls':'8'," + audio +
                                                   "0','hi':[],'s':'3000'") +
                                    "," + entry("C", "'DNE':'1','hc':'0','s':'3000'") + "," +
                                    entry("D", burst + "b','m':[],'ghc':'0','ghi':[],'s':'4000'") + "," +
                                    entry("E", "'DNE':'1','hc':'0','wdr':'0','raw':'0','s':'3000'") + "," +
                                    entry("F", burst + "c','m':['2'],'ghc':'2','ghi':['1','3'],'s':'4000'"))));
}

TEST_F(PagedList, PassesAskForTheWrongItems)
{
    const struct {
        int pages;
        uint32_t items;
        uint32_t start;
        uint32_t total;
        uint32_t passes; // exchanges expected
        uint32_t listed;
    } cases[] = {
        {0, 10, 0, 100, 0, 0}, {-1, 10, 0, 100, 0, 0}, {3, 10, 0, 100, 3, 30}, {3, 10, 0, 15, 2, 15},
        {9, 4, 5, 10, 2, 5},   {9, 10, 7, 7, 1, 0},    {2, 0, 0, 5, 2, 0},
    };
    for (const auto &row : cases) {
        ScriptedTransport transport;
        for (uint32_t pass = 0; pass < row.passes; ++pass) {
            const uint32_t from = row.start + pass * row.items;
            const uint32_t to = std::min(from + row.items, row.total);
            transport.answer(listRequest(row.items, from, 1, 0), page(row.total, photos(from, to)));
        }
        EXPECT_EQ(pagedAnswer(row.pages, static_cast<int>(row.items), static_cast<int>(row.start), 1),
                  answerOf(200, photosText(row.start, row.start + row.listed)));
        EXPECT_EQ(effectsOf("ERROR"), Lines{});
    }
    ScriptedTransport transport; // above the total the items are listed as they come
    transport.answer(listRequest(1, 9, 0, 0x107), page(2, {photo("A.JPG")}));
    EXPECT_EQ(pagedAnswer(5, 1, 9, 0, 0x107), answerOf(200, blockOf("")));
    transport.answer(listRequest(1, 0, 0, 0), page(2, {photo("A.JPG")}));
    transport.answer(listRequest(1, 1, 0, 0), page(2, {photo("B.JPG", "101MOXEL")}));
    EXPECT_EQ(pagedAnswer(2, 1, 0),
              answerOf(200, blockOf(photoText("A.JPG")) + ",{'d':'101MOXEL','fs':[" + photoText("B.JPG") + "]}"));
}

TEST_F(PagedList, FailureLosesRepeatsOrKeepsTooMuch)
{
    const Bytes busy = message(responseHeader(0, DB_STATUS_BUSY));
    const Bytes first = page(20, photos(5, 7));
    const Bytes second = page(20, photos(7, 9));
    const Bytes halfCut = cut(page(20, {photo("X.JPG"), photo("Y.JPG")}), 159);
    const struct {
        const char *what;
        std::vector<Bytes> answers; // one for each pass
        std::string media;
    } cases[] = {
        {"the only pass", {busy}, ""},
        {"an empty page", {page(20, {})}, ""},
        {"the old text stays", {first, second, busy}, photosText(5, 9)},
        {"the old text is written over", {first, second, busy, first}, photosText(5, 7)},
        {"the whole part of a page stays", {busy, halfCut}, blockOf(photoText("X.JPG"))},
        {"and is written over", {first, halfCut, second}, photosText(7, 9)},
        {"the listing is empty by then", {first, busy, page(0, {})}, ""},
    };
    for (const auto &row : cases) {
        ScriptedTransport transport;
        uint32_t start = 5;
        for (const Bytes &answer : row.answers) {
            transport.answer(listRequest(2, start, 0, 0), answer);
            start = answer == first || answer == second ? start + 2 : 5;
        }
        EXPECT_EQ(pagedAnswer(static_cast<int>(row.answers.size()), 2, 5), answerOf(200, row.media)) << row.what;
    }
    ScriptedTransport transport;
    for (int i = 0; i < 12; ++i) {
        transport.sendFails(listRequest(2, 5, 0, 0), -3);
    }
    EXPECT_EQ(pagedAnswer(99, 2, 5), answerOf(500, ""));
    EXPECT_EQ(effectsOf("ERROR"), Lines{"ERROR error on IPC received, exiting, ret -3\n"});
    transport.openFails(-7);
    EXPECT_EQ(pagedAnswer(1, 1, 0), answerOf(500, ""));
    EXPECT_EQ(effects().back(), "ERROR mxIpcInit fail, ret -7\n");
    EXPECT_EQ(answerWithoutCard([] { return dbGetPagedList(nullptr, 0, 1, 0, 0, 0); }), answerOf(200, "", "0"));
}

TEST_F(PagedList, LimitMissedByOneOrPageLeftInTheMiddle)
{
    const std::string frame =
        entry("A.MP4", "'ls':'-1','zta':'0','ao':'off','mp':'0','dur':'2','hc':'0','hi':[],'s':'3000'");
    const size_t room = 0x20000 - std::string("{'d':'100MOXEL','fs':[").size();
    const Bytes group = message(item(1, "MOXE0001.MP4"), groupInfo(1, 0, 0));
    for (const bool over : {false, true}) {
        std::vector<std::vector<Bytes>> pages;
        for (const size_t length : lengthsFilling(room + over, 3000)) {
            pages.push_back({message(item(0, "A.MP4"), videoRecord(highlightsOfText(length - frame.size())))});
        }
        const auto total = static_cast<uint32_t>(pages.size() + over);
        if (over) {
            pages.back().push_back(group); // asked about, since the page goes on behind a refused text
        }
        ScriptedTransport transport;
        for (uint32_t i = 0; i < pages.size(); ++i) {
            transport.answer(listRequest(2, i, 2, 0), page(total, pages[i], DB_LIST_OPTION_VIDEO_GROUPING));
        }
        if (over) {
            transport.answer(fileRequest(DB_COMMAND_VIDEO_SPECIFIC_INFO),
                             message(responseHeader(DB_COMMAND_VIDEO_SPECIFIC_INFO), item(0, "B.MP4"), videoRecord()));
        }
        const std::string text = pagedAnswer(9999, 2, 0, 2);
        EXPECT_EQ(text.size(), answerOf(over ? 500 : 200, "]}").size() + (over ? 0 : 0x20000));
        const Lines refusals = effectsOf("ERROR exceeded buffer length for mxoutput ");
        EXPECT_TRUE(over ? refusals.at(0).find(" 131073, listEntryText:") != std::string::npos : refusals.empty());
    }
}
