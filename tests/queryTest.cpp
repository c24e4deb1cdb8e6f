// Query strings: what each of the parsers finds asked for, or why it refuses.
#include <gtest/gtest.h>

#include "effects.h"
#include "mediaListQuery.h"
#include "metadataQuery.h"
#include "queryString.h"
#include "utilLog.h"

using Parser = int(const char *, int, mediaQuerySettings *);
static constexpr Parser *list = parseMediaListQuery, *meta = parseMetadataQuery;

// Status; filter, query options, mask, new upload status, directory, file and words without a field; what is logged.
static std::string parsed(Parser *parse, const std::string &query, uint32_t level = UTIL_LOG_LEVEL_ERROR)
{
    mediaQuerySettings s = {0, 0x34, 0, "", "", 0, ""}; // with bits that narrow a request
    effects().clear();
    g_logLevel = level;
    const int status = parse((query + "41").c_str(), static_cast<int>(query.size()), &s); // with more behind the length
    const std::string names = formatted("%s/%s %s|", s.dirName, s.fileName, s.unsupported);
    return formatted("%d %x %x %x %u ", status, s.filter, s.rtosDBQueryOptions, s.whitelistMask, s.newUploadStatus) +
           names + joined();
}

const std::string fits = std::string(62, '0') + "8"; // as long as a value may be
const std::string path = "p=D/MOXE0001.MP4", setUpload = path + "&t=upload&status=", dur = "t=dur&" + path;
const std::string hundred = std::string(50, 'x') + "," + std::string(49, 'y'), commas(1023, ',');

TEST(Query, SomethingElseAskedFor)
{
    const std::tuple<Parser *, std::string, std::string> cases[] = {
        {meta, "t=videoinfo&" + path, "11 0 0 0 D/MOXE0001.MP4 "},
        {meta, path + "&xt=upload&T=dur", "12 0 0 0 D/MOXE0001.MP4 "},
        {meta, "t=v4info&P=%2F/a%2fMOXE0001.JPG/third", "13 0 0 0 a/MOXE0001.JPG "},
        {meta, path + "&t=upload", "14 0 0 0 D/MOXE0001.MP4 "},
        {meta, "status=" + fits + "&t=upload&" + path, "15 0 0 8 D/MOXE0001.MP4 "},
        {meta, setUpload + "4294967295", "15 0 0 4294967295 D/MOXE0001.MP4 "},
        {meta, dur + "&status=abc", "12 0 0 0 D/MOXE0001.MP4 "},
        {meta, dur + "&status=&status=2", "12 0 0 0 D/MOXE0001.MP4 "},
        {list, "", "0 fffffb00 11b 0 / "},
        {list, "g=1", "0 0 ffffffff 0 / "},
        {list, "F=clips&fields=n", "4 300 1 0 / "},
        {list, "f=upload", "f 0 1000 0 / "},
        {list, "status=7&f=upload&fields=n", "10 0 1 7 / "},
        {list, "fields=%22n,s%22", "0 0 9 0 / "},
        {list, "fields=%22%22", "0 0 0 0 / "},
        {list, "fields=%22n", "0 0 0 0 / \"n"},
        {list, "fields=,,foo,n,,N,bar,dur", "0 0 100001 0 / foo,N,bar"},
        {list, "fields=" + hundred + ",n", "0 0 1 0 / " + hundred},
        {list, "fields=" + commas, "0 0 0 0 / "},
        {list, "files=", "0 0 ffffffff 0 / "},
        {list, "folder=100MOXEL&files=", "0 0 ffffffff 0 100MOXEL/ "},
    };
    for (const auto &[parse, query, settings] : cases) {
        EXPECT_EQ(parsed(parse, query), "200 " + settings + "|") << query;
    }
    const std::pair<const char *, uint32_t> dataSets[] = {
        // filter and options
        {"photos", 0x1'200},     {"video", 0x2'100},       {"clips", 0x4'300},           {"videoclips", 0x4'100},
        {"photoclips", 0x5'200}, {"highlights", 0x6'300},  {"videohighlights", 0x7'100}, {"photohighlights", 0x8'200},
        {"groups", 0xA'300},     {"videogroups", 0xA'100}, {"photogroups", 0xB'200},     {"raw", 0xC'800},
        {"gumi", 0xD'000},       {"none", 0xE'F00},
    };
    for (const auto &[word, set] : dataSets) {
        const std::string asked = formatted("200 %x %x ffffffff 0 / |", set >> 12, set & 0xFFF);
        EXPECT_EQ(parsed(list, std::string("f=") + word), asked) << word;
    }
    const std::pair<const char *, uint32_t> fields[] = {
        {"n", 0x1},      {"mod", 0x2},    {"cre", 0x4},      {"s", 0x8},        {"ls", 0x10},    {"cl", 0x20},
        {"hc", 0x40},    {"hi", 0xC0},    {"g", 0x100},      {"b", 0x100},      {"l", 0x100},    {"t", 0x100},
        {"m", 0x100},    {"ghc", 0x100},  {"ghi", 0x100},    {"gumi", 0x200},   {"pgumi", 1024}, {"DNE", 0x800},
        {"us", 0x1000},  {"eis", 0x2000}, {"wdr", 0x4000},   {"zta", 0x8000},   {"ao", 0x10000}, {"raw", 0x20000},
        {"tr", 0x40000}, {"mp", 0x80000}, {"dur", 0x100000}, {"legacy", 0x11B},
    };
    for (const auto &[word, mask] : fields) {
        EXPECT_EQ(parsed(list, std::string("fields=") + word), formatted("200 0 0 %x 0 / |", mask)) << word;
    }
}

