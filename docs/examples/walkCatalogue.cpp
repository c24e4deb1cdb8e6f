// Lists the catalogue: each item with its size and the number of its files.
#include <mxMediaRTOSDB.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

namespace
{

struct Item {
    std::string path;
    uint64_t size;
    size_t files;
};

using Catalogue = std::vector<Item>;

// What a callback gets is valid during the call only, hence the copy.
void addItem(void *pCatalogue, cah_item_s *pItem)
{
    static_cast<Catalogue *>(pCatalogue)
        ->push_back({pItem->dir_name + std::string("/") + pItem->file_name, pItem->size, 0});
}

void addFile(void *pCatalogue, const char *, const char *)
{
    ++static_cast<Catalogue *>(pCatalogue)->back().files;
}

} // namespace

int main()
{
    constexpr uint32_t pageSize = 10;
    Catalogue items;
    uint32_t session = 0;
    int count = 0;
    do {
        const uint32_t known = session;
        count = dbGetCAHList(pageSize, static_cast<uint32_t>(items.size()), DB_CALLERS_TOKEN, addItem, &items, addFile,
                             &items, &session, nullptr);
        if (count < 0 || (known != 0 && known != session)) {
            std::cerr << (count < 0 ? "no answer; syslog tells why\n" : "the catalogue has changed meanwhile\n");
            return 1;
        }
    } while (count > 0);
    for (const Item &item : items) {
        std::cout << item.path << ' ' << item.size << " bytes, " << item.files << " files\n";
    }
    return 0;
}
