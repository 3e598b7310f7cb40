#include "camera/supervisor/Supervisor.h"

#include "kit/EnvironmentVariable.h"
#include "kit/LineJournal.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <future>

// The library keeps a little of each attempt to connect that fails, as all do while the bus is away.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:sd_bus_new\nleak:libsystemd";
}

namespace camera::supervisor {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace testing;

/// Time that passes only when somebody would sleep, and then all of it.
class ImpatientClock : public Clock {
public:
    TimePoint now() override { return _now; }
    std::chrono::nanoseconds sleepUntil(TimePoint due) override
    {
        _now = std::max(_now, due);
        return std::chrono::nanoseconds(0);
    }

private:
    TimePoint _now{};
};

/// A supervisor of stand-ins, run on a thread of its own.
class SupervisorTest : public testing::Test {
protected:
    SupervisorTest() { fs::create_directory(folder / "x"); }
    ~SupervisorTest() override
    {
        if (supervisor) {
            supervisor->stop();
        }
    }

    std::vector<std::string> standin(const std::string& name, const std::string& busName, const RuntimeFolder& at,
                                     const std::vector<std::string>& how) const
    {
        std::vector<std::string> words = {STANDIN, name, journal, at.address(), busName};
        words.insert(words.end(), how.begin(), how.end());
        return words;
    }

    void begin(std::vector<std::string> pipeline = {}, std::vector<std::string> services = {})
    {
        options.stateDir = state;
        if (!ownServices) {
            options.services = [this, services](const RuntimeFolder& at, bool first) {
                servicesFirst.push_back(first);
                return standin("services", "ravel.services", at, services);
            };
        }
        if (!ownPipeline) {
            options.pipeline = [this, pipeline](const RuntimeFolder& at, bool first) {
                pipelineFirst.push_back(first);
                return standin("pipeline", "ravel.pipeline", at, pipeline);
            };
        }
        if (gateway) {
            options.gateway = [this](const RuntimeFolder& at, bool first) {
                return Program{first ? standin("gateway", "ravel.gateway", at, *gateway)
                                     : standin("gateway again", "ravel.gateway", at, {})};
            };
        }
        supervisor = std::make_unique<Supervisor>(
            options, [this](const std::string& line) { reported.add(line); }, clock);
        outcome = std::async(std::launch::async, [this] {
            int code = -1;
            const std::string refusal = kit::refusalOf([&] { code = supervisor->run(); });
            return code < 0 ? refusal : std::to_string(code);
        });
    }

    std::string end() { return outcome.wait_for(30s) == std::future_status::ready ? outcome.get() : "still running"; }

    camera::supervisor::ProcessStatus process(const std::string& name)
    {
        for (const auto& process : supervisor->status().processes) {
            if (process.name == name) {
                return process;
            }
        }
        return {};
    }

    pid_t pidOf(const std::string& name) { return process(name).pid; }

    bool journalHas(std::size_t count, const std::string& line)
    {
        const std::vector<std::string> lines = kit::linesOf(journal);
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line)) >= count;
    }

    // Everything up, known by its process id, the pipeline having come as far as its first line.
    bool runs()
    {
        return kit::eventually([&] { return journalHas(1, "pipeline started"); }) &&
               (!supervisor || kit::eventually([&] { return pidOf("camera-pipeline") != 0; }));
    }

    // The process of that name is another one now, and runs.
    bool replaced(const std::string& name, pid_t before)
    {
        return kit::eventually([&] { return pidOf(name) != before && pidOf(name) != 0; });
    }

    bool isReported(const std::string& line)
    {
        return kit::eventually([&] { return reported.count(line) != 0; });
    }

    void expectNothingLeft()
    {
        EXPECT_TRUE(!fs::exists(folder / "x" / "virtual-camera") || fs::is_empty(folder / "x" / "virtual-camera"));
        EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
        for (const char* name : kNames) {
            for (const pid_t pid : pids[name]) {
                EXPECT_EQ(::kill(pid, 0), -1) << name;
            }
        }
    }

    void rememberPids()
    {
        for (const char* name : kNames) {
            if (pidOf(name) != 0) {
                pids[name].push_back(pidOf(name));
            }
        }
    }

    static constexpr std::array kNames = {"dbus-daemon", "camera-services", "camera-pipeline", "camera-gateway"};
    const kit::TemporaryFolder folder;
    const fs::path state = folder / "state";
    const std::string journal = folder / "journal";
    const kit::EnvironmentVariable variable{"XDG_RUNTIME_DIR", folder / "x"};
    SupervisorOptions options;
    std::optional<std::vector<std::string>>
        gateway;              ///< how it ends until it has answered; nothing: the camera has none
    bool ownServices = false; ///< the test's options name other services than begin() does
    bool ownPipeline = false; ///< or another pipeline
    ImpatientClock clock;
    std::vector<bool> servicesFirst;
    std::vector<bool> pipelineFirst;
    std::map<std::string, std::vector<pid_t>> pids;
    kit::LineJournal reported;
    std::unique_ptr<Supervisor> supervisor;
    std::future<std::string> outcome;
};

