// The walk of both lists: which pages are asked for, how an exchange fails, and what a restart leaves.
#include <map>

#include "listing.h"

using PagedList = ListTest;

const Bytes pageRequest = listRequest(10, 0, 0, 0);
const Bytes chapterRequest = fileRequest(DB_COMMAND_VIDEO_SPECIFIC_INFO);
const Bytes group = message(item(2, "MOXE0001.MP4"), groupInfo(1, 0, 0));
const Bytes busy = message(responseHeader(0, DB_STATUS_BUSY), Bytes(60));

static std::string photoOf(const std::string &file)
{
    return entryOf(file, "'hc':'0','wdr':'0','raw':'0','s':'3000'");
}

TEST_F(PagedList, WrongPagesAskedForOrItemsListed)
{
    const std::string lowered = "WARN command 0 requested 10, response returned 12, setting response returned to 10\n|";
    const std::string cutOff =
        "WARN 3 total_entries, but 0 starting_index with 5 count_returned\n|WARN truncating to 3 items in this page\n|";
    // Passes, or 99 for the media list; items per page, start, total; numbers of items that come; those listed.
    const std::tuple<int, int, int, uint32_t, std::vector<int>, int, std::string> cases[] = {
        {0, 10, 0, 100, {}, 0, ""},
        {3, 10, 0, 100, {10, 10, 10}, 30, ""},
        {9, 4, 5, 10, {4, 1}, 5, ""},
        {2, 0, 0, 5, {0, 0}, 0, ""},
        {9, 3, 9, 2, {3}, 3, ""}, // above the total they are listed as they come
        {99, 10, 0, 12, {12, 2}, 12, lowered},
        {99, 10, 0, 3, {5}, 3, cutOff},
    };
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    for (const auto &[passes, itemsPerPage, start, total, pages, listed, warnings] : cases) {
        const bool paged = passes != 99;
        ScriptedTransport transport;
        int index = start;
        for (const int count : pages) {
            transport.answer(listRequest(itemsPerPage, index, paged, 0),
                             page(total, std::vector<Bytes>(static_cast<size_t>(count), photo("A"))));
            index += std::min(count, itemsPerPage);
        }
        const std::string text =
            paged ? answer(dbGetPagedList, passes, itemsPerPage, start, 1, 0) : answer(generateMediaList, "all");
        const std::string block = listed == 0 ? "" : blockOf(photoOf("A") + times(listed - 1, "," + photoOf("A")));
        EXPECT_EQ(text, answerOf(200, block));
        EXPECT_EQ(joined(effectsOf("WARN")), warnings);
    }
}

TEST_F(PagedList, FailedExchangeMisjudgedOrRetriedTooOften)
{
    const Bytes video = message(item(0, "A"), videoRecord());
    // Whether it is about chapters, the response, the words about it.
    const std::tuple<bool, Bytes, std::string> cases[] = {
        {false, {}, "ret -3"},
        {false, {}, "bytesRead -4"},
        {false, message(responseHeader(0, 3)), "status 3"},
        {false, busy, "status 1"},
        {false, page(1, {}), "bytesRead 40"},
        {true, {}, "ret -3"},
        {true, {}, "status 0, bytesRead -4"},
        {true, chapters({video}, 3), "status 3, bytesRead 104"},
        {true, chapters({}), "status 0, bytesRead 20"},
    };
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    for (const auto &[aboutChapters, response, words] : cases) {
        for (const bool paged : {false, true}) {
            const bool sends = words != "ret -3";
            const Bytes &request = aboutChapters ? chapterRequest : pageRequest;
            ScriptedTransport transport;
            for (int i = 0; i < 12; ++i) {
                if (aboutChapters) {
                    transport.answer(pageRequest, page(2, {group, photo("B")}, DB_LIST_OPTION_VIDEO_GROUPING));
                }
                if (!sends) {
                    transport.sendFails(request, -3);
                } else if (words.ends_with("-4")) {
                    transport.receiveFails(request, -4);
                } else {
                    transport.answer(request, response);
                }
            }
            EXPECT_EQ(paged ? answer(dbGetPagedList, 99, 10, 0, 0, 0) : answer(generateMediaList, "all"),
                      answerOf(500, paged && aboutChapters ? "]}" : ""));
            const std::string attempt = times(aboutChapters, "send|receive|") + (sends ? "send|receive|" : "send|");
            const std::string retry = attempt + "sleep 100000|WARN error on IPC received, retrying, " + words + "\n|";
            const std::string prefix = aboutChapters && !paged && !sends ? "ERROR MEDIADB " : "ERROR ";
            const std::string last = attempt + prefix + "error on IPC received, exiting, " + words + "\n|";
            EXPECT_EQ(joined(), "init|" + times(11, retry) + last + "destroy|");
        }
    }
}

TEST_F(PagedList, RestartLosesRepeatsOrKeepsTooMuch)
{
    const std::string one = blockOf(photoOf("A")) + "," + blockOf(photoOf("B"), "101MOXEL");
    const std::string all = blockOf(photoOf("A")) + "," + blockOf(photoOf("B") + "," + photoOf("C"), "101MOXEL");
    // Whether it is the paged list, where each answer uses up a pass; the answers below; status and text.
    const std::tuple<bool, std::string, int, std::string> cases[] = {
        {false, times(11, "1b") + "12", 200, all},
        {false, times(12, "1b"), 500, ""},
        {false, "1b0", 200, ""},
        {true, "b", 200, ""},
        {true, "1b", 200, one}, // the old text stays until a new one comes
        {true, "1b12", 200, all},
        {true, "1b0", 200, ""},
        {true, "bh", 200, blockOf(photoOf("A"))},
        {true, "gc", 200, blockOf(photoOf("A"))},
        {true, "oc", 200, blockOf("")},
        {true, "m1", 200, one},
        {true, "1m", 200, one + "," + blockOf("")},
    };
    for (const auto &[paged, steps, status, media] : cases) {
        const uint32_t start = paged ? 5 : 0;
        const uint32_t total = start + 3;
        std::map<char, Bytes> answers = {
            {'0', page(0, {})},
            {'1', page(total, {photo("A"), photo("B", "101MOXEL")})},
            {'2', page(total, {photo("C", "101MOXEL")})},
            {'b', busy},
            {'c', busy}, // about the chapters in the page before
            {'g', page(total, {photo("A"), group, photo("B")}, DB_LIST_OPTION_VIDEO_GROUPING)},
            {'h', cut(page(total, {photo("A"), photo("B")}), 159)},
            {'m', page(total, {message(item(7, "M"))})},
            {'o', page(total, {group}, DB_LIST_OPTION_VIDEO_GROUPING)},
        };
        ScriptedTransport transport;
        uint32_t index = start;
        int passes = 0;
        for (const char step : steps) {
            const uint32_t items = step == '1' ? 2 : step == '2' || step == 'm' ? 1 : 0; // listed for good
            const Bytes request = paged ? listRequest(2, index, 0, 0x207) : listRequest(10, index, 0, 0);
            transport.answer(step == 'c' ? chapterRequest : request, answers[step]);
            index = items == 0 ? start : index + items;
            passes += step != 'c';
        }
        EXPECT_EQ(paged ? answer(dbGetPagedList, passes, 2, 5, 0, 0x207) : answer(generateMediaList, "all"),
                  answerOf(status, media))
            << steps;
    }
}
