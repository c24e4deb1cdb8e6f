// The stand-ins for the camera's closed libraries, with a peer that misbehaves and directories that are not safe.
#include "mxdebug.h"
#include "mxipc.h"
#include "nvq.h"
#include "rendezvous.h"
#include "support/card.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace fs = std::filesystem;

struct Platform : testing::Test {
    // Starts the peer, or starts it again.
    void serve(int backlog = 8)
    {
        setenv("MXIPC_DIR", meet.c_str(), 1);
        setenv("MXIPC_TIMEOUT_MS", "300", 1);
        sockaddr_un address{AF_UNIX, {}};
        EXPECT_EQ(rendezvousPath("peer", address.sun_path, sizeof address.sun_path), 0);
        unlink(address.sun_path);
        close(std::exchange(listener, socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)));
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener, backlog), 0);
        message[0] = '0';
    }
    // The message that comes back in an exchange, or "failure". The peer answers with messages of these sizes, of '1'
    // on its first connection, of '2' on its second, and hangs up where a size is -1; "late" comes when it is too late.
    std::string exchange(const std::vector<int> &sizes = {1})
    {
        std::string received(1600, '~');
        int connection = -1, length = mxIpcSend(&handle, "?", 1);
        for (int fd; (fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            close(std::exchange(connection, fd));
            message.assign(1501, static_cast<char>(message[0] + 1));
            for (int size : sizes) {
                (void)(size < 0 ? shutdown(fd, SHUT_WR) : send(fd, message.data(), size_t(size), MSG_NOSIGNAL));
            }
        }
        length = length < 0 ? length : mxIpcReceive(&handle, received.data());
        (void)send(connection, "late", 4, MSG_NOSIGNAL);
        close(connection);
        const auto limit = static_cast<size_t>(length < 0 ? 1500 : length);
        EXPECT_LE(received.find_last_not_of('~') + 1, limit) << "bytes behind the message are written to";
        return length < 0 ? "failure" : received.substr(0, limit);
    }
    const TemporaryCard folder;
    const fs::path meet = folder.path("meet"), root = meet.parent_path();
    std::string message = std::string(1501, '0');
    int listener = -1;
    mxIpcHandle handle{}, second{};
};

TEST_F(Platform, BadAnswerReachesTheNextExchangeOrLeaksADescriptor)
{
    const std::tuple<const char *, std::vector<int>, std::string> rows[] = {
        {"hangs up", {-1}, "failure"},   {"late", {}, "failure"}, {"empty", {0}, ""},
        {"too long", {1501}, "failure"}, {"twice", {1, 1}, "1"},  {"largest", {1500}, std::string(1500, '1')}};
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    for (const auto &[pFault, sizes, result] : rows) {
        SCOPED_TRACE(pFault);
        serve();
        const auto before = descriptors();
        ASSERT_GE(mxIpcInit("peer", &handle), 0);
        EXPECT_EQ(fcntl(static_cast<int>(handle.word[0]) - 1, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(exchange(sizes), result);
        EXPECT_LT(mxIpcReceive(&handle, message.data()), 0) << "without a send";
        EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
        EXPECT_EQ(exchange(), "3") << "the answer to the send before the last";
        EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
        mxIpcDestroy(&handle);
        EXPECT_EQ(handle.word[0] | handle.word[1], 0U);
        EXPECT_EQ(descriptors(), before);
    }
}

TEST_F(Platform, BadArgumentIsTakenOrRestartedPeerIsNotFound)
{
    EXPECT_EQ(exchange(), "failure") << "closed handle";
    serve();
    for (const char *pName : {"", "a/b", "../meet/peer", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(mxIpcInit(pName, &handle), -EINVAL);
    }
    ASSERT_GE(mxIpcInit("peer", &handle), 0);
    EXPECT_EQ(mxIpcSend(&handle, message.data(), 1501), -EINVAL);
    EXPECT_EQ(mxIpcSend(&handle, message.data(), -1), -EINVAL);
    EXPECT_EQ(mxIpcSend(&handle, nullptr, 1), -EINVAL);
    serve();
    EXPECT_EQ(exchange(), "1") << "restarted between opening and sending";
    close(std::exchange(listener, -1));
    EXPECT_EQ(exchange(), "failure");
    serve();
    EXPECT_EQ(exchange(), "1") << "restarted between two exchanges";
    ASSERT_GE(mxIpcInit("peer", &handle), 0);
    shutdown(accept(listener, nullptr, nullptr), SHUT_RD);
    EXPECT_EQ(mxIpcSend(&handle, "?", 1), -EPIPE);
    EXPECT_GE(mxIpcSend(&handle, "?", 1), 0) << "on a connection that failed";
}

TEST_F(Platform, SignalsExtendTheDeadlineOfReceiveOrConnect)
{
    serve(0); // the backlog holds one connection, and nobody accepts it
    signal(SIGALRM, [](int) {});
    ualarm(7000, 7000);
    const auto expectBounded = [](const char *pWhat, auto call) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call(), -ETIMEDOUT) << pWhat;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_TRUE(seconds >= 0.3 && seconds < 1.2) << pWhat << ": " << seconds;
    };
    EXPECT_TRUE(mxIpcInit("peer", &handle) >= 0 && mxIpcSend(&handle, "?", 1) >= 0);
    expectBounded("connect", [&] { return mxIpcInit("peer", &second); });
    expectBounded("receive", [&] { return mxIpcReceive(&handle, message.data()); });
    expectBounded("connect anew", [&] { return mxIpcSend(&handle, "?", 1); });
    ualarm(0, 0);
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
    uint32_t stop = 77;
    EXPECT_EQ((std::pair{nvq_get(3, 5, nullptr, &stop), stop}), std::pair(-1, 77U));
    EXPECT_EQ((std::pair{nvq_get(3, 4, nullptr, &stop), stop}), std::pair(0, 0U));
    close(creat((meet / "stop-scan").c_str(), 0600));
    EXPECT_EQ((std::pair{nvq_get(3, 4, nullptr, &stop), stop}), std::pair(0, 1U));

    fs::create_directory_symlink("meet", root / "link");
    EXPECT_EQ(result(root / "link//"), -ENOTDIR);
    EXPECT_EQ(path[0], '\0');
    for (mode_t mode : {0710U, 0701U, 0720U, 0704U}) {
        chmod(meet.c_str(), mode);
        EXPECT_EQ(result(meet), -EPERM) << std::oct << mode;
    }
    EXPECT_EQ(mxIpcInit("peer", &handle), -EPERM);
    EXPECT_EQ(chmod(meet.c_str(), 0700), 0);
    const bool given = chown(meet.c_str(), 65534, 65534) == 0; // none but root can give it to another user
    EXPECT_EQ(result(meet), given ? -EPERM : 0);
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
    const std::pair<const char *, uint32_t> rows[] = {
        {"0xC0000008", 0xC0000008}, {"010", 8}, {"", 16}, {"8x", 16}, {"-1", 16}, {" 8", 16}, {"0x100000000", 16}};
    for (const auto &[pText, level] : rows) {
        setenv("MXDEBUG_LEVEL", pText, 1);
        EXPECT_EXIT(_exit(g_debug_level == level ? 0 : 1), testing::ExitedWithCode(0), "") << pText;
    }
}
