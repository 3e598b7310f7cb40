#include "camera/store/StateLock.h"

#include "camera/store/FolderCopy.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> interruptions{0}; ///< calls of flock() that a signal ends
std::atomic<int> shared{0};        ///< calls of flock() for a shared lock

} // namespace

// The C library's, as this program has it.
extern "C" __attribute__((visibility("default"))) int flock(int descriptor, int operation) noexcept
{
    if (interruptions > 0) {
        --interruptions;
        errno = EINTR;
        return -1;
    }
    shared += (operation & LOCK_SH) != 0 ? 1 : 0;
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

namespace {

using camera::store::StateLock;
using kit::refusalOf;
using kit::TemporaryFolder;
using testing::AllOf;
using testing::HasSubstr;

TEST(StateLockTest, createsTheFolderWithItsParents)
{
    const TemporaryFolder folder;
    const StateLock lock(folder / "a/b/c");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
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

TEST(StateLockTest, keepsTheFoldersWhileTheyAreCopied)
{
    const TemporaryFolder folder;
    for (const std::filesystem::path& path : {folder.path(), folder / "services"}) {
        const StateLock lock(path);
    }
    shared = 0;
    const camera::store::FolderCopy copy(folder.path());
    EXPECT_EQ(shared, 2);
}

TEST(StateLockTest, takesASignalForNoOtherOwner)
{
    const TemporaryFolder folder;
    interruptions = 3;
    EXPECT_EQ(refusalOf([&] { const StateLock lock(folder.path()); }), "not refused");
    EXPECT_EQ(interruptions, 0);
}

TEST(StateLockTest, saysInOneSentenceWhyAFolderCannotBeUsed)
{
    const TemporaryFolder folder;
    folder.write("occupied", "a file");
    EXPECT_THAT(refusalOf([&] { const StateLock lock(folder / "occupied/state"); }),
                AllOf(HasSubstr("the state folder " + (folder / "occupied/state").string() + " cannot be used: "),
                      HasSubstr("; make it writable or name another one")));
    EXPECT_THAT(refusalOf([] { const StateLock lock("/proc/self/state"); }), HasSubstr("cannot be used: "));
    std::filesystem::create_directories(folder / "blocked/lock");
    EXPECT_THAT(refusalOf([&] { const StateLock lock(folder / "blocked"); }), HasSubstr("cannot be used: "));
    EXPECT_THAT(refusalOf([] { const StateLock lock(""); }), HasSubstr("no state folder is named"));
}

} // namespace
