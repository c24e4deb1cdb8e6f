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

Outcome accepted(uint32_t filter, uint32_t options, uint32_t mask, const std::string &unsupported = "")
{
    return {200, filter, options, mask, "", unsupported, 0};
}

} // namespace

TEST(MediaListQuery, DataSetAsksForTheWrongItems)
{
    const struct {
        const char *word;
        uint32_t filter;
        uint32_t options;
    } cases[] = {
        {"photos", 1, 0x200},
        {"video", 2, 0x100},
        {"clips", 4, 0x300},
        {"videoclips", 4, 0x100},
        {"photoclips", 5, 0x200},
        {"highlights", 6, 0x300},
        {"videohighlights", 7, 0x100},
        {"groups", 10, 0x300},
        {"photohighlights", 8, 0x200},
        {"videogroups", 10, 0x100},
        {"raw", 12, 0x800},
        {"photogroups", 11, 0x200},
        {"gumi", 13, 0},
        {"none", 14, 0xF00},
    };
    for (const auto &row : cases) {
        EXPECT_EQ(parse(std::string("f=") + row.word), accepted(row.filter, row.options, 0xFFFFFFFF)) << row.word;
    }
    EXPECT_EQ(parse(""), accepted(0, 0xFFFFFB00, 0x11B));
    EXPECT_EQ(parse("g=1"), accepted(0, 0, 0xFFFFFFFF));
    EXPECT_EQ(parse("F=clips&fields=n"), accepted(4, 0x300, 1));
    EXPECT_EQ(parse("f=upload"), accepted(15, 0, 0x1000));
    EXPECT_EQ(parse("f=upload&fields=n"), accepted(15, 0, 1));
    EXPECT_EQ(parse("status=7&f=upload"), Outcome(200, 16, 0, 0x1000, "", "", 7));
    EXPECT_EQ(parse("f=raw&status=7x"), accepted(12, 0x800, 0xFFFFFFFF));
}

TEST(MediaListQuery, WordSetsTheWrongField)
{
    const std::pair<const char *, uint32_t> cases[] = {
        {"n", 0x1},       {"mod", 0x2},    {"cre", 0x4},      {"s", 0x8},          {"ls", 0x10},     {"cl", 0x20},
        {"hc", 0x40},     {"hi", 0xC0},    {"g", 0x100},      {"b", 0x100},        {"l", 0x100},     {"t", 0x100},
        {"m", 0x100},     {"ghc", 0x100},  {"ghi", 0x100},    {"gumi", 512},       {"pgumi", 1024},  {"DNE", 0x800},
        {"us", 0x1000},   {"eis", 0x2000}, {"wdr", 0x4000},   {"tr", 1u << 18},    {"zta", 0x8000},  {"ao", 0x10000},
        {"raw", 0x20000}, {"mp", 0x80000}, {"dur", 0x100000}, {"legacy", 0x11B},   {"%22n,s%22", 9}, {",,n,,", 1},
        {"%22%22", 0},    {"%22", 0},      {"%22n", 0},       {"dur,n", 0x100001},
    };
    for (const auto &[words, mask] : cases) {
        const std::string unsupported = words == std::string("%22n") ? "\"n" : "";
        EXPECT_EQ(parse(std::string("fields=") + words), accepted(0, 0, mask, unsupported)) << words;
    }
    EXPECT_EQ(parse("fields=foo,n,N,bar"), accepted(0, 0, 1, "foo,N,bar"));
}

TEST(MediaListQuery, RoomForUnknownWordsMisjudged)
{
    const std::string fifty(50, 'x');
    const std::string hundred = fifty + "," + std::string(49, 'y');
    EXPECT_EQ(parse("fields=" + hundred + ",n"), accepted(0, 0, 1, hundred));
    EXPECT_EQ(parse("fields=" + hundred + "y,n,z"), Outcome(500, 0, 0, 0xFFFFFFFF, "", hundred, 0));
    EXPECT_EQ(effectsOf("ERROR"), (Lines{"ERROR Insufficient storage for unsupported fields"}));
    EXPECT_EQ(parse("fields=" + std::string(300, 'x')), Outcome(500, 0, 0, 0xFFFFFFFF, "", fifty + fifty, 0));
}

TEST(MediaListQuery, BadQueryAccepted)
{
    const std::string long63(63, 'a');
    const std::string storage = "ERROR Insufficient storage for ";
    const std::string words1023(1023, ',');
    const struct {
        std::string query;
        int status;
        std::string complaint;
    } cases[] = {
        {"f=", 400, "ERROR Field 'f' has no value\n"},
        {"f=VIDEO", 501, "ERROR f=VIDEO not implemented\n"},
        {"f=" + long63, 501, "ERROR f=" + long63 + " not implemented\n"},
        {"f=" + long63 + "a", 400, storage + "f=" + long63 + "\n"},
        {"f=video&f=", 400, "ERROR Field 'f' found multiple times\n"},
        {"fields=", 400, "ERROR Field 'fields' has no value\n"},
        {"fields=" + words1023, 200, ""},
        {"fields=" + words1023 + ",", 400, ""}, // the line is longer than a log line can be
        {"fields=n&fields=n", 400, "ERROR Field 'fields' found multiple times\n"},
        {"folder=", 200, ""},
        {"folder=100MOXEL", 400, "ERROR Required field 'files' missing\n"},
        {"folder=100MOXEL&files=", 200, ""},
        {"folder=100MOXEL&files=a", 200, ""},
        {"folder=100MOXELS&files=a", 400, "ERROR folder=100MOXELS is an invalid value\n"},
        {"folder=a&files=b&folder=a", 400, "ERROR Field 'folder' found multiple times\n"},
        {"folder=a&files=" + long63, 200, ""},
        {"folder=a&files=" + long63 + "a", 400, storage + "files=" + long63 + "\n"},
        {"folder=" + long63 + "a&files=b", 400, storage + "folder=" + long63 + "\n"},
        {"files=a", 400, "ERROR Required field 'folder' missing\n"},
        {"files=", 200, ""},
        {"f=upload&status=7x", 400, "ERROR status=7x is an invalid value\n"},
        {"f=nothing&fields=", 501, "ERROR f=nothing not implemented\n"},
    };
    for (const auto &row : cases) {
        EXPECT_EQ(std::get<int>(parse(row.query)), row.status) << row.query;
        if (!row.complaint.empty()) {
            EXPECT_EQ(effectsOf("ERROR"), Lines{row.complaint}) << row.query;
        }
    }
}
