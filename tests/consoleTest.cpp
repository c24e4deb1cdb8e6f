#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <wordexp.h>

#include "checker.h"
#include "consoleRun.h"
#include "support/effects.h"
#include "support/records.h"
#include "utilLog.h"

// Numbers for the doubles of the library: each first takes its result. Behind those that a row gives come zeros.
static const uint32_t *pAnswer;

// A call shows in the output where it is made: "[name value...]", with numbers in hexadecimal, '.' for each zero behind
// a file's name, and the log level if it is not the initial one.
static int called(const char *pName, const auto &...values)
{
    std::ostringstream call;
    call << std::hex << '[' << pName;
    (void(call << ' ' << values), ...);
    std::string text = call.str() + (g_logLevel == 2 ? "]\n" : " level " + std::to_string(g_logLevel) + "]\n");
    std::replace(text.begin(), text.end(), '\0', '.');
    printf("%s", text.c_str());
    return static_cast<int>(*pAnswer++);
}

// A function of the library: name and parameters, the call that it shows, and what it does then. A walk of the
// catalogue brings one item if its result is above 0.
#define DOUBLE(function, parameters, shown, ...)                                                                       \
    int function parameters                                                                                            \
    {                                                                                                                  \
        const int result = called shown;                                                                               \
        __VA_ARGS__;                                                                                                   \
        return result;                                                                                                 \
    }
#define WALK(function, name, ...)                                                                                      \
    DOUBLE(function,                                                                                                   \
           (uint32_t count, uint32_t start, uint32_t token, cahItemCallback item, void *itemCookie,                    \
            cahFileCallback file, void *fileCookie, uint32_t *pSessionId, uint32_t *pTotal),                           \
           (name, count, start, token, item != nullptr), cah_item_s walked = {__VA_ARGS__};                            \
           if (item != nullptr && result > 0) item(itemCookie, &walked), file(fileCookie, "100MOXEL", "MOXE0001.MP4"); \
           *pSessionId = result < 0 ? *pSessionId : 0xABC, *pTotal = *pAnswer++)
#define CONTENT contentInfo(DB_CONTENT_TYPE_NO_FILE, fileSpec("101MOXEL", "MOXE0002.MP4"), *pAnswer++, 0xAAA)
#define FILE_SPEC void *, const db_file_spec *fs
#define FILE_NAME std::string_view(fs->dir_name, sizeof *fs)
DOUBLE(dbGetContentInfo, (FILE_SPEC, db_content_info *ci), ("content", FILE_NAME), *ci = CONTENT)
DOUBLE(dbGetMoreInfo, (FILE_SPEC, db_more_info *mi), ("more", FILE_NAME), *mi = {1920, 1080, 30000, 1001, 1, -1, 7})
DOUBLE(dbGetVideoSpecificInfo, (FILE_SPEC, db_video_specific_info *vsi, db_content_info *ci, uint32_t *list, int most),
       ("video", FILE_NAME, most), *vsi = {1, 2, 3, 4, *pAnswer++, 4000000000u}, *ci = CONTENT, list[99] = 4000000000u)
DOUBLE(dbGetGroupContentInfo, (FILE_SPEC, db_group_content_info *gci, db_content_info *ci, uint8_t *mask, uint8_t *hi),
       ("group", FILE_NAME), *gci = {7, *pAnswer++, *pAnswer++, *pAnswer++, 5000000000u}, *ci = CONTENT,
       memcpy(mask, "\xBF\x7F", 2), memcpy(hi, "\x7E\xBF", 2))
DOUBLE(dbGetGUMIByFileName, (FILE_SPEC, uint8_t *gumi, uint8_t *pgumi), ("gumi", FILE_NAME), memset(gumi, 0x0A, 16),
       memset(pgumi, 0xB0, 16))
DOUBLE(dbGetFileNameByGUMI, (void *, const uint8_t *gumi, db_file_spec *fs),
       ("file", +gumi[0], +gumi[1], +gumi[2], +gumi[15]), *fs = fileSpec())
DOUBLE(dbSetUploadStatus, (const char *pDirName, const char *pFileName, uint32_t status, uint32_t token),
       ("status", pDirName, pFileName, status, token))
