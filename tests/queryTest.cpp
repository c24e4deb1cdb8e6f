// Query strings: decoding, lookup, and the parsers.
#include <gtest/gtest.h>

#include "effects.h"
#include "metadataQuery.h"
#include "queryString.h"
#include "utilLog.h"

namespace
{

int lengthOf(const std::string &text)
{
    return static_cast<int>(text.size());
}

} // namespace

TEST(QueryDecode, EscapeOrRoomMisjudged)
{
    const struct {
        const char *source;
        int size;
        bool plusIsBlank;
        int result;
        std::string decoded;
    } cases[] = {
        {"a%2Bb+c", 64, true, 5, "a+b c"},
        {"a+b", 64, false, 3, "a+b"},
        {"%zz%4g%g4", 64, true, 9, "%zz%4g%g4"},
        {"x%41", 64, true, 2, "xA"},
        {"x%4", 64, true, 3, "x%4"},
        {"x%", 64, true, 2, "x%"},
        {"%aF%Af", 64, true, 2, "\xAF\xAF"},
        {"abc", 4, true, 3, "abc"},
        {"abcd", 4, true, -1, "abc"},
        {"ab%41", 4, true, 3, "abA"},
        {"abc%41", 4, true, -1, "abc"},
        {"", 1, true, 0, ""},
        {"a", 1, true, -1, ""},
    };
    for (const auto &row : cases) {
        char decoded[64] = "untouched";
        EXPECT_EQ(queryDecode(row.source, lengthOf(row.source), decoded, row.size, row.plusIsBlank), row.result)
            << row.source;
        EXPECT_EQ(decoded, row.decoded) << row.source;
    }
    char decoded[64];
    EXPECT_EQ(queryDecode("%41", 2, decoded, sizeof decoded, true), 2) << "an escape that reaches beyond the source";
}

TEST(QueryGetValue, WrongPairTaken)
{
    const struct {
        const char *query;
        const char *key;
        int occurrence;
        int result;
        const char *value;
    } cases[] = {
        {"T=dur", "t", 0, 3, "dur"},
        {"t=dur", "T", 0, 3, "dur"},
        {"xt=dur", "t", 0, -1, ""},
        {"at&t", "t", 0, -1, ""},
        {"a&t=1", "t", 0, 1, "1"},
        {"t=", "t", 0, 0, ""},
        {"t=&t=2", "t", 0, 0, ""},
        {"t=&t=2", "t", 1, 1, "2"},
        {"t=dur&t=", "t", 1, 0, ""},
        {"t=1&t=2", "t", 2, -1, ""},
        {"t", "t", 0, -1, ""},
        {"p=t=1", "t", 0, -1, ""},
        {"t=a=b&c", "t", 0, 3, "a=b"},
        {"status=5", "stat", 0, -1, ""},
        {"t=0123456789", "t", 0, -2, "0123456"},
        {"t=1%26t%3D2", "t", 0, 5, "1&t=2"},
    };
    for (const auto &row : cases) {
        char value[8] = "before";
        EXPECT_EQ(queryGetValue(row.query, lengthOf(row.query), row.key, value, sizeof value, row.occurrence),
                  row.result)
            << row.query;
        EXPECT_STREQ(value, row.value) << row.query;
    }
    char value[8] = "before";
    EXPECT_EQ(queryGetValue("t=1", 3, "t", nullptr, 8, 0), -2);
    EXPECT_EQ(queryGetFirstValue("t=1", 3, "t", value, 0), -2);
    EXPECT_STREQ(value, "before");
    EXPECT_EQ(queryGetValue(nullptr, 3, "t", value, sizeof value, 0), -1);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(queryGetFirstValue("t=1", 0, "t", value, sizeof value), -1);
    EXPECT_EQ(queryGetFirstValue("t=1", 3, nullptr, value, sizeof value), -1);
    EXPECT_EQ(queryGetFirstValue("t=12", 3, "t", value, sizeof value), 1) << "reads beyond the length";
}

