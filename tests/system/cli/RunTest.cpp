#include "CameraTest.h"

#include <csignal>
#include <ctime>
#include <filesystem>
#include <regex>
#include <sstream>

namespace camera::system_tests {
namespace {

using namespace testing;

class RunTest : public CameraTest {
protected:
    static std::string eventLines(const std::string& out)
    {
        std::string lines;
        std::istringstream input(out);
        for (std::string line; std::getline(input, line);) {
            lines += line.compare(0, 5, "event") == 0 ? line + "\n" : "";
        }
        return lines;
    }
};

TEST_F(RunTest, analysesASceneAndReportsEventsFilesAndSummary)
{
    const Finished done =
        camera({"run", kScene, "--config", simple(), "--config", motion(), "--speed", "max", "--state", state(),
                "--metadata", path("m.xml"), "--overlay", path("o.mp4"), "--picture", path("p.png")});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.err, Not(HasSubstr("camera: ")));
    for (const std::string topic : {kCellTopic, kRegionTopic}) {
        EXPECT_THAT(done.out, HasSubstr(topic));
    }
    EXPECT_THAT(done.out, ContainsRegex("event  2023-11-14T22:13:2[0-9.]+Z  " + std::string(kCellTopic) +
                                        "  Anything.*IsMotion=true"));
    EXPECT_THAT(done.out, ContainsRegex(std::string(kCellTopic) + "  Anything.*IsMotion=false"));
    EXPECT_THAT(done.out, ContainsRegex(std::string(kRegionTopic) + "  Path.*State=true"));
    EXPECT_THAT(done.out, ContainsRegex(std::string(kRegionTopic) + "  Path.*State=false"));
    EXPECT_THAT(done.out, HasSubstr("  frames    150 in "));
    EXPECT_THAT(done.out, HasSubstr("  metadata  150 documents"));
    EXPECT_THAT(done.out, HasSubstr("rule 'Anything' (tt:CellMotionDetector)"));
    EXPECT_THAT(done.out, HasSubstr("rule 'Path' (tt:MotionRegionDetector)"));
    EXPECT_THAT(done.out, ContainsRegex("objects   [1-9][0-9]*, at most [1-9]"));
    for (const std::string file : {"m.xml", "o.mp4", "p.png"}) {
        EXPECT_THAT(done.out, HasSubstr("written   " + path(file)));
    }
    EXPECT_EQ(150U, count(read(path("m.xml")), "<tt:MetadataStream"));
    EXPECT_EQ("\x89PNG", read(path("p.png")).substr(0, 4));
    EXPECT_EQ("ftyp", read(path("o.mp4")).substr(4, 4));
}

class FactoryTest : public RunTest {
protected:
    /// Without the --no-factory that the cameras of other tests have.
    std::string summaryOf(Words arguments) const
    {
        arguments.insert(arguments.begin(), {CAMERA_PROGRAM, "run", kScene, "--speed", "max"});
        const Finished done = system_tests::run(arguments);
        EXPECT_EQ(0, done.exitCode) << done.err;
        return done.out;
    }
};

TEST_F(FactoryTest, aNewCameraShowsObjectsAtOnce)
{
    EXPECT_THAT(summaryOf({"--metadata", path("m.xml")}),
                AllOf(ContainsRegex("objects   [1-9][0-9]*, at most [1-9]"), HasSubstr("module 'Objects'"),
                      HasSubstr("module 'Cells'"), Not(HasSubstr("rule '")), HasSubstr("  events    0")));
    EXPECT_LT(0U, count(read(path("m.xml")), "<tt:Object "));
}

TEST_F(FactoryTest, aNewCameraThatMovesShowsObjectsWhereItBegins)
{
    EXPECT_THAT(summaryOf({"--ptz"}), ContainsRegex("objects   [1-9]"));
    EXPECT_THAT(summaryOf({"--place", "Door=0,0,1", "--preset", "Door"}), ContainsRegex("objects   [1-9]"));
}

TEST_F(FactoryTest, beginsEmptyWhereThatIsAskedAndStaysEmpty)
{
    EXPECT_THAT(summaryOf({"--no-factory", "--state", state()}), HasSubstr("active    none;"));
    EXPECT_THAT(summaryOf({"--state", state()}), HasSubstr("active    none;"));
}

TEST_F(FactoryTest, whatIsDeletedStaysDeleted)
{
    EXPECT_THAT(summaryOf({"--state", state()}), HasSubstr("module 'Objects'"));
    must({"modules", "delete", "Objects"});
    EXPECT_THAT(summaryOf({"--state", state()}),
                AllOf(HasSubstr("module 'Cells'"), Not(HasSubstr("module 'Objects'"))));
}

TEST_F(FactoryTest, aConfigurationForTheSameEngineWinsAlsoForAPreset)
{
    EXPECT_THAT(summaryOf({"--config", motion("Path"), "--state", state()}),
                AllOf(HasSubstr("rule 'Path'"), HasSubstr("module 'Cells'")));
    const Finished stored =
        system_tests::run({CAMERA_PROGRAM, "run", kScene, "--frames", "5", "--speed", "max", "--place", "Door=0,0,1",
                           "--config", motion("Path", "Door"), "--state", path("ptz")});
    EXPECT_EQ(0, stored.exitCode) << stored.err;
    EXPECT_THAT(stored.out, AllOf(HasSubstr("module 'Cells'"), Not(HasSubstr("module 'Objects'"))));
}

TEST_F(FactoryTest, aFolderThatACommandConfiguredIsNotNew)
{
    must({"config", "set", simple()});
    EXPECT_THAT(summaryOf({"--state", state()}),
                AllOf(HasSubstr("rule 'Anything'"), Not(HasSubstr("module 'Objects'"))));
}

TEST_F(RunTest, itsOverlayVideoIsAnInputLikeAnyOther)
{
    ASSERT_EQ(0, camera({"run", kScene, "--frames", "30", "--speed", "max", "--overlay", path("o.mp4")}).exitCode);
    const Finished again = camera({"run", path("o.mp4"), "--speed", "max"});
    EXPECT_EQ(0, again.exitCode) << again.err;
    EXPECT_THAT(again.out, HasSubstr("  frames    30 in "));
}

TEST_F(RunTest, findsEveryStoredConfigurationAgainAfterARestart)
{
    const std::string endless = "scene:size=320x180,objects=0,frames=10";
    const Finished first = camera({"run", endless, "--config", simple(), "--config", motion(), "--speed", "max",
                                   "--state", state(), "--metadata", path("1.xml")});
    ASSERT_EQ(0, first.exitCode) << first.err;
    const Finished second = camera({"run", endless, "--speed", "max", "--state", state(), "--metadata", path("2.xml")});
    EXPECT_EQ(0, second.exitCode) << second.err;
    for (const std::string name : {"module 'Cells'", "module 'Objects'", "rule 'Anything'", "rule 'Path'"}) {
        EXPECT_THAT(second.out, HasSubstr(name));
    }
    const std::regex time("UtcTime=\"([^\"]+)\"");
    const std::string before = read(path("1.xml"));
    const std::string after = read(path("2.xml"));
    std::string last;
    for (std::sregex_iterator match(before.begin(), before.end(), time), end; match != end; ++match) {
        EXPECT_LE(last, (*match)[1].str());
        last = (*match)[1];
    }
    std::smatch firstTime;
    ASSERT_TRUE(std::regex_search(after, firstTime, time));
    EXPECT_LT(last, firstTime[1].str());
}

TEST_F(RunTest, goesOnWhereTheTimeOfItsLastFrameCannotBeKeptAndSaysSoOnce)
{
    std::filesystem::create_directories(state() + "/last-frame-time.new");
    std::filesystem::create_directory(state() + "/last-frame-time.new/in-the-way");
    const Finished done = on({"run", "scene:size=64x64,frames=30", "--speed", "max"});
    EXPECT_EQ(0, done.exitCode);
    EXPECT_EQ(1U, count(done.err, "the time of the last frame cannot be kept"));
    EXPECT_THAT(done.out, HasSubstr("  frames    30 in "));
}

TEST_F(RunTest, leavesATimeBehindThatIsFarInTheFutureAndSaysSo)
{
    const auto lastTime = [this] { return std::stoll(read(state() + "/last-frame-time")) / 1'000'000'000; };
    const auto runAt = [this](std::time_t time) {
        std::filesystem::create_directories(state());
        write("state/last-frame-time", std::to_string(time) + "000000000\n");
        return on({"run", "scene:size=64x64,frames=3", "--speed", "max"});
    };
    const std::time_t now = std::time(nullptr);
    const Finished wrong = runAt(now + 8000);
    EXPECT_EQ(0, wrong.exitCode);
    EXPECT_EQ(1U, count(wrong.err, "which is in the future; the times of this run begin with the clock")) << wrong.err;
    EXPECT_LT(lastTime(), now + 7200);
    const Finished ahead = runAt(now + 3000); // a run at full speed ends so far ahead
    EXPECT_EQ("", ahead.err);
    EXPECT_GE(lastTime(), now + 3000);
}

TEST_F(RunTest, keepsNothingWithoutAStateFolder)
{
    const Finished first = camera({"run", kScene, "--frames", "2", "--config", simple(), "--speed", "max"});
    EXPECT_THAT(first.out, HasSubstr("not kept; --state DIR keeps them"));
    EXPECT_THAT(camera({"run", kScene, "--frames", "2", "--speed", "max"}).out, HasSubstr("active    none;"));
}

TEST_F(RunTest, theEnginesSeeTheSamePictureHoweverTheCameraIsMounted)
{
    std::string upright;
    std::string uprightEvents;
    for (const std::string degrees : {"0", "90", "180", "270"}) {
        const Finished done = camera({"run", kScene, "--config", simple(), "--config", motion(), "--speed", "max",
                                      "--orientation", degrees, "--metadata", path("m.xml")});
        ASSERT_EQ(0, done.exitCode) << done.err;
        const std::string metadata = read(path("m.xml"));
        if (degrees == "0") {
            upright = metadata;
            uprightEvents = eventLines(done.out);
            EXPECT_THAT(uprightEvents, HasSubstr("IsMotion=true"));
        }
        EXPECT_EQ(uprightEvents, eventLines(done.out)) << degrees;
        EXPECT_TRUE(upright == metadata) << degrees;
    }
}

TEST_F(RunTest, standsAtAPresetAndAppliesWhatIsStoredForIt)
{
    const std::string forDoor = motion("Door rule", "Door");
    const Finished there =
        camera({"run", kScene, "--config", forDoor, "--preset", "Door", "--speed", "max", "--state", state()});
    EXPECT_EQ(0, there.exitCode) << there.err;
    EXPECT_THAT(there.out, HasSubstr("rule 'Door rule' (tt:MotionRegionDetector, preset Door)"));
    EXPECT_THAT(there.out, HasSubstr("State=true"));

    const Finished elsewhere =
        camera({"run", kScene, "--config", forDoor, "--preset", "Gate", "--speed", "max", "--state", state()});
    EXPECT_EQ(0, elsewhere.exitCode) << elsewhere.err;
    EXPECT_THAT(elsewhere.out, HasSubstr("is stored for another place than the one where the camera stands"));
    EXPECT_THAT(elsewhere.out, Not(HasSubstr("State=true")));

    const Finished back = camera({"run", kScene, "--preset", "Door", "--speed", "max", "--state", state()});
    EXPECT_THAT(back.out, HasSubstr("State=true"));
}

TEST_F(RunTest, endsCleanlyOnASignalAndCompletesItsFiles)
{
    for (const int number : {SIGINT, SIGTERM}) {
        ChildProcess running(cameraWords({"run", "scene:size=320x180,objects=2,enter=15,frames=0", "--config", simple(),
                                          "--speed", "real", "--overlay", path("o.mp4"), "--metadata", path("m.xml")}));
        ASSERT_TRUE(running.waitForOutput("event  "));
        running.signal(number);
        const Finished done = running.finish();
        EXPECT_EQ(0, done.exitCode) << done.err;
        EXPECT_THAT(done.out, AllOf(HasSubstr("  frames    "), HasSubstr("ended     by a signal")));
        EXPECT_THAT(read(path("o.mp4")), HasSubstr("moov"));
        EXPECT_THAT(camera({"run", path("o.mp4"), "--speed", "max"}).exitCode, 0);
    }
}

TEST_F(RunTest, endsAfterTheFramesAskedForAlsoInALoop)
{
    const Finished done = camera({"run", "scene:size=64x64,frames=5", "--loop", "--frames", "12", "--speed", "max"});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.out, HasSubstr("  frames    12 in "));
}

TEST_F(RunTest, showsALiveStatusLineOnATerminal)
{
    if (!kit::hasTerminals()) {
        GTEST_SKIP() << "there are no terminals here";
    }
    ChildSettings settings;
    settings.terminal = true;
    settings.joined = true;
    const Finished done = camera({"run", kScene, "--config", simple(), "--speed", "max"}, settings);
    EXPECT_EQ(0, done.exitCode);
    EXPECT_THAT(done.out, ContainsRegex("frames [0-9]+  [0-9.]+/s  objects [0-9]+  events [0-9]+"));
    EXPECT_THAT(done.out, HasSubstr("\r\x1b[K"));
    EXPECT_THAT(done.out, HasSubstr("event  "));
}

TEST_F(RunTest, tellsInOneLineAtTheStartWhatRunsAndWhere)
{
    const Finished done = camera({"run", kScene, "--config", simple(), "--frames", "2", "--speed", "max", "--size",
                                  "320x180", "--state", state()});
    EXPECT_THAT(done.out.substr(0, done.out.find('\n')),
                AllOf(StartsWith(kScene + "  320x180  25 frames/s  Simple: rule 'Anything', module '"),
                      HasSubstr("  Motion: none  "), HasSubstr("  state folder " + state() + "  "),
                      ContainsRegex("  runtime folder " + runtime() + "/virtual-camera/[0-9a-f]+  ready$")));
}

TEST_F(RunTest, printsNothingWhenItIsToBeQuiet)
{
    const Finished done = camera({"run", kScene, "--config", simple(), "--speed", "max", "--quiet"});
    EXPECT_EQ(0, done.exitCode);
    EXPECT_EQ("", done.out + done.err);
    const Finished events = camera({"run", kScene, "--config", simple(), "--speed", "max", "--quiet", "--json"});
    EXPECT_THAT(events.out, StartsWith("{\"time\":\"2023-11-14T22:13:2"));
    EXPECT_THAT(events.out, Not(HasSubstr("\"part\"")));
}

TEST_F(RunTest, printsAFlatObjectALineForPrograms)
{
    const Finished done =
        camera({"run", kScene, "--config", simple(), "--speed", "max", "--json", "--overlay", path("o.mp4")});
    EXPECT_THAT(done.out, StartsWith("{\"part\":\"camera\",\"folder\":\""));
    std::istringstream lines(done.out);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_THAT(line, MatchesRegex("[{]\"(part|time)\":[^{}]*[}]"));
    }
    EXPECT_THAT(done.out, HasSubstr("{\"part\":\"start\",\"ready\":true}\n"));
    EXPECT_THAT(done.out,
                ContainsRegex("[{]\"time\":\"2023-11-14T22:13:2[0-9.]+Z\",\"topic\":\"" + std::string(kCellTopic) +
                              "\",\"rule\":\"Anything\",\"preset\":\"\",\"state\":true,\"operation\":"));
    EXPECT_THAT(done.out, ContainsRegex("[{]\"part\":\"summary\",.*\"frames\":150,"));
    EXPECT_THAT(done.out,
                ContainsRegex("[{]\"part\":\"file\",\"bytes\":[0-9]+,\"complete\":true,\"file\":\"" + path("o.mp4")));
}

