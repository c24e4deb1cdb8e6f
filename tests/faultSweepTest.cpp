// Each command of the console, in this process, against the database of the simulated camera: once as it is, then again
// for each call that can fail, with that one failing, and once more with all further ones failing, too. The linker puts
// the calls of the system through here.
#include <gtest/gtest.h>

#include <cstdarg>
#include <dirent.h>
#include <fnmatch.h>
#include <mqueue.h>
#include <numeric>
#include <sstream>
#include <sys/stat.h>
#include <sys/time.h>

#include "card.h"
#include "commands.h"
#include "consoleRun.h"
#include "database.h"
#include "effects.h"
#include "mxdebug.h"
#include "mxipc.h"
#include "readings.h"
#include "sampleCard.h"
#include "utilLog.h"

// The program's name, then words and arguments, or what is typed with a "|" for each line end. The name says on what:
// the sample card, one without a folder for its identity, a database whose first answer comes by half in any case.
static constexpr char commands[] = R"(card ci 100MOXEL MOXE0001.MP4 2 4; card mi 100MOXEL MOXE0002.MP4; card hist;
card gci 100MOXEL G0020001.JPG 1 4; card vsi 101MOXEL MOXE0011.MP4; card gumibyfile 100MOXEL MOXE0009.MP4;
card mus 100MOXEL MOXE0001.MP4 7 2; card dur 100MOXEL MOXE0003.MP4 2; fresh vid; card no such word;
card meta p=100MOXEL/MOXE0009.MP4&t=v4info 2; card meta p=100MOXEL/MOXE0001.MP4&t=upload&status=7;
card list; card list fields=n,hi,ghi,dur,us,what 2 4; fresh list f=none;
card list f=gumi&folder=100MOXEL&files=MOXE0009.MP4,MOXE9999.MP4; card pl 40 10 0 6 0 2 4; card pl 3 10 1 12 0;
fresh pl 40 10 0 0 256; card cl 50; card cl 5 0 3 4; card cl 5 1000; half cl 5 0 1 4; card cc 9 1 4;
card|mus|100MOXEL|MOXE0001.MP4|7||lvl|4|list|||vid|100MOXEL|MOXE0001.MP4||hist|exit|;
card|ci|100MOXEL|MOXE0001.MP4|2|filebygumi|DB34CC88F77F968FB381768917156F63||lvl||)";

enum { INIT, SEND, RECEIVE, HALF, BUSY, HEAP, NEW, OPEN, PUT, GET, CLOSE, MKDIR, STAT, SCAN, RANDOM, NVQ };
enum { REPORT = NVQ + 1, TIME, TIMEOFDAY, LOCALTIME, GMTIME, ASCTIME, MQ_OPEN, MQ_SEND, MQ_CLOSE, FAULTS };
static constexpr const char *faultNames[FAULTS] = {
    "mxIpcInit", "mxIpcSend", "mxIpcReceive", "half an answer", "busy database", "calloc",    "new",
    "fopen",     "fputs",     "fgets",        "fclose",         "mkdir",         "stat",      "scandir",
    "rand",      "nvq_get",   "fprintf",      "time",           "gettimeofday",  "localtime", "gmtime",
    "asctime",   "mq_open",   "mq_send",      "mq_close",
};

// What a run may print otherwise because of a fault, and end well: the text between two others, of which "" is an end.
struct Exception {
    const char *pCommands;
    std::vector<int> faults;
    std::string from, until;
};
static const Exception exceptions[] = {
    // An identity that can't be read is made anew; a paged list goes on without one.
    {"*@(list|pl)*", {OPEN, PUT, GET, CLOSE, MKDIR, STAT, RANDOM}, "{\"id\":\"", "\""},
    {"*pl 3*", {SEND, RECEIVE, HALF, BUSY}, "\"media\":", ""},  // a retry uses up one of the passes
    {"*hist*", {HALF, BUSY}, "BIN", "> "},                      // a refusal is only logged; what did not come is 0
    {"*gumibyfile*", {HALF}, "GUMI: ", "\n"},                   // the same
    {"*cl*", {INIT, SEND, RECEIVE, HALF, BUSY}, "calling", ""}, // results but for the last are only printed
    {"*cl*", {GMTIME, ASCTIME}, "creation time:", "\n"},        // a time without a text
    {"*cc*", {HALF, BUSY}, "total items: ", ""},                // a refusal brings no items, and is no failure
    {"*cc*", {TIME}, "took ", "\n"},                            // the distance from a time that is not known
    {"card|*", {GET}, "> ", ""},                                // what can't be read is the end of the input
};

