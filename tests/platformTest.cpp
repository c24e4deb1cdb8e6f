// The stand-ins for the camera's closed libraries: where they meet the database, and how long they wait for it.
#include "mxipc.h"
#include "nvq.h"
#include "rendezvous.h"
#include "support/card.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace fs = std::filesystem;

TEST(Platform, UnsafeDirectoryIsUsedOrStopRequestIsMissed)
{
    const TemporaryCard folder;
    const auto result = [&folder](const std::string &directory, const char *pName = "peer") {
        setenv("MXIPC_DIR", folder.path(directory).c_str(), 1);
        char path[RENDEZVOUS_PATH_BYTES];
        const int code = rendezvousPath(pName, path, sizeof path);
        return std::to_string(code) + " " + path;
    };
    EXPECT_EQ(result("meet", "../peer"), std::to_string(-EINVAL) + " ");
    EXPECT_EQ(result("meet/"), "0 " + folder.path("meet/peer").string());
    EXPECT_EQ(fs::status(folder.path("meet")).permissions(), fs::perms::owner_all);
    uint32_t stop = 77;
    EXPECT_EQ((std::pair{nvq_get(3, 4, nullptr, &stop), stop}), std::pair(0, 0U));
    folder.write("meet/stop-scan", "");
    EXPECT_EQ((std::pair{nvq_get(3, 4, nullptr, &stop), stop}), std::pair(0, 1U));
    fs::create_directory_symlink("meet", folder.path("link"));
    EXPECT_EQ(result("link//"), std::to_string(-ENOTDIR) + " ");
    for (mode_t mode : {0710U, 0701U, 0720U, 0704U}) {
        chmod(folder.path("meet").c_str(), mode);
        EXPECT_EQ(result("meet"), std::to_string(-EPERM) + " ") << std::oct << mode;
    }
}

TEST(Platform, AnswerOfAnotherLengthIsTakenOrDescriptorLeaks)
{
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    const TemporaryCard folder;
    setenv("MXIPC_DIR", folder.path("meet").c_str(), 1);
    setenv("MXIPC_TIMEOUT_MS", "300", 1);
    sockaddr_un address{AF_UNIX, {}};
    ASSERT_EQ(rendezvousPath("peer", address.sun_path, sizeof address.sun_path), 0);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 0), 0); // the backlog holds one connection
    mxIpcHandle handle, second;
    char message[1501] = {};
    EXPECT_EQ(mxIpcInit("peer", &handle), 0);
    EXPECT_EQ(mxIpcInit("peer", &second), -ETIMEDOUT);
    close(accept(listener, nullptr, nullptr));
    for (const auto &[length, result] : {std::pair(1501, -EMSGSIZE), {1500, 1500}, {0, 0}, {-1, -ECONNRESET}}) {
        EXPECT_EQ(mxIpcSend(&handle, "?", 1), 0);
        const int peer = accept(listener, nullptr, nullptr);
        length < 0 ? shutdown(peer, SHUT_WR) : send(peer, message, static_cast<size_t>(length), 0);
        EXPECT_EQ(mxIpcReceive(&handle, message), result);
        close(peer);
    }
    EXPECT_EQ(mxIpcSend(&handle, "?", 1), 0);
    EXPECT_EQ(mxIpcReceive(&handle, message), -ETIMEDOUT);
    mxIpcDestroy(&handle);
    close(listener);
    EXPECT_EQ(descriptors(), before);
}
