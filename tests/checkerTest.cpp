#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <sys/time.h>

#include "card.h"
#include "checker.h"
#include "effects.h"
#include "nvq.h"
#include "readings.h"
#include "scan.h"

using Item = std::pair<cah_item_s, Lines>; // with its files

const auto ofSize = [](uint64_t n) {
    return cah_item_s{nullptr, nullptr, 0, 0, 0, 0, 0, 30, 0, 0, 9, 0, 0, n, "100MOXEL", "P"};
};
constexpr int honest = -100;

// The database, the card and the platform, which can change at each call. At first all is well.
static struct World {
    std::vector<Item> items = {{ofSize(4), {"MOXE0001.JPG"}},
                               {ofSize(3), {"MOXE0002.JPG", "MOXE0003.JPG"}},
                               {ofSize(2), {"MOXE0004.MP4"}},
                               {ofSize(1), {"MOXE0005.JPG"}}};
    uint32_t total = 4;
    Lines card = {"100GMOXE0005.JPG", "100GMOXE0004.MP4", "100GMOXE0003.JPG", "100GMOXE0002.JPG", "100GMOXE0001.JPG"};
    int scanCode = SCANDIR_NO_ERROR;
    uint32_t sessionId = 7;                       // in the next answer only
    int result = honest;                          // of the next call only, in place of the number of items
    std::function<void(int)> before = [](int) {}; // called with the number of a request in front of it
    int64_t milliseconds = 0;
    int requests = 0, queries = 0, stopAt = 0; // the last is the number of a query that is answered with a stop
} world;

// An answer takes an hour, two minutes and three seconds, and brings 2 items at most.
extern "C" int dbGetCAHList(uint32_t count, uint32_t start, uint32_t token, cahItemCallback onItem, void *itemCookie,
                            cahFileCallback onFile, void *fileCookie, uint32_t *pSessionId, uint32_t *pTotal)
{
    EXPECT_EQ(token, 0x600df00d);
    world.milliseconds += 3723000;
    printf("%u@%u ", count, start);
    world.before(++world.requests);
    const int result = std::exchange(world.result, honest);
    if (result == -1) {
        return result;
    }
    *pSessionId = std::exchange(world.sessionId, 7);
    (count == 0 ? *pTotal : world.total) = world.total;
    const size_t end = std::min(world.items.size(), size_t{start} + std::min(count, 2u));
    for (size_t i = start; i < end; ++i) {
        onItem(itemCookie, &world.items[i].first);
        for (const std::string &file : world.items[i].second) {
            onFile(fileCookie, world.items[i].first.dir_name, file.c_str());
        }
    }
    return result != honest ? result : static_cast<int>(end - std::min<size_t>(start, end));
}

extern "C" time_t time(time_t *) noexcept
{
    return world.milliseconds / 1000;
}

extern "C" int gettimeofday(timeval *pNow, void *) noexcept
{
    world.milliseconds += 100;
    *pNow = {world.milliseconds / 1000, world.milliseconds % 1000 * 1000};
    return 0;
}

extern "C" int nvq_get(int group, int item, void *, uint32_t *pValue)
{
    EXPECT_TRUE(group == NVQ_STOP_GROUP && item == NVQ_STOP_ITEM);
    const bool stops = ++world.queries == world.stopAt;
    *pValue = stops || world.queries % 2 != 0; // without a stop the query fails, or its answer is 0
    return stops || world.queries % 2 == 0 ? 0 : -1;
}

extern "C" int __real_mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount);
extern "C" int __wrap_mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount)
{
    *ppResult = static_cast<mxml_scan_header *>(calloc(1, SCAN_BLOCK_BYTES));
    *pCount = static_cast<uint32_t>(world.card.size());
    auto *pEntry = reinterpret_cast<mxml_scan_entry *>(*ppResult + 1);
    for (const std::string &file : world.card) {
        *pEntry = {static_cast<uint16_t>(std::stoi(file)), file[3], "", 0, 0};
        file.copy(pEntry++->name, SCAN_NAME_BYTES, 4);
    }
    return world.scanCode;
}

// What a check prints, from behind the escape of its failure on if it fails, with a short report of each phase.
static std::string check(int32_t pageSize)
{
    const std::string text = printedBy([&] { printf("return %d\n", checkConsistency(pageSize)); });
    const std::regex report("Done! Media list traversal took (.*)\n(histogram.[0-9]+. = 0\n){30}histogram.30. = (.*)\n"
                            "histogram.31. = 0\n");
    return std::regex_replace(text.substr(text.find("\033[31m") + 1), report, "$1 $3\n");
}

