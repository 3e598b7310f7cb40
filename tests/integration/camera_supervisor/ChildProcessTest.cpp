#include "camera/supervisor/ChildProcess.h"

#include "camera/supervisor/Watchdog.h"
#include "kit/Eventually.h"
#include "kit/ForkedProcess.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/ptrace.h>

namespace camera::supervisor {
namespace {

using namespace std::chrono_literals;
using kit::soon;
using testing::ElementsAre;
using testing::HasSubstr;

Program shell(const std::string& script)
{
    return Program{{"sh", "-c", script}};
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
    ChildProcess child(Program{{"sleep", "1000"}});
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
    const kit::TemporaryFolder folder;
    const std::string out = folder / "out";
    ChildProcess child(Program{{"sh", "-c", "printf '%s\\n' \"$@\" >\"$0\"", out, "a b", "", "$HOME"}});
    ASSERT_TRUE(child.waitUntil(soon()));
    EXPECT_THAT(kit::linesOf(out), ElementsAre("a b", "", "$HOME"));
}

TEST(ChildProcess, keepsTheDescriptorsThatItIsGivenAndNoOther)
{
    const kit::TemporaryFolder folder;
    std::array<base::FileDescriptor, 3> files;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string file = folder.write("in" + std::to_string(i), std::to_string(i));
        files.at(i) = base::FileDescriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    }
    const auto script = "for i in \"$@\"; do cat /dev/fd/$i 2>/dev/null || echo none; done >\"$0\"";
    Program program{{"sh", "-c", script, folder / "out"}, {files[0].get(), files[2].get()}};
    for (const base::FileDescriptor& file : files) {
        program.words.push_back(std::to_string(file.get()));
    }
    ChildProcess child(program);
    ASSERT_TRUE(child.waitUntil(soon()));
    EXPECT_EQ(kit::contentOf(folder / "out"), "0none\n2");
}

TEST(ChildProcess, refusesAProgramThatCannotBeStarted)
{
    const auto refusal = [](const std::string& program) {
        return kit::refusalOf([&] { ChildProcess child(Program{{program}}); });
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
    ChildProcess child(Program{{"sleep", "1000"}});
    EXPECT_EQ(::getpgid(child.pid()), child.pid());
}

TEST(ChildProcess, getsSignalsThatItsStarterBlocks)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    ChildProcess child(Program{{"sleep", "1000"}});
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
    ChildProcess child(Program{{"sleep", "1000"}});
    EXPECT_FALSE(child.waitUntil(std::chrono::steady_clock::now() + 10ms));
}

TEST(ChildProcess, doesNotOutliveAKilledStarter)
{
    const kit::TemporaryFolder folder;
    const std::filesystem::path note = folder / "pid";
    std::optional<ChildProcess> child;
    kit::ForkedProcess starter([&] {
        child.emplace(Program{{"sh", "-c", "echo $$ >\"$0.new\"; mv \"$0.new\" \"$0\"; exec sleep 1000", note}});
    });
    ASSERT_TRUE(kit::eventually([&] { return std::filesystem::exists(note); }));
    const std::string pid = kit::linesOf(note).at(0);
    starter.crash();
    // The process that inherits it collects it, which may take a moment: until then a dead one counts as ended.
    EXPECT_TRUE(kit::eventually([&] {
        const std::string stat = kit::contentOf("/proc/" + pid + "/stat");
        return stat.empty() || stat.find(") Z ") != std::string::npos;
    }));
}

TEST(WatchdogInKernel, seesWhoHoldsAProcess)
{
    ChildProcess running({{"sleep", "100"}});
    EXPECT_EQ(Watchdog::heldInKernel(running.pid()), "");
    running.signal(SIGSTOP);
    EXPECT_TRUE(kit::eventually([&] { return Watchdog::heldInKernel(running.pid()) == "stopped by a signal"; }));
    running.signal(SIGCONT);
    if (::ptrace(PTRACE_SEIZE, running.pid(), nullptr, nullptr) == 0) { // an emulated processor has no such call
        EXPECT_EQ(Watchdog::heldInKernel(running.pid()), "traced by process " + std::to_string(::getpid()));
    }
    running.signal(SIGKILL);
}

} // namespace
} // namespace camera::supervisor
