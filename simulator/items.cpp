#include <algorithm>
#include <limits>
#include <span>

#include "catalogueJson.h"
#include "hash.h"
#include "items.h"
#include "parseNumber.h"

namespace sim
{

namespace
{

struct Member {
    uint32_t number;
    const MediaFile *pFile;
};
using Members = std::span<const Member>;

// What a file's name says that it may be; the first kind holds when catalogue.json says nothing.
using Kinds = std::span<const db_content_type>;
constexpr db_content_type videoKinds[] = {DB_CONTENT_TYPE_SINGLE_VIDEO, DB_CONTENT_TYPE_TIME_LAPSE_VIDEO};
constexpr db_content_type chapterKinds[] = {DB_CONTENT_TYPE_CHAPTERED_VIDEO};
constexpr db_content_type loopKinds[] = {DB_CONTENT_TYPE_LOOPED_VIDEO};
constexpr db_content_type photoKinds[] = {DB_CONTENT_TYPE_SINGLE_PHOTO, DB_CONTENT_TYPE_NIGHT_PHOTO,
                                          DB_CONTENT_TYPE_RAW_PHOTO};
constexpr db_content_type photoGroupKinds[] = {DB_CONTENT_TYPE_BURST_PHOTO, DB_CONTENT_TYPE_TIME_LAPSE_PHOTO,
                                               DB_CONTENT_TYPE_NIGHT_LAPSE_PHOTO, DB_CONTENT_TYPE_CONTINUOUS_PHOTO};
constexpr db_content_type sessionKinds[] = {DB_CONTENT_TYPE_METADATA_SESSION};

bool isInGroup(const MediaFile &file)
{
    return file.name[0] == 'G' && parseNumber(file.name.substr(1, 3)) && !file.name.ends_with(".MET");
}

// Which item a file belongs to, as a key that its files share, and the file's number in it.
std::pair<std::string, uint32_t> placeOf(const CardFiles &files, const std::string &path, const MediaFile &file)
{
    const std::string &name = file.name;
    if (isInGroup(file)) {
        return {file.dir + '/' + name.substr(0, 4) + name.substr(8), *parseNumber(name.substr(4, 4))};
    }
    if (name.starts_with("MX") && name.ends_with(".MP4") && parseNumber(name.substr(2, 2)).value_or(0) != 0) {
        const std::string first = file.dir + "/MOXE" + name.substr(4);
        if (files.contains(first)) {
            return {first, *parseNumber(name.substr(2, 2))};
        }
    }
    return {path, 0};
}

Kinds kindsOf(Members members)
{
    const MediaFile &first = *members.front().pFile;
    const bool video = first.name.ends_with(".MP4");
    if (isInGroup(first)) {
        return video ? Kinds(loopKinds) : Kinds(photoGroupKinds);
    }
    if (first.name.ends_with(".MET")) {
        return sessionKinds;
    }
    return members.size() > 1 ? Kinds(chapterKinds) : video ? Kinds(videoKinds) : Kinds(photoKinds);
}

// The kind that the files are told to be, which any of them may say.
db_content_type kindOf(Members members)
{
    const Kinds kinds = kindsOf(members);
    std::optional<db_content_type> said;
    for (const Member &member : members) {
        const MediaFile &file = *member.pFile;
        if (!file.kind) {
            continue;
        }
        const char *pWrong = std::find(kinds.begin(), kinds.end(), *file.kind) == kinds.end()
                                 ? "the names of the files rule it out"
                             : said && *said != *file.kind ? "another file of the group is told to be of another kind"
                                                           : nullptr;
        if (pWrong != nullptr) {
            throw CatalogueError("catalogue.json: " + file.path() + ": kind: " + pWrong);
        }
        said = file.kind;
    }
    return said.value_or(kinds.front());
}

void addUp(uint32_t &sum, uint32_t more)
{
    sum += std::min(more, std::numeric_limits<uint32_t>::max() - sum);
}

// Adds a further file of a group to the whole.
void addToWhole(MediaFile &whole, const Member &member, bool video)
{
    const MediaFile &file = *member.pFile;
    if (video) {
        for (const uint32_t highlight : file.highlights) {
            whole.highlights.push_back(whole.duration);
            addUp(whole.highlights.back(), highlight);
        }
    } else if (!file.highlights.empty()) {
        whole.highlights.push_back(member.number);
    }
    whole.size += file.size;
    addUp(whole.duration, file.duration);
    addUp(whole.lrvSize, file.lrvSize);
}

// A mask of whole words for a group, all bits as told.
std::vector<uint8_t> mask(const db_group_content_info &group, uint8_t fill)
{
    const size_t words = (group.last_number - group.first_number) / 32 + 1;
    return std::vector<uint8_t>(words * sizeof(uint32_t), fill);
}

void fillGroup(Item &item, Members members)
{
    db_group_content_info &group = item.group;
    const bool chapters = item.type == DB_CONTENT_TYPE_CHAPTERED_VIDEO;
    group.group_number = *parseNumber(item.whole.name.substr(chapters ? 4 : 1, chapters ? 4 : 3));
    group.first_number = members.front().number;
    group.last_number = members.back().number;
    group.num_missing = group.last_number - group.first_number + 1 - static_cast<uint32_t>(members.size());
    group.group_size = item.whole.size;
    // A reader may take every set bit of the last byte for a file, and every clear one for a highlight.
    std::vector<uint8_t> present = mask(group, 0x00);
    std::vector<uint8_t> plain = mask(group, 0xFF);
    for (const Member &member : members) {
        const uint32_t at = member.number - group.first_number;
        const auto bit = static_cast<uint8_t>(0x80 >> at % 8);
        present[at / 8] |= bit;
        if (!member.pFile->highlights.empty()) {
            plain[at / 8] &= static_cast<uint8_t>(~bit);
        }
    }
    if (group.num_missing != 0) {
        item.missingMask = std::move(present);
    }
    if (!item.whole.highlights.empty()) {
        item.highlightMask = std::move(plain);
    }
}

Item makeItem(Members members, db_content_type type)
{
    Item item;
    item.type = type;
    item.whole = *members.front().pFile;
    item.gumi = gumiOf(item.path());
    if (isGroup(type)) {
        item.whole.size = item.whole.duration = item.whole.lrvSize = 0;
        item.whole.highlights.clear();
        for (const Member &member : members) {
            addToWhole(item.whole, member, isVideo(type));
        }
        fillGroup(item, members);
    }
    if (isVideo(type) && item.whole.highlights.size() > maxHighlights) {
        throw CatalogueError("catalogue.json: " + item.path() + ": highlights: the chapters have more than " +
                             std::to_string(maxHighlights) + " in all");
    }
    for (const Member &member : members) {
        item.files.push_back(*member.pFile);
    }
    return item;
}

} // namespace

Gumi gumiOf(std::string_view path)
{
    const uint64_t halves[] = {hash(path, 0x6D786D6564696131), hash(path, 0x67756D6967756D69)};
    Gumi gumi;
    memcpy(gumi.data(), halves, sizeof halves);
    return gumi;
}

bool isVideo(db_content_type type)
{
    return type >= DB_CONTENT_TYPE_SINGLE_VIDEO && type <= DB_CONTENT_TYPE_TIME_LAPSE_VIDEO;
}

bool isGroup(db_content_type type)
{
    return type == DB_CONTENT_TYPE_LOOPED_VIDEO || type == DB_CONTENT_TYPE_CHAPTERED_VIDEO ||
           type == DB_CONTENT_TYPE_BURST_PHOTO || type == DB_CONTENT_TYPE_TIME_LAPSE_PHOTO ||
           type == DB_CONTENT_TYPE_NIGHT_LAPSE_PHOTO || type == DB_CONTENT_TYPE_CONTINUOUS_PHOTO;
}

std::vector<Item> makeItems(const CardFiles &files)
{
    // The files come by rising name, so the members of each item come by rising number.
    std::map<std::string, std::vector<Member>> membersByKey;
    for (const auto &[path, file] : files) {
        if (!file.name.ends_with(".MET") || file.kind) {
            const auto [key, number] = placeOf(files, path, file);
            membersByKey[key].push_back({number, &file});
        }
    }
    std::vector<Item> items;
    for (const auto &[key, members] : membersByKey) {
        const db_content_type type = kindOf(members);
        for (Members rest = members; !rest.empty();) {
            const uint32_t first = rest.front().number;
            const auto beyond = std::find_if(rest.begin(), rest.end(),
                                             [=](const Member &member) { return member.number - first >= maxSpan; });
            const auto count = static_cast<size_t>(beyond - rest.begin());
            items.push_back(makeItem(rest.first(count), type));
            rest = rest.subspan(count);
        }
    }
    std::sort(items.begin(), items.end(), [](const Item &a, const Item &b) { return a.path() < b.path(); });
    return items;
}

} // namespace sim
