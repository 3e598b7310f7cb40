#include "camera/supervisor/ChildProcess.h"

#include "unit/camera_supervisor/Folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>
#include <sys/wait.h>

namespace camera::supervisor {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 30s;
}

Program shell(const std::string& script)
{
    return Program{{"sh", "-c", script}, -1, -1};
}

TEST(ChildProcess, tellsTheExitCode)
{
    ChildProcess child(shell("exit 3"));
    const std::optional<Exit> exit = child.waitUntil(soon());
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code(), 3);
    EXPECT_EQ(exit->text(), "exit code 3");
    EXPECT_FALSE(exit->signal());
}

TEST(ChildProcess, tellsTheSignalByNumberAndName)
{
    ChildProcess child(Program{{"sleep", "1000"}, -1, -1});
    EXPECT_FALSE(child.exit());
    child.signal(SIGKILL);
    const std::optional<Exit> exit = child.waitUntil(soon());
    ASSERT_TRUE(exit);
    EXPECT_FALSE(exit->code());
    EXPECT_EQ(exit->signal(), SIGKILL);
    EXPECT_EQ(exit->text(), "signal 9 (Killed)");
    child.signal(SIGKILL); // nobody is hit
}

TEST(ChildProcess, passesArgumentsAsTheyAre)
{
    const Folder folder;
    const std::string out = (folder.path / "out").string();
    ChildProcess child(Program{{"sh", "-c", "printf '%s\\n' \"$@\" >\"$0\"", out, "a b", "", "$HOME"}, -1, -1});
    ASSERT_TRUE(child.waitUntil(soon()));
    EXPECT_THAT(linesOf(out), ElementsAre("a b", "", "$HOME"));
}

TEST(ChildProcess, refusesAProgramThatCannotBeStarted)
{
    const auto refusal = [](const std::string& program) -> std::string {
        try {
            ChildProcess child(Program{{program}, -1, -1});
            return "started";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(refusal("/nowhere/at-all"), "cannot start '/nowhere/at-all': No such file or directory; install it, or "
                                          "build it beside this program");
    EXPECT_THAT(refusal("no-such-program-anywhere"), HasSubstr("cannot start 'no-such-program-anywhere'"));
    EXPECT_THAT(refusal("/tmp"), HasSubstr("Permission denied; make it a program that can be run"));
}

TEST(ChildProcess, isReadableOnceItHasEnded)
{
    ChildProcess child(shell("exit 0"));
    pollfd ended{child.descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&ended, 1, 30000), 1);
    EXPECT_TRUE(child.exit());
}

TEST(ChildProcess, hasAProcessGroupOfItsOwn)
{
    ChildProcess child(Program{{"sleep", "1000"}, -1, -1});
    EXPECT_EQ(::getpgid(child.pid()), child.pid());
}

TEST(ChildProcess, getsSignalsThatItsStarterBlocks)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    ChildProcess child(Program{{"sleep", "1000"}, -1, -1});
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    child.signal(SIGTERM);
    const std::optional<Exit> exit = child.waitUntil(soon());
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->signal(), SIGTERM);
}

TEST(ChildProcess, isGoneWithItsOwner)
{
    pid_t pid = 0;
    {
        ChildProcess child(shell("trap '' TERM; exec sleep 1000"));
        pid = child.pid();
        EXPECT_EQ(::kill(pid, 0), 0);
    }
    EXPECT_EQ(::kill(pid, 0), -1);
}

TEST(ChildProcess, waitsNoLongerThanItIsAllowed)
{
    ChildProcess child(Program{{"sleep", "1000"}, -1, -1});
    EXPECT_FALSE(child.waitUntil(std::chrono::steady_clock::now() + 10ms));
}

TEST(ChildProcess, doesNotOutliveAKilledStarter)
{
    const Folder folder;
    const std::filesystem::path note = folder.path / "pid";
    const pid_t starter = ::fork();
    if (starter == 0) {
        const ChildProcess child(
            Program{{"sh", "-c", "echo $$ >\"$0.new\"; mv \"$0.new\" \"$0\"; exec sleep 1000", note}, -1, -1});
        for (;;) {
            ::pause();
        }
    }
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(note); }));
    const pid_t child = std::stoi(linesOf(note).at(0));
    ::kill(starter, SIGKILL);
    ::waitpid(starter, nullptr, 0);
    // The process that inherits it collects it, which may take a moment: until then a dead one counts as ended.
    EXPECT_TRUE(eventually([&] {
        std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
        std::string text;
        return !std::getline(stat, text) || text.find(") Z ") != std::string::npos;
    }));
}

} // namespace
} // namespace camera::supervisor
