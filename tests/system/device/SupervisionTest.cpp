#include "DeviceTest.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <map>
#include <unistd.h>

namespace camera::system_tests {
namespace {

using namespace testing;

class SupervisionTest : public DeviceTest {
protected:
    // Nobody is left of these processes, not even a zombie.
    static bool gone(const std::map<std::string, pid_t>& processes)
    {
        for (const auto& [name, id] : processes) {
            if (kill(id, 0) == 0 || errno != ESRCH) {
                return false;
            }
        }
        return true;
    }

    static std::map<std::string, pid_t> processesOf(const RunningCamera& camera)
    {
        std::map<std::string, pid_t> found;
        for (const std::string name : {"dbus-daemon", "camera-services", "camera-pipeline"}) {
            found[name] = camera.process(name);
            EXPECT_GT(found[name], 0) << name;
        }
        return found;
    }
};

class EndingSignalTest : public SupervisionTest, public testing::WithParamInterface<int> {};

TEST_P(EndingSignalTest, endsEverythingAndLeavesNothingBehind)
{
    RunningCamera camera(state(), {kLively, "--config", simple(), "--ptz"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto processes = processesOf(camera);
    EXPECT_THAT(leftBehind(), Not(IsEmpty()));
    EXPECT_EQ(0, camera.end(GetParam())) << camera.err();
    EXPECT_TRUE(gone(processes));
    EXPECT_THAT(leftBehind(), IsEmpty());
    EXPECT_THAT(camera.out(), AllOf(HasSubstr("  frames    "), HasSubstr("ended     by a signal")));
    EXPECT_THAT(camera.err(), Not(HasSubstr("camera: ")));

    const Finished later = camera.command({"status"});
    EXPECT_EQ(1, later.exitCode);
    EXPECT_THAT(later.err, HasSubstr("no camera runs on the state folder"));
}

INSTANTIATE_TEST_SUITE_P(All, EndingSignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP), [](const auto& info) {
    return info.param == SIGINT ? "byCtrlC" : info.param == SIGTERM ? "byTerm" : "byHangUp";
});

TEST_F(SupervisionTest, aPipelineThatDiesLosesNothingOfWhatWasRecorded)
{
    for (const char* name : {"o.mp4", "o.2.mp4", "m.xml"}) {
        write(name, "of an earlier run\n");
    }
    RunningCamera camera(state(), {kLively, "--config", simple(), "--engine", JOURNAL_ENGINE, "--metadata",
                                   path("m.xml"), "--overlay", path("o.mp4")});
    ASSERT_TRUE(camera.waitForFrames(30)) << camera.err();
    const pid_t first = camera.process("camera-pipeline");
    kill(first, SIGKILL);
    ASSERT_TRUE(eventually([&] { return camera.process("camera-pipeline") != first; }));
    ASSERT_TRUE(camera.waitForFrames(30)) << camera.err();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();

    const auto frames = journalFrames();
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_LT(frames[i - 1].nanoseconds, frames[i].nanoseconds) << "times grow over the restart";
    }
    const auto counted = [&frames](std::size_t unfinished) {
        return HasSubstr("  frames    " + std::to_string(frames.size() - unfinished) + " in ");
    };
    EXPECT_THAT(camera.out(), AnyOf(counted(0), counted(1))) << "the frame that it died in may not count";
    EXPECT_THAT(camera.out(), HasSubstr("  restarts  after a crash"));
    EXPECT_THAT(camera.out(), AllOf(HasSubstr("written   " + path("m.xml")), HasSubstr("written   " + path("o.mp4")),
                                    HasSubstr("written   " + path("o.2.mp4"))));
    const std::string metadata = read(path("m.xml"));
    EXPECT_EQ(count(metadata, "\n"), count(metadata, "</tt:MetadataStream>\n")) << "no line is torn";
    EXPECT_GE(count(metadata, "\n"), frames.size() - 3) << "those of the first process, too";
    EXPECT_THAT(metadata, Not(HasSubstr("earlier")));
    std::size_t played = 0;
    for (const char* name : {"o.mp4", "o.2.mp4"}) {
        const Finished again = system_tests::camera({"run", path(name), "--speed", "max"});
        EXPECT_EQ(0, again.exitCode) << again.err;
        played += std::stoul(again.out.substr(again.out.find("  frames    ") + 12));
    }
    EXPECT_THAT(played, AllOf(Ge(frames.size() - 1), Le(frames.size()))) << "the frame that it died in may be missing";
}

TEST_F(SupervisionTest, endsByItsOwnCommand)
{
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto processes = processesOf(camera);
    EXPECT_EQ(0, camera.command({"shutdown"}).exitCode);
    EXPECT_TRUE(eventually([&] { return !camera.runs(); }));
    EXPECT_TRUE(gone(processes));
    EXPECT_THAT(leftBehind(), IsEmpty());
    EXPECT_THAT(camera.out(), HasSubstr("ended     by camera shutdown"));
}

TEST_F(SupervisionTest, refusesASecondCameraOnTheSameStateFolder)
{
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto before = processesOf(camera);
    const Finished second = system_tests::camera({"run", kLively, "--state", state() + "/../state/"});
    EXPECT_EQ(1, second.exitCode);
    EXPECT_THAT(second.err,
                AllOf(HasSubstr(std::filesystem::canonical(state()).string()), HasSubstr(std::to_string(camera.id()))));
    EXPECT_EQ(before, processesOf(camera)) << "the first one goes on";
    EXPECT_EQ(0, camera.end(SIGINT));
}

TEST_F(SupervisionTest, keepsTwoCamerasApart)
{
    RunningCamera one(path("one"), {kLively, "--ptz"});
    RunningCamera other(path("other"), {kLively, "--ptz"});
    ASSERT_TRUE(one.serves()) << one.err();
    ASSERT_TRUE(other.serves()) << other.err();
    EXPECT_NE(one.address(), other.address());

    ASSERT_EQ(0, one.command({"preset", "save", "Door"}).exitCode);
    EXPECT_EQ("", other.command({"preset", "list"}).out);
    ASSERT_EQ(0, other.command({"config", "set", simple("Only here")}).exitCode);
    EXPECT_THAT(other.command({"rules", "list"}).out, HasSubstr("Only here"));
    EXPECT_EQ("", one.command({"rules", "list"}).out);

    const Finished which = system_tests::camera({"status"});
    EXPECT_EQ(1, which.exitCode);
    EXPECT_THAT(which.err, AllOf(HasSubstr("several cameras run"), HasSubstr(path("one")), HasSubstr(path("other"))));
    EXPECT_EQ(0, one.end(SIGINT)) << one.err();
    EXPECT_EQ(0, system_tests::camera({"preset", "list"}).exitCode) << "there is only one now";
    EXPECT_EQ(0, other.end(SIGINT)) << other.err();
    EXPECT_THAT(leftBehind(), IsEmpty());
}

// As cron, a container or a root shell would: without the variable.
TEST_F(SupervisionTest, isFoundWithoutARuntimeDirectory)
{
    ::unsetenv("XDG_RUNTIME_DIR");
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::string line = state() + "  pid " + std::to_string(camera.id());
    EXPECT_THAT(system_tests::camera({"list"}).out, HasSubstr(line + "\n"));
    EXPECT_THAT(system_tests::camera({"list", "--all"}).out,
                HasSubstr(line + "  user " + std::to_string(::geteuid()) + "\n"));
    ::setenv("XDG_RUNTIME_DIR", runtime().c_str(), 1);
    EXPECT_EQ("", system_tests::camera({"list"}).out);
    EXPECT_EQ(0, camera.command({"status"}).exitCode) << "by its state folder";
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(SupervisionTest, startsAgainWhatDiesAndSaysWhy)
{
    RunningCamera camera(
        state(), {kLively, "--place", "Door=0,0,1", "--preset", "Door", "--config", motion("Door rule", "Door")});
    ASSERT_TRUE(camera.serves()) << camera.err();
    ASSERT_TRUE(camera.waitForRules("Motion", "at Door"));
    const auto before = processesOf(camera);
    kill(before.at("camera-pipeline"), SIGKILL);
    ASSERT_TRUE(eventually([&] {
        const pid_t now = camera.process("camera-pipeline");
        return now != 0 && now != before.at("camera-pipeline");
    })) << camera.err();
    EXPECT_TRUE(camera.waitForRules("Motion", "at Door")) << camera.err();
    EXPECT_THAT(camera.command({"rules", "list"}).out, HasSubstr("Door rule"));
    EXPECT_EQ("Door", camera.preset());
    EXPECT_THAT(camera.command({"preset", "list"}).out, HasSubstr("Door"));
    EXPECT_EQ(before.at("camera-services"), camera.process("camera-services"));
    EXPECT_THAT(camera.err(), AllOf(HasSubstr("camera-pipeline"), HasSubstr("signal 9 (Killed)")));
    EXPECT_EQ(1U, count(camera.err(), "\n")) << camera.err();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

// Its state folder is temporary, but outlives the process.
TEST_F(SupervisionTest, keepsThePlaceOverACrashWithoutAStateFolderToo)
{
    ChildProcess camera(cameraWords({"run", kLively, "--place", "Door=0,0,1", "--preset", "Door"}), kit::bothOutputs());
    const auto status = [] { return statusOf(system_tests::camera({"status", "--json"}).out); };
    ASSERT_TRUE(eventually([&] { return status()["position"]["preset"].asString() == "Door"; }));
    const auto pipeline = [&] { return status()["pipeline"]["pid"].asInt(); };
    const int before = pipeline();
    ASSERT_GT(before, 0);
    kill(before, SIGKILL);
    ASSERT_TRUE(eventually([&] { return pipeline() != 0 && pipeline() != before; })) << camera.out();
    EXPECT_TRUE(eventually([&] { return status()["position"]["preset"].asString() == "Door"; })) << camera.out();
    EXPECT_THAT(system_tests::camera({"preset", "list"}).out, HasSubstr("Door"));
}

TEST_F(SupervisionTest, keepsPlacesToursAndThePositionOverAStop)
{
    {
        RunningCamera camera(state(), {kLively, "--ptz", "--config", simple("Anything")});
        ASSERT_TRUE(camera.serves()) << camera.err();
        ASSERT_EQ(0, camera.command({"preset", "save", "Home"}).exitCode);
        ASSERT_EQ(0, camera.command({"move", "-10", "4", "1.5"}).exitCode);
        ASSERT_TRUE(eventually([&] { return !camera.status()["position"]["moving"].asBool(); }));
        ASSERT_EQ(0, camera.command({"preset", "save", "Gate"}).exitCode);
        ASSERT_EQ(0, camera.command({"tour", "create", "Round", "Home:1", "Gate:2:50"}).exitCode);
        ASSERT_EQ(0, camera.command({"config", "set", motion("Gate rule", "Gate")}).exitCode);
        ASSERT_EQ(0, camera.command({"preset", "go", "Gate"}).exitCode);
        ASSERT_TRUE(camera.waitForRules("Motion", "at Gate")) << camera.err();
        EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    }
    RunningCamera camera(state(), {kLively, "--ptz", "-v", "-v"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_TRUE(camera.waitForRules("Motion", "at Gate")) << camera.err();
    EXPECT_EQ("Gate", camera.preset());
    EXPECT_NEAR(350, camera.status()["position"]["pan"].asDouble(), 0.05);
    EXPECT_THAT(camera.command({"preset", "list"}).out, AllOf(HasSubstr("Home"), HasSubstr("Gate")));
    EXPECT_EQ("Round  Home 1.0 s 100 %  Gate 2.0 s 50 %\n", camera.command({"tour", "list"}).out);

    // Built, the plug-in has the key away from presets; where it stands it learns afterwards.
    const std::string log = camera.err();
    const std::size_t built = log.find(std::string("getSettingsKey :") + kMotionDefaultKey + ":");
    const std::size_t told = log.find("Start Analytics for ptz preset Gate");
    const std::size_t there = log.find("getSettingsKey :MotionGate:");
    ASSERT_NE(std::string::npos, built) << log;
    EXPECT_LT(built, told) << log;
    EXPECT_LT(told, there) << log;
    EXPECT_EQ(log.find("getSettingsKey :Motion"), built) << log;
}

TEST_F(SupervisionTest, changesWhatEveryProcessLogsWhileTheCameraRuns)
{
    RunningCamera camera(state(), {kLively, "--config", simple()});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_THAT(camera.err(), Not(HasSubstr(" debug ")));
    EXPECT_EQ("Every process of the camera logs everything.\n", camera.command({"log", "debug"}).out);
    ASSERT_EQ(0, camera.command({"config", "get"}).exitCode);
    EXPECT_TRUE(eventually([&] { return count(camera.err(), " debug DETECTION: ") > 0; })) << camera.err();
    // What is started again has the level that the camera has now.
    kill(camera.process("camera-pipeline"), SIGKILL);
    EXPECT_TRUE(eventually([&] {
        return count(camera.err(), " debug DETECTION: DetectionPlugin::DetectionPlugin") == 1;
    })) << camera.err();
    EXPECT_EQ(2, camera.command({"log", "loud"}).exitCode);
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

} // namespace
} // namespace camera::system_tests
