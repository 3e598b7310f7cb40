#include "camera/store/StateLock.h"

#include "unit/camera_store/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using camera::store::StateLock;
using testing::AllOf;
using testing::HasSubstr;

std::string refusalOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "not refused";
}

TEST(StateLockTest, createsTheFolderWithItsParents)
{
    const TemporaryFolder folder;
    const StateLock lock(folder / "a/b/c");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
}

TEST(StateLockTest, tellsASecondProcessWhoHoldsTheFolder)
{
    const TemporaryFolder folder;
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t owner = fork();
    if (owner == 0) {
        const StateLock lock(folder.path());
        (void)!write(ready[1], "x", 1);
        pause();
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(refusalOf([&] { const StateLock second(folder.path()); }),
              "the state folder " + folder.path().string() + " is in use by process " + std::to_string(owner) +
                  "; end it or name another folder");
    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    EXPECT_EQ(refusalOf([&] { const StateLock next(folder.path()); }), "not refused") << "a killed owner holds nothing";
}

TEST(StateLockTest, refusesASecondOwnerInTheSameProcess)
{
    const TemporaryFolder folder;
    {
        const StateLock lock(folder.path());
        EXPECT_THAT(refusalOf([&] { const StateLock second(folder.path()); }),
                    HasSubstr("is in use by process " + std::to_string(getpid())));
    }
    EXPECT_EQ(refusalOf([&] { const StateLock again(folder.path()); }), "not refused");
}

TEST(StateLockTest, saysInOneSentenceWhyAFolderCannotBeUsed)
{
    const TemporaryFolder folder;
    std::ofstream(folder / "occupied") << "a file";
    EXPECT_THAT(refusalOf([&] { const StateLock lock(folder / "occupied/state"); }),
                AllOf(HasSubstr("the state folder " + (folder / "occupied/state").string() + " cannot be used: "),
                      HasSubstr("; make it writable or name another one")));
    EXPECT_THAT(refusalOf([] { const StateLock lock("/proc/self/state"); }), HasSubstr("cannot be used: "));
    std::filesystem::create_directories(folder / "blocked/lock");
    EXPECT_THAT(refusalOf([&] { const StateLock lock(folder / "blocked"); }), HasSubstr("cannot be used: "));
    EXPECT_THAT(refusalOf([] { const StateLock lock(""); }), HasSubstr("no state folder is named"));
}

} // namespace
