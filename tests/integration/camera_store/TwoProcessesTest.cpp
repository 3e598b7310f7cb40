// The settings and the lock of a state folder while a second process has them, and what one that was killed leaves.
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"
#include "kit/FileSizeLimit.h"
#include "kit/ForkedProcess.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

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

} // namespace