TEST_F(RunTest, sendsNoTerminalCodesToAFile)
{
    EXPECT_THAT(camera({"run", kScene, "--speed", "max"}, kit::bothOutputs()).out, Not(HasSubstr("\x1b")));
}

TEST_F(RunTest, saysMoreWhenAsked)
{
    const Finished quiet = camera({"run", kScene, "--frames", "2", "--speed", "max", "--config", simple()});
    EXPECT_THAT(quiet.err, Not(HasSubstr(" DETECTION: ")));
    const Finished more = camera({"run", kScene, "--frames", "2", "--speed", "max", "--config", simple(), "-v"});
    EXPECT_THAT(more.err, HasSubstr("info DETECTION: "));
    EXPECT_THAT(more.err, Not(HasSubstr("debug ")));
    const Finished all = camera({"run", kScene, "--frames", "2", "--speed", "max", "--config", simple(), "-vv"});
    EXPECT_THAT(all.err, HasSubstr("debug DETECTION: "));
    const Finished json = camera({"run", kScene, "--frames", "2", "--speed", "max", "-v", "--log-format", "json"});
    EXPECT_THAT(json.err,
                ContainsRegex("^[{]\"time\":\"[-0-9]+T[:.0-9]+[-+][0-9][0-9]:[0-9][0-9]\",\"component\":\"[^\"]+\","
                              "\"level\":\"info\",\"text\":"));
    EXPECT_EQ(count(json.err, "{\"time\":"), count(json.err, "\n")) << json.err;
}