TEST_F(SupervisorTest, startsBusServicesAndPipelineAndEndsThemInTheOppositeOrder)
{
    begin();
    ASSERT_TRUE(runs());
    rememberPids();
    EXPECT_TRUE(RuntimeFolder::find(state));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(kit::linesOf(journal),
                ElementsAre("services started", "pipeline started", "pipeline told to end", "services told to end"));
    EXPECT_THAT(reported.lines(), IsEmpty());
    expectNothingLeft();
}

TEST_F(SupervisorTest, aGatewayStartsBeforeThePipelineAndIsToldToEndAfterIt)
{
    gateway.emplace();
    begin();
    ASSERT_TRUE(runs());
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "gateway started"); }));
    rememberPids();
    EXPECT_GT(pidOf("camera-gateway"), 0);
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(kit::linesOf(journal),
                UnorderedElementsAre("gateway started", "services started", "pipeline started", "pipeline told to end",
                                     "gateway told to end", "services told to end"));
    EXPECT_EQ(kit::linesOf(journal).at(3), "pipeline told to end");
    EXPECT_THAT(reported.lines(), IsEmpty());
    expectNothingLeft();
}

TEST_F(SupervisorTest, aGatewayThatGivesUpAtItsFirstStartEndsTheRun)
{
    for (const char* code : {"1", "2"}) {
        fs::remove(journal);
        reported.clear();
        gateway = {code};
        begin();
        EXPECT_EQ(end(), code);
        EXPECT_THAT(reported.lines(),
                    Contains("camera-gateway ended with exit code " + std::string(code) + "; the camera ends"));
        expectNothingLeft();
    }
}

