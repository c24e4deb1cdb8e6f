#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <sys/time.h>

#include "card.h"
#include "catalogue.h"
#include "checker.h"
#include "effects.h"
#include "nvq.h"
#include "scan.h"

namespace
{

constexpr int honest = -100;

struct Item {
    cah_item_s values = {};
    std::string fileName;
    std::vector<std::string> files;
};

// A database that can change while it is read.
struct Database {
    std::vector<Item> items;
    uint32_t sessionId = 7;
    uint32_t total = 0;
    int result = honest;                     // what the next calls return instead of the number of items
    uint32_t extra = 0;                      // items sent beyond those asked for
    int requests = 0;                        // calls until now
    std::map<int, std::function<void()>> at; // what happens in front of a call
};

// The platform: its clocks, its stop request, and what of it fails.
struct Platform {
    time_t seconds = 0;
    int64_t milliseconds = 0;
    int64_t step = 0;      // what a look at the clock takes
    std::set<int> stopsAt; // queries that are answered with a stop
    int queries = 0;
    bool outOfMemory = false;
    char strangeType = 0; // `dir_type` of the first entry of a scan
};

Database db;
Platform platform;

} // namespace

extern "C" {

// An answer takes an hour, two minutes and three seconds.
int dbGetCAHList(uint32_t count, uint32_t startIndex, uint32_t token, cahItemCallback itemCallback, void *itemCookie,
                 cahFileCallback fileCallback, void *fileCookie, uint32_t *pSessionId, uint32_t *pTotal)
{
    EXPECT_EQ(token, 0x600df00d);
    platform.seconds += 3723;
    if (const auto change = db.at.find(++db.requests); change != db.at.end()) {
        change->second();
    }
    if (db.result < 0 && db.result != honest) {
        return db.result;
    }
    *pSessionId = db.sessionId;
    if (pTotal != nullptr) {
        *pTotal = db.total;
    }
    const size_t end = std::min<size_t>(db.items.size(), size_t{startIndex} + count + db.extra);
    for (size_t i = startIndex; i < end && itemCallback != nullptr; ++i) {
        cah_item_s item = db.items[i].values;
        const std::string dir = "100MOXEL";
        item.dir_name = dir.c_str();
        item.file_name = db.items[i].fileName.c_str();
        itemCallback(itemCookie, &item);
        for (const std::string &file : db.items[i].files) {
            fileCallback(fileCookie, dir.c_str(), file.c_str());
        }
    }
    return db.result != honest ? db.result : static_cast<int>(end - std::min<size_t>(startIndex, end));
}

time_t time(time_t *) noexcept
{
    return platform.seconds;
}

int gettimeofday(timeval *pNow, void *) noexcept
{
    *pNow = {platform.milliseconds / 1000, platform.milliseconds % 1000 * 1000};
    platform.milliseconds += platform.step;
    return 0;
}

int nvq_get(int group, int item, void *, uint32_t *pValue)
{
    EXPECT_EQ(group, NVQ_STOP_GROUP);
    EXPECT_EQ(item, NVQ_STOP_ITEM);
    *pValue = 1;
    return platform.stopsAt.count(++platform.queries) != 0 ? 0 : -1;
}

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    return platform.outOfMemory ? nullptr : __real_calloc(count, size);
}

int __real_mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount);
int __wrap_mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount)
{
    const int ret = __real_mxml_scandir(ppResult, pCount);
    if (platform.strangeType != 0) {
        reinterpret_cast<mxml_scan_entry *>(*ppResult + 1)->dir_type = platform.strangeType;
    }
    return ret;
}
}

namespace
{

std::string fileName(int number, const char *pExtension = "JPG")
{
    char name[32];
    snprintf(name, sizeof name, "MOXE%04d.%s", number, pExtension);
    return name;
}

class Checker : public testing::Test
{
  protected:
    // Three items, the larger the earlier, with the files 1; 2, 3, 4; 5. A run asks nine times: once at its start,
    // three times forward, twice backward, three times one by one.
    Checker()
    {
        db = {};
        platform = {};
        card.write("file", "");
        add(3, {1});
        add(2, {2, 3, 4});
        add(1, {5});
    }
    // A media file is a link to one file: a large card is made twenty times faster so.
    void put(const std::string &below)
    {
        std::filesystem::create_directories(card.path("DCIM/" + below).parent_path());
        std::filesystem::create_hard_link(card.path("file"), card.path("DCIM/" + below));
    }
    void add(uint64_t size, const std::vector<int> &numbers)
    {
        Item item;
        item.values.size = size;
        item.values.upload_status = 30;
        for (const int number : numbers) {
            item.files.push_back(fileName(number));
            put("100MOXEL/" + item.files.back());
        }
        item.fileName = item.files[0];
        db.items.push_back(item);
        db.total = static_cast<uint32_t>(db.items.size());
    }
    // Result of a check, and what it printed.
    std::pair<int, std::string> check(int32_t pageSize)
    {
        int ret = 1;
        const std::string text = printedBy([&] { ret = checkConsistency(pageSize); });
        return {ret, text};
    }

