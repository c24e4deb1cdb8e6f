#include "readings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>
#include <tuple>
#include <utility>

std::vector<ConsistencyItem> gItems;
uint32_t gIdx = 0;
uint32_t histogram[UPLOAD_STATUS_HISTOGRAM_SIZE];
std::map<std::string, int32_t, std::less<>> gFileMap;

namespace
{

constexpr uint32_t uploadStatusEnd = UPLOAD_STATUS_HISTOGRAM_SIZE - 1;

void requireNoContext(const void *pContext, const char *pDetail = "Incorrect context pointer.\n\033[0m")
{
    if (pContext != nullptr) {
        failCheck("context == NULL", "%s", pDetail);
    }
}

void requireUploadStatus(const cah_item_s *cahItem)
{
    if (cahItem->upload_status >= uploadStatusEnd) {
        failCheck("cahItem->upload_status < UPLOAD_STATUS_HISTOGRAM_SIZE - 1",
                  "Invalid cahItem upload status.\n\033[0m");
    }
}

const char *textOf(const char *pName)
{
    return pName == nullptr ? "" : pName;
}

// All of an item but its names.
auto valuesOf(const cah_item_s &item)
{
    return std::tie(item.gumi, item.parent_gumi, item.content_type, item.group_number, item.group_first,
                    item.group_last, item.group_missing, item.upload_status, item.highlight_count, item.extra_bits,
                    item.creation_time, item.duration_s, item.is_clipped, item.size);
}

bool isItemUnderTest(const cah_item_s *cahItem)
{
    if (gIdx >= gItems.size()) {
        return false;
    }
    const ConsistencyItem &known = gItems[gIdx];
    return valuesOf(known.desc) == valuesOf(*cahItem) && known.dirName == textOf(cahItem->dir_name) &&
           known.fileName == textOf(cahItem->file_name);
}

void requireItemUnderTest(const cah_item_s *cahItem, uint32_t reportedIndex)
{
    if (!isItemUnderTest(cahItem)) {
        failCheck("!memcmp(&gItems[gIdx].desc, cahItem, sizeof(struct cah_item_s))", "Item %d does not match.\n\033[0m",
                  reportedIndex);
    }
}

// The path of a file. Each file comes three times, too often for a place on the heap.
class FilePath
{
  public:
    FilePath(const char *pDir, const char *pFile)
    {
        const char *pDirName = textOf(pDir);
        const char *pFileName = textOf(pFile);
        const size_t dirLength = strlen(pDirName);
        const size_t fileLength = strlen(pFileName);
        if (dirLength + 1 + fileLength >= sizeof short_) {
            long_.append(pDirName).append("/").append(pFileName);
            return;
        }
        memcpy(short_, pDirName, dirLength);
        short_[dirLength] = '/';
        memcpy(short_ + dirLength + 1, pFileName, fileLength + 1);
    }
    const char *text() const
    {
        return long_.empty() ? short_ : long_.c_str();
    }
    std::string_view view() const
    {
        return text();
    }

  private:
    char short_[DB_DIR_NAME_BYTES + 1 + DB_FILE_NAME_BYTES + 1];
    std::string long_; // for names longer than those of the database
};

// Files come in the order in which they are known, some of them perhaps missing. So the search goes on where the last
// one ended, round the list: all the files of an item together take no more steps than it has files.
bool takeFile(ConsistencyItem *pItem, std::string_view path)
{
    const auto begin = pItem->files.begin();
    const auto end = pItem->files.end();
    const auto start = begin + static_cast<std::ptrdiff_t>(pItem->nextFile);
    auto found = std::find(start, end, path);
    if (found == end) {
        found = std::find(begin, start, path);
        if (found == start) {
            return false;
        }
    }
    pItem->nextFile = static_cast<size_t>(found - begin) + 1;
    return true;
}

void countFile(uint32_t position, const char *pDirName, const char *pFileName)
{
    const FilePath path(pDirName, pFileName);
    if (position >= gItems.size() || !takeFile(&gItems[position], path.view())) {
        failCheck("find(files.begin(), files.end(), path.str()) != files.end()",
                  "Missing file %s for item %d.\n\033[0m", path.text(), position);
    }
    const auto it = gFileMap.find(path.view());
    if (it == gFileMap.end()) {
        failCheck("it != gFileMap.end()", "Missing file %s in global file map.\n\033[0m", path.text());
    }
    ++it->second;
}

} // namespace

void failCheck(const char *pExpression, const char *pDetail, ...)
{
    printf("\033[31mASSERT %s failed\n", pExpression);
    va_list arguments;
    va_start(arguments, pDetail);
    vprintf(pDetail, arguments);
    va_end(arguments);
    throw std::exception();
}

void addItem(void *context, cah_item_s *cahItem)
{
    requireNoContext(context);
    requireUploadStatus(cahItem);
    ++histogram[cahItem->upload_status];
    ConsistencyItem item;
    item.index = static_cast<uint32_t>(gItems.size());
    item.desc = *cahItem;
    item.desc.gumi = nullptr;
    item.desc.parent_gumi = nullptr;
    item.desc.dir_name = nullptr;
    item.desc.file_name = nullptr;
    item.dirName = textOf(cahItem->dir_name);
    item.fileName = textOf(cahItem->file_name);
    gItems.push_back(std::move(item));
}

void verifyItemForward(void *context, cah_item_s *cahItem)
{
    requireNoContext(context);
    requireItemUnderTest(cahItem, gIdx);
    requireUploadStatus(cahItem);
    ++gIdx;
    ++histogram[cahItem->upload_status];
}

void verifyItem(void *context, cah_item_s *cahItem)
{
    requireNoContext(context, "Incorrect context pointer.\033[0m");
    requireItemUnderTest(cahItem, gIdx < gItems.size() ? gItems[gIdx].index : gIdx);
    requireUploadStatus(cahItem);
    ++histogram[cahItem->upload_status];
}

void addFile(void *context, const char *pDirName, const char *pFileName)
{
    requireNoContext(context);
    const FilePath path(pDirName, pFileName);
    if (gItems.empty()) {
        failCheck("!gItems.empty()", "File %s belongs to no item.\n\033[0m", path.text());
    }
    ConsistencyItem &item = gItems.back();
    item.files.emplace_back(path.view());
    // Most files come in the order of the map.
    const size_t known = gFileMap.size();
    gFileMap.emplace_hint(gFileMap.end(), path.view(), 0);
    if (gFileMap.size() == known) {
        failCheck("i == gFileMap.end()", "Duplicate file entry found in item %d: %s\n\033[0m", item.index, path.text());
    }
}

// The item callback has moved on already. A file in front of every item gets the position -1, which none has.
void verifyFileBefore(void *, const char *pDirName, const char *pFileName)
{
    countFile(gIdx - 1, pDirName, pFileName);
}

void verifyFile(void *, const char *pDirName, const char *pFileName)
{
    countFile(gIdx, pDirName, pFileName);
}
