// Each command of the console, in this process, against the database of the simulated camera: once as it is, then again
// for each call that can fail, with that one failing, and once more with all further ones failing, too. The linker puts
// the calls of the system through here.
#include <gtest/gtest.h>

#include <cstdarg>
#include <dirent.h>
#include <fnmatch.h>
#include <map>
#include <mqueue.h>
#include <regex>
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

// On what, then words and arguments; "typed" has what is typed behind it, with a "|" for each line end. On the sample
// card, or on one without a folder for its identity ("fresh"), or with a first answer that comes by half ("half").
static constexpr char commands[] = R"(card ci 100MOXEL MOXE0001.MP4 2 4; card mi 100MOXEL MOXE0002.MP4; card hist;
card gci 100MOXEL G0020001.JPG 1 4; card gci 100MOXEL MOXE0003.MP4; card vsi 101MOXEL MOXE0011.MP4;
card vsi 100MOXEL MOXE0003.MP4; card gumibyfile 100MOXEL MOXE0009.MP4;
card mus 100MOXEL MOXE0001.MP4 7 2; card dur 100MOXEL MOXE0003.MP4 2; fresh vid; card no such word;
card meta p=100MOXEL/MOXE0009.MP4&t=v4info 2; card meta p=100MOXEL/MOXE0001.MP4&t=upload&status=7;
card list; card list fields=n,hi,ghi,dur,us,what 2 4; fresh list f=none;
card list f=gumi&folder=100MOXEL&files=MOXE0009.MP4,MOXE9999.MP4; card pl 40 10 0 6 0 2 4; card pl 3 10 1 12 0;
fresh pl 40 10 0 0 256; card cl 50; card cl 5 0 3 4; card cl 5 1000; half cl 5 0 1 4; card cc 9 1 4;
typed|mus|100MOXEL|MOXE0001.MP4|7||lvl|4|list|||vid|100MOXEL|MOXE0001.MP4||hist|exit|;
typed|ci|100MOXEL|MOXE0001.MP4|2|filebygumi|DB34CC88F77F968FB381768917156F63||lvl||)";

static bool matches(const std::string &text, const std::string &pattern)
{
    return fnmatch(pattern.c_str(), text.c_str(), FNM_EXTMATCH) == 0;
}

// Whether a text has one of the words, whole and in this order when there is a blank in it; "|" separates them.
static bool has(const std::string &text, std::string_view words)
{
    return matches(" " + text + " ", "*[ |]@(" + std::string(words) + ")[ |]*");
}

// What a command may print otherwise because of a fault, and end well: the text between two others; "" is an end.
struct Exception {
    const char *pWords, *pFaults; // separated by "|", and by blanks
    std::string from, until;
};
static const Exception exceptions[] = {
    // An identity that can't be read is made anew; a paged list goes on without one.
    {"list|pl", "fopen fputs fgets fclose mkdir stat rand", "{\"id\":\"", "\""},
    {"pl 3", "send receive half busy", "\"media\":[", "]}\r\n"}, // a retry uses up one of the passes
    {"hist", "half busy", "BIN", "> "},                          // a refusal is only logged; what did not come is 0
    {"gumibyfile", "half", "GUMI: ", "\n"},                      // the same
    {"cl", "init half busy", "calling", ""},                     // results but for the last are only printed
    {"half cl", "receive", "calling", ""},                       // then the half answer never comes
    {"cl", "gmtime asctime", "creation time:", "\n"},            // a time without a text
    {"cc", "busy", "total items: ", ""},                         // refused from the first on it is an empty catalogue
    {"cc", "time", "took ", "\n"},                               // the distance from a time that is not known
    {"typed", "fgets", "> ", ""}, // what is not read is skipped, and the words behind it move up; or it is the end
};