TEST_F(RunTest, rewritesThePrefixesOfAConfiguration)
{
    std::string foreign = simpleConfiguration("Foreign");
    for (const auto& [from, to] : {std::pair<std::string, std::string>{"<tt:", "<on:"},
                                   {"</tt:", "</on:"},
                                   {"\"tt:", "\"on:"},
                                   {"xmlns:tt=", "xmlns:on="}}) {
        for (std::size_t at = foreign.find(from); at != std::string::npos; at = foreign.find(from, at)) {
            foreign.replace(at, from.size(), to);
        }
    }
    ASSERT_THAT(foreign, Not(HasSubstr("tt:")));
    const Finished done =
        camera({"run", kScene, "--frames", "2", "--speed", "max", "--config", write("foreign.xml", foreign)});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.out, HasSubstr("rule 'Foreign' (tt:CellMotionDetector)"));
}

TEST_F(RunTest, readsTheStandardInput)
{
    ASSERT_EQ(0, camera({"run", kScene, "--frames", "30", "--speed", "max", "--overlay", path("film.mp4")}).exitCode);
    for (const std::string input : {"-", "pipe:0"}) {
        const Finished done = system_tests::run(
            {"/bin/sh", "-c", "cat \"$2\" | \"$1\" run --no-network " + input, "sh", CAMERA_PROGRAM, path("film.mp4")});
        EXPECT_EQ(0, done.exitCode) << done.err;
        EXPECT_THAT(done.out, HasSubstr("  frames    30 in "));
        EXPECT_THAT(done.err, HasSubstr("'" + input + "' has ended; what comes through a pipe is read once"));
    }
    const Finished none = camera({"run", "-"});
    EXPECT_EQ(1, none.exitCode);
    EXPECT_THAT(none.err, HasSubstr("'-' is not a video that can be read"));
}

