// An engine ends the process of the pipeline: what the run does then.
#include "DeviceTest.h"

#include "kit/EnvironmentVariable.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using namespace testing;

class CrashTest : public DeviceTest {
protected:
    /// The engine fails there, in each process or in the first one only.
    void fails(const std::string& where, const std::string& how, bool once)
    {
        _where.emplace("FAULTY_WHERE", where);
        _how.emplace("FAULTY_HOW", how);
        _once.emplace("FAULTY_ONCE", once ? path("failed") : "");
    }

    Finished runToItsEnd(Words options) const
    {
        options.insert(options.begin(), {"run", kScene, "--engine", FAULTY_ENGINE});
        return camera(options);
    }

private:
    std::optional<kit::EnvironmentVariable> _where;
    std::optional<kit::EnvironmentVariable> _how;
    std::optional<kit::EnvironmentVariable> _once;
};

TEST_F(CrashTest, aFirstStartThatDiesIsStillTheFirstStart)
{
    fails("create", "crash", true);
    RunningCamera camera(state(),
                         {kLively, "--engine", FAULTY_ENGINE, "--place", "Door=0,0,1", "--place", "Gate=20,0,1",
                          "--preset", "Door", "--tour", "Gate:0,Door:3600", "--config", motion("Door rule", "Door")});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_TRUE(camera.waitForRules("Motion", "at Door")) << camera.err();
    EXPECT_THAT(camera.command({"preset", "list"}).out, AllOf(HasSubstr("Door"), HasSubstr("Gate")));
    EXPECT_THAT(camera.err(), HasSubstr("camera-pipeline ended by signal 11 (Segmentation fault) during the start of "
                                        "the engine module 'Faulty'; starting it again"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(CrashTest, aFirstStartThatDiesStillBeginsWithTheFactoryConfiguration)
{
    for (const std::string where : {"create", "configure"}) {
        fails(where, "crash", true);
        const Finished done = system_tests::run({CAMERA_PROGRAM, "run", kScene, "--speed", "max", "--engine",
                                                 FAULTY_ENGINE, "--restarts", "1", "--state", path(where)});
        EXPECT_EQ(0, done.exitCode) << done.err;
        EXPECT_THAT(done.err, HasSubstr("starting it again"));
        EXPECT_THAT(done.out, AllOf(HasSubstr("module 'Objects'"), HasSubstr("module 'Cells'")));
        std::filesystem::remove(path("failed"));
    }
}

// Only what the pipeline says of itself is an outcome.
TEST_F(CrashTest, exitCalledByAnEngineIsACrash)
{
    fails("frame", "exit", true);
    RunningCamera camera(state(), {kLively, "--engine", FAULTY_ENGINE, "--config", simple("Anything")});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_TRUE(camera.waitForRules("Simple", "everywhere"));
    // Its other threads may be at work meanwhile.
    EXPECT_THAT(camera.err(), ContainsRegex("camera-pipeline ended with exit code 0 during onFrame of engine 'Faulty'"
                                            "( and an operation of the control thread)?; starting it again"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

// Also when it is no std::exception, wherever the engine is called.
TEST_F(CrashTest, whatAnEngineThrowsIsToldAndEndsNoProcess)
{
    for (const std::string where : {"create", "name", "handler", "frame", "end"}) {
        fails(where, "throw", false);
        const Finished done = runToItsEnd({"--frames", "3", "--speed", "max"});
        EXPECT_THAT(done.exitCode, AnyOf(0, 1)) << where;
        EXPECT_THAT(done.err, HasSubstr("an exception of an unknown type")) << where;
        EXPECT_THAT(done.err, AllOf(Not(HasSubstr("signal")), Not(HasSubstr("ended with exit code")))) << where;
        EXPECT_EQ(where == "frame", done.err.find("3 frames could not be analysed") != std::string::npos) << done.err;
    }
}

TEST_F(CrashTest, whatAnEngineThrowsIsTheAnswerToAQuestion)
{
    fails("rules", "throw", false);
    RunningCamera camera(state(), {kLively, "--engine", FAULTY_ENGINE});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const Finished asked = camera.command({"rules", "types"});
    EXPECT_EQ(1, asked.exitCode);
    EXPECT_EQ(1U, count(asked.err, "\n")) << asked.err;
    EXPECT_TRUE(camera.waitForFrames(1));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(CrashTest, theFirstCrashOfABatchEndsItWithOne)
{
    const std::vector<Words> batches = {
        {"--speed", "max"}, {"--speed", "max", "--loop"}, {"--oneshot"}, {"--frames", "100"}};
    for (const Words& batch : batches) {
        for (const std::string how : {"crash", "exit"}) {
            fails("frame", how, false);
            const Finished done = runToItsEnd(batch);
            EXPECT_EQ(1, done.exitCode) << batch.front();
            EXPECT_THAT(done.err, AllOf(HasSubstr(how == "exit" ? "exit code 0" : "signal 11 (Segmentation fault)"),
                                        HasSubstr("engine 'Faulty'"), HasSubstr("libdetection.so")));
            EXPECT_THAT(done.err, Not(HasSubstr("starting it again")));
        }
    }
}

TEST_F(CrashTest, aBatchThatMayRestartGoesOn)
{
    fails("frame", "crash", true);
    const Finished done = runToItsEnd({"--speed", "max", "--restarts", "1"});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.err, HasSubstr("starting it again"));
}

TEST_F(CrashTest, endsARunThatReadsAPipeWithOneBecauseWhatWasReadIsGone)
{
    const std::string film = path("film.mp4");
    ASSERT_EQ(0, camera({"run", kScene, "--speed", "max", "--overlay", film}).exitCode);
    fails("frame", "crash", true);
    const Finished done = system_tests::run({"/bin/sh", "-c", "cat \"$2\" | \"$1\" run - --no-network --engine \"$3\"",
                                             "sh", CAMERA_PROGRAM, film, FAULTY_ENGINE});
    EXPECT_EQ(1, done.exitCode);
    EXPECT_THAT(done.err, AllOf(HasSubstr("what was read of the input is gone"), Not(HasSubstr("starting it again"))));
    const Finished refused = camera({"run", "-", "--restarts", "1"});
    EXPECT_EQ(2, refused.exitCode);
    EXPECT_THAT(refused.err, HasSubstr("--restarts needs an input that can be read again"));
}

TEST_F(CrashTest, aHangingFrameIsToldWithItsEngineAndEndedWhenAsked)
{
    fails("frame", "hang", true);
    RunningCamera camera(state(), {kLively, "--engine", FAULTY_ENGINE, "--watchdog", "60", "--watchdog-frames", "1"});
    EXPECT_EQ(0, camera.command({"status", "--wait", "60"}).exitCode) << camera.err();
    EXPECT_THAT(camera.err(),
                AllOf(HasSubstr("camera-pipeline is in onFrame of engine 'Faulty' for 1 s and is killed"),
                      HasSubstr("signal 9 (Killed) during onFrame of engine 'Faulty'; starting it again")));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

// Its first question to the engine is asked before the camera serves anything.
TEST_F(CrashTest, anEngineThatHangsWhileTheCameraStartsIsToldByItsName)
{
    fails("create", "hang", false);
    RunningCamera camera(state(), {kLively, "--engine", FAULTY_ENGINE, "--watchdog", "1"});
    EXPECT_TRUE(eventually([&] {
        return count(camera.err(), "camera-pipeline is in the start of the engine module 'Faulty' for 1 s") == 1;
    })) << camera.err();
    const Finished status = camera.command({"status", "--timeout", "1"});
    EXPECT_EQ(1, status.exitCode);
    EXPECT_THAT(status.out, HasSubstr("nobody serves the camera's pipeline now"));
    camera.end(SIGINT);
}

TEST_F(CrashTest, aStoppedProcessIsToldAndLeftAloneAndTheStatusFails)
{
    RunningCamera camera(state(), {kLively, "--watchdog", "1"});
    EXPECT_EQ(0, camera.command({"status", "--wait", "60"}).exitCode) << camera.err();
    const pid_t services = camera.process("camera-services");
    kill(services, SIGSTOP);
    EXPECT_TRUE(eventually([&] {
        return count(camera.err(), "camera-services does not answer: it is stopped by a signal and left alone") == 1;
    })) << camera.err();
    const Finished status = camera.command({"status", "--timeout", "1"});
    EXPECT_EQ(1, status.exitCode);
    EXPECT_THAT(status.out, AllOf(HasSubstr("does not answer within 1 s"), HasSubstr("  frames ")));
    kill(services, SIGCONT);
    EXPECT_EQ(0, camera.command({"status", "--wait", "60"}).exitCode) << camera.err();
    EXPECT_EQ(services, camera.process("camera-services"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(CrashTest, threeCrashesBeforeTheFirstFrameEndALiveRun)
{
    fails("frame", "crash", false);
    const Finished done = runToItsEnd({"--loop"});
    EXPECT_EQ(1, done.exitCode);
    EXPECT_EQ(2U, count(done.err, "starting it again")) << done.err;
    EXPECT_THAT(done.err, HasSubstr("before the first frame, 3 times"));
    const Finished never = runToItsEnd({"--loop", "--restarts", "0"});
    EXPECT_EQ(1, never.exitCode);
    EXPECT_EQ(0U, count(never.err, "starting it again")) << never.err;
}

} // namespace
} // namespace camera::system_tests