TEST_F(SupervisorTest, aGatewayIsStartedAgainAndGetsWhatIsGivenOnceUntilItHasAnswered)
{
    gateway = {"3,0,-"};
    begin();
    ASSERT_TRUE(runs());
    EXPECT_TRUE(isReported("camera-gateway ended with exit code 3; starting it again"));
    EXPECT_TRUE(isReported("camera-gateway ended with exit code 0; starting it again in 100 ms"));
    ASSERT_TRUE(kit::eventually([&] { return journalHas(3, "gateway started"); }));
    const auto connection = sdbus::createSessionBusConnectionWithAddress(RuntimeFolder::find(state).value());
    const auto proxy = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    // The supervisor may hear of the name a little later than this test.
    EXPECT_TRUE(kit::eventually([&] {
        bool answers = false;
        proxy->callMethod("NameHasOwner")
            .onInterface("org.freedesktop.DBus")
            .withArguments("ravel.gateway")
            .storeResultsTo(answers);
        if (const pid_t pid = pidOf("camera-gateway"); answers && pid != 0) {
            ::kill(pid, SIGKILL);
        }
        return journalHas(1, "gateway again started");
    }));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, aGatewayWhoseBusThreadHangsIsToldAndStartedAgain)
{
    options.watchdog.silence = 1s;
    gateway = {"h,-"};
    begin();
    EXPECT_TRUE(isReported("camera-gateway ended by signal 9 (Killed); starting it again"));
    EXPECT_THAT(reported.lines(), Contains("camera-gateway does not answer for 1 s and is killed"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, endsWithThePipelinesCodeWithoutAWordOfItsOwn)
{
    for (const std::string code : {"0", "1", "2"}) {
        fs::remove(journal);
        begin({"e" + code});
        EXPECT_EQ(end(), code);
        EXPECT_THAT(kit::linesOf(journal), ElementsAre("services started", "pipeline started", "services told to end"));
        EXPECT_THAT(reported.lines(), IsEmpty());
        expectNothingLeft();
    }
}

TEST_F(SupervisorTest, startsAPipelineAgainThatCrashesAtOnceAndThenAfterGrowingPauses)
{
    begin({"bf3,0,127,1,e0"});
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(reported.lines(), ElementsAre("camera-pipeline ended with exit code 3; starting it again",
                                              "camera-pipeline ended with exit code 0; starting it again in 100 ms",
                                              "camera-pipeline ended with exit code 127; starting it again in 200 ms",
                                              "camera-pipeline ended with exit code 1; starting it again in 400 ms"));
    EXPECT_THAT(pipelineFirst, ElementsAre(true, false, false, false, false));
    EXPECT_THAT(servicesFirst, ElementsAre(true));
}

TEST_F(SupervisorTest, aStartThatDiesBeforeItHasBegunIsStillTheFirstOne)
{
    begin({"f3,k,b0,e0"});
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(pipelineFirst, ElementsAre(true, true, true, false));
}

TEST_F(SupervisorTest, threeCrashesBeforeTheFirstFrameEndALiveRun)
{
    options.plugin = "libdetection.so";
    begin({"3,0,dk,e0"});
    EXPECT_EQ(end(), "1");
    EXPECT_THAT(reported.lines(),
                ElementsAre(_, _,
                            "camera-pipeline ended by signal 9 (Killed) during onFrame of engine 'Motion' before the "
                            "first frame, 3 times; the run with the plug-in 'libdetection.so' ends (--restarts N "
                            "starts the pipeline again)"));
    expectNothingLeft();
}

TEST_F(SupervisorTest, theFirstCrashEndsABatchAndNamesPluginEngineAndSignal)
{
    options.batch = true;
    options.restarts = 0;
    options.plugin = "libdetection.so";
    begin({"bfdk"});
    EXPECT_EQ(end(), "1");
    EXPECT_THAT(
        reported.lines(),
        ElementsAre("camera-pipeline ended by signal 9 (Killed) during onFrame of engine 'Motion'; the run with "
                    "the plug-in 'libdetection.so' ends (--restarts N starts the pipeline again)"));
    expectNothingLeft();
}

TEST_F(SupervisorTest, asManyCrashesOfABatchAsAllowedDoNotEndIt)
{
    options.batch = true;
    options.restarts = 2;
    begin({"f3,f0,e0"});
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(pipelineFirst, SizeIs(3));
}

TEST_F(SupervisorTest, aPipelineThatCrashesAfterItsLastWordIsNoSuccessAndNotStartedAgain)
{
    begin({"ek"});
    EXPECT_EQ(end(), "1");
    EXPECT_THAT(reported.lines(), ElementsAre("camera-pipeline ended by signal 9 (Killed) after its run was complete"));
}

// One second, because a machine with much to do may let a healthy process wait.
TEST_F(SupervisorTest, aProcessWhoseBusThreadHangsIsToldAndStartedAgain)
{
    options.watchdog.silence = 1s;
    begin({"h,-"});
    EXPECT_TRUE(isReported("camera-pipeline ended by signal 9 (Killed); starting it again"));
    EXPECT_THAT(reported.lines(), Contains("camera-pipeline does not answer for 1 s and is killed"));
    EXPECT_TRUE(kit::eventually([&] { return process("camera-pipeline").restarts == 1; }));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, aProcessThatASignalStoppedIsToldOnceAndLeftAlone)
{
    options.watchdog.silence = 1s;
    begin({"s"});
    const std::string told = "camera-pipeline does not answer: it is stopped by a signal and left alone";
    EXPECT_TRUE(isReported(told));
    ::kill(pidOf("camera-pipeline"), SIGCONT);
    EXPECT_EQ(process("camera-pipeline").restarts, 0U);
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, aFrameThatDoesNotEndIsToldAndEndsThePipelineOnlyWhenAsked)
{
    options.watchdog.silence = 1s;
    begin({"w"});
    EXPECT_TRUE(isReported("camera-pipeline is in onFrame of engine 'Motion' for 1 s"));
    EXPECT_EQ(process("camera-pipeline").restarts, 0U);
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    fs::remove(journal);
    options.watchdog = {0s, 1s};
    begin({"w,-"});
    EXPECT_TRUE(isReported("camera-pipeline ended by signal 9 (Killed) during onFrame of engine 'Motion'; "
                           "starting it again"));
    EXPECT_THAT(reported.lines(), Contains("camera-pipeline is in onFrame of engine 'Motion' for 1 s and is killed"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, startsThePipelineAgainWhenItIsToldTo)
{
    begin();
    ASSERT_TRUE(runs());
    const pid_t before = pidOf("camera-pipeline");
    supervisor->restartPipeline();
    ASSERT_TRUE(replaced("camera-pipeline", before));
    EXPECT_THAT(reported.lines(), ElementsAre("camera-pipeline ended with exit code 0; starting it again"));
    EXPECT_THAT(pipelineFirst, SizeIs(2));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    expectNothingLeft();
}

TEST_F(SupervisorTest, startsPipelineAndServicesAgainInTheirOrder)
{
    gateway.emplace();
    begin();
    ASSERT_TRUE(runs());
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "gateway started"); }));
    supervisor->pipelineBegun();
    rememberPids();
    supervisor->restart();
    ASSERT_TRUE(kit::eventually([&] { return journalHas(2, "pipeline started"); }));
    EXPECT_EQ(pidOf("camera-gateway"), pids["camera-gateway"].front()) << "it goes on";
    EXPECT_EQ(process("camera-services").restarts, 1U);
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    std::vector<std::string> lines = kit::linesOf(journal);
    lines.erase(std::remove(lines.begin(), lines.end(), "gateway started"), lines.end());
    lines.resize(6);
    EXPECT_THAT(lines, ElementsAre("services started", "pipeline started", "pipeline told to end",
                                   "services told to end", "services started", "pipeline started"));
    EXPECT_THAT(reported.lines(), ElementsAre("the camera is started again"));
    EXPECT_THAT(pipelineFirst, ElementsAre(true, false));
    EXPECT_THAT(servicesFirst, ElementsAre(true, false));
    expectNothingLeft();
}