TEST(Query, RefusedOtherwise)
{
    const std::string absent = "', inferring FILE NOT_FOUND", invalid = " is an invalid value";
    const std::string twice = " found multiple times", storage = "Insufficient storage for ";
    // The status, and the last line logged.
    const std::tuple<Parser *, std::string, int, std::string> cases[] = {
        {meta, "", 400, "Field 't' not found"},
        {meta, "t=", 400, "Field 't' has no value"},
        {meta, "t=DUR", 501, "t=DUR not implemented"},
        {meta, "t=dur%00x", 501, "t=dur not implemented"},
        {meta, "t=" + fits + "2", 400, "Insufficient internal storage for t=" + fits},
        {meta, "t=dur&t=", 400, "Required field 't'" + twice},
        {meta, "t=dur", 400, "Required field 'p' not found"},
        {meta, "t=dur&p=//", 400, "invalid directory name: dir:''"},
        {meta, "t=dur&p=123456789/a", 400, "invalid directory name: dir:'123456789'"},
        {meta, "t=dur&p=12345678", 400, "invalid filename: file:''"},
        {meta, "t=dur&p=a/MOXE00012.MP4", 400, "invalid filename: file:'MOXE00012.MP4'"},
        {meta, "t=dur&p=a/MOXE0001.mp4", 404, "Not a JPG or MP4 file name 'MOXE0001.mp4" + absent},
        {meta, "t=dur&p=a/a.JPG", 404, "Not a JPG or MP4 file name 'a.JPG" + absent},
        {meta, dur + "&p=", 400, "Required field 'p'" + twice},
        {meta, setUpload + "18446744073709551616", 400, "status=18446744073709551616" + invalid},
        {meta, setUpload, 400, "Required field 'status' has no value"},
        {meta, setUpload + "5x", 400, "status=5x" + invalid},
        {meta, dur + "&status=" + fits + "2", 400, storage + "status=" + fits},
        {meta, dur + "&status=1&status=2", 400, "Required field 'status'" + twice},
        {list, "f=", 400, "Field 'f' has no value"},
        {list, "f=a%2Bb+c%zz%4g%g4%aF%Af%41%4", 501,
         "f=a+b c%zz%4g%g4\xAF\xAF"
         "A%4 not implemented"},
        {list, "f=video%00x", 501, "f=video not implemented"},
        {list, "f=" + fits + "%61", 400, storage + "f=" + fits},
        {list, "f=video&f=", 400, "Field 'f'" + twice},
        {list, "fields=", 400, "Field 'fields' has no value"},
        {list, "fields=" + commas + ",", 400, ""}, // the line is longer than a log line can be
        {list, "fields=n&fields=n", 400, "Field 'fields'" + twice},
        {list, "fields=" + hundred + "y,n,z", 500, storage + "unsupported fields"},
        {list, "fields=" + std::string(110, 'x') + ",z", 500, storage + "unsupported fields"},
        {list, "folder=100MOXEL", 400, "Required field 'files' missing"},
        {list, "folder=100MOXELS&files=a", 400, "folder=100MOXELS" + invalid},
        {list, "folder=a&files=b&folder=a", 400, "Field 'folder'" + twice},
        {list, "files=a", 400, "Required field 'folder' missing"},
    };
    for (const auto &[parse, query, status, complaint] : cases) {
        EXPECT_TRUE(parsed(parse, query, UTIL_LOG_LEVEL_WARNING).starts_with(formatted("%d ", status))) << query;
        const std::string line = (status == 404 ? "WARN " : "ERROR ") + complaint + (status == 500 ? "" : "\n");
        EXPECT_TRUE(complaint.empty() || effects().back() == line) << query << ": " << joined();
    }
}

TEST(Query, SettingsLoggedOtherwise)
{
    EXPECT_EQ(parsed(list, "fields=x,n", UTIL_LOG_LEVEL_WARNING),
              "200 0 0 1 0 / x|WARN fieldMask = 0x00000001, unsupported x\n|");
    EXPECT_EQ(parsed(meta, "t=dur&p=a/b", UTIL_LOG_LEVEL_DEBUG),
              "404 12 0 0 0 a/b |WARN Not a JPG or MP4 file name 'b', inferring FILE NOT_FOUND\n|"
              "DEBUG pSettings->filter = 0x00000012|DEBUG pSettings->rtosDBQueryOptions = 0x00000000|"
              "DEBUG pSettings->newUploadStatus = 0x00000000|DEBUG pSettings->dirName = 'a'|"
              "DEBUG pSettings->fileName = 'b'|DEBUG pSettings->whitelistMask = 0x00000000|"
              "DEBUG pSettings->unsupported = ''|");
}

TEST(Query, ValueIsDecodedOtherwise)
{
    char text[8];
    EXPECT_EQ(queryGetFirstValue("t=1", 3, "t", text, 0), QUERY_VALUE_TOO_LONG);
    EXPECT_EQ(queryGetFirstValue("xt=2&T=12%41", 11, "t", text, sizeof text), 4) << "looks beyond the length";
    EXPECT_STREQ(text, "12%4");
    EXPECT_EQ(queryDecode("a+b%41", 6, text, 5, false), 4);
    EXPECT_STREQ(text, "a+bA");
}