DOUBLE(dbGetUploadStatusHistogram, (uint32_t token, void *, db_upload_histogram *h), ("hist", token), h->count[31] = 4)
DOUBLE(generateMetadata, (void *, const char *pQuery), ("metadata", pQuery))
DOUBLE(generateMediaList, (void *, const char *pQuery), ("list", pQuery))
DOUBLE(dbGetPagedList, (void *, int pages, int items, int start, int listOptions, int queryOptions),
       ("paged", pages, items, start, listOptions, queryOptions))
DOUBLE(checkConsistency, (int32_t pageSize), ("check", pageSize))
extern "C" {
DOUBLE(mq_open, (const char *pName, int flags, ...), ("mq_open", pName, flags))
DOUBLE(mq_send, (int, const char *pMessage, size_t length, unsigned), ("mq_send", pMessage, length))
DOUBLE(mq_close, (int), ("mq_close"))
}
WALK(dbGetCAHList, "media", nullptr, nullptr, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr, nullptr)
WALK(dbGetCAHSessionFileList, "session", "00FF", "FF00", DB_CONTENT_TYPE_RAW_PHOTO, 1, 2, 3, 4, 30, 5, 0, 1000000000, 0,
     0, 5000000000u, nullptr, nullptr)

// In all tables '|' is a line end, '^' a carriage return and "@22 " 22 blanks; a line that begins with a blank goes on
// with the row above it. These words stand for texts, which may hold words that come later.
static const std::string words =
    R"(@usage @bannerUsage: mxMediaRTOSDBTestApp <command> or interactive without command|
         COMMANDS:|@11 db_content_info:        ci @file|@11 db_group_content_info:  gci @file|
 @11 db_video_specific_info: vsi @file|@11 get GUMI by file:       gumibyfile @file|
 @11 get file by GUMI:       filebygumi <GUMI> @loop|@11 get video duration:     dur @file|
 @11 get video info:         vid @file|@11 get media list:         list <filterOperation> @loop|
 @11 get metadata:           meta <filterOperation> @loop|@11 get x paged_list(s):    pl <numPages> <itemPerPage>
  <startIndex> <listOptions> <queryOptions> @loop|@11 db_more_info:           mi <dirName> <fileName> @Loop|
 @11 get CAH list            cl <numItems> <startIndex> @Loop|@11 set media upload status mus <dirName> <fileName>
  <newStatus> @Loop|@11 check consistency       cc <pageSize> @Loop|@11 set debug level:        lvl <log_lvl>|
 @15 UTIL_LOG_LEVEL_OFF     = 0|@15 UTIL_LOG_LEVEL_FATAL   = 1|@15 UTIL_LOG_LEVEL_ERROR   = 2|
 @15 UTIL_LOG_LEVEL_WARNING = 3|@15 UTIL_LOG_LEVEL_DEBUG   = 4|@15 UTIL_LOG_LEVEL_INFO    = 5|
 @15 UTIL_LOG_LEVEL_TRACE   = 6|@15 UTIL_LOG_LEVEL_LAST    = 7||@11 "exit" to quit||
@file <dirName> <fileName> @loop
@loop <loopCount> <log_lvl>
@Loop <loopCount> <logLvl>
@banner Created now, DB VERSION 4|Sending to Media RTOS DB - NOT SIMULATED ("exit" to quit):|
@names Enter directory name: Enter file name:
@queue [mq_open /to_DB 1]|[mq_send
@once @count  buffer len 0, using loopCount 1 |
@count Enter loop count (default 1 - enter number of times command will loop):
@listOptions Enter list options (decimal - enter "10" for list options bitmask=0xA):
@queryOptions Enter query options (decimal - enter "10" for query options bitmask=0xA):
@query Enter query string ('p=<pathname>&t=v4info')
@level Enter logging level (default 1 - enter number of times command will loop):
@content Received db_content_info: 101MOXEL/MOXE0002.MP4|@22 content_type 4294967295|@22 creation_time 1000|
 @22 modification_time 2000|@22 size 3000|
@properties @22 highlight_count 0|@22 mediaProperties 0xaaa|@26 clipped 0|@26 has_EIS 1|@26 zentra_audio 2|
 @26 audio_option_stereo 1|@26 audio_option_wind 0|@26 audio_option_auto 1|@26 has_WDR 0|@26 has_RAW 1|
 @26 is_a_transcode 0|@26 metadata_present 1|@22 uploadStatus 0|
@more @22 width 1920|@22 height 1080|@22 frame_rate_numerator 30000|@22 frame_rate_denominator 1001|
 @22 is_progressive 1|@22 is_subsampled -1|)";

