// The settings and the lock of a state folder while a second process has them, and what one that was killed leaves.
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"
#include "kit/FileSizeLimit.h"
#include "kit/ForkedProcess.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace {

using camera::store::DatabaseError;
using camera::store::SettingsStore;
using camera::store::StateLock;
using kit::refusalOf;
using testing::Optional;

class TwoProcessesTest : public testing::Test {
protected:
    const kit::LogLines log;
    const kit::TemporaryFolder folder;
};

TEST_F(TwoProcessesTest, theSecondOneIsToldWhoHoldsTheFolder)
{
    std::unique_ptr<StateLock> lock;
    kit::ForkedProcess owner([&] { lock = std::make_unique<StateLock>(folder.path()); });
    const auto take = [this] { const StateLock second(folder.path()); };
    EXPECT_EQ(refusalOf(take), "the state folder " + folder.path().string() + " is in use by process " +
                                   std::to_string(owner.id()) + "; end it or name another folder");
    owner.crash();
    EXPECT_EQ(refusalOf(take), "not refused") << "a killed owner holds nothing";
}

TEST_F(TwoProcessesTest, anAcknowledgedWriteOutlivesItsProcess)
{
    std::unique_ptr<SettingsStore> own;
    kit::ForkedProcess writer([&] {
        own = std::make_unique<SettingsStore>(folder.path());
        own->write("OnvifAnalytics", "written by the child");
    });
    writer.crash();
    EXPECT_THAT(SettingsStore(folder.path()).read("OnvifAnalytics"), Optional(std::string("written by the child")));
}

TEST_F(TwoProcessesTest, aFileSystemThatTakesNoMoreBytesIsReported)
{
    SettingsStore(folder.path()).write("A", "before");
    kit::ForkedProcess writer([&] {
        SettingsStore own(folder.path());
        const kit::FileSizeLimit limit(4096);
        try {
            own.write("A", std::string(100000, 'y'));
        } catch (const DatabaseError& error) {
            const bool readable = std::string(error.what()).find("could not be stored in") != std::string::npos;
            ::_exit(readable && error.kind() != DatabaseError::Kind::rejected ? 0 : 2);
        }
        ::_exit(1);
    });
    EXPECT_EQ(writer.wait(), 0);
    EXPECT_THAT(SettingsStore(folder.path()).read("A"), Optional(std::string("before")));
}

TEST_F(TwoProcessesTest, aProcessThatAnOwnerForkedDoesNotKeepTheFolder)
{
    std::unique_ptr<kit::ForkedProcess> ofAnEngine;
    {
        const StateLock lock(folder.path());
        ofAnEngine = std::make_unique<kit::ForkedProcess>([] {});
        EXPECT_NE(refusalOf([this] { const StateLock second(folder.path()); }), "not refused");
    }
    EXPECT_EQ(refusalOf([this] { const StateLock next(folder.path()); }), "not refused");
}

/// A second user, which the user root can be for a while.
class TwoUsersTest : public TwoProcessesTest {
protected:
    void SetUp() override
    {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only the user root can act as another user";
        }
    }

    static constexpr uid_t kOther = 65534;
};

TEST_F(TwoUsersTest, aFolderThatAnotherOnePreparedIsRefusedAndNothingInItIsTouched)
{
    folder.write("precious", "mine");
    const auto prepared = folder / "state";
    std::filesystem::create_directory(prepared);
    std::filesystem::create_symlink(folder / "precious", prepared / "settings.db");
    ASSERT_EQ(::chown(prepared.c_str(), kOther, kOther), 0);
    EXPECT_THAT(refusalOf([&] { const StateLock lock(prepared); }),
                testing::HasSubstr("'" + prepared.string() + "' belongs to another user"));
    EXPECT_FALSE(std::filesystem::exists(prepared / "lock"));
    const auto link = folder / "link";
    std::filesystem::create_directory_symlink(folder.path(), link);
    ASSERT_EQ(::lchown(link.c_str(), kOther, kOther), 0);
    EXPECT_THAT(refusalOf([&] { const StateLock lock(link); }), testing::HasSubstr("belongs to another user"));
    EXPECT_EQ(kit::contentOf(folder / "precious"), "mine");
}

TEST_F(TwoUsersTest, anotherOneCanNeitherReadNorHoldTheFolder)
{
    const auto state = folder / "state";
    {
        const StateLock lock(state);
        SettingsStore(state).write("A", "secret");
    }
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    kit::ForkedProcess other([&] {
        if (::setgid(kOther) != 0 || ::setuid(kOther) != 0) {
            ::_exit(2);
        }
        const bool reads = ::open((state / "settings.db").c_str(), O_RDONLY | O_CLOEXEC) >= 0;
        const bool holds = ::open((state / "lock").c_str(), O_RDONLY | O_CLOEXEC) >= 0;
        ::_exit(reads || holds ? 1 : 0);
    });
    EXPECT_EQ(other.wait(), 0);
}

} // namespace