    TemporaryCard card;
};

// Report of a phase over `items` items.
std::string report(const char *pTime, unsigned items)
{
    std::string text = std::string("Done! Media list traversal took ") + pTime + "\n";
    for (unsigned i = 0; i < 32; ++i) {
        text += "histogram[" + std::to_string(i) + "] = " + std::to_string(i == 30 ? items : 0) + "\n";
    }
    return text;
}

TEST_F(Checker, ConsistentCardRefused)
{
    card.write("DCIM/100MOXEL/MOXE0001.LRV", "");
    card.write("DCIM/100MOXEL/MOXE0009.jpg", "");
    card.write("DCIM/101M3D_L/MOXE0001.MP4", "");
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(check(2),
                  std::make_pair(
                      0, "total items: 3, session id: 0x00000007\nPhase 1..." + report("03:06:09", 3) + "Phase 2..." +
                             report("02:04:06", 3) + "Phase 3..." + report("03:06:09", 3) +
                             "Phase 4...\033[33mmxml_scandir returned a file (101M3D_L/MOXE0001.MP4) that is not in "
                             "the global file map.\n\033[0mDone! Scandir took 00:00:00\n"));
    }
    EXPECT_EQ(db.requests, 18);
}

TEST_F(Checker, EmptyCardRefused)
{
    db = {};
    std::filesystem::remove_all(card.path("DCIM/100MOXEL"));
    EXPECT_EQ(check(4), std::make_pair(0, "total items: 0, session id: 0x00000007\nPhase 1..." + report("01:02:03", 0) +
                                              "Phase 2..." + report("00:00:00", 0) + "Phase 3..." +
                                              report("00:00:00", 0) + "Phase 4...Done! Scandir took 00:00:00\n"));
}

TEST_F(Checker, ReadingWithoutEnd)
{
    // Says at and behind its end that there is one more, and sends nothing.
    db.at[4] = [] { db.result = 1; };
    db.at[6] = [] { db.result = honest; };
    EXPECT_EQ(check(2).first, 0);
    EXPECT_EQ(db.requests, 10);
    // Sends item after item behind its end.
    db.at = {{11, [] { db.total = 1; }}};
    EXPECT_EQ(check(1).first, -1);
    EXPECT_EQ(db.requests, 13);
}