// The plug-in takes the process' XML parser down when it goes, and the demuxers' library uses the same one.
TEST_F(RunTest, closesInputAndOverlayBeforeThePluginGoes)
{
    ASSERT_EQ(0, camera({"run", kScene, "--frames", "5", "--speed", "max", "--overlay", path("in.mp4")}).exitCode);
    ChildSettings settings;
    settings.environment = {"LD_PRELOAD=" ORDER_JOURNAL};
    const std::string cleanUp = "journal: the parser is cleaned up\n";
    const Finished done = camera({"run", path("in.mp4"), "--speed", "max", "--overlay", path("out.mp4")}, settings);
    EXPECT_EQ(0, done.exitCode);
    EXPECT_EQ("journal: a demuxer is opened\njournal: a demuxer is closed\njournal: a muxer is finished\n" + cleanUp,
              done.err);

    const Finished refused =
        camera({"run", path("in.mp4"), "--config", write("mixed.xml", "<tt:VideoAnalyticsConfiguration/>")}, settings);
    EXPECT_EQ(1, refused.exitCode);
    EXPECT_LT(refused.err.find("a demuxer is closed"), refused.err.find(cleanUp));
    EXPECT_NE(std::string::npos, refused.err.find(cleanUp));
}

TEST_F(RunTest, endsWhenNobodyReadsItsOutputAnyMore)
{
    ChildSettings settings;
    settings.closeOutput = true;
    const Finished done =
        camera({"run", "scene:size=320x180,objects=2,enter=15,frames=0", "--config", simple()}, settings);
    EXPECT_EQ(128 + SIGPIPE, done.exitCode);
    EXPECT_THAT(done.err, Not(HasSubstr("camera: ")));
}

} // namespace
} // namespace camera::system_tests
