#include <cstdarg>
#include <cwchar>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "card.h"
#include "daemonInit.h"
#include "errorNames.h"
#include "mxdebug.h"
#include "utilLog.h"

namespace
{

std::string journal; // what reached syslog
pid_t parent = 2;    // what the process is told of its parent
bool forkFails = false;
const uint32_t initialLevel = g_logLevel;

/** Runs `action` in a child. Gives its exit status, "|", all that it and its children print, and its journal. */
std::string inChild(const std::function<void()> &action)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        journal.clear();
        atexit([] { fputs(journal.c_str(), stdout); });
        action();
        exit(0);
    }
    close(ends[1]);
    std::string printed;
    for (char byte; read(ends[0], &byte, 1) == 1;) {
        printed += byte;
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return (WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) : "killed") + "|" + printed;
}

std::string withoutTime(const std::string &report)
{
    static const std::regex stamp("(^|\\||\\n)[A-Z][a-z]{2}[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] ");
    return std::regex_replace(report, stamp, "$1TIME ");
}

constexpr int failingLine = __LINE__ + 5;

void failing()
{
    UTIL_ASSERT(failingLine != 0);
    UTIL_ASSERT(failingLine == 0);
}

constexpr int erringLine = __LINE__ + 4;

void erring()
{
    UTIL_ERROR("ERROR: Db response size too small.\n");
}

} // namespace

extern "C" {

void openlog(const char *pIdentity, int options, int facility)
{
    journal += pIdentity == nullptr && options == 0x22 && facility == 8 ? "open " : "open otherwise ";
}

void syslog(int priority, const char *pFormat, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, pFormat);
    vsnprintf(text, sizeof text, pFormat, arguments);
    va_end(arguments);
    journal += std::to_string(priority) + " " + text;
}

void closelog()
{
    journal += " close";
}

pid_t getppid() noexcept
{
    return parent;
}

pid_t fork() noexcept
{
    static const auto pFork = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    return forkFails ? -1 : pFork();
}
}

TEST(UtilLog, LineOfWrongForm)
{
    const std::string most(334, 'm'), prefix = "3 UTIL_LOG_ERROR:", long86(86, 'n'), long419(419, 'n');
    const struct {
        std::string message, file, wanted;
    } cases[] = {
        {"100%s\n", "source", "100%s\n @source:7"},
        {most, "source", most + " @source:7"},
        {most + "m", "source", most + " @source:7"},
        {most, long86, most + " @" + long86 + ":7"},
        {most, long86 + "n", most + " "},
        {most + "m", long86, most + " @" + long86 + ":7"},
        {most + "m", long86 + "n", most + " "},
        {"m", long419, "m @" + long419 + ":7"},
        {"m", long419 + "n", "m "},
    };
    for (const auto &c : cases) {
        journal.clear();
        util_log(UTIL_LOG_LEVEL_ERROR, 7, c.file.c_str(), "%s", c.message.c_str());
        EXPECT_EQ(journal, prefix + c.wanted);
    }
    journal.clear();
    util_log(UTIL_LOG_LEVEL_ERROR, 7, "source", "%lc", static_cast<wint_t>(0x110000)); // can't be formatted
    EXPECT_EQ(journal, prefix);
    journal.clear();
    for (int level = UTIL_LOG_LEVEL_OFF; level < UTIL_LOG_LEVEL_LAST; ++level) {
        util_log(level, level, "s", "%d\n", level);
    }
    EXPECT_EQ(journal, "3 UTIL_LOG_OFF  :0\n @s:03 UTIL_LOG_FATAL:1\n @s:13 UTIL_LOG_ERROR:2\n @s:2"
                       "3 UTIL_LOG_WARN :3\n @s:33 UTIL_LOG_DEBUG:4\n @s:43 UTIL_LOG_INFO :5\n @s:5"
                       "3 UTIL_LOG_TRACE:6\n @s:6");
}

TEST(UtilLog, LevelGateWrong)
{
    EXPECT_EQ(initialLevel, 2u);
    for (uint32_t level = 0; level <= 6; ++level) {
        util_log_set_level(level);
        EXPECT_EQ(g_logLevel, level);
        for (const uint32_t refused : {7u, 8u, UINT32_MAX}) {
            util_log_set_level(refused);
            EXPECT_EQ(g_logLevel, level);
        }
        journal.clear();
        int evaluated = 0;
        const int line = __LINE__ + 1;
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "%d", ++evaluated);
        EXPECT_EQ(journal, level < 3 ? "" : "3 UTIL_LOG_WARN :1 @supportTest:" + std::to_string(line));
        EXPECT_EQ(evaluated, level < 3 ? 0 : 1);
    }
    util_log_set_level(UTIL_LOG_LEVEL_ERROR);
}