TEST_F(SupervisorTest, aFactoryDefaultChangesTheStateFolderWhileNobodyWorksOnItAndStartsAsAtFirst)
{
    gateway.emplace();
    begin();
    ASSERT_TRUE(runs());
    supervisor->pipelineBegun();
    const fs::path setting = state / "settings.db.damaged-1";
    std::ofstream(setting) << "x";
    supervisor->factoryDefault(false);
    ASSERT_TRUE(kit::eventually([&] { return journalHas(2, "pipeline started"); }));
    EXPECT_TRUE(fs::exists(setting));
    supervisor->pipelineBegun();
    supervisor->factoryDefault(true);
    ASSERT_TRUE(kit::eventually([&] { return journalHas(3, "pipeline started") && journalHas(2, "gateway started"); }));
    EXPECT_FALSE(fs::exists(setting));
    EXPECT_FALSE(fs::exists(state / "factory-default"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    EXPECT_TRUE(journalHas(2, "gateway told to end"));
    EXPECT_THAT(reported.lines(),
                ElementsAre("the camera goes back to its factory settings, with its presets, and is started again",
                            "the camera goes back to its factory settings and is started again"));
    EXPECT_THAT(pipelineFirst, ElementsAre(true, true, true));
    EXPECT_THAT(servicesFirst, ElementsAre(true, true, true));
    expectNothingLeft();
}

TEST_F(SupervisorTest, whatDoesNotEndForARestartIsKilled)
{
    options.servicesAfter = 50ms;
    options.busAfter = 100ms;
    options.killAfter = 150ms;
    begin({"-", "stubborn"}, {"-", "stubborn"});
    ASSERT_TRUE(runs());
    supervisor->restart();
    ASSERT_TRUE(kit::eventually([&] { return journalHas(2, "pipeline started"); }));
    EXPECT_THAT(reported.lines(),
                ElementsAre("the camera is started again", "camera-pipeline does not end in time and is killed",
                            "camera-services does not end in time and is killed"));
    EXPECT_FALSE(journalHas(2, "services told to end")) << "not before the pipeline has ended";
    supervisor->stop();
    EXPECT_EQ(end(), "1");
    expectNothingLeft();
}

TEST_F(SupervisorTest, whoEndsForARestartIsNotToldAgainWhenTheCameraEnds)
{
    options.servicesAfter = 300ms;
    options.busAfter = 20s;
    options.killAfter = 400ms;
    begin({"-", "stubborn"});
    ASSERT_TRUE(runs());
    supervisor->restart();
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "pipeline told to end"); }));
    supervisor->stop();
    EXPECT_EQ(end(), "1");
    EXPECT_FALSE(journalHas(2, "pipeline told to end"))
        << "a second SIGTERM ends a pipeline that is ending in its order";
    EXPECT_THAT(reported.lines(),
                ElementsAre("the camera is started again", "camera-pipeline does not end in time and is killed"));
    expectNothingLeft();
}

