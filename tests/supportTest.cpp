// Log lines, reports, error names, daemon start-up and the identity of the card.
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "card.h"
#include "cardIdentity.h"
#include "daemonInit.h"
#include "effects.h"
#include "errorNames.h"
#include "mxdebug.h"
#include "skipBlanks.h"
#include "utilLog.h"

const uint32_t initialLevel = g_logLevel;
static pid_t parent = 2;                 // what the process is told of its parent
static int forked = 1000;                // what it gets of a fork; 1000: the real thing
static int zerosInFront = 0, number = 3; // its random numbers

/** Runs code in a child, which must end with this status and these words. */
template <typename Run>
static void expectExit(Run run, int status, const std::string &words)
{
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), run(), exit(0)), testing::ExitedWithCode(status),
                testing::Matcher<const std::string &>(words));
}

constexpr int line = __LINE__ + 6;

static void report()
{
    UTIL_ERROR("ERROR: Db response size too small.\n");
    UTIL_ASSERT(line != 0);
    UTIL_ASSERT(line == 0);
}

// Doubles of the system's calls.
extern "C" {

void openlog(const char *pIdentity, int options, int facility)
{
    printf("<%s %d %d ", pIdentity, options, facility);
}

void syslog(int priority, const char *pFormat, ...)
{
    va_list arguments;
    va_start(arguments, pFormat);
    printf("%d ", priority);
    vprintf(pFormat, arguments);
    va_end(arguments);
}

void closelog()
{
    printf(">");
}

pid_t getppid() noexcept
{
    return parent;
}

pid_t fork() noexcept
{
    static const auto pFork = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    return forked == 1000 ? pFork() : forked;
}

tm *localtime(const time_t *) noexcept
{
    static tm moment = {6, 5, 14, 3, 1, 100, 0, 0, 0, 0, ""};
    return &moment;
}

int rand() noexcept
{
    return zerosInFront-- > 0 ? 0 : number;
}
}

TEST(UtilLog, LineOfWrongForm)
{
    const auto logged = [](const std::string &text, const std::string &file = "source") {
        return printedBy([&] { util_log(UTIL_LOG_LEVEL_ERROR, 7, file.c_str(), "%s", text.c_str()); });
    };
    const std::string tag = "3 UTIL_LOG_ERROR:", most(334, 'm'), long86(86, 'n'), long419(419, 'n');
    EXPECT_EQ(logged("100%s\n"), tag + "100%s\n @source:7");
    EXPECT_EQ(logged(most, long86), tag + most + " @" + long86 + ":7");
    EXPECT_EQ(logged(most, long86 + "n"), tag + most + " ");
    EXPECT_EQ(logged(most + "m", long86), tag + most + " @" + long86 + ":7");
    EXPECT_EQ(logged("m", long419), tag + "m @" + long419 + ":7");
    EXPECT_EQ(logged("m", long419 + "n"), tag + "m ");
}

TEST(UtilLog, LevelGateOrTagWrong)
{
    EXPECT_EQ(initialLevel, 2u);
    for (int level = 0; const char *pTag : {"OFF  ", "FATAL", "ERROR", "WARN ", "DEBUG", "INFO ", "TRACE"}) {
        util_log_set_level(static_cast<uint32_t>(level++));
        util_log_set_level(7);
        const std::string logged = printedBy([level, count = 0]() mutable {
            for (const int of : {level, level - 1}) {
                UTIL_LOG(of, "%d\n", ++count);
            }
        });
        EXPECT_EQ(logged, formatted("3 UTIL_LOG_%s:1\n @supportTest:%d", pTag, __LINE__ - 3));
    }
}

TEST(ReportsDeathTest, RoutedWrongly)
{
    // What is printed and logged, "<" opening and ">" closing the log, and what goes to the file.
    const auto expect = [](uint32_t word, const std::string &seen, const std::string &filed) {
        const TemporaryCard card;
        card.write("wifi_log.txt", "old ");
        g_debug_level = word;
        expectExit(report, 255, seen);
        EXPECT_EQ(card.read("wifi_log.txt"), "old " + filed) << word;
    };
    const std::string e = formatted("[          report:%4d] ERROR: Db response size too small.\n", line - 2);
    const std::string a = formatted("\033[31mASSERT:tests/supportTest/report:%d:line == 0\n\033[0m", line);
    const std::string log = "<(null) 34 8 7 ", at = "Feb03 14:05:06 ";
    expect(0xFFFFFF07, "", "");
    expect(8, log + a + ">", "");
    expect(0x6000000F, at + a + log + a + ">", at + a);
    expect(0x10, log + e + ">" + log + a + ">", "");
    expect(0x200000FF, log + e + ">" + log + a + ">", at + e + at + a);
    expectExit(report, 255, log + e + ">" + log + a + ">"); // without a card
}

