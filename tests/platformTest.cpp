/**
 * @file platformTest.cpp
 * The stand-ins for the camera's closed libraries, with a peer that misbehaves and directories that are not safe.
 */
#include "mxdebug.h"
#include "mxipc.h"
#include "nvq.h"
#include "rendezvous.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>

namespace
{

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto TIMEOUT = 300ms;

/** What the peer does about one request before it hangs up: messages of n bytes, or, below 0, pauses of -n ms. */
using Answer = std::vector<int>;

/** Serves the channel "peer", one request after the other. The bytes of the first answer are '1', of the next '2'. */
class Peer
{
  public:
    explicit Peer(const std::vector<Answer> &answers, int backlog = 8)
    {
        sockaddr_un address{AF_UNIX, {}};
        EXPECT_EQ(rendezvousPath("peer", address.sun_path, sizeof address.sun_path), 0);
        unlink(address.sun_path);
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener, backlog), 0);
        thread = std::thread([this, answers] {
            std::string request(1500, ' '), message(1501, '0');
            for (const Answer &answer : answers) {
                const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                (void)recv(connection, request.data(), request.size(), 0);
                message.assign(1501, static_cast<char>(message[0] + 1));
                for (int step : answer) {
                    std::this_thread::sleep_for(-std::min(step, 0) * 1ms);
                    (void)(step < 0 || send(connection, message.data(), static_cast<size_t>(step), MSG_NOSIGNAL));
                }
                close(connection);
            }
        });
    }
    ~Peer()
    {
        shutdown(listener, SHUT_RDWR);
        thread.join();
        close(listener);
    }
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    std::thread thread;
};

class Platform : public testing::Test
{
  protected:
    Platform()
    {
        setenv("MXIPC_DIR", meet.c_str(), 1);
        setenv("MXIPC_TIMEOUT_MS", std::to_string(TIMEOUT.count()).c_str(), 1);
    }
    ~Platform() override
    {
        mxIpcDestroy(&handle);
        fs::remove_all(root);
    }
    /** Gives the message that came back, or "failure". */
    std::string exchange()
    {
        buffer.assign(1600, '~');
        const int sent = mxIpcSend(&handle, "?", 1), length = sent < 0 ? sent : mxIpcReceive(&handle, buffer.data());
        const auto used = static_cast<size_t>(length < 0 ? 1500 : length);
        EXPECT_EQ(buffer.find_first_not_of('~', used), std::string::npos) << "bytes behind the message are written to";
        return length < 0 ? "failure" : buffer.substr(0, used);
    }
    std::string buffer, pattern = testing::TempDir() + "mxXXXXXX";
    const fs::path root = mkdtemp(pattern.data()), meet = root / "meet";
    mxIpcHandle handle{};
};