TEST_F(SupervisorTest, aRunThatReadsItsInputOnceIsNotStartedAgain)
{
    options.readOnce = true;
    begin();
    ASSERT_TRUE(runs());
    for (const bool hard : {false, true}) {
        EXPECT_EQ(kit::refusalOf([&] { supervisor->factoryDefault(hard); }),
                  "the camera is not started again, because what it has read of its input is gone");
    }
    EXPECT_NE(kit::refusalOf([&] { supervisor->restart(); }), "");
    EXPECT_FALSE(fs::exists(state / "factory-default"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, aFactoryDefaultThatWasCutShortIsFinishedByTheNextRun)
{
    fs::create_directories(state);
    const fs::path setting = state / "settings.db.damaged-1";
    std::ofstream(setting) << "x";
    std::ofstream(state / "factory-default") << "hard\n";
    begin();
    ASSERT_TRUE(runs());
    EXPECT_FALSE(fs::exists(setting));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, tellsItsAddressToOneListenerInsteadOfToAll)
{
    std::promise<std::string> ready;
    std::once_flag once;
    options.ready = [&](const std::string& address) { std::call_once(once, [&] { ready.set_value(address); }); };
    begin();
    EXPECT_THAT(ready.get_future().get(), StartsWith("unix:path="));
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    expectNothingLeft();
}

TEST_F(SupervisorTest, pausesLongerThanASecondAreToldInSeconds)
{
    begin({"f3,3,3,3,3,3,3,3,e0"});
    EXPECT_EQ(end(), "0");
    const std::vector<std::string> lines = reported.lines();
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[5], "camera-pipeline ended with exit code 3; starting it again in 1.6 s");
    EXPECT_EQ(lines[7], "camera-pipeline ended with exit code 3; starting it again in 5 s");
}

TEST_F(SupervisorTest, startsEachProcessAgainThatIsKilled)
{
    begin();
    ASSERT_TRUE(runs());
    for (const char* name : {"camera-pipeline", "camera-services", "dbus-daemon"}) {
        rememberPids();
        const pid_t before = pidOf(name);
        ASSERT_GT(before, 0);
        ::kill(before, SIGKILL);
        ASSERT_TRUE(replaced(name, before)) << name;
        EXPECT_EQ(process(name).restarts, 1U);
        EXPECT_EQ(process(name).lastExit, "signal 9 (Killed)");
    }
    rememberPids();
    EXPECT_THAT(reported.lines(), ElementsAre("camera-pipeline ended by signal 9 (Killed); starting it again",
                                              "camera-services ended by signal 9 (Killed); starting it again",
                                              "dbus-daemon ended by signal 9 (Killed); starting it again"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    expectNothingLeft();
}

TEST_F(SupervisorTest, aBusThatIsKilledComesBackAtTheSameAddressAndTheCameraIsThereAgain)
{
    begin();
    ASSERT_TRUE(runs());
    const std::string address = RuntimeFolder::find(state).value();
    for (int round = 0; round < 3; ++round) {
        const pid_t before = pidOf("dbus-daemon");
        ::kill(before, SIGKILL);
        ASSERT_TRUE(replaced("dbus-daemon", before));
        EXPECT_EQ(RuntimeFolder::find(state), address);
        // Who asks too early finds no bus or no name: a condition, like all of this.
        EXPECT_TRUE(kit::eventually([&] {
            try {
                const auto connection = sdbus::createSessionBusConnectionWithAddress(address);
                const auto proxy = sdbus::createProxy(*connection, "ravel.supervisor", "/ravel/supervisor/main");
                const std::string named = proxy->getProperty("Address").onInterface("ravel.supervisor");
                return named == address;
            } catch (const sdbus::Error&) {
                return false;
            }
        }));
    }
}

TEST_F(SupervisorTest, servicesThatGiveUpAtTheirFirstStartEndTheRun)
{
    for (const char* code : {"1", "2"}) {
        fs::remove(journal);
        reported.clear();
        begin({}, {code});
        EXPECT_EQ(end(), code);
        EXPECT_THAT(kit::linesOf(journal), ElementsAre("services started"));
        EXPECT_THAT(reported.lines(),
                    ElementsAre("camera-services ended with exit code " + std::string(code) + "; the camera ends"));
        expectNothingLeft();
    }
}

TEST_F(SupervisorTest, servicesThatEndLaterAreStartedAgainWhateverTheirCode)
{
    begin({}, {"3,1,2,0,-"});
    ASSERT_TRUE(runs());
    EXPECT_THAT(reported.lines(), ElementsAre("camera-services ended with exit code 3; starting it again",
                                              "camera-services ended with exit code 1; starting it again in 100 ms",
                                              "camera-services ended with exit code 2; starting it again in 200 ms",
                                              "camera-services ended with exit code 0; starting it again in 400 ms"));
    supervisor->stop();
    EXPECT_EQ(end(), "0");
}

TEST_F(SupervisorTest, startsWithoutServicesThatNeverAnswerAndSaysSo)
{
    options.readyWithin = 2s; // of real time: the bus needs some of it
    ownServices = true;
    options.services = [this](const RuntimeFolder& at, bool) { return standin("services", "-", at, {}); };
    begin({"e0"});
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(reported.lines(), ElementsAre("camera-services does not answer in time; the camera starts without it"));
    EXPECT_TRUE(journalHas(1, "pipeline started"));
}

TEST_F(SupervisorTest, killsWhatDoesNotEndAndLeavesNothing)
{
    options.servicesAfter = 30ms;
    options.busAfter = 60ms;
    options.killAfter = 90ms;
    gateway = {"-", "stubborn"};
    begin({"-", "stubborn"}, {"-", "stubborn"});
    ASSERT_TRUE(runs());
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "gateway started"); }));
    rememberPids();
    supervisor->stop();
    EXPECT_EQ(end(), "1");
    EXPECT_THAT(reported.lines(), IsSupersetOf({"camera-services does not end in time and is killed",
                                                "camera-pipeline does not end in time and is killed",
                                                "camera-gateway does not end in time and is killed"}));
    expectNothingLeft();
}

