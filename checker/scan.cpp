#include "scan.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "cardRoot.h"
#include "nvq.h"

namespace
{

constexpr int64_t stopCheckMilliseconds = 500;
constexpr size_t folderNameLength = 8;
constexpr size_t folderNumberDigits = 3;
constexpr size_t fileNameLength = 12;
constexpr size_t fileDigitsFrom = 4;
constexpr size_t fileExtensionFrom = 8;

constexpr const char *mediaExtensions[] = {".MP4", ".JPG", ".LRV"};

// Scan state: once a stop was asked for, it holds for the rest of the process.
int stopFlag = 0;
timeval lastStopCheck = {};

// The names that a scan of one folder accepted.
struct nameList {
    dirent64 **ppNames = nullptr;
    int count = 0;

    nameList() = default;
    nameList(const nameList &) = delete;
    nameList &operator=(const nameList &) = delete;
    ~nameList()
    {
        for (int i = 0; i < count; ++i) {
            free(ppNames[i]);
        }
        free(ppNames);
    }
};

// The block while it is filled; whoever takes it out owns it.
struct scanBlock {
    uint8_t *pBytes = static_cast<uint8_t *>(calloc(1, SCAN_BLOCK_BYTES));
    uint32_t count = 0;

    scanBlock() = default;
    scanBlock(const scanBlock &) = delete;
    scanBlock &operator=(const scanBlock &) = delete;
    ~scanBlock()
    {
        free(pBytes);
    }
    mxml_scan_header *take()
    {
        const mxml_scan_header header = {SCAN_MAGIC, SCAN_VERSION, 0, count};
        memcpy(pBytes, &header, sizeof header);
        auto *pHeader = reinterpret_cast<mxml_scan_header *>(pBytes);
        pBytes = nullptr;
        return pHeader;
    }
};

bool stopIsAsked()
{
    uint32_t scratch = 0;
    uint32_t value = 0;
    return nvq_get(NVQ_STOP_GROUP, NVQ_STOP_ITEM, &scratch, &value) == 0 && value != 0;
}

// At most twice a second asks the platform. True: this very question was answered with a stop.
bool stopFoundNow()
{
    if (stopFlag != 0) {
        return false;
    }
    timeval now = {};
    gettimeofday(&now, nullptr);
    const auto seconds = static_cast<int64_t>(now.tv_sec - lastStopCheck.tv_sec);
    const auto microseconds = static_cast<double>(now.tv_usec - lastStopCheck.tv_usec);
    const double rounded = static_cast<double>(seconds * 1000) + microseconds / 1000.0 + 0.5;
    if (static_cast<int64_t>(rounded) < stopCheckMilliseconds) {
        return false;
    }
    lastStopCheck = now;
    if (stopIsAsked()) {
        stopFlag = 1;
    }
    return stopFlag != 0;
}

bool areDigits(const char *pText, size_t length)
{
    for (size_t i = 0; i < length; ++i) {
        if (pText[i] < '0' || pText[i] > '9') {
            return false;
        }
    }
    return true;
}

// Kind of a media folder, or null for a name that is none's.
const scanFolderKind *folderKindOf(const char *pName)
{
    if (strlen(pName) != folderNameLength || pName[0] == '0' || !areDigits(pName, folderNumberDigits)) {
        return nullptr;
    }
    for (const scanFolderKind &kind : scanFolderKinds) {
        if (strcmp(pName + folderNumberDigits, kind.pSuffix) == 0) {
            return &kind;
        }
    }
    return nullptr;
}

bool isMediaFileName(const char *pName)
{
    if (strlen(pName) != fileNameLength || !areDigits(pName + fileDigitsFrom, fileExtensionFrom - fileDigitsFrom)) {
        return false;
    }
    for (const char *pExtension : mediaExtensions) {
        if (strcasecmp(pName + fileExtensionFrom, pExtension) == 0) {
            return true;
        }
    }
    return false;
}

int folderFilter(const dirent64 *pEntry)
{
    return !stopFoundNow() && folderKindOf(pEntry->d_name) != nullptr;
}

int fileFilter(const dirent64 *pEntry)
{
    return !stopFoundNow() && isMediaFileName(pEntry->d_name);
}

// @return number of names, negative when the folder can't be read
int readFolder(const char *pPath, int (*filter)(const dirent64 *), nameList *pList)
{
    const int count = scandir64(pPath, &pList->ppNames, filter, nullptr);
    pList->count = count > 0 ? count : 0;
    return count;
}

// Adds a file to the block, unless the block is full or the file is gone again.
void addEntry(scanBlock *pBlock, const mxml_scan_entry &folder, const char *pPath, const char *pFileName)
{
    struct stat status = {};
    if (stat(pPath, &status) != 0 || pBlock->count >= SCAN_MAX_ENTRIES) {
        return;
    }
    mxml_scan_entry entry = folder;
    memcpy(entry.name, pFileName, strnlen(pFileName, SCAN_NAME_BYTES - 1));
    entry.size = static_cast<uint32_t>(status.st_size);
    entry.mtime = static_cast<uint32_t>(status.st_mtime);
    memcpy(pBlock->pBytes + sizeof(mxml_scan_header) + pBlock->count * sizeof entry, &entry, sizeof entry);
    ++pBlock->count;
}

void addFolder(scanBlock *pBlock, const char *pRootPath, const char *pFolderName)
{
    // A scandir that was put in place of the system's may not ask the filter.
    const scanFolderKind *pKind = folderKindOf(pFolderName);
    if (pKind == nullptr) {
        return;
    }
    char path[CARD_PATH_MAX];
    const int length = snprintf(path, sizeof path, "%s%s", pRootPath, pFolderName);
    nameList files;
    if (length < 0 || length >= CARD_PATH_MAX || readFolder(path, fileFilter, &files) <= 0) {
        return;
    }
    // From here on the path ends in a file's name.
    path[length] = '/';
    char *const pFileName = path + length + 1;
    const size_t room = sizeof path - static_cast<size_t>(length) - 1;
    mxml_scan_entry folder = {};
    folder.dir_number =
        static_cast<uint16_t>((pFolderName[0] - '0') * 100 + (pFolderName[1] - '0') * 10 + (pFolderName[2] - '0'));
    folder.dir_type = pKind->type;
    for (int i = 0; i < files.count; ++i) {
        const size_t nameBytes = strlen(files.ppNames[i]->d_name) + 1;
        if (nameBytes <= room) {
            memcpy(pFileName, files.ppNames[i]->d_name, nameBytes);
            addEntry(pBlock, folder, path, pFileName);
        }
    }
}

} // namespace

int mxml_scandir(mxml_scan_header **ppResult, uint32_t *pCount)
{
    scanBlock block;
    if (block.pBytes == nullptr) {
        return SCANDIR_ERROR_OPEN;
    }
    gettimeofday(&lastStopCheck, nullptr);
    if (stopIsAsked()) {
        return SCANDIR_ERROR_STOPPED;
    }
    char rootPath[CARD_PATH_MAX];
    nameList folders;
    if (readFolder(cardPath(rootPath, "DCIM/"), folderFilter, &folders) < 0) {
        return SCANDIR_ERROR_OPEN;
    }
    for (int i = 0; i < folders.count && stopFlag == 0; ++i) {
        addFolder(&block, rootPath, folders.ppNames[i]->d_name);
    }
    const uint32_t count = block.count;
    *ppResult = block.take();
    // A card without folders was walked to its end, stop or not.
    if (stopFlag != 0 && folders.count > 0) {
        return SCANDIR_ERROR_STOPPED;
    }
    *pCount = count;
    return SCANDIR_NO_ERROR;
}
