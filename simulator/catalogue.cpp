#include "catalogue.h"
#include "hash.h"
#include "records.h"

namespace sim
{

namespace
{

constexpr uint32_t familyBits =
    RTOS_DB_QUERY_VIDEOS | RTOS_DB_QUERY_PHOTOS | RTOS_DB_QUERY_METADATA_SESSION_FILES | RTOS_DB_QUERY_RAW;
constexpr uint32_t narrowingBits = RTOS_DB_QUERY_HIGHLIGHTS | RTOS_DB_QUERY_CLIPS | RTOS_DB_QUERY_GROUPS;
// Bits that choose families of items: with none of them set all are chosen.
constexpr uint32_t choosingBits = 0x3F00;

// Digest of all that answers tell of an item.
uint64_t digestOf(const Item &item)
{
    Message entries;
    appendEntry(entries, item, DB_LIST_OPTION_INCLUDE_GUMI | DB_LIST_OPTION_INCLUDE_MORE_INFO);
    uint64_t digest = hash(entries.bytes());
    Message group;
    appendGroup(group, item);
    digest = hash(group.bytes(), digest);
    for (const MediaFile &file : item.files) {
        Message record;
        appendVideo(record, item, file);
        record.appendRecord(moreInfo(file));
        digest = hash(record.bytes(), digest);
    }
    return digest;
}

uint32_t familyOf(db_content_type type)
{
    if (isVideo(type)) {
        return RTOS_DB_QUERY_VIDEOS;
    }
    return type == DB_CONTENT_TYPE_METADATA_SESSION ? RTOS_DB_QUERY_METADATA_SESSION_FILES
           : type == DB_CONTENT_TYPE_RAW_PHOTO      ? RTOS_DB_QUERY_RAW
                                                    : RTOS_DB_QUERY_PHOTOS;
}

// The bits of `query_options` that an item answers to.
uint32_t traitsOf(const Item &item)
{
    return familyOf(item.type) | (item.whole.highlights.empty() ? 0 : RTOS_DB_QUERY_HIGHLIGHTS) |
           (item.whole.clipOf.empty() ? 0 : RTOS_DB_QUERY_CLIPS) | (isGroup(item.type) ? RTOS_DB_QUERY_GROUPS : 0);
}

std::string textOf(const Gumi &gumi)
{
    return {gumi.begin(), gumi.end()};
}

} // namespace

Catalogue::Catalogue(std::vector<Item> items) : items_(std::move(items))
{
    for (size_t i = 0; i < items_.size(); ++i) {
        const Item &item = items_[i];
        digest_ += digestOf(item);
        byGumi_.emplace(textOf(item.gumi), i);
        for (size_t k = 0; k < item.files.size(); ++k) {
            byPath_.emplace(item.files[k].path(), Place{i, k});
        }
    }
}

const Catalogue::Place *Catalogue::find(const std::string &path) const
{
    const auto found = byPath_.find(path);
    return found == byPath_.end() ? nullptr : &found->second;
}

const Item *Catalogue::find(const Gumi &gumi) const
{
    const auto found = byGumi_.find(textOf(gumi));
    return found == byGumi_.end() ? nullptr : &items_[found->second];
}

const std::vector<size_t> &Catalogue::selection(uint32_t queryOptions)
{
    uint32_t families = queryOptions & familyBits;
    if ((queryOptions & choosingBits) == 0) {
        families = familyBits;
    } else if (families == 0 && (queryOptions & RTOS_DB_QUERY_SESSION_LIST) != 0) {
        families = RTOS_DB_QUERY_METADATA_SESSION_FILES;
    }
    const uint32_t narrowing = queryOptions & narrowingBits;
    auto &selection = selections_[families >> 5 | narrowing];
    if (!selection) {
        selection.emplace();
        for (size_t i = 0; i < items_.size(); ++i) {
            const uint32_t traits = traitsOf(items_[i]);
            if ((traits & families) != 0 && (traits & narrowing) == narrowing) {
                selection->push_back(i);
            }
        }
    }
    return *selection;
}

void Catalogue::setUploadStatus(size_t item, uint32_t status)
{
    digest_ -= digestOf(items_[item]);
    items_[item].whole.uploadStatus = status;
    digest_ += digestOf(items_[item]);
}

} // namespace sim
