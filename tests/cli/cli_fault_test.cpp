// brindale-cli when the mirror cannot be written: exit 9, the old mirror as it was, the working
// database kept for the next start (which brindale-cli leaves to the program: exit 8).
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>

#include "cli_fixture.h"

namespace fs = std::filesystem;

namespace brindale::testing {
namespace {

bool mountsAllowed = false;
std::string mountProblem;

using CliNotSaved = CliChain;

TEST_F(CliNotSaved, AMirrorThatCannotBeReplacedExitsNineAndKeepsTheOldOne) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    writeSet("prices.set");
    writeText(path("prices.txt"), "900001\t1.25\tApples\r\n");
    const auto before = folderBytes(path("AccessData"));
    // The mirror folder as a mount point of its own: it cannot be moved aside or replaced.
    const std::string live = path("AccessData");
    ASSERT_EQ(::mount(live.c_str(), live.c_str(), nullptr, MS_BIND, nullptr), 0) << std::strerror(errno);
    std::ostringstream out, err;
    const int code = cli::run({"--app-folder", dir(), "import-plu", path("prices.txt"), "--set", path("prices.set"),
                               "--store", "1"},
                              out, err, env);
    ::umount(live.c_str());
    EXPECT_EQ(code, cli::kNotSaved) << out.str() << err.str();
    EXPECT_NE(err.str().find("the old mirror is kept"), std::string::npos) << err.str();
    EXPECT_EQ(folderBytes(path("AccessData")), before);
    EXPECT_TRUE(fs::exists(path("Database/Brindale1.mdb")));
    EXPECT_FALSE(fs::exists(path("AccessData.new")));

    // The next run does not decide on the left database: the program offers to recover it.
    std::ostringstream out2, err2;
    EXPECT_EQ(cli::run({"--app-folder", dir(), "summary"}, out2, err2, env), cli::kDamaged);
    EXPECT_NE(err2.str().find("start the program to recover it"), std::string::npos) << err2.str();
    EXPECT_TRUE(fs::exists(path("Database/Brindale1.mdb")));
    EXPECT_EQ(folderBytes(path("AccessData")), before);
}

}  // namespace
}  // namespace brindale::testing

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // A mount namespace of this process's own: what the test mounts goes with the process.
    if (::unshare(CLONE_NEWNS) != 0)
        brindale::testing::mountProblem = std::string("needs root (CAP_SYS_ADMIN): unshare failed: ") + std::strerror(errno);
    else if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        brindale::testing::mountProblem = std::string("cannot make the mounts private: ") + std::strerror(errno);
    else
        brindale::testing::mountsAllowed = true;
    return RUN_ALL_TESTS();
}
