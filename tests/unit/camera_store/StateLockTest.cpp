#include "camera/store/StateLock.h"

#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

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
