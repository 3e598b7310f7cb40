#include "CameraTest.h"
#include "kit/DamagedVideo.h"

#include <csignal>
#include <filesystem>

#include <unistd.h>

namespace camera::system_tests {
namespace {

using namespace testing;

class RefusalTest : public CameraTest {
protected:
    // Exit code 1, and one sentence that begins as every one does.
    static void expectFailed(const Finished& done, const std::string& reason)
    {
        EXPECT_EQ(1, done.exitCode);
        EXPECT_THAT(done.err, HasSubstr("camera: "));
        EXPECT_THAT(done.err, HasSubstr(reason));
    }

    Finished quickRun(Words more) const
    {
        more.insert(more.begin(), {"run", "scene:size=320x180,frames=20", "--speed", "max"});
        return camera(more);
    }
};

TEST_F(RefusalTest, wrongArgumentsEndWithTwoAndOneSentence)
{
    const std::vector<Words> wrong = {
        {},
        {"walk"},
        {"run"},
        {"run", "a", "b"},
        {"run", "a", "--nonsense"},
        {"run", "a", "--frames", "none"},
        {"run", "a", "--orientation", "45"},
        {"run", "a", "--speed", "slow"},
        {"run", "a", "--config"},
        {"config"},
        {"config", "paint", "--state", "x"},
        {"rules", "delete", "--state", "x"},
        {"run", "scene:wind=1"},
        {"run", "scene:noise=99"},
        {"run", kScene, "--model", "nosuch"},
        {"run", kScene, "--tour", "Roof"},
    };
    for (const Words& words : wrong) {
        const Finished done = camera(words);
        EXPECT_EQ(2, done.exitCode) << testing::PrintToString(words);
        EXPECT_THAT(done.err, StartsWith("camera: ")) << testing::PrintToString(words);
        EXPECT_EQ(1U, count(done.err, "\n")) << done.err;
        EXPECT_EQ("", done.out);
    }
}

TEST_F(RefusalTest, theVersionIsOneLine)
{
    const Finished done = camera({"--version"});
    EXPECT_EQ(0, done.exitCode);
    EXPECT_THAT(done.out, MatchesRegex("camera [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(RefusalTest, helpIsNoRefusal)
{
    for (const Words& words :
         {Words{"--help"}, {"help"}, {"run", "--help"}, {"config", "--help"}, {"run", "-h", "x"}}) {
        const Finished done = camera(words);
        EXPECT_EQ(0, done.exitCode);
        EXPECT_THAT(done.out, StartsWith("usage: camera "));
        EXPECT_EQ("", done.err);
    }
}

TEST_F(RefusalTest, inputsThatAreNoVideo)
{
    expectFailed(camera({"run", path("none.mp4")}), "cannot open '" + path("none.mp4") + "': there is no such file");
    expectFailed(camera({"run", path("")}), "it is a directory");
    expectFailed(camera({"run", write("a.mp4", "just text\n")}), "is not a video that can be read");
    expectFailed(camera({"run", "rtsp://127.0.0.1:1/x"}), "Connection refused");
}

TEST_F(RefusalTest, aDamagedVideoIsAnalysedAsFarAsItGoesAndThenReported)
{
    ASSERT_EQ(
        0,
        camera({"run", "scene:size=320x180,frames=60,noise=3", "--speed", "max", "--overlay", path("o.mp4")}).exitCode);
    const std::string video = read(path("o.mp4"));
    const std::string damaged = write("damaged.mp4", kit::withDamagedPictures(video));
    const Finished done = camera({"run", damaged, "--speed", "max", "--config", simple(), "--metadata", path("m.xml")});
    expectFailed(done, "'" + damaged + "' is damaged");
    EXPECT_THAT(done.out, HasSubstr("  frames    "));
    EXPECT_GT(count(read(path("m.xml")), "<tt:MetadataStream"), 5U);

    const std::string cut = write("cut.mp4", kit::withoutIndex(video));
    expectFailed(camera({"run", cut}), "'" + cut + "' is not a video that can be read");
}

TEST_F(RefusalTest, configurationsThatCannotBeRead)
{
    expectFailed(quickRun({"--config", path("none.xml")}), "cannot read the configuration '" + path("none.xml") + "'");
    const std::string open = write("open.xml", "<tt:VideoAnalyticsConfiguration>\n  <tt:Oops>\n");
    expectFailed(quickRun({"--config", open}), "the configuration '" + open + "' is refused at line 2, column ");
    const std::string prefix =
        write("p.xml", "<tt:VideoAnalyticsConfiguration><abc:Rule/></tt:VideoAnalyticsConfiguration>");
    expectFailed(quickRun({"--config", prefix}), "the element 'abc:Rule' uses the prefix 'abc'");
    const std::string root = write("root.xml", "<html/>");
    expectFailed(quickRun({"--config", root}), "its root element is 'html'");
}

TEST_F(RefusalTest, configurationsThatTheCameraRefuses)
{
    std::string text = simpleConfiguration("Gate");
    text.replace(text.find("\"MinCount\" Value=\"3\""), 20, "\"MinCount\" Value=\"x\"");
    const std::string bad = write("bad.xml", text);
    const Finished done = quickRun({"--config", bad, "--state", state()});
    expectFailed(done, "the camera refuses the configuration '" + bad + "'");
    EXPECT_THAT(done.err, AllOf(HasSubstr("Gate"), HasSubstr("MinCount"), HasSubstr("'x'")));
    EXPECT_THAT(camera({"rules", "list", "--state", state()}).out, Not(HasSubstr("Gate")));
}

TEST_F(RefusalTest, configurationsThatNoEngineTakes)
{
    std::string unknown = simpleConfiguration("Gate");
    unknown.replace(unknown.find("tt:CellMotionDetector"), 21, "tt:CarDetector");
    expectFailed(quickRun({"--config", write("unknown.xml", unknown)}),
                 "no engine knows the type of its rule 'Gate' (tt:CarDetector); camera rules types lists");
    expectFailed(quickRun({"--config", write("empty.xml", "<tt:VideoAnalyticsConfiguration/>")}),
                 "there is no rule and no module in it");
    std::string mixed = simpleConfiguration("Gate");
    const std::string other = motionConfiguration("Path");
    const std::string rule =
        other.substr(other.find("<tt:Rule "), other.find("</tt:Rule>") + 10 - other.find("<tt:Rule "));
    mixed.insert(mixed.find("</tt:RuleEngineConfiguration>"), rule);
    expectFailed(quickRun({"--config", write("mixed.xml", mixed)}), "it mixes the types of several engines");
}

TEST_F(RefusalTest, stateFoldersThatCannotBeUsed)
{
    const std::string file = write("file", "not a folder");
    expectFailed(quickRun({"--state", file}), file);
    expectFailed(quickRun({"--state", file + "/below"}), file);
    expectFailed(quickRun({"--state", "/proc/camera-state"}), "/proc/camera-state");
}

TEST_F(RefusalTest, aReadOnlyStateFolder)
{
    if (geteuid() == 0) {
        // Permissions do not bind this user; a file system without writing does, if there is one.
        expectFailed(quickRun({"--state", "/sys/camera-state"}), "/sys/camera-state");
        return;
    }
    std::filesystem::create_directory(state());
    std::filesystem::permissions(state(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    expectFailed(quickRun({"--state", state()}), state());
    std::filesystem::permissions(state(), std::filesystem::perms::owner_all);
}

TEST_F(RefusalTest, aStateFolderThatAnotherCameraHolds)
{
    ChildProcess holder(cameraWords(
        {"run", "scene:size=320x180,objects=2,enter=15,frames=0", "--state", state(), "--config", simple()}));
    ASSERT_TRUE(holder.waitForOutput("event  "));
    const Finished second = quickRun({"--state", state()});
    expectFailed(second, state());
    EXPECT_THAT(second.err, HasSubstr(std::to_string(holder.id())));
    // What can be asked of the one that runs is asked of it.
    EXPECT_THAT(camera({"rules", "list", "--state", state()}).out, HasSubstr("<tt:Rule "));
    EXPECT_EQ(0, camera({"config", "history", "--state", state()}).exitCode);
    EXPECT_EQ(0, holder.end(SIGINT));
    EXPECT_EQ(0, quickRun({"--state", state()}).exitCode);
}

TEST_F(RefusalTest, outputsThatCannotBeWritten)
{
    expectFailed(quickRun({"--overlay", path("none/o.mp4")}), "cannot write the overlay video '" + path("none/o.mp4"));
    expectFailed(quickRun({"--picture", path("none/p.png")}), "cannot write the picture '" + path("none/p.png"));
    expectFailed(quickRun({"--metadata", path("none/m.xml")}), path("none/m.xml"));
    ChildSettings full;
    full.outFile = "/dev/full";
    expectFailed(camera({"run", "scene:size=64x64,frames=2", "--speed", "max"}, full),
                 "the output could not be written");
}

TEST_F(RefusalTest, pluginsAndEnginesThatAreNone)
{
    expectFailed(quickRun({"--plugin", path("none.so")}), "the plug-in '" + path("none.so") + "' is no file");
    const std::string text = write("text.so", "no library");
    expectFailed(quickRun({"--plugin", text}), text);
    expectFailed(quickRun({"--engine", path("none.so")}), path("none.so"));
    expectFailed(quickRun({"--engine", text}), text);
}

TEST_F(RefusalTest, aDiskWithoutRoomForTheSettings)
{
    ChildSettings small;
    small.fileSizeLimit = 4096;
    const Finished done = camera({"run", "scene:size=64x64,frames=3", "--speed", "max", "--state", state()}, small);
    expectFailed(done, "/settings.db cannot be used");
    EXPECT_EQ("", done.out);
}

TEST_F(RefusalTest, aDiskThatFillsWhileTheOverlayIsWritten)
{
    // Large enough for the settings, which are written first.
    ChildSettings small;
    small.fileSizeLimit = 400000;
    const Finished done = camera({"run", "scene:size=640x360,frames=300,noise=20", "--speed", "max", "--overlay",
                                  path("o.mp4"), "--metadata", path("m.xml")},
                                 small);
    expectFailed(done, "cannot write the overlay video '" + path("o.mp4") + "': File too large");
    EXPECT_EQ(1U, count(done.err, "o.mp4"));
    EXPECT_THAT(done.out, HasSubstr("  frames    300 in"));
    EXPECT_THAT(done.out, HasSubstr("  incomplete " + path("o.mp4")));
    EXPECT_THAT(done.out, HasSubstr("  written   " + path("m.xml")));
}

TEST_F(RefusalTest, aDiskThatFillsWhileMetadataIsWritten)
{
    ChildSettings small;
    small.fileSizeLimit = 200000;
    const Finished done = camera({"run", "scene:size=64x64,frames=3000,objects=0,noise=0", "--config", simple(),
                                  "--config", motion(), "--speed", "max", "--metadata", path("m.xml")},
                                 small);
    EXPECT_EQ(1, done.exitCode);
    EXPECT_EQ(1U, count(done.err, path("m.xml") + " is incomplete: File too large"));
    EXPECT_THAT(done.out, HasSubstr("  frames    3000"));
    EXPECT_THAT(done.out, HasSubstr("  incomplete " + path("m.xml")));
}

TEST_F(RefusalTest, aFullDiskLeavesTheStoredConfigurationAlone)
{
    ASSERT_EQ(0, camera({"config", "set", motion("Kept"), "--state", state()}).exitCode);
    const auto size = std::filesystem::file_size(state() + "/settings.db");
    ChildSettings small;
    small.fileSizeLimit = static_cast<long>(size);
    std::string large = simpleConfiguration("Large");
    const std::string rule =
        large.substr(large.find("<tt:Rule "), large.find("</tt:Rule>") + 10 - large.find("<tt:Rule "));
    for (int i = 0; i < 400; ++i) {
        std::string more = rule;
        more.replace(more.find("Large"), 5, "Large" + std::to_string(i));
        large.insert(large.find("</tt:RuleEngineConfiguration>"), more);
    }
    const Finished done = camera({"config", "set", write("large.xml", large), "--state", state()}, small);
    expectFailed(done, "settings");
    const Finished after = camera({"rules", "list", "--state", state()});
    EXPECT_EQ(0, after.exitCode) << after.err;
    EXPECT_THAT(after.out, HasSubstr("Name=\"Kept\""));
    EXPECT_THAT(after.out, Not(HasSubstr("Large")));
}

} // namespace
} // namespace camera::system_tests