enum { OWN_RESULT = -5 }; // of the transport
static constexpr char direct[] = "*[ |]@(ci|mi|gci|vsi|gumibyfile|filebygumi)[ |]*";
// The faults that end a run, each by itself or only when all further calls fail, too, and the status it ends with: that
// of the first row that fits. A fault without a row is got over.
struct End {
    const char *pCommands;
    std::vector<int> single, lasting;
    int status = -1;
    bool isSure = true; // else other calls of the run may get over it
};
static const End ends[] = {
    {"card|*", {GET, HALF, BUSY}, {}, -1, false},
    {"* cl *", {INIT}, {}, -1, false},
    {"* cc *", {HALF, BUSY, STAT}, {}, -1, false},
    {"* gumibyfile *", {HALF}, {}, -1, false},
    {direct, {INIT}, {}, OWN_RESULT},
    {"* vsi *", {SEND}, {}, OWN_RESULT},
    {direct, {SEND, RECEIVE, HALF, BUSY}, {}},
    {"!(* pl 3 *)", {INIT}, {SEND, RECEIVE}}, // other exchanges are made again, documents and pages as well
    {"*@(list|pl|vid|meta|dur)*", {INIT, HEAP}, {}},
    {"!(* pl 3 *|*@(mus|hist|cl)*)", {}, {HALF, BUSY}},
    {"* @(vid|meta|dur|list f=gumi)*", {HALF, BUSY}, {}},
    {"card*@(list|vid|meta|dur)*", {STAT}, {OPEN}},
    {"fresh @(list|vid)*", {OPEN, PUT, CLOSE, MKDIR}, {RANDOM}},
    {"* cc *", {HEAP, NEW, SCAN}, {}},
};

struct ConsoleRun {
    int fault = FAULTS; // none
    int first = 0;      // number of the failing call
    bool once = true;   // those behind it do not fail
    int counts[FAULTS] = {};
    int wrongs = 0; // things not given back (channels, queues, blocks of the heap, descriptors), misuses of a channel
    int status = 0;
    std::string output = "";
};
static ConsoleRun run;
static bool productRuns = false;
static bool halvesFirst = false;
static sim::Database *pDatabase = nullptr;
static sim::Bytes request;
static constexpr uint32_t openMark = 0x09E4;

static bool fails(int fault)
{
    const int count = productRuns ? ++run.counts[fault] : 0;
    return count != 0 && run.fault == fault && (run.once ? count == run.first : count >= run.first);
}

// Takes things, or gives them back.
template <typename Thing>
static Thing hold(Thing thing, int count = 1)
{
    run.wrongs += productRuns && thing != Thing{} ? count : 0;
    return thing;
}

#define FUNCTION(head, ...)                                                                                            \
    head                                                                                                               \
    {                                                                                                                  \
        return __VA_ARGS__;                                                                                            \
    }
