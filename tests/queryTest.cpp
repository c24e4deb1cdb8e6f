// Query strings: decoding, lookup, and the parsers, of which each tells what is asked for or why it refuses.
#include <gtest/gtest.h>

#include "effects.h"
#include "mediaListQuery.h"
#include "metadataQuery.h"
#include "utilLog.h"

static std::string decoded(const std::string &source, int size = 64, bool plusIsBlank = true)
{
    char text[64] = "untouched";
    const int result = queryDecode(source.data(), static_cast<int>(source.size()), text, size, plusIsBlank);
    return formatted("%d %s|", result, text);
}

// Status; filter, new upload status, directory and file; what is logged.
static std::string parsed(const std::string &query, uint32_t level = UTIL_LOG_LEVEL_WARNING)
{
    mediaQuerySettings s = {0, 0x1234, 0, "", "", 0xFFFFF7FC, ""};
    effects().clear();
    g_logLevel = level;
    const int status = parseMetadataQuery(query.c_str(), static_cast<int>(query.size()), &s);
    return formatted("%d %x %u %s %s|", status, s.filter, s.newUploadStatus, s.dirName, s.fileName) + joined();
}

/** Status, filter, query options, mask, directory, words without a field, new upload status. */
using Outcome = std::tuple<int, uint32_t, uint32_t, uint32_t, std::string, std::string, uint32_t>;

static Outcome parse(const std::string &query)
{
    effects().clear();
    mediaQuerySettings settings = {};
    const int status = parseMediaListQuery(query.c_str(), static_cast<int>(query.size()), &settings);
    return {status,           settings.filter,      settings.rtosDBQueryOptions, settings.whitelistMask,
            settings.dirName, settings.unsupported, settings.newUploadStatus};
}

TEST(Query, EscapeOrRoomMisjudged)
{
    EXPECT_EQ(decoded("a%2Bb+c%zz%4g%g4%aF%Af%41"), "17 a+b c%zz%4g%g4\xAF\xAF\x41|");
    EXPECT_EQ(decoded("a+b", 64, false) + decoded("x%4") + decoded("x%"), "3 a+b|3 x%4|2 x%|");
    EXPECT_EQ(decoded("ab%41", 4) + decoded("abc%41", 4) + decoded("", 1), "3 abA|-1 abc|0 |");
    char text[8] = "before";
    EXPECT_EQ(queryGetFirstValue("t=1", 3, "t", text, 0), -2);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(queryGetFirstValue(nullptr, 3, "t", text, sizeof text), -1);
    EXPECT_EQ(queryGetFirstValue("xt=2&T=12%41", 11, "t", text, sizeof text), 4) << "looks beyond the length";
}

