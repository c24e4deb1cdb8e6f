#include "checker.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <iterator>
#include <memory>
#include <string>

#include "mxMediaRTOSDB.h"
#include "readings.h"
#include "scan.h"

namespace
{

// Where the extension stands in a path of full length, "100MOXEL/MOXE0001.MP4".
constexpr size_t extensionPosition = 18;

// What one run knows of the database.
struct checkRun {
    uint32_t sessionId = 0;
    uint32_t total = 0;
    uint32_t sid = 0; // session id of the latest reading
};

struct freeBlock {
    void operator()(mxml_scan_header *pHeader) const
    {
        free(pHeader);
    }
};

using scanResult = std::unique_ptr<mxml_scan_header, freeBlock>;

int readItems(checkRun *pRun, uint32_t count, uint32_t start, cahItemCallback itemCallback,
              cahFileCallback fileCallback)
{
    return dbGetCAHList(count, start, DB_CALLERS_TOKEN, itemCallback, nullptr, fileCallback, nullptr, &pRun->sid,
                        nullptr);
}

void requireSession(const checkRun &run, const char *pExpression)
{
    if (run.sid != run.sessionId) {
        failCheck(pExpression, "Session id changed from %d to %d\n\033[0m", run.sessionId, run.sid);
    }
}

void requireItemCount(const checkRun &run)
{
    if (gItems.size() != run.total) {
        failCheck("gItems.size() == total", "Number of items returned (%d) does not match db total(%d)\n\033[0m",
                  static_cast<int>(gItems.size()), run.total);
    }
}

void requireSeen(int32_t passes, const char *pExpression, const char *pDetail)
{
    for (const auto &[path, seen] : gFileMap) {
        if (seen != passes) {
            failCheck(pExpression, pDetail, path.c_str());
        }
    }
}

void startPhase(const char *pLabel)
{
    printf("%s", pLabel);
    fflush(stdout);
}

std::string durationText(time_t start, time_t end)
{
    const auto seconds = static_cast<uint32_t>(std::max<time_t>(end - start, 0));
    char text[16];
    snprintf(text, sizeof text, "%02u:%02u:%02u", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

void reportPhase(time_t start, time_t end)
{
    printf("Done! Media list traversal took %s\n", durationText(start, end).c_str());
    for (int i = 0; i < UPLOAD_STATUS_HISTOGRAM_SIZE; ++i) {
        printf("histogram[%d] = %d\n", i, histogram[i]);
    }
}

void clearHistogram()
{
    std::fill(std::begin(histogram), std::end(histogram), 0);
}

// Reads until a page brings nothing. A database that never comes to an end is left after so many pages without an item,
// or beyond its total, that no catalogue explains them.
void readForward(checkRun *pRun, uint32_t pageSize)
{
    constexpr int maxStrayPages = 1000;
    uint32_t index = 0;
    int strayPages = 0;
    int ret = 0;
    do {
        const size_t known = gItems.size();
        ret = readItems(pRun, pageSize, index, addItem, addFile);
        requireSession(*pRun, "sid == sessionId");
        if (ret < 0) {
            failCheck("ret >= 0", "dbGetCAHList returned %d\n\033[0m", ret);
        }
        strayPages += gItems.size() == known || gItems.size() > pRun->total ? 1 : 0;
        index += static_cast<uint32_t>(ret);
    } while (ret != 0 && strayPages < maxStrayPages);
}

void readPageBackward(checkRun *pRun, uint32_t start, uint32_t size)
{
    uint64_t count = 0;
    while (count < size) {
        gIdx = start + static_cast<uint32_t>(count);
        const int ret = readItems(pRun, size - static_cast<uint32_t>(count), gIdx, verifyItemForward, verifyFileBefore);
        if (ret <= 0) {
            failCheck("ret > 0", "dbGetCAHList returned %d\n\033[0m", ret);
        }
        requireSession(*pRun, "sessionId == sid");
        count += static_cast<uint64_t>(ret);
    }
}

void readBackward(checkRun *pRun, uint32_t pageSize)
{
    uint32_t remaining = pRun->total;
    while (remaining >= pageSize) {
        remaining -= pageSize;
        readPageBackward(pRun, remaining, pageSize);
    }
    readPageBackward(pRun, 0, remaining);
}

void readBySize(checkRun *pRun)
{
    for (gIdx = 0; gIdx < pRun->total; ++gIdx) {
        const int ret = readItems(pRun, 1, gItems[gIdx].index, verifyItem, verifyFile);
        if (ret != 1) {
            failCheck("ret == 1", "dbGetCAHList returned %d\n\033[0m", ret);
        }
        requireSession(*pRun, "sessionId == sid");
    }
}

void startRun(checkRun *pRun, int32_t pageSize)
{
    gItems.clear();
    gFileMap.clear();
    if (pageSize < 1) {
        failCheck("pageSize > 0", "Invalid page size %d.\n\033[0m", pageSize);
    }
    const int ret =
        dbGetCAHList(0, 0, DB_CALLERS_TOKEN, nullptr, nullptr, nullptr, nullptr, &pRun->sessionId, &pRun->total);
    if (ret != 0) {
        failCheck("ret == 0", "dbGetCAHList returned %d\n\033[0m", ret);
    }
    printf("total items: %u, session id: 0x%08X\n", pRun->total, pRun->sessionId);
}

// One reading of the whole catalogue, and what must hold behind it.
template <typename Read, typename Require>
void checkReading(const char *pLabel, Read read, Require require)
{
    clearHistogram();
    startPhase(pLabel);
    const time_t begin = time(nullptr);
    read();
    const time_t end = time(nullptr);
    require();
    reportPhase(begin, end);
}

void sortBySize()
{
    std::sort(gItems.begin(), gItems.end(),
              [](const ConsistencyItem &a, const ConsistencyItem &b) { return a.desc.size < b.desc.size; });
}

void checkReadings(checkRun *pRun, uint32_t pageSize)
{
    const auto requireSeenInAll = [](int32_t passes, const char *pExpression) {
        requireSeen(passes, pExpression, "File: %s was not found or duplicated in second pass\n\033[0m");
    };
    checkReading(
        "Phase 1...", [=] { readForward(pRun, pageSize); }, [=] { requireItemCount(*pRun); });
    checkReading(
        "Phase 2...", [=] { readBackward(pRun, pageSize); }, [=] { requireSeenInAll(1, "it->second == 1"); });
    sortBySize();
    checkReading(
        "Phase 3...", [=] { readBySize(pRun); }, [=] { requireSeenInAll(2, "it->second == 2"); });
}

std::string cardFilePath(const mxml_scan_entry &entry)
{
    for (const scanFolderKind &kind : scanFolderKinds) {
        if (kind.type == entry.dir_type) {
            // No stream: its locales would be the largest part of the program.
            char path[32];
            snprintf(path, sizeof path, "%03d%s/%.*s", entry.dir_number, kind.pSuffix,
                     static_cast<int>(sizeof entry.name), entry.name);
            return path;
        }
    }
    failCheck("false", "Unhandled dir_type: '%c'\n\033[0m", entry.dir_type);
}

void countCardFile(const std::string &path)
{
    const std::string extension = path.size() > extensionPosition ? path.substr(extensionPosition) : "";
    if (extension != "JPG" && extension != "MP4") {
        return;
    }
    const auto it = gFileMap.find(path);
    if (it == gFileMap.end()) {
        printf("\033[33mmxml_scandir returned a file (%s) that is not in the global file map.\n\033[0m", path.c_str());
        return;
    }
    ++it->second;
}

void checkCard()
{
    startPhase("Phase 4...");
    mxml_scan_header *pBlock = nullptr;
    uint32_t count = 0;
    const time_t begin = time(nullptr);
    const int ret = mxml_scandir(&pBlock, &count);
    const time_t end = time(nullptr);
    const scanResult result(pBlock);
    if (ret != SCANDIR_NO_ERROR) {
        failCheck("ret == SCANDIR_NO_ERROR", "mxml_scandir returned %d\033[0m", ret);
    }
    const auto *pEntries = reinterpret_cast<const mxml_scan_entry *>(result.get() + 1);
    std::for_each_n(pEntries, count, [](const mxml_scan_entry &entry) { countCardFile(cardFilePath(entry)); });
    requireSeen(3, "it->second == 3", "Global filemap contains file %s that was not returned by mxml_scandir\n\033[0m");
    printf("Done! Scandir took %s\n", durationText(begin, end).c_str());
}

} // namespace

int checkConsistency(int32_t pageSize)
{
    try {
        checkRun run;
        startRun(&run, pageSize);
        checkReadings(&run, static_cast<uint32_t>(pageSize));
        checkCard();
        return 0;
    } catch (const std::exception &) {
        return -1;
    }
}