TEST_F(Platform, BadAnswerReachesTheNextExchangeOrLeaksADescriptor)
{
    const std::pair<Answer, std::string> rows[] = {
        {{}, "failure"},     {{-375, 1}, "failure"}, {{0, -20}, ""},     {{1500}, std::string(1500, '1')},
        {{1501}, "failure"}, {{1, 1}, "1"},          {{1, -20, 1}, "1"},
    };
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (const auto &[answer, result] : rows) {
        SCOPED_TRACE(testing::PrintToString(answer));
        Peer peer({answer, {1}, {1}});
        ASSERT_GE(mxIpcInit("peer", &handle), 0);
        EXPECT_EQ(fcntl(static_cast<int>(handle.word[0]) - 1, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(exchange(), result);
        EXPECT_LT(mxIpcReceive(&handle, buffer.data()), 0) << "without a send";
        EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
        EXPECT_EQ(exchange(), "3") << "the answer to the send before the last";
        EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
        mxIpcDestroy(&handle);
        EXPECT_EQ(handle.word[0] | handle.word[1], 0U);
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(Platform, RestartedPeerIsNotFoundOrBadArgumentIsTaken)
{
    EXPECT_EQ(exchange(), "failure") << "closed handle";
    std::optional<Peer> peer(std::in_place, std::vector<Answer>{});
    for (const char *pName : {"", "a/b", "../meet/peer", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(mxIpcInit(pName, &handle), -EINVAL);
    }
    ASSERT_GE(mxIpcInit("peer", &handle), 0);
    EXPECT_LT(mxIpcSend(&handle, buffer.data(), 1501), 0);
    EXPECT_LT(mxIpcSend(&handle, buffer.data(), -1), 0);
    EXPECT_LT(mxIpcSend(&handle, nullptr, 1), 0);
    peer.reset();
    peer.emplace(std::vector<Answer>{{1}});
    EXPECT_EQ(exchange(), "1") << "restarted between opening and sending";
    peer.reset();
    EXPECT_EQ(exchange(), "failure");
    peer.emplace(std::vector<Answer>{{1}});
    EXPECT_EQ(exchange(), "1") << "restarted between two exchanges";
}

TEST_F(Platform, SignalsExtendTheDeadlineOrAFailedSendKeepsItsConnection)
{
    Peer stopped({}, 0); // its backlog holds one connection, and it accepts none
    signal(SIGALRM, [](int) {});
    const itimerval often{{0, 7000}, {0, 7000}}, never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto expectBounded = [](const char *pWhat, auto call) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call(), -ETIMEDOUT) << pWhat;
        const auto span = std::chrono::steady_clock::now() - start;
        EXPECT_TRUE(span >= TIMEOUT && span < 4 * TIMEOUT) << pWhat << ": " << span / 1ms << " ms";
    };
    mxIpcHandle second{};
    EXPECT_GE(mxIpcInit("peer", &handle), 0);
    EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
    expectBounded("connect", [&] { return mxIpcInit("peer", &second); });
    expectBounded("receive", [&] { return mxIpcReceive(&handle, buffer.data()); });
    expectBounded("connect anew", [&] { return mxIpcSend(&handle, "?", 1); });
    setitimer(ITIMER_REAL, &never, nullptr);
    close(accept(stopped.listener, nullptr, nullptr));
    ASSERT_GE(mxIpcInit("peer", &handle), 0);
    const int connection = accept(stopped.listener, nullptr, nullptr);
    shutdown(connection, SHUT_RD);
    EXPECT_EQ(mxIpcSend(&handle, "?", 1), -EPIPE);
    EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
    close(connection);
}

TEST_F(Platform, UnsafeDirectoryIsUsedOrStopRequestIsMissed)
{
    char path[RENDEZVOUS_PATH_BYTES];
    const auto result = [&](const fs::path &directory) {
        setenv("MXIPC_DIR", directory.c_str(), 1);
        return rendezvousPath("peer", path, sizeof path);
    };
    EXPECT_EQ(result(root / "meet/"), 0);
    EXPECT_EQ(path, (root / "meet/peer").string());
    EXPECT_EQ(fs::status(meet).permissions(), fs::perms::owner_all);
    const auto value = [](int group, int item) {
        uint32_t scratch = 0, stop = 77;
        return std::pair(nvq_get(group, item, &scratch, &stop), stop);
    };
    EXPECT_EQ(value(3, 4), std::pair(0, 0U));
    std::ofstream(meet / "stop-scan") << "";
    EXPECT_EQ(value(3, 4), std::pair(0, 1U));
    EXPECT_EQ(value(3, 5), std::pair(-1, 77U));

    fs::create_directory_symlink("meet", root / "link");
    EXPECT_EQ(result(root / "link"), -ENOTDIR);
    EXPECT_EQ(result(root / "link//"), -ENOTDIR);
    EXPECT_EQ(path[0], '\0');
    for (mode_t mode : {0710U, 0701U, 0720U, 0704U}) {
        chmod(meet.c_str(), mode);
        EXPECT_EQ(result(meet), -EPERM) << std::oct << mode;
    }
    EXPECT_EQ(mxIpcInit("peer", &handle), -EPERM);
    if (geteuid() == 0) { // none but root can make a directory that is another user's
        EXPECT_EQ(chmod(meet.c_str(), 0700) + chown(meet.c_str(), 65534, 65534), 0);
        EXPECT_EQ(result(meet), -EPERM);
    }
    const std::string longest = meet.string() + std::string(sizeof path - meet.string().size() - 6, 'd');
    EXPECT_EQ(result(longest), 0);
    EXPECT_EQ(result(longest + "d"), -ENAMETOOLONG);
    EXPECT_FALSE(fs::exists(longest + "d"));
    setenv("XDG_RUNTIME_DIR", root.c_str(), 1);
    EXPECT_EQ(result(""), 0);
    EXPECT_EQ(path, (root / "mxipc/peer").string());
}

TEST(PlatformDeathTest, DebugWordTakesABadText)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a new process, so that the word is set anew
    const std::pair<const char *, uint32_t> rows[] = {{"0xC0000008", 0xC0000008},
                                                      {"010", 8},
                                                      {"", 0x10},
                                                      {"8x", 0x10},
                                                      {"-1", 0x10},
                                                      {" 8", 0x10},
                                                      {"0x100000000", 0x10},
                                                      {"99999999999999999999", 0x10}};
    for (const auto &[pText, level] : rows) {
        setenv("MXDEBUG_LEVEL", pText, 1);
        EXPECT_EXIT(_exit(g_debug_level == level ? 0 : 1), testing::ExitedWithCode(0), "") << pText;
    }
}

} // namespace