TEST_F(SupervisorTest, aPipelineThatCouldNotHandleItsSignalYetHasNotFailed)
{
    ownPipeline = true;
    options.pipeline = [](const RuntimeFolder&, bool) { return std::vector<std::string>{"sleep", "120"}; };
    begin();
    ASSERT_TRUE(kit::eventually([&] { return pidOf("camera-pipeline") != 0; }));
    rememberPids();
    supervisor->stop();
    EXPECT_EQ(end(), "0");
    EXPECT_EQ(process("camera-pipeline").restarts, 0U);
    expectNothingLeft();
}

TEST_F(SupervisorTest, isAskedAndEndedOverTheBus)
{
    gateway.emplace();
    begin();
    ASSERT_TRUE(runs());
    const auto connection = sdbus::createSessionBusConnectionWithAddress(RuntimeFolder::find(state).value());
    const auto proxy = sdbus::createProxy(*connection, "ravel.supervisor", "/ravel/supervisor/main");
    const auto property = [&proxy](const char* name) {
        return proxy->getProperty(name).onInterface("ravel.supervisor");
    };
    EXPECT_EQ(property("State").get<std::string>(), state.string());
    EXPECT_EQ(property("Address").get<std::string>(), RuntimeFolder::find(state).value());
    using Row = sdbus::Struct<std::string, std::uint32_t, std::uint32_t, std::int64_t, std::string>;
    const auto processes = property("Processes").get<std::vector<Row>>();
    ASSERT_EQ(processes.size(), kNames.size());
    for (const Row& process : processes) {
        EXPECT_GT(process.get<1>(), 0U);
        EXPECT_EQ(process.get<2>(), 0U);
        EXPECT_GT(process.get<3>(), 0);
        EXPECT_EQ(process.get<4>(), "");
    }
    proxy->callMethod("restart").onInterface("ravel.supervisor");
    EXPECT_TRUE(kit::eventually([&] { return journalHas(2, "pipeline started"); }));
    proxy->callMethod("factoryDefault").onInterface("ravel.supervisor").withArguments(false);
    EXPECT_TRUE(kit::eventually([&] { return journalHas(3, "pipeline started"); }));
    proxy->callMethod("stop").onInterface("ravel.supervisor");
    EXPECT_EQ(end(), "0");
    expectNothingLeft();
}