TEST(MetadataQuery, StatusSettingsOrLogDiffer)
{
    const std::string path = "p=D/MOXE0001.MP4";
    const std::string named = "D MOXE0001.MP4";
    const std::string fits = std::string(62, '0') + "5";
    const struct {
        std::string query;
        int status;
        std::string settings; // filter, new upload status, directory, file
        std::string log;
    } cases[] = {
        {"t=videoinfo&" + path, 200, "11 0 " + named, ""},
        {path + "&T=dur", 200, "12 0 " + named, ""},
        {"t=v4info&P=%2F/a%2fMOXE0001.JPG/third", 200, "13 0 a MOXE0001.JPG", ""},
        {"t=upload&" + path, 200, "14 0 " + named, ""},
        {"status=5&t=upload&" + path, 200, "15 5 " + named, ""},
        {"t=upload&status=" + fits + "&" + path, 200, "15 5 " + named, ""},
        {"t=upload&status=4294967295&" + path, 200, "15 4294967295 " + named, ""},
        {"t=dur&status=abc&" + path, 200, "12 0 " + named, ""},
        {"t=dur&status=&status=2&" + path, 200, "12 0 " + named, ""},

        {"", 400, "0 0  ", "ERROR Field 't' not found\n"},
        {"t=", 400, "0 0  ", "ERROR Field 't' has no value\n"},
        {"t=DUR", 501, "0 0  ", "ERROR t=DUR not implemented\n"},
        {"t=dur%00x", 501, "0 0  ", "ERROR t=dur not implemented\n"},
        {"t=" + fits + "2", 400, "0 0  ", "ERROR Insufficient internal storage for t=" + fits + "\n"},
        {"t=dur&t=", 400, "12 0  ", "ERROR Required field 't' found multiple times\n"},

        {"t=dur", 400, "12 0  ", "ERROR Required field 'p' not found\n"},
        {"t=dur&p=", 400, "12 0  ", "ERROR Required field 'p' has no value\n"},
        {"t=dur&p=" + fits + "2", 400, "12 0  ", "ERROR Insufficient storage for p=" + fits + "\n"},
        {"t=dur&p=//", 400, "12 0  ", "ERROR invalid directory name: dir:''\n"},
        {"t=dur&p=123456789/a", 400, "12 0  ", "ERROR invalid directory name: dir:'123456789'\n"},
        {"t=dur&p=12345678", 400, "12 0  ", "ERROR invalid filename: file:''\n"},
        {"t=dur&p=a/MOXE00012.MP4", 400, "12 0  ", "ERROR invalid filename: file:'MOXE00012.MP4'\n"},
        {"t=dur&p=a/MOXE0001.mp4", 404, "12 0 a MOXE0001.mp4",
         "WARN Not a JPG or MP4 file name 'MOXE0001.mp4', inferring FILE NOT_FOUND\n"},
        {"t=dur&p=a/a.JPG", 404, "12 0 a a.JPG", "WARN Not a JPG or MP4 file name 'a.JPG', inferring FILE NOT_FOUND\n"},
        {"t=dur&" + path + "&p=", 400, "12 0 " + named, "ERROR Required field 'p' found multiple times\n"},

        {"t=upload&status=&" + path, 400, "14 0 " + named, "ERROR Required field 'status' has no value\n"},
        {"t=upload&status=5x&" + path, 400, "14 0 " + named, "ERROR status=5x is an invalid value\n"},
        {"t=upload&status=%00&" + path, 400, "14 0 " + named, "ERROR status= is an invalid value\n"},
        {"t=upload&status=4294967296&" + path, 400, "14 0 " + named, "ERROR status=4294967296 is an invalid value\n"},
        {"t=dur&status=" + fits + "2&" + path, 400, "12 0 " + named,
         "ERROR Insufficient storage for status=" + fits + "\n"},
        {"t=upload&status=1&status=2&" + path, 400, "15 1 " + named,
         "ERROR Required field 'status' found multiple times\n"},
        {"t=dur&status=1&status=2&" + path, 400, "12 0 " + named,
         "ERROR Required field 'status' found multiple times\n"},
    };
    g_logLevel = UTIL_LOG_LEVEL_WARNING;
    for (const auto &row : cases) {
        effects().clear();
        mediaQuerySettings settings = {};
        EXPECT_EQ(parseMetadataQuery(row.query.c_str(), lengthOf(row.query), &settings), row.status) << row.query;
        char found[64];
        snprintf(found, sizeof found, "%x %u %s %s", settings.filter, settings.newUploadStatus, settings.dirName,
                 settings.fileName);
        EXPECT_EQ(found, row.settings) << row.query;
        EXPECT_EQ(effects(), row.log.empty() ? Lines{} : Lines{row.log}) << row.query;
    }
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
}

TEST(MetadataQuery, RecordNotLoggedAfterFailure)
{
    mediaQuerySettings settings = {};
    settings.rtosDBQueryOptions = 0x1234;
    settings.whitelistMask = 0xFFFFF7FC;
    effects().clear();
    g_logLevel = UTIL_LOG_LEVEL_DEBUG;
    parseMetadataQuery("t=dur&p=a/b", 11, &settings);
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
    EXPECT_EQ(effectsOf("DEBUG"),
              (Lines{"DEBUG pSettings->filter = 0x00000012", "DEBUG pSettings->rtosDBQueryOptions = 0x00001200",
                     "DEBUG pSettings->newUploadStatus = 0x00000000", "DEBUG pSettings->dirName = 'a'",
                     "DEBUG pSettings->fileName = 'b'", "DEBUG pSettings->whitelistMask = 0xfffff7fc",
                     "DEBUG pSettings->unsupported = ''"}));
}

TEST(QueryStatus, ListFilterNotMoved)
{
    mediaQuerySettings settings = {};
    settings.filter = eDBFILTER_T_LIST_UPLOAD;
    EXPECT_EQ(parseQueryStatus("f=upload", 8, &settings), 200);
    EXPECT_EQ(settings.filter, eDBFILTER_T_LIST_UPLOAD);
    EXPECT_EQ(parseQueryStatus("status=7", 8, &settings), 200);
    EXPECT_EQ(settings.filter, eDBFILTER_T_LIST_SET_UPLOAD);
    EXPECT_EQ(settings.newUploadStatus, 7u);
}
