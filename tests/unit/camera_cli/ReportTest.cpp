#include "camera/base/Console.h"
#include "camera/base/PluginPath.h"
#include "camera/base/StopSignal.h"
#include "camera/base/Text.h"
#include "camera/cli/RestartReport.h"
#include "camera/onvif/EventText.h"
#include "camera/store/StateFolder.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <unistd.h>

namespace camera::cli {
namespace {

using namespace camera::base;
using namespace camera::onvif;
using camera::store::StateFolder;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using video::TemporaryFolder;

TEST(EventText, tellsTimeTopicRuleAndValues)
{
    const base::Event event{
        "tns1:RuleEngine/CellMotionDetector/Motion", "Gate",
        "<tt:Message xmlns:tt=\"urn:x\" UtcTime=\"2026-01-02T03:04:05.678Z\" PropertyOperation=\"Changed\"><tt:Source>"
        "<tt:SimpleItem Name=\"Rule\" Value=\"Gate\"/></tt:Source><tt:Key><tt:SimpleItem Name=\"ObjectId\" "
        "Value=\"4\"/>"
        "</tt:Key><tt:Data><tt:SimpleItem Name=\"IsMotion\" Value=\"true\"/></tt:Data></tt:Message>"};
    EXPECT_EQ("event  2026-01-02T03:04:05.678Z  tns1:RuleEngine/CellMotionDetector/Motion  Gate  ObjectId=4  "
              "IsMotion=true",
              describeEvent(event));
}

TEST(EventText, marksTheInitialValue)
{
    EXPECT_THAT(describeEvent({"t", "", "<m:Message PropertyOperation='Initialized'/>"}), HasSubstr("(initial)"));
}

TEST(EventText, showsWhatIsNoMessageAsItIsButHarmless)
{
    EXPECT_EQ("event  topic  source  plain \\x1b[2J\\n", describeEvent({"topic", "source", "plain \x1b[2J\n"}));
    EXPECT_EQ("event  topic", describeEvent({"topic", "", ""}));
    EXPECT_THAT(describeEvent({"topic", "", std::string(500, 'a')}), HasSubstr("aaa..."));
    EXPECT_LT(describeEvent({"topic", "", std::string(500, 'a')}).size(), 200U);
}

TEST(Console, writesLinesAndRefusalsApart)
{
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    {
        Console console(out, err);
        console.status("not shown where nobody looks");
        console.line("a line");
        console.error("a refusal\x1b");
        console.error("a whole sentence.");
        console.log("12:00 error x: y\n");
    }
    const auto content = [](std::FILE* file) {
        std::rewind(file);
        std::string text(200, '\0');
        text.resize(std::fread(text.data(), 1, text.size(), file));
        std::fclose(file);
        return text;
    };
    EXPECT_EQ("a line\n", content(out));
    EXPECT_EQ("camera: a refusal\\x1b.\ncamera: a whole sentence.\n12:00 error x: y\n", content(err));
}

TEST(Console, noticesThatNothingCanBeWritten)
{
    std::FILE* full = std::fopen("/dev/full", "w");
    ASSERT_NE(nullptr, full);
    {
        Console console(full, stderr);
        EXPECT_TRUE(console.writable());
        console.line("lost");
        EXPECT_FALSE(console.writable());
    }
    std::fclose(full);
}

TEST(SizeText, isForPeople)
{
    EXPECT_EQ("999 bytes", sizeText(999));
    EXPECT_EQ("1.5 kB", sizeText(1500));
    EXPECT_EQ("2.0 MB", sizeText(2000000));
}

TEST(PluginPath, findsThePluginBesideTheProgramOrInLib)
{
    const kit::TemporaryFolder folder;
    std::filesystem::create_directories((folder / "bin").string());
    std::filesystem::create_directories((folder / "lib").string());
    const std::string inLib = folder.write("lib/libdetection.so", "x");
    EXPECT_EQ(std::filesystem::canonical(inLib), pluginPath("", (folder / "bin").string()));
    const std::string beside = folder.write("bin/libdetection.so", "x");
    EXPECT_EQ(std::filesystem::canonical(beside), pluginPath("", (folder / "bin").string()));
    EXPECT_EQ(std::filesystem::path(inLib), pluginPath(inLib, (folder / "bin").string()));
}

TEST(PluginPath, refusesAMissingPluginNamingWhereItLooked)
{
    const kit::TemporaryFolder folder;
    const auto refused = [&](const std::string& given) {
        try {
            pluginPath(given, (folder / "bin").string());
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
        return std::string("accepted");
    };
    EXPECT_THAT(refused(""), HasSubstr("is neither in '" + (folder / "bin").string() + "'"));
    EXPECT_THAT(refused("/none.so"), HasSubstr("the plug-in '/none.so' is no file"));
    EXPECT_THAT(refused(folder.path().string()), HasSubstr("is no file"));
}

TEST(StateFolder, keepsTheTimeOfTheLastFrame)
{
    const kit::TemporaryFolder folder;
    const StateFolder state(folder.path().string());
    EXPECT_TRUE(state.kept());
    EXPECT_EQ(0, state.lastFrameTime());
    state.keepLastFrameTime(1700000000123456789);
    EXPECT_EQ(1700000000123456789, StateFolder(folder.path().string()).lastFrameTime());
    for (const std::string damaged : {"", "x", "-4", "99999999999999999999", "9000000000000000000"}) {
        folder.write("last-frame-time", damaged);
        EXPECT_EQ(0, state.lastFrameTime()) << damaged;
    }
}

TEST(StateFolder, saysWhenTheTimeCannotBeKept)
{
    const StateFolder state("/proc/none");
    EXPECT_THROW(state.keepLastFrameTime(1), std::runtime_error);
}

TEST(StateFolder, takesATemporaryFolderAwayAgain)
{
    std::filesystem::path path;
    {
        const StateFolder state("");
        path = state.path();
        EXPECT_FALSE(state.kept());
        EXPECT_TRUE(std::filesystem::is_directory(path));
        state.keepLastFrameTime(5);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(StopSignal, endsAWaitAtOnce)
{
    const StopSignal stop;
    EXPECT_FALSE(stop.stopped());
    std::thread other([] { kill(getpid(), SIGTERM); });
    stop.waitUntil(std::chrono::steady_clock::now() + std::chrono::hours(1));
    other.join();
    EXPECT_TRUE(stop.stopped());
    EXPECT_TRUE(stop.flag().load());
}

TEST(StopSignal, aSecondSignalWouldEndTheProcess)
{
    const StopSignal stop;
    std::raise(SIGINT);
    EXPECT_TRUE(stop.stopped());
    struct sigaction now {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(SIG_DFL, now.sa_handler);
}

TEST(StopSignal, startsAnewWithEveryObject)
{
    {
        const StopSignal stop;
        std::raise(SIGINT);
    }
    EXPECT_FALSE(StopSignal().stopped());
}

TEST(RestartReport, tellsWhatARestartLosesAndBringsBack)
{
    const ComponentName a{true, "A", "tt:X", ""};
    const ComponentName b{true, "B", "tt:X", ""};
    const ComponentName module{false, "M", "tt:Y", "Door"};
    EXPECT_THAT(restartDifferences({a, b}, {b, a}), IsEmpty());
    EXPECT_THAT(restartDifferences({a, module}, {b, module}),
                ElementsAre("After a restart rule 'A' (tt:X) is gone: it is live, but not stored.",
                            "After a restart rule 'B' (tt:X) is back: it is still stored."));
    EXPECT_THAT(restartDifferences({module, module}, {module}),
                ElementsAre("After a restart module 'M' (tt:Y, preset Door) is gone: it is live, but not stored."));
}

} // namespace
} // namespace camera::cli