TEST_F(Checker, FaultPassedOrMisreported)
{
    const std::string path = "100MOXEL/MOXE000";
    const std::string compare = "!memcmp(&gItems[gIdx].desc, cahItem, sizeof(struct cah_item_s))";
    const std::string find = "find(files.begin(), files.end(), path.str()) != files.end()";
    const std::string again = " was not found or duplicated in second pass\n";
    const auto fails = [] { db.result = -1; };
    const auto session = [] { db.sessionId = 8; };
    const auto loseFile = [] { db.items[1].files.pop_back(); };
    const struct {
        int request; // in front of which it happens
        std::function<void()> change;
        std::string expression;
        std::string detail;
    } rows[] = {
        {1, fails, "ret == 0", "dbGetCAHList returned -1\n"},
        {2, fails, "sid == sessionId", "Session id changed from 7 to 0\n"},
        {3, session, "sid == sessionId", "Session id changed from 7 to 8\n"},
        {3, fails, "ret >= 0", "dbGetCAHList returned -1\n"},
        {1, [] { db.total = 4; }, "gItems.size() == total",
         "Number of items returned (3) does not match db total(4)\n"},
        {1, [] { db.total = 2; }, "gItems.size() == total",
         "Number of items returned (3) does not match db total(2)\n"},
        {1, [] { db.items[1].values.upload_status = 31; }, "cahItem->upload_status < UPLOAD_STATUS_HISTOGRAM_SIZE - 1",
         "Invalid cahItem upload status.\n"},
        {1, [] { db.items[2].files[0] = db.items[0].files[0]; }, "i == gFileMap.end()",
         "Duplicate file entry found in item 2: " + path + "1.JPG\n"},
        {5, fails, "ret > 0", "dbGetCAHList returned -1\n"},
        {5, [] { db.result = 0; }, "ret > 0", "dbGetCAHList returned 0\n"},
        {6, session, "sessionId == sid", "Session id changed from 7 to 8\n"},
        {5, [] { ++db.items[2].values.creation_time; }, compare, "Item 2 does not match.\n"},
        {5, [] { db.items[1].fileName[0] = 'g'; }, compare, "Item 1 does not match.\n"},
        {5,
         [] {
             db.items.push_back(db.items[2]);
             db.extra = 1;
         },
         compare, "Item 3 does not match.\n"},
        {6, [] { db.extra = 1; }, "it->second == 1", "File: " + path + "2.JPG" + again},
        {5, loseFile, "it->second == 1", "File: " + path + "4.JPG" + again},
        {5, [] { db.items[1].files[2] = fileName(9); }, find, "Missing file " + path + "9.JPG for item 1.\n"},
        {7, [] { db.result = 2; }, "ret == 1", "dbGetCAHList returned 2\n"},
        {7, session, "sessionId == sid", "Session id changed from 7 to 8\n"},
        {9, [] { db.items[0].values.content_type = 1; }, compare, "Item 0 does not match.\n"},
        {7, [] { db.items[2].files[0] = fileName(1); }, find, "Missing file " + path + "1.JPG for item 0.\n"},
        {7, loseFile, "it->second == 2", "File: " + path + "4.JPG" + again},
        {9, [] { platform.strangeType = 'X'; }, "false", "Unhandled dir_type: 'X'\n"},
        {9, [&] { rename(card.path("DCIM/100MOXEL/MOXE0005.JPG").c_str(), card.path("DCIM/100MOXEL/A").c_str()); },
         "it->second == 3", "Global filemap contains file " + path + "5.JPG that was not returned by mxml_scandir\n"},
        {9, [&] { std::filesystem::remove_all(card.path("DCIM")); }, "ret == SCANDIR_NO_ERROR",
         "mxml_scandir returned 4"},
    };
    const Database sound = db;
    for (const auto &row : rows) {
        db = sound;
        platform = {};
        db.at[row.request] = row.change;
        const auto [ret, text] = check(2);
        EXPECT_EQ(ret, -1);
        EXPECT_EQ(text.substr(std::min(text.find("\033[31m"), text.size())),
                  "\033[31mASSERT " + row.expression + " failed\n" + row.detail + "\033[0m");
    }
    for (const int32_t pageSize : {0, -5}) {
        EXPECT_EQ(check(pageSize), std::make_pair(-1, "\033[31mASSERT pageSize > 0 failed\nInvalid page size " +
                                                          std::to_string(pageSize) + ".\n\033[0m"));
    }
}

TEST_F(Checker, CallbackOutsideOfItsReading)
{
    const auto message = [](const std::function<void()> &call) {
        return printedBy([&] { EXPECT_THROW(call(), std::exception); });
    };
    int context = 0;
    const std::string wrong = "\033[31mASSERT context == NULL failed\nIncorrect context pointer.";
    EXPECT_EQ(message([&] { addItem(&context, nullptr); }), wrong + "\n\033[0m");
    EXPECT_EQ(message([&] { verifyItemForward(&context, nullptr); }), wrong + "\n\033[0m");
    EXPECT_EQ(message([&] { verifyItem(&context, nullptr); }), wrong + "\033[0m");
    EXPECT_EQ(message([&] { addFile(&context, "d", "f"); }), wrong + "\n\033[0m");
    gItems = std::vector<ConsistencyItem>();
    gIdx = 0;
    cah_item_s item = {};
    EXPECT_THROW(verifyItemForward(nullptr, &item), std::exception);
    EXPECT_EQ(message([&] { addFile(nullptr, "d", "f"); }),
              "\033[31mASSERT !gItems.empty() failed\nFile d/f belongs to no item.\n\033[0m");
    gItems.resize(1);
    EXPECT_THROW(verifyFileBefore(nullptr, "d", "f"), std::exception);
    gItems[0].files = {"d/f"};
    EXPECT_EQ(message([&] { verifyFile(nullptr, "d", "f"); }),
              "\033[31mASSERT it != gFileMap.end() failed\nMissing file d/f in global file map.\n\033[0m");
}

struct Scanned {
    int code = 0;
    uint32_t count = 99; // untouched
    std::unique_ptr<mxml_scan_header, decltype(&free)> block = {nullptr, free};
};

Scanned scan()
{
    Scanned scanned;
    mxml_scan_header *pBlock = nullptr;
    scanned.code = mxml_scandir(&pBlock, &scanned.count);
    scanned.block.reset(pBlock);
    return scanned;
}