static const auto rowsOf = [](const std::string &table) {
    return std::istringstream(std::regex_replace(table, std::regex("\n "), ""));
};

static std::string written(std::string text)
{
    auto rows = rowsOf(words);
    for (std::string word, meaning; rows >> word && std::getline(rows.ignore(), meaning);) {
        text = std::regex_replace(text, std::regex(word), meaning);
    }
    for (std::smatch run; std::regex_search(text, run, std::regex("@(\\d+)(.)"));) {
        text = run.prefix().str() + std::string(std::stoul(run[1]), *run[2].first) + run.suffix().str();
    }
    std::replace(text.begin(), text.end(), '^', '\r');
    std::replace(text.begin(), text.end(), '|', '\n');
    return text;
}

// Rows of "input <- answers -> output". "> mi|a|" is a run at the prompt, anything else the words of a command line;
// the log level is 2. Behind the output stand standard error and a status, "= -1"; '~' in it leaves out a part.
static void expectOutputs(const std::string &table)
{
    auto rows = rowsOf(table);
    for (std::string row; std::getline(rows, row);) {
        const size_t arrow = row.find(" ->"), answersAt = std::min(row.find(" <-"), arrow);
        const bool interactive = row.starts_with("> ");
        std::string input = written(row.substr(0, answersAt)).erase(0, interactive ? 2 : 0);
        std::string expected = written((interactive ? "@banner> " : "") + row.substr(arrow + 3).erase(0, 1));
        std::istringstream given(row.substr(answersAt, arrow - answersAt).erase(0, 3));
        uint32_t answers[20] = {};
        std::for_each(answers, std::end(answers), [&given](uint32_t &answer) { given >> answer; });
        pAnswer = answers;
        g_logLevel = UTIL_LOG_LEVEL_ERROR;
        wordexp_t line;
        ASSERT_EQ(wordexp(("mxMediaRTOSDBTestApp " + (interactive ? "" : input)).c_str(), &line, 0), 0) << row;
        FILE *pSavedInput = std::exchange(stdin, fmemopen(input.data(), input.size(), "r"));
        int status = 0;
        testing::internal::CaptureStderr();
        std::string output = printedBy([&] { status = consoleRun(static_cast<int>(line.we_wordc), line.we_wordv); });
        output += testing::internal::GetCapturedStderr() + (status == 0 ? "" : "= " + std::to_string(status));
        fclose(std::exchange(stdin, pSavedInput));
        wordfree(&line);
        output = std::regex_replace(output, std::regex("Created \\w{3} [ \\d]\\d \\d{4}-[\\d:]{8},"), "Created now,");
        if (const size_t gap = expected.find('~'); gap != std::string::npos && output.size() >= expected.size()) {
            output.replace(gap, output.size() - expected.size() + 1, "~");
        }
        EXPECT_EQ(output, expected) << row;
    }
}

TEST(ConsoleTest, RunEndsInTheWrongWay)
{
    expectOutputs(R"(c -> @usage
@4000x -> @usage
exiting ->
> | ci|exit| -> @usage> @usage> @queue exit| 6]|[mq_close]|
> @1499xexiting -> @usage> @queue exiting 8]|[mq_close]|
>  -> |
> mi|a| -> @names @onceGetting more info for file : a|/|[more a|..................]|@more> |
> ci 100MOXEL|100MOXELLO|MOXE0001.MP4 and more|exit|mi| -> @names @count Using loopCount: 0|
 Getting content info for file : 100MOXEL/MOXE0001.MP4|
> cc|||exit| <- 3 -> ~]||return 3|= 3)");
    std::istringstream calls(
        "ci dbGetContentInfo mi dbGetMoreInfo gci dbGetGroupContentInfo vsi dbGetVideoSpecificInfo "
        "gumibyfile dbGetGUMIByFileName filebygumi dbGetFileNameByGUMI "
        "hist dbGetUploadStatusHistogram mus | dur | list | pl | cc |");
    for (std::string word, call; calls >> word >> call;) {
        const std::string end = call == "|" ? "|return" : call + " returned";
        expectOutputs("> " + word + "|||||||exit| <- -7 -> ~]|" + end + " -7|= -7");
    }
}

