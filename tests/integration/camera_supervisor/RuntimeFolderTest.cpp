#include "camera/supervisor/RuntimeFolder.h"

#include "kit/EnvironmentVariable.h"
#include "kit/ForkedProcess.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <csignal>

namespace camera::supervisor {
namespace {

namespace fs = std::filesystem;
using namespace testing;

std::string refusal(const fs::path& state)
{
    return kit::refusalOf([&] { const RuntimeFolder folder(state); });
}

class RuntimeFolderTest : public testing::Test {
protected:
    RuntimeFolderTest() { fs::create_directory(common); }

    const kit::TemporaryFolder folder;
    const fs::path common = folder / "x";
    const fs::path state = folder / "state";
    const kit::EnvironmentVariable variable{"XDG_RUNTIME_DIR", common};
};

TEST_F(RuntimeFolderTest, liesBelowTheUsersRuntimeDirectoryForThisUserOnly)
{
    const RuntimeFolder runtime(state);
    EXPECT_EQ(runtime.path().parent_path(), common / "virtual-camera");
    EXPECT_EQ(runtime.path().filename().string().size(), 16U);
    EXPECT_EQ(fs::status(runtime.path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(common / "virtual-camera").permissions(), fs::perms::owner_all);
    EXPECT_EQ(runtime.address(), "unix:path=" + (runtime.path() / "bus").string());
    EXPECT_EQ(kit::linesOf(runtime.path() / "pid"), std::vector<std::string>{std::to_string(::getpid())});
}

TEST_F(RuntimeFolderTest, liesInTheStateFolderWhereThereIsNoUsableRuntimeDirectory)
{
    for (const std::string& unusable : {std::string(), std::string("relative"), (folder / "none").string()}) {
        const kit::EnvironmentVariable other("XDG_RUNTIME_DIR", unusable);
        const RuntimeFolder runtime(state);
        EXPECT_EQ(runtime.path(), state / "run");
        EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    }
}

TEST_F(RuntimeFolderTest, isTheSameForEveryNameOfAStateFolder)
{
    fs::create_directory(state);
    fs::create_directory_symlink(state, folder / "link");
    fs::path first;
    {
        const RuntimeFolder runtime(state);
        first = runtime.path();
    }
    for (const fs::path& name : {folder / "link", state / "", folder / "x" / ".." / "state"}) {
        EXPECT_EQ(RuntimeFolder(name).path(), first) << name;
    }
    EXPECT_NE(RuntimeFolder(folder / "other").path(), first);
}

TEST_F(RuntimeFolderTest, isFoundOnceItIsAnnouncedAndOnlyWhileItIsHeld)
{
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    {
        const RuntimeFolder runtime(state);
        EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
        runtime.announce();
        EXPECT_EQ(RuntimeFolder::find(state), runtime.address());
        const kit::EnvironmentVariable elsewhere("XDG_RUNTIME_DIR", folder.path().string());
        EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    }
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    EXPECT_TRUE(fs::is_empty(common / "virtual-camera"));
}

TEST_F(RuntimeFolderTest, oneInItsStateFolderIsFoundWhateverTheAskersEnvironment)
{
    const kit::EnvironmentVariable none("XDG_RUNTIME_DIR", "");
    const RuntimeFolder runtime(state);
    runtime.announce();
    const kit::EnvironmentVariable some("XDG_RUNTIME_DIR", common);
    EXPECT_EQ(RuntimeFolder::find(state), runtime.address());
}

TEST_F(RuntimeFolderTest, listsEveryRunningCamera)
{
    EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    const RuntimeFolder b(folder / "b");
    const RuntimeFolder a(folder / "a");
    const RuntimeFolder silent(folder / "c");
    a.announce();
    b.announce();
    const std::vector<RunningCamera> running = RuntimeFolder::running();
    ASSERT_THAT(running, SizeIs(2));
    EXPECT_EQ(running[0].stateDir, folder / "a");
    EXPECT_EQ(running[0].address, a.address());
    EXPECT_EQ(running[1].stateDir, folder / "b");
}

TEST_F(RuntimeFolderTest, aSecondOneLearnsWhoHoldsTheStateFolder)
{
    const RuntimeFolder first(state);
    EXPECT_EQ(refusal(state), "the state folder " + state.string() + " is in use by process " +
                                  std::to_string(::getpid()) + "; end it or name another folder");
    EXPECT_TRUE(fs::exists(first.path() / "pid"));
}

TEST_F(RuntimeFolderTest, aLookAtItNeverMakesAStartFail)
{
    const RuntimeFolder runtime(state);
    runtime.announce();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(RuntimeFolder::find(state));
    }
}

TEST_F(RuntimeFolderTest, whatAKilledOneLeftIsNotFoundAndTakenAway)
{
    kit::ForkedProcess killed([this] {
        const RuntimeFolder runtime(state);
        std::ofstream(runtime.socket()) << "stale";
        runtime.announce();
        ::raise(SIGKILL);
    });
    EXPECT_EQ(killed.wait(), -SIGKILL);
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    const RuntimeFolder next(state);
    EXPECT_FALSE(fs::exists(next.socket()));
    EXPECT_FALSE(fs::exists(next.path() / "address"));
}

TEST_F(RuntimeFolderTest, refusesAPathThatNoSocketCanHaveSayingWhatToSet)
{
    const fs::path deep = folder / std::string(90, 'd');
    fs::create_directory(deep);
    const kit::EnvironmentVariable other("XDG_RUNTIME_DIR", deep);
    const std::string sentence = refusal(state);
    EXPECT_THAT(sentence, StartsWith("the path '" + deep.string() + "/virtual-camera/"));
    EXPECT_THAT(sentence, HasSubstr("is too long for a socket ("));
    EXPECT_THAT(sentence, HasSubstr("bytes of at most 107); set XDG_RUNTIME_DIR to a folder with a shorter path"));
}

TEST_F(RuntimeFolderTest, refusesAStateFolderThatIsNone)
{
    folder.write("file", "text");
    EXPECT_THAT(refusal(folder / "file"), StartsWith("the state folder " + (folder / "file").string()));
    EXPECT_THAT(refusal(folder / "file" / "below"), HasSubstr("cannot be used: "));
    EXPECT_EQ(refusal(""), "no state folder is named");
}

TEST_F(RuntimeFolderTest, refusesAFolderOfSomebodyElsesMaking)
{
    fs::create_directory(folder / "target");
    fs::create_directory_symlink(folder / "target", common / "virtual-camera");
    EXPECT_THAT(refusal(state), HasSubstr("it is no folder of this user"));
}

TEST_F(RuntimeFolderTest, writesAddressesAsTheBusReadsThem)
{
    const kit::EnvironmentVariable none("XDG_RUNTIME_DIR", "");
    const RuntimeFolder runtime(folder / "a b,c;\xC3\xBC%");
    EXPECT_EQ(runtime.address(), "unix:path=" + folder.path().string() + "/a%20b%2cc%3b%c3%bc%25/run/bus");
}

} // namespace
} // namespace camera::supervisor
