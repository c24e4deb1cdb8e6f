#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
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

// What is typed, or the words of a command line, as console.txt writes it.
static std::string written(std::string text)
{
    for (std::smatch run; std::regex_search(text, run, std::regex("@(\\d+)(.)"));) {
        text = run.prefix().str() + std::string(std::stoul(run[1]), *run[2].first) + run.suffix().str();
    }
    std::replace(text.begin(), text.end(), '^', '\r');
    std::replace(text.begin(), text.end(), '|', '\n');
    return text;
}

// The log level is 2 at first.
static void expectOutput(const std::string &head, std::string expected)
{
    const size_t answersAt = head.find(" <-");
    const bool interactive = head.starts_with("> ");
    std::string input = written(head.substr(interactive ? 2 : 0, answersAt - (interactive ? 2 : 0)));
    const char *pStart = "Created now, DB VERSION 4\nSending to Media RTOS DB - NOT SIMULATED (\"exit\" to quit):\n> ";
    expected.insert(0, interactive ? pStart : "");
    std::istringstream given(answersAt == head.npos ? "" : head.substr(answersAt + 3));
    uint32_t answers[20] = {};
    std::for_each(answers, std::end(answers), [&given](uint32_t &answer) { given >> answer; });
    pAnswer = answers;
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
    wordexp_t line;
    ASSERT_EQ(wordexp(("mxMediaRTOSDBTestApp " + (interactive ? "" : input)).c_str(), &line, 0), 0) << head;
    FILE *pSavedInput = std::exchange(stdin, fmemopen(input.data(), input.size(), "r"));
    int status = 0;
    testing::internal::CaptureStderr();
    std::string output = printedBy([&] { status = consoleRun(static_cast<int>(line.we_wordc), line.we_wordv); });
    output += testing::internal::GetCapturedStderr() + (status == 0 ? "" : "= " + std::to_string(status) + "\n");
    fclose(std::exchange(stdin, pSavedInput));
    wordfree(&line);
    output = std::regex_replace(output, std::regex("Created \\w{3} [ \\d]\\d \\d{4}-[\\d:]{8},"), "Created now,");
    if (const size_t gap = expected.find('~'); gap != std::string::npos && output.size() >= expected.size()) {
        output.replace(gap, output.size() - expected.size() + 1, "~");
    }
    EXPECT_EQ(output, expected) << head;
}

TEST(Console, RunPrintsOrEndsOtherwise)
{
    std::ostringstream file;
    file << std::ifstream(CONSOLE_ROWS).rdbuf();
    const std::string text = file.str(), mark = "\n=== ";
    for (size_t at = text.find(mark), next = 0; at != text.npos; at = next) {
        next = text.find(mark, at + 1);
        const size_t head = at + mark.size(), expected = text.find('\n', head) + 1;
        const size_t end = std::min(next, text.size() - 1) + 1;
        expectOutput(text.substr(head, expected - 1 - head), text.substr(expected, end - expected));
    }
    EXPECT_EQ(g_logLevel, 5u) << "the last row sets it";
}