TEST(Checker, ConsistentCardRefused)
{
    world = {};
    world.card.insert(world.card.end(), {"100GMOXE0001.LRV", "100GMOXE0009.jpg", "101LMOXE0001.MP4"});
    EXPECT_EQ(
        check(3),
        "0@0 total items: 4, session id: 0x00000007\nPhase 1...3@0 3@2 3@4 03:06:09 4\n"
        "Phase 2...3@1 1@3 1@0 03:06:09 4\nPhase 3...1@3 1@2 1@1 1@0 04:08:12 4\n"
        "Phase 4...\033[33mmxml_scandir returned a file (101M3D_L/MOXE0001.MP4) that is not in the global file map.\n"
        "\033[0mDone! Scandir took 00:00:00\nreturn 0\n");
    world.before = [](int request) { world.result = request >= 15 && request < 1015 ? 1 : honest; };
    EXPECT_TRUE(check(2).ends_with("return 0\n")) << "at the end there is always one more, which never comes";
    EXPECT_EQ(world.requests, 11 + 1 + 2 + 1000 + 2 + 4);
    world = {{}, 0, {}};
    EXPECT_EQ(check(3), "0@0 total items: 0, session id: 0x00000007\nPhase 1...3@0 01:02:03 0\nPhase 2...00:00:00 0\n"
                        "Phase 3...00:00:00 0\nPhase 4...Done! Scandir took 00:00:00\nreturn 0\n");
}

// Request, what happens in front of it, what is told. Of 11, 1 starts, 2-4 go forward, 5-7 backward, 8-11 by size.
TEST(Checker, FaultPassedOrMisreported)
{
    const std::string compare = "!memcmp(&gItems[gIdx].desc, cahItem, sizeof(struct cah_item_s)) failed\nItem ";
    const std::string find = "find(files.begin(), files.end(), path.str()) != files.end() failed\nMissing file ";
    const std::string again = " was not found or duplicated in second pass\n";
    const std::string number = "gItems.size() == total failed\nNumber of items returned ";
    const std::tuple<int, std::function<void()>, std::string> rows[] = {
        {1, [] { world.result = -1; }, "ret == 0 failed\ndbGetCAHList returned -1\n"},
        {2, [] { world.result = -1; }, "sid == sessionId failed\nSession id changed from 7 to 0\n"},
        {3, [] { world.result = -1; }, "ret >= 0 failed\ndbGetCAHList returned -1\n"},
        {1, [] { world.total = 5; }, number + "(4) does not match db total(5)\n"},
        {2, [] { world.items.resize(9999, Item(ofSize(0), Lines())); }, number + "(2004) does not match db total(4)\n"},
        {1, [] { world.items[1].first.upload_status = 31; },
         "cahItem->upload_status < UPLOAD_STATUS_HISTOGRAM_SIZE - 1 failed\nInvalid cahItem upload status.\n"},
        {1, [] { world.items[3].second[0] = "MOXE0001.JPG"; },
         "i == gFileMap.end() failed\nDuplicate file entry found in item 3: 100MOXEL/MOXE0001.JPG\n"},
        {2, [] { addFile(nullptr, "d", "f"); }, "!gItems.empty() failed\nFile d/f belongs to no item.\n"},
        {5, [] { world.result = 0; }, "ret > 0 failed\ndbGetCAHList returned 0\n"},
        {6, [] { world.sessionId = 8; }, "sessionId == sid failed\nSession id changed from 7 to 8\n"},
        {5, [] { ++world.items[2].first.creation_time; }, compare + "2 does not match.\n"},
        {5, [] { world.items[1].first.file_name = "Q"; }, compare + "1 does not match.\n"},
        {5, [] { world.items[1].first.dir_name = "d"; }, compare + "1 does not match.\n"},
        {5, [] { gIdx = ~0u, verifyItemForward(nullptr, &world.items[0].first); }, compare + "-1 does not match.\n"},
        {7, [] { verifyFileBefore(nullptr, "d", "f"); }, find + "d/f for item -1.\n"},
        {7, [] { gFileMap.erase("100MOXEL/MOXE0001.JPG"); },
         "it != gFileMap.end() failed\nMissing file 100MOXEL/MOXE0001.JPG in global file map.\n"},
        {5, [] { world.items[1].second.pop_back(); }, "it->second == 1 failed\nFile: 100MOXEL/MOXE0003.JPG" + again},
        {5, [] { world.items[1].second[1] = "A"; }, find + "100MOXEL/A for item 1.\n"},
        {8, [] { world.result = 2; }, "ret == 1 failed\ndbGetCAHList returned 2\n"},
        {8, [] { world.sessionId = 8; }, "sessionId == sid failed\nSession id changed from 7 to 8\n"},
        {11, [] { world.items[0].first.content_type = 1; }, compare + "0 does not match.\n"},
        {8, [] { world.items[3].second[0] = "A"; }, find + "100MOXEL/A for item 0.\n"},
        {8, [] { world.items[1].second.pop_back(); }, "it->second == 2 failed\nFile: 100MOXEL/MOXE0003.JPG" + again},
        {11, [] { world.card[0][3] = 'X'; }, "false failed\nUnhandled dir_type: 'X'\n"},
        {11, [] { world.scanCode = 4; }, "ret == SCANDIR_NO_ERROR failed\nmxml_scandir returned 4"},
    };
    for (const auto &[at, change, message] : rows) {
        world = {};
        world.before = [&at = at, &change = change](int request) { request == at ? change() : void(); };
        EXPECT_EQ(check(3), "[31mASSERT " + message + "\033[0mreturn -1\n");
    }
    EXPECT_EQ(check(0), "[31mASSERT pageSize > 0 failed\nInvalid page size 0.\n\033[0mreturn -1\n");
}

