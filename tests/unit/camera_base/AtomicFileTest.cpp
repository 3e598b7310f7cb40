#include "camera/base/AtomicFile.h"

#include "camera/base/FileDescriptor.h"
#include "kit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using camera::base::replaceFile;
using camera::base::replaceFileDurably;
using camera::base::uninterrupted;
using kit::contentOf;
using kit::TemporaryFolder;

TEST(AtomicFile, replacesTheContent)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(replaceFile(folder / "file", "old"));
    EXPECT_TRUE(replaceFile(folder / "file", std::string("n\0w\n", 4)));
    EXPECT_EQ(contentOf(folder / "file"), std::string("n\0w\n", 4));
    EXPECT_TRUE(replaceFileDurably(folder / "file", "newer"));
    EXPECT_EQ(contentOf(folder / "file"), "newer");
    EXPECT_FALSE(std::filesystem::exists(folder / "file.new"));
}

TEST(FileDescriptor, makesACallAgainThatASignalEnded)
{
    int calls = 0;
    const auto interruptedTwice = [&calls] {
        errno = EINTR;
        return ++calls < 3 ? -1 : 5;
    };
    EXPECT_EQ(uninterrupted(interruptedTwice), 5);
    const auto failed = [] {
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(uninterrupted(failed), -1);
}

TEST(AtomicFile, leavesNothingBehindThatItCouldNotWrite)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(replaceFile(folder / "absent/file", "x"));
    std::filesystem::create_directories(folder / "file/full");
    EXPECT_FALSE(replaceFile(folder / "file", "x")) << "a folder is no file";
    EXPECT_FALSE(replaceFileDurably(folder / "file", "x"));
    EXPECT_FALSE(std::filesystem::exists(folder / "file.new"));
}

} // namespace