TEST(ConsoleTest, PromptDefaultOrValueWrong)
{
    expectOutputs(R"(mi -> Getting more info for file : 100MOXEL/MOXE0001.MP4|[more 100MOXELMOXE0001.MP4]|@more
mi1 100MOXELLO short 2 2 surplus -> Getting more info for file : 100MOXEL/short|
 ======== LOOP 0||[more 100MOXELshort.......]|@more======== LOOP 1||[more 100MOXELshort.......]|@more
mi a b -2 -> Getting more info for file : a/b|
mi a b 0 -> Getting more info for file : a/b|[more a.......b...........]|@more
gumibyfile a b 1 7 -> Getting GUMI info for file : a/b|[gumi a.......b...........]|
 Received GUMI: 0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A0A|Received PGUMI: B0B0B0B0B0B0B0B0B0B0B0B0B0B0B0B0|
filebygumi ab 0 1 -> Getting file for GUMI: 61620000000000000000000000000000|[file 61 62 0 0 level 1]|~
filebygumi 0123456789ABCDEFGH -> Getting file for GUMI: 30313233343536373839414243444546|[file 30 31 32 46]|~
filebygumi -> Getting file for GUMI: 00000000000000000000000000000000|[file 0 0 0 0]|~
> filebygumi|00ffA5zz11|| -> Enter GUMI: @onceGetting file for GUMI: 00FFA500000000000000000000000000|[file 0 ff a5 0]|~
mus -> [status 100MOXEL MOXE0001.MP4 0 0]|
mus 100MOXELLO b 99999999999 1 0 -> [status 100MOXEL b ffffffff 0 level 0]|
mus a b -2 -> [status a b fffffffe 0]|
> mus|d|f||| -> @names Enter upload status: Setting upload status of 0 for file : d|/f||@once[status d| f| 0 0]|> |
dur -> [metadata p=100MOXEL/MOXE0001.MP4&t=dur]|
vid 100MOXELLO b -2 3 -> [metadata p=100MOXEL/b&t=videoinfo level 3]|
> vid|d|f|-2|dur|a|b|| -> @names @count Using loopCount: -2|> @names @once[metadata p=a|/b|&t=dur]|> |
listing f=photo 1 4 -> [list f=photo level 4]|
list @100q -> query of 100 characters refused, the limit is 99|= -1
> list||| -> Enter list filter param ('f=video') or whitelist fields ('fields=""'): @once[list ]|> |
> meta|@100q|@99q||mus|100MOXEL|MOXE0001.MP4|0x1F||meta|p=a&t=dur^|| -> @query@query@once[metadata @99q]|
 > @names Enter upload status: Setting upload status of 31 for file : 100MOXEL/MOXE0001.MP4|@once
 [status 100MOXEL MOXE0001.MP4 1f 0]|> @query@once[metadata p=a&t=dur]|> |~
> lvl|5|lvl|7|dur|a|b||lvl||cc||| -> @level Using log lvl: 5|> @level Using log lvl: 7|
 > @names @once[metadata p=a|/b|&t=dur level 5]|> @level
  > Enter page size:  buffer len 0, using items: 1 |@once[check 1]||> |
pl -> [paged 1 1 0 0 0]|
pl 2 3 4 5 99999999999 1 3 -> [paged 2 3 4 5 ffffffff level 3]|
> pl|2|3|4|10|-256|| -> Enter number of pages: Using number of pages: 2|
 Enter number of items per page: Using items per page: 3|Enter start index: Using start index: 4|@listOptions
  Using listOptions: 0x0000000A|@queryOptions Using queryOptions: 0xFFFFFF00|@once[paged 2 3 4 a ffffff00]|> |
> pl||||||| -> Enter number of pages:  buffer len 0, using pages: 1 |Enter number of items per page:  buffer len 0,
  items per page: 1 |Enter start index:  buffer len 0, start index: 0 |@listOptions  buffer len 0, using listOptions 0 |
 @queryOptions  buffer len 0, using queryOptions 0 |@once[paged 1 1 0 0 0]|> |
cc -> [check 1]||
> cc1|25|2| -> Enter page size: Using number of items: 25|@count Using loopCount: 2|
 ======== LOOP 0||[check 19]||======== LOOP 1||[check 19]||> |
> cl||7|0| -> Enter number of items:  buffer len 0, using items: 1 |~@count Using loopCount: 0|> |
lvl ->
lvl 5 -> Using log lvl: 5|)");
    EXPECT_EQ(g_logLevel, 5u);
}

