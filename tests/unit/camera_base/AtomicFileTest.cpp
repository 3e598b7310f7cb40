#include "camera/base/AtomicFile.h"

#include "camera/base/FileDescriptor.h"
#include "kit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>

namespace {

using camera::base::readFile;
using camera::base::renameDurably;
using camera::base::replaceFile;
using camera::base::replaceFileDurably;
using camera::base::syncToDisk;
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

TEST(AtomicFile, isReadWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const std::string text(10000, 'x');
    EXPECT_EQ(readFile(folder.write("file", text)), text);
    EXPECT_EQ(readFile(folder.write("empty", "")), "");
    EXPECT_EQ(readFile(folder / "none"), std::nullopt);
    EXPECT_EQ(readFile(folder.path()), std::nullopt);
    EXPECT_EQ(readFile(-1), std::nullopt);
}

TEST(AtomicFile, isReplacedAlsoWhereItsFolderCannotBeSynced)
{
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_TRUE(replaceFileDurably("file", "x")) << "no folder is named";
    std::filesystem::current_path(before);
    EXPECT_EQ(contentOf(folder / "file"), "x");
}

TEST(AtomicFile, isRenamedOrTheCallerIsTold)
{
    const TemporaryFolder folder;
    renameDurably(folder.write("file", "x"), folder / "other");
    EXPECT_EQ(contentOf(folder / "other"), "x");
    EXPECT_FALSE(std::filesystem::exists(folder / "file"));
    EXPECT_THROW(renameDurably(folder / "file", folder / "third"), std::filesystem::filesystem_error);
    EXPECT_THROW(syncToDisk(folder / "file"), std::filesystem::filesystem_error);
    EXPECT_NO_THROW(syncToDisk(folder.path()));
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
