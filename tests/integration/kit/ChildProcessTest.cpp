#include "kit/ChildProcess.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace kit {

namespace {

using namespace testing;

std::vector<std::string> shell(const std::string& script)
{
    return {"/bin/sh", "-c", script};
}

TEST(ChildProcessTest, collectsBothOutputsAndTheExitCode)
{
    const Finished finished = run(shell("echo out; echo err >&2; exit 3"));
    EXPECT_EQ(finished.exitCode, 3);
    EXPECT_EQ(finished.out, "out\n");
    EXPECT_EQ(finished.err, "err\n");
}

TEST(ChildProcessTest, collectsMoreThanAPipeHolds)
{
    EXPECT_EQ(run(shell("head -c 1000000 /dev/zero")).out.size(), 1000000U);
}

TEST(ChildProcessTest, endsWithTheProcessWhatsoeverStillHoldsItsOutput)
{
    ChildProcess process(shell("sleep 600 & echo $!"));
    EXPECT_THAT(process.waitForEnd(), Optional(0));
    ::kill(std::stoi(process.out()), SIGKILL);
}

TEST(ChildProcessTest, namesTheSignalThatEndedIt)
{
    ChildProcess process(shell("echo ready; exec sleep 600"));
    ASSERT_TRUE(process.waitForOutput("ready"));
    EXPECT_TRUE(process.runs());
    EXPECT_THAT(process.end(), Optional(-SIGTERM));
    EXPECT_FALSE(process.runs());
}

TEST(ChildProcessTest, endsOneThatIsStopped)
{
    ChildProcess process(shell("echo ready; exec sleep 600"));
    ASSERT_TRUE(process.waitForOutput("ready"));
    process.signal(SIGSTOP);
    process.crash();
    EXPECT_THAT(process.exitCode(), Optional(-SIGKILL));
}

TEST(ChildProcessTest, tellsWhenAProgramIsMissing)
{
    EXPECT_EQ(run({"/no/such/program"}).exitCode, 127);
}

TEST(ChildProcessTest, givesItATerminal)
{
    if (!hasTerminals()) {
        GTEST_SKIP() << "there are no terminals here";
    }
    ChildSettings settings;
    settings.terminal = true;
    EXPECT_EQ(run(shell("test -t 1 && echo terminal"), settings).out, "terminal\r\n");
}

TEST(ChildProcessTest, givesItWhatTheSettingsSay)
{
    const TemporaryFolder folder;
    ChildSettings settings;
    settings.environment = {"KIT_WORD=value", "PATH=/nowhere:/bin:/usr/bin"};
    settings.joined = true;
    EXPECT_EQ(run(shell("echo $KIT_WORD $PATH; echo err >&2"), settings).out, "value /nowhere:/bin:/usr/bin\nerr\n");
    settings = {};
    settings.outFile = folder / "out";
    run(shell("echo first"), settings);
    run(shell("echo second"), settings);
    EXPECT_EQ(contentOf(settings.outFile), "first\nsecond\n");
    settings = {};
    settings.fileSizeLimit = 1024;
    EXPECT_NE(run(shell("head -c 4096 /dev/zero > " + (folder / "large").string()), settings).exitCode, 0);
}

TEST(ChildProcessTest, lookingWaitsUntilTheConditionHolds)
{
    int looks = 0;
    EXPECT_TRUE(eventually([&] { return ++looks == 3; }));
    EXPECT_FALSE(eventually([] { return false; }, std::chrono::seconds(0)));
}

TEST(TemporaryFolderTest, goesWithEverythingInIt)
{
    std::filesystem::path path;
    {
        const TemporaryFolder folder;
        path = folder.write("file", "a\nb\n");
        EXPECT_THAT(linesOf(path), ::testing::ElementsAre("a", "b"));
    }
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
    EXPECT_EQ(contentOf(path), "");
}

TEST(PrivateBusTest, startsAgainAtItsAddress)
{
    if (::access("/usr/bin/dbus-daemon", X_OK) != 0) {
        GTEST_SKIP() << "dbus-daemon is not installed";
    }
    PrivateBus bus;
    const std::string address = bus.address();
    bus.kill();
    bus.start();
    EXPECT_EQ(bus.address(), address);
    EXPECT_TRUE(std::filesystem::exists(address.substr(std::string("unix:path=").size())));
}

} // namespace

} // namespace kit