TEST_F(SupervisorTest, aSecondRunOnTheStateFolderSaysWhoHoldsIt)
{
    begin();
    ASSERT_TRUE(runs());
    Supervisor second(
        options, [](const std::string&) {}, clock);
    EXPECT_EQ(kit::refusalOf([&] { second.run(); }), "the state folder " + state.string() + " is in use by process " +
                                                         std::to_string(::getpid()) +
                                                         "; end it or name another folder");
    EXPECT_TRUE(RuntimeFolder::find(state));
}

TEST_F(SupervisorTest, aMissingBusDaemonIsNamedWithWhatToInstall)
{
    options.busProgram = "no-such-dbus-daemon";
    begin();
    EXPECT_THAT(end(), AllOf(StartsWith("cannot start 'no-such-dbus-daemon': "),
                             HasSubstr("the camera's bus needs the package dbus-daemon")));
    EXPECT_FALSE(fs::exists(journal));
    expectNothingLeft();
}

TEST_F(SupervisorTest, aBusDaemonThatFailsIsQuoted)
{
    const fs::path program =
        folder.write("bad-daemon", "#!/bin/sh\necho first >&2\necho 'no memory for a bus' >&2\nexit 4\n");
    fs::permissions(program, fs::perms::owner_all);
    options.busProgram = program;
    begin();
    EXPECT_EQ(end(), "dbus-daemon ended with exit code 4 ('no memory for a bus') before it listened; the camera needs "
                     "a working dbus-daemon");
    expectNothingLeft();
}

TEST_F(SupervisorTest, aBusDaemonThatNeverListensIsNotWaitedForForEver)
{
    const fs::path program = folder.write("silent-daemon", "#!/bin/sh\nexec sleep 1000\n");
    fs::permissions(program, fs::perms::owner_all);
    options.busProgram = program;
    options.readyWithin = 50ms;
    begin();
    EXPECT_THAT(end(), AllOf(StartsWith("dbus-daemon does not listen on '"), HasSubstr("' in time")));
    expectNothingLeft();
}

TEST_F(SupervisorTest, aProgramThatIsMissingIsOneSentence)
{
    ownServices = true;
    options.services = [](const RuntimeFolder&, bool) { return std::vector<std::string>{"/nowhere/camera-services"}; };
    begin();
    EXPECT_THAT(end(), StartsWith("cannot start '/nowhere/camera-services': "));
    EXPECT_EQ(process("camera-pipeline").restarts, 0U);
    expectNothingLeft();
}

