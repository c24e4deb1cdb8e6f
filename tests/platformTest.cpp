// The stand-ins for the camera's closed libraries: where they meet the database, and how long they wait for it.
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
#include <sys/syscall.h>
#include <sys/un.h>

namespace fs = std::filesystem;

// Puts any clock but the monotonic one an hour ahead at each look, so that a deadline on it is past at once.
extern "C" int clock_gettime(clockid_t clock, timespec *pTime) noexcept
{
    static time_t ahead = 0;
    const long result = syscall(SYS_clock_gettime, clock, pTime);
    pTime->tv_sec += clock == CLOCK_MONOTONIC ? 0 : ahead += 3600;
    return static_cast<int>(result);
}

TEST(Platform, UnsafeDirectoryIsUsedOrStopRequestIsMissed)
{
    const TemporaryCard folder;
    const fs::path meet = folder.path("meet"), root = meet.parent_path();
    char path[RENDEZVOUS_PATH_BYTES];
    const auto result = [&](const fs::path &directory, const char *pName = "peer") {
        setenv("MXIPC_DIR", directory.c_str(), 1);
        return rendezvousPath(pName, path, sizeof path);
    };
    EXPECT_EQ(result(meet, "../peer"), -EINVAL);
    EXPECT_EQ(result(root / "meet/"), 0);
    EXPECT_EQ(path, (meet / "peer").string());
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
    mxIpcHandle handle;
    EXPECT_EQ(mxIpcInit("peer", &handle), -EPERM);
    EXPECT_EQ(chmod(meet.c_str(), 0700), 0);
    const bool given = chown(meet.c_str(), 65534, 65534) == 0; // none but root can give it to another user
    EXPECT_EQ(result(meet), given ? -EPERM : 0);
    setenv("XDG_RUNTIME_DIR", root.c_str(), 1);
    EXPECT_EQ(result(""), 0);
    EXPECT_EQ(path, (root / "mxipc/peer").string());
}

TEST(Platform, DeadlineMovesOrAnswerOfAnotherLengthIsTakenOrDescriptorLeaks)
{
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    const TemporaryCard folder;
    setenv("MXIPC_DIR", folder.path("meet").c_str(), 1);
    setenv("MXIPC_TIMEOUT_MS", "600", 1);
    sockaddr_un address{AF_UNIX, {}};
    ASSERT_EQ(rendezvousPath("peer", address.sun_path, sizeof address.sun_path), 0);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 0), 0); // the backlog holds one connection, and nobody accepts it
    signal(SIGALRM, [](int) {});
    ualarm(7000, 7000);
    const auto expectBounded = [](const char *pWhat, auto call) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call(), -ETIMEDOUT) << pWhat;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_TRUE(seconds >= 0.6 && seconds < 1.15) << pWhat << ": " << seconds;
    };
    mxIpcHandle handle, second;
    char message[1501] = {};
    EXPECT_TRUE(mxIpcInit("peer", &handle) >= 0 && mxIpcSend(&handle, "?", 1) >= 0);
    expectBounded("connect", [&] { return mxIpcInit("peer", &second); });
    expectBounded("receive", [&] { return mxIpcReceive(&handle, message); });
    expectBounded("connect again", [&] { return mxIpcSend(&handle, "?", 1); });
    ualarm(0, 0);
    close(accept(listener, nullptr, nullptr));
    for (const auto &[length, result] : {std::pair(1501, -EMSGSIZE), {1500, 1500}, {0, 0}, {-1, -ECONNRESET}}) {
        EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
        const int peer = accept(listener, nullptr, nullptr);
        length < 0 ? shutdown(peer, SHUT_WR) : send(peer, message, static_cast<size_t>(length), 0);
        EXPECT_EQ(mxIpcReceive(&handle, message), result);
        close(peer);
    }
    EXPECT_GE(mxIpcSend(&handle, "?", 1), 0);
    mxIpcDestroy(&handle);
    close(listener);
    EXPECT_EQ(descriptors(), before);
}
