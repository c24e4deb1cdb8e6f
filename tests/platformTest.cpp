// The stand-ins for the camera's closed libraries: where they meet the database, and what reaches them from outside.
#include "mxdebug.h"
#include "mxipc.h"
#include "nvq.h"
#include "rendezvous.h"
#include "support/card.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(Platform, UnsafeDirectoryIsUsedOrStopRequestIsMissed)
{
    const TemporaryCard folder;
    const fs::path root = folder.path(), meet = root / "meet";
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
