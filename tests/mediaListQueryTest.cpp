// Media list queries: what each asks for, and how each bad one is refused.
#include <gtest/gtest.h>

#include "effects.h"
#include "mediaListQuery.h"

namespace
{

/** Status, filter, query options, mask, directory, words without a field, new upload status. */
using Outcome = std::tuple<int, uint32_t, uint32_t, uint32_t, std::string, std::string, uint32_t>;

Outcome parse(const std::string &query)
{
    effects().clear();
    mediaQuerySettings settings = {};
    const int status = parseMediaListQuery(query.c_str(), static_cast<int>(query.size()), &settings);
    return {status,           settings.filter,      settings.rtosDBQueryOptions, settings.whitelistMask,
            settings.dirName, settings.unsupported, settings.newUploadStatus};
}

} // namespace

TEST(MediaListQuery, WrongItemsOrFieldsAskedFor)
{
    const std::pair<const char *, uint32_t> dataSets[] = {
        // filter and options
        {"photos", 0x1'200},     {"video", 0x2'100},       {"clips", 0x4'300},           {"videoclips", 0x4'100},
        {"photoclips", 0x5'200}, {"highlights", 0x6'300},  {"videohighlights", 0x7'100}, {"photohighlights", 0x8'200},
        {"groups", 0xA'300},     {"videogroups", 0xA'100}, {"photogroups", 0xB'200},     {"raw", 0xC'800},
        {"gumi", 0xD'000},       {"none", 0xE'F00},        {"raw&status=7x", 0xC'800},
    };
    for (const auto &[word, set] : dataSets) {
        EXPECT_EQ(parse(std::string("f=") + word), Outcome(200, set >> 12, set & 0xFFF, 0xFFFFFFFF, "", "", 0)) << word;
    }
    EXPECT_EQ(parse(""), Outcome(200, 0, 0xFFFFFB00, 0x11B, "", "", 0));
    EXPECT_EQ(parse("g=1"), Outcome(200, 0, 0, 0xFFFFFFFF, "", "", 0));
    EXPECT_EQ(parse("F=clips&fields=n"), Outcome(200, 4, 0x300, 1, "", "", 0));
    EXPECT_EQ(parse("f=upload"), Outcome(200, 15, 0, 0x1000, "", "", 0));
    EXPECT_EQ(parse("status=7&f=upload&fields=n"), Outcome(200, 16, 0, 1, "", "", 7));
    const std::pair<const char *, uint32_t> words[] = {
        {"n", 0x1},       {"mod", 0x2},    {"cre", 0x4},        {"s", 0x8},        {"ls", 0x10},     {"cl", 0x20},
        {"hc", 0x40},     {"hi", 0xC0},    {"g", 0x100},        {"b", 0x100},      {"l", 0x100},     {"t", 0x100},
        {"m", 0x100},     {"ghc", 0x100},  {"ghi", 0x100},      {"gumi", 512},     {"pgumi", 1024},  {"DNE", 0x800},
        {"us", 0x1000},   {"eis", 0x2000}, {"wdr", 0x4000},     {"tr", 1u << 18},  {"zta", 0x8000},  {"ao", 0x10000},
        {"raw", 0x20000}, {"mp", 0x80000}, {"dur", 0x100000},   {"legacy", 0x11B}, {"%22n,s%22", 9}, {",,n,,", 1},
        {"%22%22", 0},    {"%22", 0},      {"dur,n", 0x100001},
    };
    for (const auto &[word, mask] : words) {
        EXPECT_EQ(parse(std::string("fields=") + word), Outcome(200, 0, 0, mask, "", "", 0)) << word;
    }
}

TEST(MediaListQuery, UnknownWordLostOrItsRoomMisjudged)
{
    const std::string fifty(50, 'x');
    const std::string hundred = fifty + "," + std::string(49, 'y');
    const std::tuple<std::string, int, uint32_t, std::string> cases[] = {
        {"%22n", 200, 0, "\"n"},
        {"foo,n,N,bar", 200, 1, "foo,N,bar"},
        {hundred + ",n", 200, 1, hundred},
        {hundred + "y,n,z", 500, 0xFFFFFFFF, hundred},
        {std::string(110, 'x') + ",z", 500, 0xFFFFFFFF, fifty + fifty},
    };
    for (const auto &[words, status, mask, unsupported] : cases) {
        EXPECT_EQ(parse("fields=" + words), Outcome(status, 0, 0, mask, "", unsupported, 0)) << words;
        EXPECT_EQ(joined(), status == 200 ? "" : "ERROR Insufficient storage for unsupported fields|");
    }
}

TEST(MediaListQuery, BadQueryAccepted)
{
    const std::string long63(63, 'a');
    const std::string storage = "Insufficient storage for ";
    const std::string commas(1023, ',');
    const std::tuple<std::string, int, std::string> cases[] = {
        {"f=", 400, "Field 'f' has no value"},
        {"f=VIDEO", 501, "f=VIDEO not implemented"},
        {"f=" + long63, 501, "f=" + long63 + " not implemented"},
        {"f=" + long63 + "a", 400, storage + "f=" + long63},
        {"f=video&f=", 400, "Field 'f' found multiple times"},
        {"fields=", 400, "Field 'fields' has no value"},
        {"fields=" + commas + ",", 400, ""}, // the line is longer than a log line can be
        {"fields=n&fields=n", 400, "Field 'fields' found multiple times"},
        {"folder=100MOXEL", 400, "Required field 'files' missing"},
        {"folder=100MOXELS&files=a", 400, "folder=100MOXELS is an invalid value"},
        {"folder=a&files=b&folder=a", 400, "Field 'folder' found multiple times"},
        {"folder=a&files=" + long63 + "a", 400, storage + "files=" + long63},
        {"files=a", 400, "Required field 'folder' missing"},
        {"f=upload&status=7x", 400, "status=7x is an invalid value"},
        {"f=nothing&fields=", 501, "f=nothing not implemented"},
    };
    for (const auto &[query, status, complaint] : cases) {
        EXPECT_EQ(std::get<int>(parse(query)), status) << query;
        if (!complaint.empty()) {
            EXPECT_EQ(joined(), "ERROR " + complaint + "\n|");
        }
    }
    for (const std::string &query : {"fields=" + commas, std::string("folder="), std::string("files="),
                                     std::string("folder=100MOXEL&files="), "folder=a&files=" + long63}) {
        EXPECT_EQ(std::get<int>(parse(query)), 200) << query;
    }
}