TEST(ConsoleTest, RecordPrintedWrongOrMaskWalkedBeyondItsEnd)
{
    // Answers to gci are result, first, last, missing, highlights; to vsi result, highlights.
    expectOutputs(R"(hist 1 2 -> Getting upload histogram|[hist 600df00d]|    BIN 0: COUNT 0|~    BIN 31: COUNT 4|
ci a b -> Getting content info for file : a/b|[content a.......b...........]|@content|@properties
gci a b <- 0 1 10 -> Getting group content info for file : a/b|[group a.......b...........]|@content@properties
 |Received db_group_content_info: group_number 7|@27 first_number 1|@27 last_number 10|
 @27 num_missing 0|@27 group_size 5000000000||
gci <- 0 1 10 2 -> ~group_size 5000000000||Missing: "2" "9" ||
gci <- 0 1 10 1 3 -> ~group_size 5000000000||Missing: "2" ||Hilights: "1" "8" "10" ||
gci <- 0 1 8 5 -> ~Missing: "2" ||
gci <- 0 5 5 0 1 -> ~group_size 5000000000||Hilights: "5" ||
gci <- 0 10 1 9 -> ~Missing: ||
gci <- 0 -2 -1 9 -> ~Missing: "-1" ||
gci <- 0 0 -1 -1 -> ~"11166" "11167" ||
vsi a b <- 0 2 -> Getting video specific info for file : a/b|[video a.......b........... 64]|@content@properties
 |Received db_video_specific_info: lrv_size 1|@28 duration 2|@28 avc_level 3|@28 avc_profile 4|
 @28 highlight_count 2|@28 is_clipped_file 4000000000||Highlights: 0 0 ||
vsi -> ~is_clipped_file 4000000000||
vsi <- 0 100 -> ~0 4000000000 ||
vsi <- 0 101 -> ~is_clipped_file 4000000000||Highlights: 101, TOO MANY - exiting|= -1)");
}

TEST(ConsoleTest, CatalogueSplitWrongBetweenMediaAndSessionFilesOrItemPrintedWrong)
{
    // Answers to each walk are result, total.
    expectOutputs(R"(> cl|5|2|3|exit| <- 0 3 5 1 2 2 -> Enter number of items: Using number of items: 5|
 Enter start index: Using start index: 2|@count Using loopCount: 3|======== LOOP 0|||
 calling dbGetCAHList()[media 5 0 600df00d 0]||dbGetCAHList ret:0, totalMediaCount from start index 0:3,
  calling dbGetCAHSessionFileList()[media 5 2 600df00d 1]|@75=|0x(nil): type=invalid(12), us=0, size=0, GUMI=NULL
  Parent=NULL|creation time: Thu Jan  1 00:00:00 1970|0x(nil): 100MOXEL/MOXE0001.MP4||dbGetCAHList ret:5,
  mediaCount from start index:1, calling dbGetCAHSessionFileList, adjust start ndex to 0[session 5 0 600df00d 1]|@75=|
 0x(nil): type=RAW_PHOTO, us=30, size=5000000000, GUMI='00FF' Parent='FF00'|creation time: Sun Sep  9 01:46:40 2001|
 highlight_count=5|group_number=1, group_first=2, group_last=3, group_missing=4||0x(nil): 100MOXEL/MOXE0001.MP4||
 dbGetCAHSessionFileList ret:2, startIndex:0, sessionFileCount:2|sessionId=0x00000ABC|total items=3||return 2|= 2
cl 5 -1 1 3 <- -3 0 -1 -> ~ret:-3, totalMediaCount from start index 0:0, calling dbGetCAHSessionFileList()|
 calling dbGetCAHSessionFileList, adjust start index from -1 to -1[session 5 ffffffff 600df00d 1 level 3]||
 dbGetCAHSessionFileList ret:-1, startIndex:-1, sessionFileCount:0|sessionId=0x00000000|total items=0||return -1|= -1
cl 1 3 <- 0 3 0 2 -> ~startIndex:0, sessionFileCount:2|sessionId=0x00000ABC|total items=2||return 0|)");
}
