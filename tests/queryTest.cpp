// Query strings: decoding, lookup, and the parsers.
#include <gtest/gtest.h>

#include "effects.h"
#include "metadataQuery.h"
#include "utilLog.h"

namespace
{

std::string decoded(const std::string &source, int size = 64, bool plusIsBlank = true)
{
    char text[64] = "untouched";
    const int result = queryDecode(source.data(), static_cast<int>(source.size()), text, size, plusIsBlank);
    return formatted("%d %s|", result, text);
}

// What a destination of 8 bytes gets.
std::string value(const std::string &query, const char *pKey = "t", int occurrence = 0)
{
    char text[8] = "before";
    const int result = queryGetValue(query.c_str(), static_cast<int>(query.size()), pKey, text, 8, occurrence);
    return formatted("%d %s|", result, text);
}

// Status; filter, new upload status, directory and file; what is logged.
std::string parsed(const std::string &query, uint32_t level = UTIL_LOG_LEVEL_WARNING)
{
    mediaQuerySettings s = {0, 0x1234, 0, "", "", 0xFFFFF7FC, ""};
    effects().clear();
    g_logLevel = level;
    const int status = parseMetadataQuery(query.c_str(), static_cast<int>(query.size()), &s);
    return formatted("%d %x %u %s %s|", status, s.filter, s.newUploadStatus, s.dirName, s.fileName) + joined();
}

} // namespace

TEST(Query, EscapeOrRoomMisjudged)
{
    EXPECT_EQ(decoded("a%2Bb+c%zz%4g%g4%aF%Af%41"), "17 a+b c%zz%4g%g4\xAF\xAF\x41|");
    EXPECT_EQ(decoded("a+b", 64, false) + decoded("x%4") + decoded("x%"), "3 a+b|3 x%4|2 x%|");
    EXPECT_EQ(decoded("abc", 4) + decoded("abcd", 4), "3 abc|-1 abc|");
    EXPECT_EQ(decoded("ab%41", 4) + decoded("abc%41", 4), "3 abA|-1 abc|");
    EXPECT_EQ(decoded("", 1) + decoded("a", 1), "0 |-1 |");
    char text[8] = "before";
    EXPECT_EQ(queryDecode("%41", 2, text, sizeof text, true), 2) << "an escape that reaches beyond the source";
}

TEST(Query, WrongPairTaken)
{
    EXPECT_EQ(value("T=dur") + value("t=dur", "T") + value("a&t=1"), "3 dur|3 dur|1 1|");
    EXPECT_EQ(value("xt=dur") + value("at&t") + value("t") + value("p=t=1"), "-1 |-1 |-1 |-1 |");
    EXPECT_EQ(value("status=5", "stat") + value("t=a=b&c") + value("t=1%26t%3D2"), "-1 |3 a=b|5 1&t=2|");
    EXPECT_EQ(value("t=") + value("t=&t=2") + value("t=&t=2", "t", 1), "0 |0 |1 2|");
    EXPECT_EQ(value("t=dur&t=", "t", 1) + value("t=1&t=2", "t", 2), "0 |-1 |");
    EXPECT_EQ(value("t=0123456") + value("t=01234567"), "7 0123456|-2 0123456|");
    char text[8] = "before";
    EXPECT_EQ(queryGetValue("t=1", 3, "t", nullptr, 8, 0) + queryGetFirstValue("t=1", 3, "t", text, 0), -4);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(queryGetValue(nullptr, 3, "t", text, 8, 0), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(queryGetFirstValue("t=1", 0, "t", text, 8) + queryGetFirstValue("t=1", 3, nullptr, text, 8), -2);
    EXPECT_EQ(queryGetFirstValue("t=12&", 3, "t", text, 8), 1) << "reads beyond the length";
}

TEST(Query, StatusSettingsOrLogDiffer)
{
    const std::string path = "p=D/MOXE0001.MP4", named = " D MOXE0001.MP4|", fits = std::string(62, '0') + "8";
    EXPECT_EQ(parsed("t=videoinfo&" + path), "200 11 0" + named);
    EXPECT_EQ(parsed(path + "&T=dur"), "200 12 0" + named);
    EXPECT_EQ(parsed("t=v4info&P=%2F/a%2fMOXE0001.JPG/third"), "200 13 0 a MOXE0001.JPG|");

    EXPECT_EQ(parsed(""), "400 0 0  |ERROR Field 't' not found\n|");
    EXPECT_EQ(parsed("t="), "400 0 0  |ERROR Field 't' has no value\n|");
    EXPECT_EQ(parsed("t=DUR"), "501 0 0  |ERROR t=DUR not implemented\n|");
    EXPECT_EQ(parsed("t=dur%00x"), "501 0 0  |ERROR t=dur not implemented\n|");
    EXPECT_EQ(parsed("t=" + fits + "2"), "400 0 0  |ERROR Insufficient internal storage for t=" + fits + "\n|");
    EXPECT_EQ(parsed("t=dur&t="), "400 12 0  |ERROR Required field 't' found multiple times\n|");

    const std::string inferring = "', inferring FILE NOT_FOUND\n|", noMedia = "|WARN Not a JPG or MP4 file name '";
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

    const std::string get = path + "&t=upload", set = get + "&status=", dur = path + "&t=dur&status=";
    const std::string invalid = " is an invalid value\n|",
                      twice = "ERROR Required field 'status' found multiple times\n|";
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