TEST(Scan, NameTakenOrPassedOverWrongly)
{
    platform = {};
    const TemporaryCard card;
    for (const char *pName :
         {"100MOXEL/MOXE0001.MP4", "999M3D_L/----1234.lRv", "101M3D_R/ABCD0000.jpg", "099MOXEL/MOXE0001.MP4",
          "10AMOXEL/MOXE0001.MP4", "100moxel/MOXE0001.MP4", "100MOXELX/MOXE0001.MP4", "100M3D_X/MOXE0001.MP4",
          "102MOXEL/MOXE001.MP4", "102MOXEL/MOXE00010.MP4", "102MOXEL/MOXE000A.MP4", "102MOXEL/MOXE0001.WAV",
          "102MOXEL/MOXE0001xMP4", "102MOXEL/100MOXEL/MOXE0001.MP4", "103MOXEL", "MOXE0001.MP4"}) {
        card.write(std::string("DCIM/") + pName, "content");
        const timeval times[2] = {{1000000000, 0}, {1000000001, 0}};
        utimes(card.path(std::string("DCIM/") + pName).c_str(), times);
    }
    const Scanned scanned = scan();
    ASSERT_EQ(scanned.code, SCANDIR_NO_ERROR);
    const auto *pEntries = reinterpret_cast<const mxml_scan_entry *>(scanned.block.get() + 1);
    std::set<std::string> found;
    for (uint32_t i = 0; i < scanned.count; ++i) {
        found.insert(std::to_string(pEntries[i].dir_number) + pEntries[i].dir_type + pEntries[i].name + " " +
                     std::to_string(pEntries[i].size) + " " + std::to_string(pEntries[i].mtime));
    }
    EXPECT_EQ(found, (std::set<std::string>{"100GMOXE0001.MP4 7 1000000001", "101RABCD0000.jpg 7 1000000001",
                                            "999L----1234.lRv 7 1000000001"}));
    EXPECT_EQ(memcmp(scanned.block.get(), "\x37\x13\x02\x00\x03\x00\x00\x00", 8), 0);
}

TEST(Scan, NothingFoundTakenForAFailureOrTheOtherWayRound)
{
    platform = {};
    const TemporaryCard card;
    const auto outcome = [](int code, uint32_t count, bool hasBlock) {
        const Scanned scanned = scan();
        return scanned.code == code && scanned.count == count && (scanned.block != nullptr) == hasBlock;
    };
    EXPECT_TRUE(outcome(SCANDIR_ERROR_OPEN, 99, false));
    card.write("DCIM/notes.txt", "");
    EXPECT_TRUE(outcome(SCANDIR_NO_ERROR, 0, true));
    platform.outOfMemory = true;
    EXPECT_TRUE(outcome(SCANDIR_ERROR_OPEN, 99, false));
    platform.outOfMemory = false;
    platform.stopsAt = {platform.queries + 1};
    EXPECT_TRUE(outcome(SCANDIR_ERROR_STOPPED, 99, false));
}

TEST_F(Checker, CardTooLarge)
{
    db = {};
    std::filesystem::remove_all(card.path("DCIM/100MOXEL"));
    for (int i = 0; i < 2500; ++i) {
        add(static_cast<uint64_t>(i % 7), {4 * i, 4 * i + 1, 4 * i + 2, 4 * i + 3});
    }
    for (int i = 0; i < 30001; ++i) {
        put(std::to_string(101 + i / 10000) + "MOXEL/" + fileName(i % 10000, "LRV"));
    }
    EXPECT_EQ(scan().count, 40000u);
    std::filesystem::remove(card.path("DCIM/104MOXEL/MOXE0000.LRV"));
    EXPECT_EQ(check(10).first, 0);
}

// The last one: a stop holds for the rest of the process.
TEST(Scan, PlatformAskedTooOftenOrNotHeard)
{
    platform = {};
    const TemporaryCard card;
    for (int i = 0; i < 24; ++i) {
        card.write((i % 2 != 0 ? "DCIM/100MOXEL/" : "DCIM/101MOXEL/") + fileName(i), "");
    }
    // The queries: at once, then at each fifth of the 32 names, two of them dots in each of three folders.
    platform.step = 100;
    EXPECT_EQ(scan().code, SCANDIR_NO_ERROR);
    EXPECT_EQ(platform.queries, 7);
    platform.stopsAt = {11};
    const Scanned stopped = scan();
    EXPECT_EQ(platform.queries, 11);
    EXPECT_EQ(stopped.code, SCANDIR_ERROR_STOPPED);
    EXPECT_EQ(stopped.count, 99u);
    ASSERT_NE(stopped.block, nullptr);
    EXPECT_EQ((stopped.block->count + 1) / 2, 6u) << "of 12 files perhaps the one at which the stop came is missing";
    EXPECT_EQ(scan().code, SCANDIR_ERROR_STOPPED) << "the stop is forgotten";
}

} // namespace