#define WRAP(type, name, parameters, ...)                                                                              \
    type __real_##name parameters;                                                                                     \
    FUNCTION(type __wrap_##name parameters, __VA_ARGS__)

extern "C" {

WRAP(FILE *, fopen, (const char *pPath, const char *pMode), fails(OPEN) ? nullptr : __real_fopen(pPath, pMode))
WRAP(int, fputs, (const char *pText, FILE *pFile), fails(PUT) ? EOF : __real_fputs(pText, pFile))
// Of the report file; the texts for people are not looked at.
WRAP(int, vfprintf, (FILE * pFile, const char *pFormat, va_list list),
     pFile != stderr && fails(REPORT) ? -1 : __real_vfprintf(pFile, pFormat, list))
int __wrap_fprintf(FILE *pFile, const char *pFormat, ...)
{
    va_list list;
    va_start(list, pFormat);
    const int length = __wrap_vfprintf(pFile, pFormat, list);
    va_end(list);
    return length;
}
WRAP(char *, fgets, (char *pText, int size, FILE *pFile), fails(GET) ? nullptr : __real_fgets(pText, size, pFile))
WRAP(int, fclose, (FILE * pFile), fails(CLOSE) ? (__real_fclose(pFile), EOF) : __real_fclose(pFile))
WRAP(int, mkdir, (const char *pPath, mode_t mode), fails(MKDIR) ? -1 : __real_mkdir(pPath, mode))
WRAP(int, stat, (const char *pPath, struct stat *pState), fails(STAT) ? -1 : __real_stat(pPath, pState))
WRAP(
    int, scandir64,
    (const char *pPath, dirent64 ***pppNames, int (*filter)(const dirent64 *), decltype(alphasort64) *compare),
    fails(SCAN) ? -1
                : [](int n) { return hold(n, n < 0 ? 0 : n + 1); }(__real_scandir64(pPath, pppNames, filter, compare)))
WRAP(tm *, localtime, (const time_t *pTime), fails(LOCALTIME) ? nullptr : __real_localtime(pTime))
WRAP(tm *, gmtime, (const time_t *pTime), fails(GMTIME) ? nullptr : __real_gmtime(pTime))
WRAP(char *, asctime, (const tm *pTime), fails(ASCTIME) ? nullptr : __real_asctime(pTime))
WRAP(time_t, time, (time_t *), fails(TIME) ? -1 : 1600000000)
// Goes on, so that the scan of the card asks again whether to stop.
WRAP(int, gettimeofday, (timeval * pNow, void *), fails(TIMEOFDAY) ? -1 : (*pNow = {run.counts[TIMEOFDAY] / 3, 0}, 0))
// The product calls neither of the next two: they are counted, so that it stays so.
WRAP(void *, malloc, (size_t size), fails(HEAP) ? nullptr : hold(__real_malloc(size)))
WRAP(void *, realloc, (void *pBlock, size_t size), fails(HEAP) ? nullptr : __real_realloc(pBlock, size))
WRAP(void *, calloc, (size_t count, size_t size), fails(HEAP) ? nullptr : hold(__real_calloc(count, size)))
WRAP(void, free, (void *pBlock), __real_free(hold(pBlock, -1)))
WRAP(int, rand, (), fails(RANDOM) ? 0 : 12345)
WRAP(int, usleep, (useconds_t), 0)
WRAP(void, syslog, (int, const char *, ...), void())
WRAP(mqd_t, mq_open, (const char *, int, ...), fails(MQ_OPEN) ? -1 : hold(99))
WRAP(int, mq_send, (mqd_t, const char *, size_t, unsigned), fails(MQ_SEND) ? -1 : 0)
WRAP(int, mq_close, (mqd_t queue), hold(queue == 99, -1), fails(MQ_CLOSE) ? -1 : 0)
WRAP(int, nvq_get, (int, int, void *, uint32_t *pValue), (*pValue = fails(NVQ)) != 0 ? -1 : 0)

int mxIpcInit(const char *, mxIpcHandle *pHandle)
{
    *pHandle = {{fails(INIT) ? 0xBAD : openMark, 1}};
    return pHandle->word[0] == openMark ? hold(1) : OWN_RESULT;
}

int mxIpcSend(mxIpcHandle *pHandle, const void *pMessage, int length)
{
    run.wrongs += pHandle->word[0] != openMark;
    request = {static_cast<const uint8_t *>(pMessage), fails(SEND) ? 0 : static_cast<size_t>(length)};
    return request.empty() ? OWN_RESULT : 0;
}

int mxIpcReceive(mxIpcHandle *pHandle, void *pBuffer)
{
    run.wrongs += pHandle->word[0] != openMark || request.empty();
    const bool failed = fails(RECEIVE);
    const bool isBusy = fails(BUSY);
    const bool isHalf = fails(HALF) || (!isBusy && halvesFirst && run.counts[HALF] == 1);
    productRuns = false;
    const sim::Message answer = isBusy ? sim::plainAnswer(request, DB_STATUS_BUSY) : pDatabase->answer(request);
    productRuns = true;
    request = {};
    const size_t length = failed ? 0 : isHalf ? answer.size() / 2 : answer.size();
    memcpy(pBuffer, answer.bytes().data(), length);
    return failed ? -7 : static_cast<int>(length);
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    run.wrongs += pHandle->word[0] != openMark && pHandle->word[1] != 0;
    hold(std::exchange(*pHandle, {}).word[0] == openMark, -1);
}
}

FUNCTION(void *operator new(size_t size), fails(NEW) ? throw std::bad_alloc() : hold(__real_malloc(size)))
FUNCTION(void operator delete(void *pBlock) noexcept, __real_free(hold(pBlock, -1)))
FUNCTION(void operator delete(void *pBlock, size_t) noexcept, __real_free(hold(pBlock, -1)))

static bool matches(const std::string &text, const char *pPattern)
{
    return fnmatch(pPattern, text.c_str(), FNM_EXTMATCH) == 0;
}

// What a run prints, without what its fault may change.
static std::string comparable(std::string text, const std::string &command)
{
    for (const Exception &row : exceptions) {
        const bool applies = std::ranges::count(row.faults, run.fault) != 0 && matches(command, row.pCommands);
        for (size_t at = 0; applies && (at = text.find(row.from, at)) != text.npos;) {
            at += row.from.size();
            text.erase(at, row.until.empty() ? text.npos : text.find(row.until, at) - at);
        }
    }
    return text;
}

// The status of a run that ends well: `cl` ends with what it prints of its last call.
static int toldStatus(const ConsoleRun &clean)
{
    const std::string label = "dbGetCAHSessionFileList ret:";
    const size_t at = run.output.rfind(label);
    return at == run.output.npos ? clean.status : atoi(run.output.c_str() + at + label.size());
}

// What is wrong with the run; empty when nothing is.
static std::string judged(const std::string &command, const ConsoleRun &clean)
{
    const auto isEnd = [&](const End &row) {
        const bool isLasting = !run.once && std::ranges::count(row.lasting, run.fault) != 0;
        return (isLasting || std::ranges::count(row.single, run.fault) != 0) && matches(command, row.pCommands);
    };
    const auto *const pRow = std::ranges::find_if(ends, isEnd);
    const bool isTold = pRow != std::end(ends);
    if (run.status >= 0 || run.wrongs != 0) {
        const bool isSame =
            run.status == toldStatus(clean) && comparable(run.output, command) == comparable(clean.output, command);
        const bool isPassedOver = isTold && pRow->isSure;
        return isSame && !isPassedOver && run.wrongs == 0
                   ? ""
                   : formatted("other output: %d, passed over: %d, wrongs: %d", !isSame, isPassedOver, run.wrongs);
    }
    if (!isTold || run.status != pRow->status) {
        return "not the status told";
    }
    // In front of the document or of the last line stands what the clean run prints, but for the reports of a walk.
    const size_t lastEnd = run.output.rfind('\n', run.output.size() - 2);
    const size_t lastLine = lastEnd + (run.output.find("return ", lastEnd) == run.output.npos ? 1 : 0);
    const size_t head = std::min(run.output.rfind("HTTP/1.1 "), run.output.size());
    const bool isDocument = run.output.find("\n> ", head) == run.output.npos && head < lastLine;
    const size_t start = isDocument ? head : lastLine;
    const char *pEnd = "HTTP/1.1 [45]?? \r\nContent-Type: application/json\r\n\r\n?({\"id\":\"+([!\"])\""
                       "?(,\"unsupported_fields\":\"what\"),\"media\":[[]]}?(]})\r\n)\nreturn -1\n";
    const bool isWhole =
        matches(command, "* @(cl|cc) *") ||
        (comparable(clean.output, command).starts_with(comparable(run.output.substr(0, start), command)) &&
         (isDocument || !matches(command, "* @(list|pl|vid|meta|dur)*")));
    return isWhole && matches(run.output.substr(start), isDocument ? pEnd : "*return?(ed) -[15]\n") ? ""
                                                                                                    : "no told end";
}

// Blocks of the heap that a run may take: of the output buffers three for a document and one for a paged list.
static int blocksAllowed(const std::string &command, const std::string &output)
{
    int documents = 0;
    for (size_t at = 0; (at = output.find("HTTP/1.1 ", at)) != output.npos; ++at) {
        ++documents;
    }
    return documents * (matches(command, "* pl *") ? 1 : 3);
}

// Makes a run, with the card as it was before the first one.
static void make(const TemporaryCard &card, const std::string &command, int fault = FAULTS, int first = 0,
                 bool once = true)
{
    db_upload_status_request reset = {{DB_COMMAND_SET_UPLOAD_STATUS, 1, 0}, {}, 0};
    memcpy(&reset.file, "100MOXELMOXE0001.MP4", sizeof reset.file);
    pDatabase->answer(sim::bytesOf(reset));
    std::filesystem::remove_all(card.path("MISC"));
    if (!command.starts_with("fresh")) {
        card.identify();
    }
    std::string words = command.substr(0, command.find('|'));
    std::string typed = command.substr(words.size());
    std::ranges::replace(typed, '|', '\n');
    std::vector<char *> arguments;
    for (char *pWord = strtok(words.data(), " "); pWord != nullptr; pWord = strtok(nullptr, " ")) {
        arguments.push_back(pWord);
    }
    FILE *pSaved = std::exchange(stdin, fmemopen(typed.data(), typed.size(), "r"));
    FILE *pErrors = std::exchange(stderr, fopen("/dev/null", "w"));
    halvesFirst = command.starts_with("half");
    g_logLevel = UTIL_LOG_LEVEL_ERROR;
    run = {fault, first, once};
    run.wrongs -= nextDescriptor();
    run.output = printedBy([&] {
        productRuns = true;
        run.status = consoleRun(static_cast<int>(arguments.size()), arguments.data());
        gFileMap.clear();
        std::vector<ConsistencyItem>().swap(gItems);
        productRuns = false;
    });
    run.wrongs += nextDescriptor();
    fclose(std::exchange(stdin, pSaved));
    fclose(std::exchange(stderr, pErrors));
}

TEST(FaultSweep, FaultThatIsPassedOverOrLeavesSomethingBehind)
{
    const TemporaryCard card;
    sim::makeCard(card.path());
    sim::Database database(card.path());
    pDatabase = &database;
    g_debug_level = MXDEBUG_TO_FILE | (MXDEBUG_GATE_ERROR + 1);
    int reached[FAULTS] = {};
    std::istringstream lines(commands);
    for (std::string command; std::getline(lines >> std::ws, command, ';') && !HasFailure();) {
        make(card, command);
        const ConsoleRun clean = run;
        ASSERT_TRUE(clean.status >= 0 && judged(command, clean).empty()) << command << "\n" << clean.output;
        if (!matches(command, "* cc *")) {
            EXPECT_EQ(clean.counts[HEAP] + clean.counts[NEW], blocksAllowed(command, clean.output)) << command;
        }
        for (int fault = 0; fault < FAULTS; ++fault) {
            const int count = clean.counts[fault];
            reached[fault] += count;
            for (int i = 0; i < 2 * count && !HasFailure(); ++i) {
                make(card, command, fault, i / 2 + 1, i % 2 == 0);
                EXPECT_EQ(judged(command, clean), "")
                    << command << ": " << faultNames[fault] << " " << run.first << " of " << count
                    << (run.once ? "" : " and all further") << ", status " << run.status << "\n"
                    << run.output;
            }
        }
        const int calls = std::accumulate(clean.counts, clean.counts + FAULTS, 0);
        printf("%5d calls, %5d runs: %s\n", calls, 2 * calls, command.c_str());
    }
    ASSERT_FALSE(HasFailure());
    for (int fault = 0; fault < FAULTS; ++fault) {
        EXPECT_GT(reached[fault], 0) << faultNames[fault] << " is never called";
    }
    for (const consoleCommand &row : commandTable) {
        EXPECT_TRUE(matches(commands, formatted("*[ |]%s[ |;]*", row.pWord).c_str())) << row.pWord << " is not run";
    }
}
