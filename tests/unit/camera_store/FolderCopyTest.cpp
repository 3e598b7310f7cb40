#include "camera/store/FolderCopy.h"

#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <future>
#include <map>
#include <stdexcept>
#include <vector>

namespace {

namespace fs = std::filesystem;
using camera::store::FolderCopy;
using camera::store::SettingsStore;
using camera::store::StateLock;
using testing::ElementsAre;
using testing::HasSubstr;

// What of a file a look may not change: its size and its times, in nanoseconds.
using Traces = std::map<std::string, std::vector<std::int64_t>>;

Traces tracesOf(const std::vector<fs::path>& files)
{
    Traces traces;
    for (const fs::path& file : files) {
        struct stat found {};
        EXPECT_EQ(::stat(file.c_str(), &found), 0) << file;
        traces[file] = {found.st_size};
        for (const timespec& time : {found.st_atim, found.st_mtim, found.st_ctim}) {
            traces[file].push_back(time.tv_sec * 1000000000LL + time.tv_nsec);
        }
    }
    return traces;
}

class FolderCopyTest : public testing::Test {
protected:
    FolderCopyTest()
    {
        for (const fs::path& path : {folder.path(), folder / "services"}) {
            const StateLock lock(path);
            SettingsStore(path).write("k", "one");
        }
        folder.write("camera.json", "{}");
    }

    const kit::TemporaryFolder folder;
};

TEST_F(FolderCopyTest, hasTheSettingsOfTheCameraAndOfItsServices)
{
    const FolderCopy copy(folder.path());
    EXPECT_NE(copy.path(), folder.path());
    EXPECT_EQ(SettingsStore(copy.path()).read("k"), "one");
    EXPECT_EQ(SettingsStore(copy.path() / "services").read("k"), "one");
    EXPECT_TRUE(fs::exists(copy.path() / "camera.json"));
}

TEST_F(FolderCopyTest, leavesNoTraceInTheFolderAndGoesWithItsObject)
{
    const std::vector<fs::path> all = {folder.path(),          folder / "settings.db", folder / "lock",
                                       folder / "camera.json", folder / "services",    folder / "services/settings.db"};
    for (const fs::path& file : all) { // a time stamp of reading is renewed once a day only
        const timespec times[2] = {{1700000000, 0}, {1700000000, 0}};
        ::utimensat(AT_FDCWD, file.c_str(), times, 0);
    }
    const Traces before = tracesOf(all);
    fs::path copied;
    {
        const FolderCopy copy(folder.path());
        copied = copy.path();
        SettingsStore(copy.path()).write("k", "two");
    }
    EXPECT_EQ(before, tracesOf(all));
    EXPECT_FALSE(fs::exists(folder / "settings.db-wal"));
    EXPECT_FALSE(fs::exists(copied));
}

TEST_F(FolderCopyTest, takesAFolderThatAnotherProcessHolds)
{
    const StateLock lock(folder.path());
    SettingsStore store(folder.path());
    store.write("k", "two");
    EXPECT_EQ(SettingsStore(FolderCopy(folder.path()).path()).read("k"), "two");
}

TEST_F(FolderCopyTest, hasADocumentThatStandsInTheLogOnly)
{
    fs::copy(fs::path(STATE_FOLDERS) / "killed", folder / "killed", fs::copy_options::recursive);
    const FolderCopy copy(folder / "killed");
    SettingsStore store(copy.path());
    EXPECT_THAT(store.notices(), ElementsAre());
    EXPECT_THAT(store.read("OnvifAnalytics").value_or(""), HasSubstr("Gate three"));
    EXPECT_EQ(store.history("OnvifAnalytics").size(), 5U);
}

TEST_F(FolderCopyTest, refusesAFifoInsteadOfWaitingForIt)
{
    ASSERT_EQ(::mkfifo((folder / "last-frame-time").c_str(), 0600), 0);
    EXPECT_THROW(FolderCopy(folder.path()), std::runtime_error);
}

TEST_F(FolderCopyTest, ofAnEarlierVersionIsTakenOverWithItsHistoryAndOnceOnly)
{
    for (const char* name : {"closed", "killed"}) {
        fs::copy(fs::path(STATE_FOLDERS) / name, folder / name, fs::copy_options::recursive);
        for (int time = 0; time < 2; ++time) {
            SettingsStore store(folder / name);
            EXPECT_THAT(store.notices(), ElementsAre()) << name;
            EXPECT_EQ(store.history("OnvifAnalytics").size(), name == std::string("killed") ? 5U : 4U) << name;
            EXPECT_EQ(store.history("camera.positioning").size(), 2U) << name;
            EXPECT_FALSE(fs::exists(folder / name / "settings.last-good.db")) << name;
            EXPECT_TRUE(fs::exists(folder / name / "settings.last")) << name;
        }
    }
}

TEST_F(FolderCopyTest, ofAnEarlierVersionHasItsCopyUsedWhenTheFileIsDamagedOrMissing)
{
    for (const bool missing : {false, true}) {
        const fs::path state = folder / (missing ? "missing" : "damaged");
        fs::copy(fs::path(STATE_FOLDERS) / "killed", state, fs::copy_options::recursive);
        for (const char* part : {"-wal", "-shm", ""}) {
            fs::remove(state / (std::string("settings.db") + part));
        }
        if (!missing) {
            std::ofstream(state / "settings.db") << "rubbish";
        }
        SettingsStore store(state);
        EXPECT_EQ(store.notices().size(), 1U);
        EXPECT_TRUE(store.read("OnvifAnalytics").has_value());
    }
}

TEST_F(FolderCopyTest, isWaitedForByWhoTakesTheFolder)
{
    const int look = ::open((folder / "lock").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(look, LOCK_SH | LOCK_NB), 0);
    auto owner = std::async(std::launch::async, [&] { const StateLock lock(folder.path()); });
    ::close(look);
    EXPECT_NO_THROW(owner.get());
}

TEST_F(FolderCopyTest, refusesAFolderThatIsNotThereAndDoesNotMakeIt)
{
    EXPECT_THROW(FolderCopy(folder / "none"), std::runtime_error);
    EXPECT_THROW(FolderCopy(folder / "settings.db"), std::runtime_error);
    EXPECT_FALSE(fs::exists(folder / "none"));
}

} // namespace
