#include "camera/supervisor/RuntimeFolder.h"

#include "kit/EnvironmentVariable.h"
#include "kit/ForkedProcess.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/stat.h>

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
    RuntimeFolderTest()
    {
        fs::create_directory(common);
        fs::create_directory(folder / "tmp");
    }

    const kit::TemporaryFolder folder;
    const fs::path common = folder / "x";
    const fs::path state = folder / "state";
    const std::string user = std::to_string(::geteuid());
    const RuntimeRoots roots{folder / "users", folder / "tmp", folder / "services"};
    const kit::EnvironmentVariable variable{"XDG_RUNTIME_DIR", common};
};

TEST_F(RuntimeFolderTest, liesBelowTheUsersRuntimeDirectoryForThisUserOnly)
{
    const fs::path path = RuntimeFolder(state).path();
    fs::create_directory(path);
    fs::permissions(path, fs::perms::all);
    const RuntimeFolder runtime(state);
    EXPECT_EQ(runtime.path(), path);
    EXPECT_EQ(runtime.path().parent_path(), common / "virtual-camera");
    EXPECT_EQ(runtime.path().filename().string().size(), 16U);
    EXPECT_EQ(fs::status(runtime.path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(common / "virtual-camera").permissions(), fs::perms::owner_all);
    EXPECT_EQ(runtime.address(), "unix:path=" + (runtime.path() / "bus").string());
    EXPECT_EQ(kit::linesOf(runtime.path() / "pid"), std::vector<std::string>{std::to_string(::getpid())});
}

TEST_F(RuntimeFolderTest, liesBelowTheSystemsOrTheTemporaryFolderWithoutAUsableRuntimeDirectory)
{
    const fs::path temporary = roots.temporary / ("virtual-camera-" + user);
    for (const std::string& unusable : {std::string(), std::string("relative"), (folder / "none").string()}) {
        const kit::EnvironmentVariable other("XDG_RUNTIME_DIR", unusable);
        fs::remove_all(roots.users);
        {
            const RuntimeFolder runtime(state, roots);
            EXPECT_EQ(runtime.path().parent_path(), temporary);
            EXPECT_EQ(fs::status(temporary).permissions(), fs::perms::owner_all);
            EXPECT_EQ(runtime.notice(), "");
        }
        fs::create_directories(roots.users / user);
        EXPECT_EQ(RuntimeFolder(state, roots).path().parent_path(), roots.users / user / "virtual-camera");
    }
}

// A cron job may start a camera before its user logs in, and a shell of that user then looks for it.
TEST_F(RuntimeFolderTest, isFoundWithoutItsNameWhicheverOfTheUsersFoldersItIsIn)
{
    const kit::EnvironmentVariable none("XDG_RUNTIME_DIR", "");
    const RuntimeFolder early(state, roots);
    early.announce();
    fs::create_directories(roots.users / user);
    const RuntimeFolder late(folder / "later", roots);
    late.announce();
    for (const std::string& asker : {std::string(), (roots.users / user).string()}) {
        const kit::EnvironmentVariable variable("XDG_RUNTIME_DIR", asker);
        ASSERT_THAT(RuntimeFolder::running(roots), SizeIs(2));
        EXPECT_EQ(RuntimeFolder::running(roots)[0].stateDir, folder / "later");
        EXPECT_EQ(RuntimeFolder::running(roots)[1].pid, std::to_string(::getpid()));
    }
    EXPECT_THAT(RuntimeFolder::runningOfAllUsers(roots), SizeIs(2));
    const kit::EnvironmentVariable ownWorld("XDG_RUNTIME_DIR", common);
    EXPECT_THAT(RuntimeFolder::running(roots), IsEmpty());
    EXPECT_THAT(RuntimeFolder::runningOfAllUsers(roots), SizeIs(2));
}

TEST_F(RuntimeFolderTest, ofASystemServiceIsFoundByItsStateFolderAndAmongThoseOfAllUsers)
{
    const fs::path service = roots.services / "gate";
    fs::create_directories(service);
    const kit::EnvironmentVariable itsOwn("XDG_RUNTIME_DIR", service);
    const RuntimeFolder runtime(state, roots);
    runtime.announce();
    EXPECT_EQ(runtime.path().parent_path(), service / "virtual-camera");
    const kit::EnvironmentVariable ofTheAsker("XDG_RUNTIME_DIR", common);
    EXPECT_EQ(RuntimeFolder::find(state, roots), runtime.address());
    ASSERT_THAT(RuntimeFolder::runningOfAllUsers(roots), SizeIs(1));
    EXPECT_EQ(RuntimeFolder::runningOfAllUsers(roots)[0].stateDir, state);
    EXPECT_THAT(RuntimeFolder::running(roots), IsEmpty());
}

TEST_F(RuntimeFolderTest, aTemporaryFolderThatOthersCanUseIsSaidAndLeftAlone)
{
    const kit::EnvironmentVariable none("XDG_RUNTIME_DIR", "");
    const fs::path temporary = roots.temporary / ("virtual-camera-" + user);
    const auto expectLeftAlone = [&] {
        const RuntimeFolder runtime(state, roots);
        EXPECT_EQ(runtime.path(), state / "run");
        EXPECT_EQ(runtime.notice(), "'" + temporary.string() +
                                        "' is no folder that only this user can use (mode 700); the camera is found "
                                        "by its state folder alone, with --camera DIR");
        runtime.announce();
        EXPECT_EQ(RuntimeFolder::find(state, roots), runtime.address());
        EXPECT_THAT(RuntimeFolder::running(roots), IsEmpty());
        EXPECT_THAT(RuntimeFolder::runningOfAllUsers(roots), IsEmpty());
    };
    fs::create_directory(temporary);
    fs::permissions(temporary, fs::perms::owner_all | fs::perms::group_exec);
    expectLeftAlone();
    EXPECT_NE(fs::status(temporary).permissions(), fs::perms::owner_all);
    fs::remove(temporary);
    fs::create_directory_symlink(common, temporary);
    fs::permissions(common, fs::perms::owner_all);
    expectLeftAlone();
    fs::remove(temporary);
    std::ofstream(temporary) << "a file";
    expectLeftAlone();
    if (::geteuid() == 0) { // a folder of somebody else
        fs::remove(temporary);
        ASSERT_EQ(::mkdir(temporary.c_str(), 0700), 0);
        ASSERT_EQ(::chown(temporary.c_str(), 65534, 65534), 0);
        expectLeftAlone();
    }
}

TEST_F(RuntimeFolderTest, aSecondOneInAnotherPlaceLearnsWhoHoldsTheStateFolder)
{
    const RuntimeFolder first(state);
    first.announce();
    const kit::EnvironmentVariable other("XDG_RUNTIME_DIR", "");
    EXPECT_THAT(kit::refusalOf([&] { const RuntimeFolder second(state, roots); }),
                HasSubstr("is in use by process " + std::to_string(::getpid())));
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
        EXPECT_EQ(RuntimeFolder::find(state), runtime.address()); // its state folder names the place
    }
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    EXPECT_TRUE(fs::is_empty(common / "virtual-camera"));
    EXPECT_TRUE(fs::is_empty(state));
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
    fs::path path;
    {
        path = RuntimeFolder(state).path();
    }
    fs::create_directory(folder / "target");
    fs::create_directory_symlink(folder / "target", path);
    EXPECT_THAT(refusal(state), HasSubstr("it is no folder of this user"));
}

TEST_F(RuntimeFolderTest, writesAddressesAsTheBusReadsThem)
{
    const fs::path awkward = folder / "a b,c;\xC3\xBC%";
    fs::create_directory(awkward);
    const kit::EnvironmentVariable other("XDG_RUNTIME_DIR", awkward);
    const RuntimeFolder runtime(state);
    EXPECT_THAT(runtime.address(),
                StartsWith("unix:path=" + folder.path().string() + "/a%20b%2cc%3b%c3%bc%25/virtual-camera/"));
}

} // namespace
} // namespace camera::supervisor