// What a fault does to a command: of the rows the first that fits tells it. A fault without a row is got over.
enum Outcome { GOT_OVER, MAY_END, ENDS, ENDS_WITH_RESULT };
enum { OWN_RESULT = -5 }; // of the transport: what `ENDS_WITH_RESULT` ends with; the others end with -1
static constexpr char direct[] = "ci|mi|gci|vsi|gumibyfile|filebygumi", documents[] = "list|pl|vid|meta|dur";
struct End {
    const char *pWords;
    Outcome outcome;
    const char *pFaults, *pLasting = ""; // the latter only when all further calls fail, too
};
static const End ends[] = {
    {"typed", MAY_END, "fgets half busy"},
    {"cl", MAY_END, "init"},
    {"cc", ENDS, "", "half stat"},
    {"cc", MAY_END, "half stat", "busy"},
    {"cc", ENDS, "busy"},
    {"gumibyfile", GOT_OVER, "half"},
    {direct, ENDS_WITH_RESULT, "init"},
    {"vsi", ENDS_WITH_RESULT, "send"},
    {direct, ENDS, "send receive half busy"},
    {"pl 3", GOT_OVER, "send receive half busy"},
    {"mus|hist|cl", GOT_OVER, "half busy"},
    {"*", ENDS, "init", "send receive half busy"}, // exchanges are made again, and documents and pages as well
    {"vid|meta|dur|list f=gumi*", ENDS, "half busy"},
    {documents, ENDS, "calloc"},
    {"fresh list|fresh vid", ENDS, "fopen fputs fclose mkdir", "rand"},
    {"fresh", GOT_OVER, "stat"},
    {"list|vid|meta|dur", ENDS, "stat", "fopen"},
    {"cc", ENDS, "calloc new scandir"},
};

struct ConsoleRun {
    std::string_view fault; // the call that fails, "half" or "busy" for an answer that is
    int first;              // number of the failing call
    bool once;              // those behind it do not fail
    int wrongs = 0; // things not given back (channels, queues, blocks of the heap, descriptors), misuses of a channel
    int status = 0;
    std::string output = "";
    std::map<std::string_view, int> counts = {};
};
static ConsoleRun run;
static bool productRuns = false, halvesFirst = false;
static sim::Database *pDatabase = nullptr;
static sim::Bytes request;
static constexpr uint32_t openMark = 0x09E4;