TEST(Query, StatusSettingsOrLogDiffer)
{
    const std::string path = "p=D/MOXE0001.MP4";
    const std::string named = " D MOXE0001.MP4|";
    const std::string fits = std::string(62, '0') + "8";
    EXPECT_EQ(parsed("t=videoinfo&" + path), "200 11 0" + named);
    EXPECT_EQ(parsed(path + "&T=dur"), "200 12 0" + named);
    EXPECT_EQ(parsed("t=v4info&P=%2F/a%2fMOXE0001.JPG/third"), "200 13 0 a MOXE0001.JPG|");

    EXPECT_EQ(parsed(""), "400 0 0  |ERROR Field 't' not found\n|");
    EXPECT_EQ(parsed("t="), "400 0 0  |ERROR Field 't' has no value\n|");
    EXPECT_EQ(parsed("t=DUR"), "501 0 0  |ERROR t=DUR not implemented\n|");
    EXPECT_EQ(parsed("t=dur%00x"), "501 0 0  |ERROR t=dur not implemented\n|");
    EXPECT_EQ(parsed("t=" + fits + "2"), "400 0 0  |ERROR Insufficient internal storage for t=" + fits + "\n|");
    EXPECT_EQ(parsed("t=dur&t="), "400 12 0  |ERROR Required field 't' found multiple times\n|");

    const std::string inferring = "', inferring FILE NOT_FOUND\n|";
    const std::string noMedia = "|WARN Not a JPG or MP4 file name '";
    EXPECT_EQ(parsed("t=dur"), "400 12 0  |ERROR Required field 'p' not found\n|");
    EXPECT_EQ(parsed("t=dur&p="), "400 12 0  |ERROR Required field 'p' has no value\n|");
    EXPECT_EQ(parsed("t=dur&p=" + fits + "2"), "400 12 0  |ERROR Insufficient storage for p=" + fits + "\n|");
    EXPECT_EQ(parsed("t=dur&p=//"), "400 12 0  |ERROR invalid directory name: dir:''\n|");
    EXPECT_EQ(parsed("t=dur&p=123456789/a"), "400 12 0  |ERROR invalid directory name: dir:'123456789'\n|");
    EXPECT_EQ(parsed("t=dur&p=12345678"), "400 12 0  |ERROR invalid filename: file:''\n|");
    EXPECT_EQ(parsed("t=dur&p=a/MOXE00012.MP4"), "400 12 0  |ERROR invalid filename: file:'MOXE00012.MP4'\n|");
    EXPECT_EQ(parsed("t=dur&p=a/MOXE0001.mp4"), "404 12 0 a MOXE0001.mp4" + noMedia + "MOXE0001.mp4" + inferring);
    EXPECT_EQ(parsed("t=dur&p=a/a.JPG"), "404 12 0 a a.JPG" + noMedia + "a.JPG" + inferring);
    EXPECT_EQ(parsed("t=dur&" + path + "&p="), "400 12 0" + named + "ERROR Required field 'p' found multiple times\n|");

    const std::string get = path + "&t=upload";
    const std::string set = get + "&status=";
    const std::string dur = path + "&t=dur&status=";
    const std::string invalid = " is an invalid value\n|";
    const std::string twice = "ERROR Required field 'status' found multiple times\n|";
    EXPECT_EQ(parsed(get) + parsed("status=" + fits + "&" + get), "200 14 0" + named + "200 15 8" + named);
    EXPECT_EQ(parsed(set + "4294967295"), "200 15 4294967295" + named);
    EXPECT_EQ(parsed(set + "18446744073709551616"),
              "400 14 4294967295" + named + "ERROR status=18446744073709551616" + invalid);
    EXPECT_EQ(parsed(set), "400 14 0" + named + "ERROR Required field 'status' has no value\n|");
    EXPECT_EQ(parsed(set + "5x"), "400 14 5" + named + "ERROR status=5x" + invalid);
    EXPECT_EQ(parsed(set + "1&status=2"), "400 15 1" + named + twice);
    EXPECT_EQ(parsed(dur + "abc") + parsed(dur + "&status=2"), "200 12 0" + named + "200 12 0" + named);
    EXPECT_EQ(parsed(dur + fits + "2"), "400 12 0" + named + "ERROR Insufficient storage for status=" + fits + "\n|");
    EXPECT_EQ(parsed(dur + "1&status=2"), "400 12 0" + named + twice);

    // The record is logged after a failure, too.
    EXPECT_EQ(parsed("t=dur&p=a/b", UTIL_LOG_LEVEL_DEBUG),
              "404 12 0 a b" + noMedia + "b" + inferring +
                  "DEBUG pSettings->filter = 0x00000012|DEBUG pSettings->rtosDBQueryOptions = 0x00001200|"
                  "DEBUG pSettings->newUploadStatus = 0x00000000|DEBUG pSettings->dirName = 'a'|"
                  "DEBUG pSettings->fileName = 'b'|DEBUG pSettings->whitelistMask = 0xfffff7fc|"
                  "DEBUG pSettings->unsupported = ''|");
}

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
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
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
        EXPECT_EQ(joined(), status == 200
                                ? formatted("WARN fieldMask = 0x%08X, unsupported %s\n|", mask, unsupported.c_str())
                                : "ERROR Insufficient storage for unsupported fields|");
    }
}

TEST(MediaListQuery, BadQueryAccepted)
{
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
    const std::string long63(63, 'a');
    const std::string storage = "Insufficient storage for ";
    const std::string commas(1023, ',');
    const std::tuple<std::string, int, std::string> cases[] = {
        {"f=", 400, "Field 'f' has no value"},
        {"f=VIDEO", 501, "f=VIDEO not implemented"},
        {"f=video%00x", 501, "f=video not implemented"},
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