TEST_F(SupervisorTest, aProgramThatCannotBeStartedAgainIsTriedUntilItCan)
{
    ownPipeline = true;
    options.pipeline = [this, starts = 0](const RuntimeFolder& at, bool) mutable {
        return ++starts == 2 ? std::vector<std::string>{"/nowhere/camera-pipeline"}
                             : standin("pipeline", "ravel.pipeline", at, {"f3,e0"});
    };
    begin();
    EXPECT_EQ(end(), "0");
    EXPECT_THAT(reported.lines(), ElementsAre("camera-pipeline ended with exit code 3; starting it again",
                                              AllOf(StartsWith("cannot start '/nowhere/camera-pipeline': "),
                                                    EndsWith("; starting it again in 100 ms"))));
}

/// A supervisor as a process of its own.
class SupervisingProcessTest : public SupervisorTest {
protected:
    void start(const std::vector<std::string>& pipeline = {})
    {
        Program program{{SUPERVISING, state, STANDIN, journal}};
        program.words.insert(program.words.end(), pipeline.begin(), pipeline.end());
        process_ = std::make_unique<ChildProcess>(program);
        ASSERT_TRUE(runs());
    }

    std::string finish()
    {
        const std::optional<Exit> exit = process_->waitUntil(std::chrono::steady_clock::now() + 30s);
        return exit ? exit->text() : "still running";
    }

    // Processes that have the folder's name in their command line.
    std::vector<std::string> processesLeft() const
    {
        std::vector<std::string> found;
        std::error_code ignored;
        for (const fs::directory_entry& entry : fs::directory_iterator("/proc", ignored)) {
            if (kit::contentOf(entry.path() / "cmdline").find(folder.path().string()) != std::string::npos) {
                found.push_back(entry.path().filename());
            }
        }
        return found;
    }

    std::unique_ptr<ChildProcess> process_;
};

TEST_F(SupervisingProcessTest, endsInOrderOnEachOfTheSignals)
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        fs::remove(journal);
        start();
        process_->signal(number);
        EXPECT_EQ(finish(), "exit code 0");
        EXPECT_THAT(kit::linesOf(journal), ElementsAre("services started", "pipeline started", "pipeline told to end",
                                                       "services told to end"));
        EXPECT_THAT(processesLeft(), IsEmpty());
        expectNothingLeft();
    }
}

TEST_F(SupervisingProcessTest, aSecondCtrlCKillsAtOnce)
{
    start({"-", "stubborn"});
    process_->signal(SIGINT);
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "pipeline told to end"); }));
    process_->signal(SIGINT);
    EXPECT_EQ(finish(), "exit code 130");
    EXPECT_THAT(processesLeft(), IsEmpty());
    expectNothingLeft();
}

// Programs that end others send it more than once, and do not mean Ctrl-C by hand.
TEST_F(SupervisingProcessTest, aSecondSigtermCutsNothingShort)
{
    start({"-", "stubborn"});
    process_->signal(SIGTERM);
    ASSERT_TRUE(kit::eventually([&] { return journalHas(1, "pipeline told to end"); }));
    process_->signal(SIGTERM);
    EXPECT_EQ(finish(), "exit code 1");
    EXPECT_TRUE(journalHas(1, "services told to end"));
    EXPECT_THAT(processesLeft(), IsEmpty());
    expectNothingLeft();
}

TEST_F(SupervisingProcessTest, takesItsProcessesWithItWhenItIsKilledAndTheNextRunBeginsClean)
{
    start();
    process_->signal(SIGKILL);
    EXPECT_EQ(finish(), "signal 9 (Killed)");
    EXPECT_TRUE(kit::eventually([&] { return processesLeft().empty(); }));
    EXPECT_EQ(RuntimeFolder::find(state), std::nullopt);
    fs::remove(journal);
    start();
    process_->signal(SIGTERM);
    EXPECT_EQ(finish(), "exit code 0");
    expectNothingLeft();
}

} // namespace
} // namespace camera::supervisor