// Counts a call of the product. Whether it is to fail.
static bool fails(std::string_view call)
{
    if (!std::exchange(productRuns, false)) {
        return false;
    }
    const int count = ++run.counts[call];
    productRuns = true;
    return run.fault == call && (run.once ? count == run.first : count >= run.first);
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

WRAP(FILE *, fopen, (const char *pPath, const char *pMode), fails("fopen") ? nullptr : __real_fopen(pPath, pMode))
WRAP(int, fputs, (const char *pText, FILE *pFile), fails("fputs") ? EOF : __real_fputs(pText, pFile))
// Of the report file.
WRAP(int, vfprintf, (FILE * pFile, const char *pFormat, va_list list),
     fails("vfprintf") ? -1 : __real_vfprintf(pFile, pFormat, list))
WRAP(char *, fgets, (char *pText, int size, FILE *pFile), fails("fgets") ? nullptr : __real_fgets(pText, size, pFile))
WRAP(int, fclose, (FILE * pFile), fails("fclose") ? (__real_fclose(pFile), EOF) : __real_fclose(pFile))
WRAP(int, mkdir, (const char *pPath, mode_t mode), fails("mkdir") ? -1 : __real_mkdir(pPath, mode))
WRAP(int, stat, (const char *pPath, struct stat *pState), fails("stat") ? -1 : __real_stat(pPath, pState))
WRAP(
    int, scandir64,
    (const char *pPath, dirent64 ***pNames, int (*take)(const dirent64 *), decltype(&alphasort64) order),
    fails("scandir") ? -1 : [](int n) { return hold(n, n + 1); }(__real_scandir64(pPath, pNames, take, order)))
WRAP(tm *, localtime, (const time_t *pTime), fails("localtime") ? nullptr : __real_localtime(pTime))
WRAP(tm *, gmtime, (const time_t *pTime), fails("gmtime") ? nullptr : __real_gmtime(pTime))
WRAP(char *, asctime, (const tm *pTime), fails("asctime") ? nullptr : __real_asctime(pTime))
WRAP(time_t, time, (time_t *), fails("time") ? -1 : 1600000000)
// Goes on, so that the scan of the card asks again whether to stop.
WRAP(int, gettimeofday, (timeval * pNow, void *),
     fails("gettimeofday") ? -1 : (*pNow = {run.counts["gettimeofday"] / 3, 0}, 0))
// The product calls neither of the next two: they are counted, so that it stays so.
WRAP(void *, malloc, (size_t size), fails("calloc") ? nullptr : hold(__real_malloc(size)))
WRAP(void *, realloc, (void *pBlock, size_t size), fails("calloc") ? nullptr : __real_realloc(pBlock, size))
WRAP(void *, calloc, (size_t count, size_t size), fails("calloc") ? nullptr : hold(__real_calloc(count, size)))
WRAP(void, free, (void *pBlock), __real_free(hold(pBlock, -1)))
WRAP(int, rand, (), fails("rand") ? 0 : 12345)
WRAP(int, usleep, (useconds_t), 0)
WRAP(void, syslog, (int, const char *, ...), void())
WRAP(mqd_t, mq_open, (const char *, int, ...), fails("mq_open") ? -1 : hold(99))
WRAP(int, mq_send, (mqd_t, const char *, size_t, unsigned), fails("mq_send") ? -1 : 0)
WRAP(int, mq_close, (mqd_t queue), hold(queue == 99, -1), fails("mq_close") ? -1 : 0)
WRAP(int, nvq_get, (int, int, void *, uint32_t *pValue), (*pValue = fails("nvq_get")) != 0 ? -1 : 0)

int mxIpcInit(const char *, mxIpcHandle *pHandle)
{
    *pHandle = {{fails("init") ? 0xBAD : openMark, 1}};
    return pHandle->word[0] == openMark ? hold(1) : OWN_RESULT;
}

int mxIpcSend(mxIpcHandle *pHandle, const void *pMessage, int length)
{
    run.wrongs += pHandle->word[0] != openMark;
    request = {static_cast<const uint8_t *>(pMessage), fails("send") ? 0 : static_cast<size_t>(length)};
    return request.empty() ? OWN_RESULT : 0;
}

int mxIpcReceive(mxIpcHandle *pHandle, void *pBuffer)
{
    run.wrongs += pHandle->word[0] != openMark || request.empty();
    const bool failed = fails("receive");
    const bool isBusy = fails("busy");
    const bool isHalf = fails("half") || (!isBusy && halvesFirst && run.counts["half"] == 1);
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

FUNCTION(void *operator new(size_t size), fails("new") ? throw std::bad_alloc() : hold(__real_malloc(size)))
FUNCTION(void operator delete(void *pBlock) noexcept, __real_free(hold(pBlock, -1)))
FUNCTION(void operator delete(void *pBlock, size_t) noexcept, __real_free(hold(pBlock, -1)))

// What a run prints, without what its fault may change.
static std::string comparable(std::string text, const std::string &command)
{
    for (const Exception &row : exceptions) {
        const bool applies = has(command, row.pWords) && has(row.pFaults, run.fault);
        for (size_t at = 0; applies && (at = text.find(row.from, at)) != text.npos;) {
            at += row.from.size();
            text.erase(at, row.until.empty() ? text.npos : text.find(row.until, at) - at);
        }
    }
    return text;
}

static Outcome toldOutcome(const std::string &command)
{
    const auto *const pRow = std::ranges::find_if(ends, [&](const End &row) {
        return has(command, row.pWords) && (has(row.pFaults, run.fault) || (!run.once && has(row.pLasting, run.fault)));
    });
    return pRow == std::end(ends) ? GOT_OVER : pRow->outcome;
}

// Whether the run does what the clean one does. `cl` ends with what it prints of its last call.
static bool isSame(const std::string &command, const ConsoleRun &clean)
{
    const std::string label = "dbGetCAHSessionFileList ret:";
    const size_t at = run.output.rfind(label);
    const int status = at == run.output.npos ? clean.status : atoi(run.output.c_str() + at + label.size());
    return run.status == status && comparable(run.output, command) == comparable(clean.output, command);
}

// Whether the run ends as one that fails: with an empty document or with a line that tells its status. In front of it
// stands what the clean run prints, but for the reports of a walk.
static bool isToldEnd(const std::string &command, const ConsoleRun &clean)
{
    const std::string &output = run.output;
    const size_t head = std::min(output.rfind("HTTP/1.1 "), output.size());
    const size_t lastLine = std::min(output.rfind('\n', output.size() - 2), output.size());
    const bool isDocument = matches(output.substr(head), "HTTP/1.1 [45]?? \r\nContent-Type: application/json\r\n\r\n"
                                                         "?({\"id\":\"+([!\"])\"?(,\"unsupported_fields\":\"what\"),"
                                                         "\"media\":[[]]}?(]})\r\n)\nreturn -1\n");
    const bool printsDocument = has(command, documents) && !has(command, "typed");
    if (!isDocument && (printsDocument || !matches(output.substr(lastLine), "*return?(ed) -[15]\n"))) {
        return false;
    }
    const std::string front = comparable(output.substr(0, isDocument ? head : lastLine), command);
    return has(command, "cl|cc") || comparable(clean.output, command).starts_with(front);
}

// What is wrong with the run; empty when nothing is.
static std::string judged(const std::string &command, const ConsoleRun &clean)
{
    const Outcome told = toldOutcome(command);
    if (run.wrongs != 0) {
        return formatted("%d things kept or misused", run.wrongs);
    }
    if (run.status >= 0) {
        return told >= ENDS ? "passed over" : isSame(command, clean) ? "" : "other output";
    }
    if (told == GOT_OVER || run.status != (told == ENDS_WITH_RESULT ? OWN_RESULT : -1)) {
        return "not the status told";
    }
    return isToldEnd(command, clean) ? "" : "no told end";
}

// Makes a run, with the card as it was before the first one.
static void make(const TemporaryCard &card, const std::string &command, std::string_view fault = "none", int first = 0,
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
    run = {fault, first, once, -nextDescriptor()};
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
    std::map<std::string_view, int> reached;
    std::istringstream lines(commands);
    for (std::string command; std::getline(lines >> std::ws, command, ';') && !HasFailure();) {
        make(card, command);
        ConsoleRun clean = run;
        ASSERT_TRUE(clean.status >= 0 && judged(command, clean).empty()) << command << "\n" << clean.output;
        reached.insert(clean.counts.begin(), clean.counts.end());
        // The product takes none of the heap but output buffers: three for a document, which has four carriage returns.
        const auto buffers = std::ranges::count(clean.output, '\r') / 4 * (has(command, "pl") ? 1 : 3);
        EXPECT_TRUE(has(command, "cc") || clean.counts["calloc"] + clean.counts["new"] == buffers) << command;
        // Nor does the C library for it: no stream but that of the card's identity, or of reports.
        EXPECT_TRUE(has(command, documents) || command.starts_with("half") || clean.counts["fopen"] == 0) << command;
        int runs = 0;
        for (const auto &[fault, count] : clean.counts) {
            for (int i = 0; i < 2 * count && !HasFailure(); ++i, ++runs) {
                make(card, command, fault, i / 2 + 1, i % 2 == 0);
                EXPECT_EQ(judged(command, clean), "")
                    << command << ": " << fault << " " << run.first << " of " << count
                    << (run.once ? "" : " and all further") << ", status " << run.status << "\n"
                    << run.output;
            }
        }
        printf("%5d runs: %s\n", runs, command.c_str());
    }
    for (const consoleCommand &row : commandTable) {
        EXPECT_TRUE(has(std::regex_replace(commands, std::regex(";"), " "), row.pWord)) << row.pWord << " is not run";
    }
    // As many as there are names above; who puts another call in raises it.
    EXPECT_EQ(reached.size(), 25U) << "calls that can fail: " << testing::PrintToString(reached);
}
