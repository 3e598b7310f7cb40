#include "camera/supervisor/RuntimeFolder.h"

#include "unit/camera_supervisor/Folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>

namespace camera::supervisor {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

std::string refusal(const fs::path& state)
{
    try {
        const RuntimeFolder folder(state);
        return "taken";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

class RuntimeFolderTest : public testing::Test {
protected:
    RuntimeFolderTest() { fs::create_directory(common); }

    const Folder folder;
    const fs::path common = folder.path / "x";
    const fs::path state = folder.path / "state";
    const Variable variable{"XDG_RUNTIME_DIR", common};
};

TEST_F(RuntimeFolderTest, liesBelowTheUsersRuntimeDirectoryForThisUserOnly)
{
    const RuntimeFolder runtime(state);
    EXPECT_EQ(runtime.path().parent_path(), common / "virtual-camera");
    EXPECT_EQ(runtime.path().filename().string().size(), 16U);
    EXPECT_EQ(fs::status(runtime.path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(common / "virtual-camera").permissions(), fs::perms::owner_all);
    EXPECT_EQ(runtime.address(), "unix:path=" + (runtime.path() / "bus").string());
    EXPECT_EQ(linesOf(runtime.path() / "pid"), std::vector<std::string>{std::to_string(::getpid())});
}

TEST_F(RuntimeFolderTest, liesInTheStateFolderWhereThereIsNoUsableRuntimeDirectory)
{
    for (const std::string& unusable : {std::string(), std::string("relative"), (folder.path / "none").string()}) {
        const Variable other("XDG_RUNTIME_DIR", unusable);
        const RuntimeFolder runtime(state);
        EXPECT_EQ(runtime.path(), state / "run");
        EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    }
}

TEST_F(RuntimeFolderTest, isTheSameForEveryNameOfAStateFolder)
{
    fs::create_directory(state);
    fs::create_directory_symlink(state, folder.path / "link");
    fs::path first;
    {
        const RuntimeFolder runtime(state);
        first = runtime.path();
    }
    for (const fs::path& name : {folder.path / "link", state / "", folder.path / "x" / ".." / "state"}) {
        EXPECT_EQ(RuntimeFolder(name).path(), first) << name;
    }
    EXPECT_NE(RuntimeFolder(folder.path / "other").path(), first);
}

TEST_F(RuntimeFolderTest, isFoundOnceItIsAnnouncedAndOnlyWhileItIsHeld)
{
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    {
        const RuntimeFolder runtime(state);
        EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
        runtime.announce();
        EXPECT_EQ(RuntimeFolder::find(state), runtime.address());
        const Variable elsewhere("XDG_RUNTIME_DIR", folder.path.string());
        EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    }
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    EXPECT_TRUE(fs::is_empty(common / "virtual-camera"));
}

TEST_F(RuntimeFolderTest, oneInItsStateFolderIsFoundWhateverTheAskersEnvironment)
{
    const Variable none("XDG_RUNTIME_DIR", "");
    const RuntimeFolder runtime(state);
    runtime.announce();
    const Variable some("XDG_RUNTIME_DIR", common);
    EXPECT_EQ(RuntimeFolder::find(state), runtime.address());
}

TEST_F(RuntimeFolderTest, listsEveryRunningCamera)
{
    EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    const RuntimeFolder b(folder.path / "b");
    const RuntimeFolder a(folder.path / "a");
    const RuntimeFolder silent(folder.path / "c");
    a.announce();
    b.announce();
    const std::vector<RunningCamera> running = RuntimeFolder::running();
    ASSERT_THAT(running, SizeIs(2));
    EXPECT_EQ(running[0].stateDir, folder.path / "a");
    EXPECT_EQ(running[0].address, a.address());
    EXPECT_EQ(running[1].stateDir, folder.path / "b");
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
    const pid_t killed = ::fork();
    if (killed == 0) {
        const RuntimeFolder runtime(state);
        std::ofstream(runtime.socket()) << "stale";
        runtime.announce();
        ::raise(SIGKILL);
    }
    ::waitpid(killed, nullptr, 0);
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    EXPECT_THAT(RuntimeFolder::running(), IsEmpty());
    const RuntimeFolder next(state);
    EXPECT_FALSE(fs::exists(next.socket()));
    EXPECT_FALSE(fs::exists(next.path() / "address"));
}

TEST_F(RuntimeFolderTest, refusesAPathThatNoSocketCanHaveSayingWhatToSet)
{
    const fs::path deep = folder.path / std::string(90, 'd');
    fs::create_directory(deep);
    const Variable other("XDG_RUNTIME_DIR", deep);
    const std::string sentence = refusal(state);
    EXPECT_THAT(sentence, StartsWith("the path '" + deep.string() + "/virtual-camera/"));
    EXPECT_THAT(sentence, HasSubstr("is too long for a socket ("));
    EXPECT_THAT(sentence, HasSubstr("bytes of at most 107); set XDG_RUNTIME_DIR to a folder with a shorter path"));
}

TEST_F(RuntimeFolderTest, refusesAStateFolderThatIsNone)
{
    std::ofstream(folder.path / "file") << "text";
    EXPECT_THAT(refusal(folder.path / "file"), StartsWith("the state folder " + (folder.path / "file").string()));
    EXPECT_THAT(refusal(folder.path / "file" / "below"), HasSubstr("cannot be used: "));
    EXPECT_EQ(refusal(""), "no state folder is named");
}

TEST_F(RuntimeFolderTest, refusesAFolderOfSomebodyElsesMaking)
{
    fs::create_directory(folder.path / "target");
    fs::create_directory_symlink(folder.path / "target", common / "virtual-camera");
    EXPECT_THAT(refusal(state), HasSubstr("it is no folder of this user"));
}

TEST_F(RuntimeFolderTest, writesAddressesAsTheBusReadsThem)
{
    const Variable none("XDG_RUNTIME_DIR", "");
    const RuntimeFolder runtime(folder.path / "a b,c;\xC3\xBC%");
    EXPECT_EQ(runtime.address(), "unix:path=" + folder.path.string() + "/a%20b%2cc%3b%c3%bc%25/run/bus");
}

} // namespace
} // namespace camera::supervisor