TEST(Reports, RoutedWrongly)
{
    // Channels that get a report: o standard output, f the file, s syslog.
    const struct {
        uint32_t word;
        std::string assertion, error;
    } cases[] = {{0, "", ""},
                 {0xFFFFFF07, "", ""},
                 {8, "s", ""},
                 {0x6000000F, "ofs", ""},
                 {0x10, "s", "s"},
                 {0x40000010, "os", "os"},
                 {0x200000FF, "fs", "fs"},
                 {0x9FFFFF80, "s", "s"}};
    const uint32_t saved = g_debug_level;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.word);
        g_debug_level = c.word;
        const auto expect = [](void (*report)(), const std::string &channels, const std::string &status,
                               const std::string &text) {
            const auto on = [&](char channel, const std::string &there) {
                return channels.find(channel) != std::string::npos ? there : "";
            };
            const std::string seen = status + "|" + on('o', "TIME " + text) + on('s', "open 7 " + text + " close");
            {
                const TemporaryCard card;
                card.write("wifi_log.txt", "old\n");
                EXPECT_EQ(withoutTime(inChild(report)), seen);
                EXPECT_EQ(withoutTime(card.read("wifi_log.txt")), "old\n" + on('f', "TIME " + text));
            }
            EXPECT_EQ(withoutTime(inChild(report)), seen) << "without a card";
        };
        expect(failing, c.assertion, "255",
               "\033[31mASSERT:tests/supportTest/failing:" + std::to_string(failingLine) +
                   ":failingLine == 0\n\033[0m");
        expect(erring, c.error, "0",
               "[          erring:  " + std::to_string(erringLine) + "] ERROR: Db response size too small.\n");
    }
    g_debug_level = saved;
}

TEST(ErrorNames, RowLostOrWrong)
{
    std::string rows;
    for (const mxNameOfCode &row : mxErrnoStrMap) {
        EXPECT_STREQ(mxErrnoToStr(row.code), row.pName);
        rows += std::to_string(row.code) + " ";
    }
    EXPECT_EQ(rows, "0 -1 -2 -3 -4 -5 -6 -7 -8 -9 -10 -11 -12 -14 -15 -16 -17 -101 -102 -103 -104 -100 ");
    EXPECT_STREQ(mxErrnoToStr(-14), "MX_ERR_REMOTE_FILE_OPEN");
    EXPECT_STREQ(mxErrnoToStr(-100), "MX_ERR_DOWNLOAD_FAILED");
    for (const int code : {-105, -99, -18, -13, 1}) {
        EXPECT_STREQ(mxErrnoToStr(code), "UNKNOWN");
    }
    EXPECT_EQ(mxModelToStr(-1), nullptr);
    EXPECT_EQ(mxModelToStr(0), nullptr);
}

TEST(SkipBlanks, WrongCharacter)
{
    const std::pair<const char *, const char *> cases[] = {{nullptr, nullptr}, {"", nullptr}, {"  ", nullptr},
                                                           {" \tx ", "x "},    {"x", "x"},    {"\t\n x", "\n x"}};
    for (const auto &[pText, pWanted] : cases) {
        EXPECT_STREQ(skipBlanks(pText), pWanted);
    }
}

TEST(DaemonInit, StepLeftOut)
{
    const std::string here = std::filesystem::current_path(), daemon = ", leader 1, umask 0, dumps ";
    const std::string refusal = "daemon_init_ext: Error: unable to set core limit in order to generate core dump!";
    const std::string moved = std::filesystem::exists("/tmp/fuse_b/") ? "0 in /tmp/fuse_b" : "-1 in " + here;
    const std::string note = "daemon_init_ext: Note: Daemon can generate core dump." + moved;
    rlimit limit;
    getrlimit(RLIMIT_CORE, &limit);
    const bool mayDump = limit.rlim_max == RLIM_INFINITY || geteuid() == 0;
    const struct {
        pid_t parent;
        bool forkFails, dumpRefused;
        int coreDump;
        std::string wanted;
    } cases[] = {
        {2, false, false, 0, "0 in /" + daemon + "0"},
        {2, false, false, 1, mayDump ? note + daemon + "1" : refusal + note + daemon + "0"},
        {2, false, true, -1, refusal + note + daemon + "0"},
        {1, false, false, 1, "0 in " + here + ", leader 0, umask 27, dumps 0"},
        {2, true, false, 1, "-1 in " + here + ", leader 0, umask 27, dumps 0"},
    };
    for (const auto &c : cases) {
        const auto run = [&] {
            parent = c.parent;
            forkFails = c.forkFails;
            umask(027);
            rlimit none = {0, c.dumpRefused ? 0 : limit.rlim_max};
            setrlimit(RLIMIT_CORE, &none);
            if (c.dumpRefused && setuid(65534) == 0) {
                prctl(PR_SET_DUMPABLE, 1); // the leak check of sanitizer builds needs it
            }
            const int ret = c.coreDump == 0 ? daemon_init() : daemon_init_ext(c.coreDump);
            getrlimit(RLIMIT_CORE, &none);
            printf("%d in %s, leader %d, umask %o, dumps %d", ret, std::filesystem::current_path().c_str(),
                   getsid(0) == getpid(), umask(0), none.rlim_cur == RLIM_INFINITY);
        };
        EXPECT_EQ(inChild(run), "0|" + c.wanted);
    }
}