TEST(Texts, RowLostOrBlankWrong)
{
    std::string codes, texts;
    for (const auto &[pName, code] : mxErrnoStrMap) {
        EXPECT_STREQ(mxErrnoToStr(code), pName);
        codes += formatted("%d ", code);
    }
    EXPECT_EQ(codes, "0 -1 -2 -3 -4 -5 -6 -7 -8 -9 -10 -11 -12 -14 -15 -16 -17 -101 -102 -103 -104 -100 ");
    EXPECT_STREQ(mxErrnoToStr(-14), "MX_ERR_REMOTE_FILE_OPEN");
    EXPECT_STREQ(mxErrnoToStr(-13), "UNKNOWN");
    EXPECT_EQ(mxModelToStr(0), nullptr);
    for (const char *pText : {" \tx ", "x", "\t\n x", "", "  ", static_cast<const char *>(nullptr)}) {
        texts += formatted("%s|", skipBlanks(pText));
    }
    EXPECT_EQ(texts, "x |x|\n x|(null)|(null)|(null)|");
}

TEST(DaemonInitDeathTest, StepLeftOut)
{
    rlimit limit;
    getrlimit(RLIMIT_CORE, &limit);
    const auto start = [&](pid_t parentIs, pid_t forkGives, int coreDump, bool refused = false) {
        parent = parentIs;
        forked = forkGives;
        umask(027);
        const rlimit none = {0, refused ? 0 : limit.rlim_max};
        setrlimit(RLIMIT_CORE, &none);
        if (refused && setuid(65534) == 0) {
            prctl(PR_SET_DUMPABLE, 1); // the leak check of sanitizer builds needs it
        }
        const int ret = coreDump == 0 ? daemon_init() : daemon_init_ext(coreDump);
        getrlimit(RLIMIT_CORE, &limit);
        printf("%d in %s, leader %d, umask %o, dumps %d", ret, std::filesystem::current_path().c_str(),
               getsid(0) == getpid(), umask(0), limit.rlim_cur == RLIM_INFINITY);
    };
    const std::string here = std::filesystem::current_path(), daemon = ", leader 1, umask 0, dumps ";
    const std::string refusal = "daemon_init_ext: Error: unable to set core limit in order to generate core dump!";
    const std::string moved = std::filesystem::exists("/tmp/fuse_b/") ? "0 in /tmp/fuse_b" : "-1 in " + here;
    const std::string note = "daemon_init_ext: Note: Daemon can generate core dump." + moved + daemon;
    const bool mayDump = limit.rlim_max == RLIM_INFINITY || geteuid() == 0;
    const std::string left = " in " + here + ", leader 0, umask 27, dumps 0";
    expectExit([&] { start(2, 0, 0); }, 0, "0 in /" + daemon + "0");
    expectExit([&] { start(2, 0, 1); }, 0, mayDump ? note + "1" : refusal + note + "0");
    expectExit([&] { start(2, 0, -1, true); }, 0, refusal + note + "0");
    expectExit([&] { start(2, 5, 1); }, 0, ""); // the parent ends
    expectExit([&] { start(2, -1, 1); }, 0, "-1" + left);
    expectExit([&] { start(1, 0, 1); }, 0, "0" + left);
}

TEST(CardIdentityDeathTest, FailureOrNumberDiffers)
{
    // A card with one file; what is said, the result, the identity, that of the next call; what stands on the card.
    const auto expect = [](const std::string &below, const std::string &content, const std::string &words,
                           const std::string &held, int zeros = 0, int first = 3) {
        const TemporaryCard card;
        card.write(below, content);
        const auto identify = [&] {
            zerosInFront = zeros;
            number = first;
            char id[CARD_ID_BYTES] = "", again[CARD_ID_BYTES] = "";
            const int descriptor = nextDescriptor(), result = getCardIDStr(id);
            printf("%s%d %s ", nextDescriptor() == descriptor ? "" : "left open: ", result, id);
            number = 1000;
            printf("%s", result == 0 && getCardIDStr(again) == 0 ? again : "");
        };
        expectExit(identify, 0, std::regex_replace(words, std::regex("@"), card.path().string()));
        EXPECT_EQ(card.read(below == "MISC" ? below : "MISC/card"), held);
    };
    const std::string long40(40, '7'), long31(31, '7');
    expect("x", "", "0 8 8", "8");
    expect("x", "", "0 4611686014132420608 4611686014132420608", "4611686014132420608", 9, INT32_MAX);
    expect("x", "", "Failed to get random number\n-1 0 ", "", 10);
    expect("MISC/card", "12\n34", "0 12\n 12\n", "12\n34");
    expect("MISC/card", long40, "0 " + long31 + " " + long31, long40);
    expect("MISC/card/x", "", "Failed to create file  @MISC/card\n-1 0 ", "");
    expect("MISC", "mine", "Path:@MISC/ exists and is a NOT folder\n-1 0 ", "mine");

    char id[CARD_ID_BYTES] = "";
    expectExit([] { exit(getCardIDStr(nullptr)); }, 255, "Cannot call with null pointer\n");
    expectExit([&] { exit(getCardIDStr(id)); }, 255, "Failed to create folder:" + TemporaryCard::current + "MISC/\n");
    const TemporaryCard full;
    const auto identifyFull = [&] {
        const rlimit none = {0, 0};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &none);
        const std::string said = printedBy([&] { getCardIDStr((stderr = stdout, id)); });
        exit(said + id != "Failed to get write card_id to file\n8");
    };
    expectExit(identifyFull, 0, "");
}