// Code and count of a scan of the card, 99 if untouched, and the block's header, zeros if there is no block.
static std::string scan()
{
    mxml_scan_header *pRes = nullptr;
    uint32_t count = 99;
    const int code = __real_mxml_scandir(&pRes, &count);
    const mxml_scan_header head = pRes == nullptr ? mxml_scan_header{} : *pRes;
    world.card.clear();
    for (uint32_t i = 0; i < head.count; ++i) {
        const mxml_scan_entry &e = reinterpret_cast<const mxml_scan_entry *>(pRes + 1)[i];
        world.card.push_back(formatted("%d%c%s %u %u", e.dir_number, e.dir_type, e.name, e.size, e.mtime));
    }
    free(pRes);
    return formatted("%d %u %x.%d.%d", code, count, head.magic, head.version, head.reserved);
}

// The last one: a stop during a scan holds for the rest of the process.
TEST(Scan, FileTakenOrPassedOverWronglyOrAStopNotHeard)
{
    const TemporaryCard card;
    EXPECT_EQ(scan(), "4 99 0.0.0");
    for (const std::string name :
         {"100MOXEL/MOXE0001.MP4", "999M3D_L/----1234.lRv", "101M3D_R/ABCD0000.jpg", "099MOXEL/MOXE0001.MP4",
          "10AMOXEL/MOXE0001.MP4", "100moxel/MOXE0001.MP4", "102MOXEL/MOXE001.MP4", "102MOXEL/MOXE000-.MP4",
          "102MOXEL/MOXE0001.WAV", "102MOXEL/MOXE0001xMP4", "102MOXEL/MOXE00010.MP4", "103MOXELX/MOXE0001.MP4",
          "102MOXEL/100MOXEL/MOXE0001.MP4", "103MOXEL", "MOXE0001.MP4"}) {
        card.write("DCIM/" + name, "content");
        utimes(card.path("DCIM/" + name).c_str(), std::array<timeval, 2>{{{8, 0}, {9, 0}}}.data());
    }
    EXPECT_EQ(scan(), "0 3 1337.2.0");
    std::sort(world.card.begin(), world.card.end());
    EXPECT_EQ(joined(world.card), "100GMOXE0001.MP4 7 9|101RABCD0000.jpg 7 9|999L----1234.lRv 7 9|");

    std::filesystem::rename(card.path("DCIM"), card.path("small"));
    for (int i = 0; i <= 40000; ++i) {
        const auto path = card.path(formatted("DCIM/10%dMOXEL/MOXE%04d.LRV", i % 5, i / 5));
        create_directories(path.parent_path());
        create_hard_link(card.path("small/100MOXEL/MOXE0001.MP4"), path);
    }
    // With a tenth of a second for a look: queries at once, then at each fifth name, two of them dots in each folder.
    world.queries = 0;
    EXPECT_EQ(scan(), "0 40000 1337.2.0");
    EXPECT_EQ(world.queries, 1 + (5 + 40001 + 12) / 5);
    world.stopAt = world.queries + 1;
    EXPECT_EQ(scan(), "8 99 0.0.0") << "asked before the first folder";
    world.stopAt = world.queries + 8;
    EXPECT_EQ(scan(), "8 99 1337.2.0");
    EXPECT_NEAR(static_cast<double>(world.card.size()), 8000, 1) << "all of one folder but what brought the stop";
    EXPECT_EQ(scan(), "8 99 1337.2.0") << "the stop is forgotten";
    std::filesystem::remove_all(card.path("DCIM"));
    card.write("DCIM/notes.txt", "");
    EXPECT_EQ(scan(), "0 0 1337.2.0") << "a card without folders is walked to its end";
}
