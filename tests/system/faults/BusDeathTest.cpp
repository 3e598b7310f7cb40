// The bus daemon dies and comes back: frames never stop, names, configurations and events are there again.
#include "FaultTest.h"

#include <algorithm>
#include <iterator>

namespace camera::fault_tests {
namespace {

using testing::HasSubstr;

constexpr const char* kServed[] = {service::kOnvifAnalyticService,
                                   service::kPositioning,
                                   service::kPipeline,
                                   service::kServices,
                                   service::kDayNight,
                                   service::kWindowBlanking,
                                   service::kRotate,
                                   service::kOnvifMetadataStreamer,
                                   service::kConfiguration};

class BusDeathTest : public FaultTest {
protected:
    static bool isStored(Client& by, const std::string& rule)
    {
        const auto [result, failed] = by.ask<std::int32_t, std::uint8_t>(
            service::kOnvifAnalyticService, "setConfiguration", system_tests::simpleConfiguration(rule));
        if (result != 0 || failed != 0) {
            return false;
        }
        const auto [rules] = by.ask<std::vector<std::string>>(service::kOnvifAnalyticService, "getCurrentRules");
        return rules.size() == 1 && rules[0].find("\"" + rule + "\"") != std::string::npos;
    }

    static bool eventsReach(const Client& subscriber)
    {
        const std::uint64_t before = subscriber.events();
        return eventually([&] { return subscriber.events() > before; });
    }

    static bool allNamesAreServed(Client& by)
    {
        return eventually([&] {
            return std::all_of(std::begin(kServed), std::end(kServed),
                               [&](const char* name) { return by.isServed(name); });
        });
    }

    // One document for each frame, written without the bus.
    std::size_t documentsWritten() const
    {
        return kit::occurrences(kit::contentOf(path("m.xml")), "<tt:MetadataStream");
    }

    bool framesGoOnWithoutTheBus()
    {
        const std::size_t before = documentsWritten();
        return eventually([&] { return documentsWritten() > before + 25; });
    }
};

TEST_F(BusDeathTest, framesGoOnWhileThereIsNoBusAndEverythingComesBackWithIt)
{
    startServices();
    startPipeline({"--metadata", path("m.xml")});
    ASSERT_TRUE(isStored(client, "Before"));
    ASSERT_TRUE(eventsReach(client)) << log();
    ASSERT_TRUE(everythingReachesThePlugin());
    for (int round = 0; round < 3; ++round) {
        const std::uint64_t frames = client.frames();
        const pid_t process = client.status()["pid"].asInt();
        const std::uint64_t sessions = client.sessions();
        bus.kill();
        EXPECT_TRUE(framesGoOnWithoutTheBus());
        bus.start();
        ASSERT_TRUE(eventually([&] { return client.sessions() > sessions; }));
        ASSERT_TRUE(allNamesAreServed(client)) << log();
        ASSERT_TRUE(eventually([&] { return client.frames() >= frames + 25; }));
        EXPECT_EQ(process, client.status()["pid"].asInt());
        EXPECT_TRUE(isStored(client, "Round" + std::to_string(round)));
        EXPECT_TRUE(eventsReach(client)) << log();
        EXPECT_TRUE(everythingReachesThePlugin()) << log();
    }
    EXPECT_EQ(0, client.status()["framesFailed"].asInt());
    EXPECT_EQ(0, client.status()["controlFailures"].asInt());
    EXPECT_EQ(0, pipeline->end());
    EXPECT_EQ(0, services->end());
}

TEST_F(BusDeathTest, aPipelineWithoutABusAppearsOnceThereIsOne)
{
    bus.kill();
    pipeline.emplace(Words{PIPELINE_PROGRAM, kLively, "--no-factory", "--bus", bus.address(), "--state", path("state"),
                           "-v", "-v", "--config", config},
                     kit::bothOutputs(path("pipeline.log")));
    ASSERT_TRUE(eventually([this] { return lines(kNoDayNight) == 1 || !pipeline->runs(); }));
    bus.start();
    EXPECT_TRUE(framesGoOn()) << log();
    startServices();
    EXPECT_TRUE(documentsArrive()) << log();
    EXPECT_TRUE(isStored(client, "Late"));
}

// A whole camera, whose supervisor starts the daemon again.
class SupervisedBusDeathTest : public BusDeathTest {
protected:
    void SetUp() override
    {
        camera.emplace(Words{CAMERA_PROGRAM, "run", kLively, "--no-factory", "--no-network", "--state", path("state"),
                             "--metadata", path("m.xml")},
                       kit::bothOutputs(path("camera.log")));
        ASSERT_TRUE(eventually([this] { return !address().empty() || !camera->runs(); }));
        owner.emplace(address());
        ASSERT_TRUE(eventually([this] { return owner->frames() > 0; })) << cameraLog();
    }

    std::string address() const
    {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path("rt"))) {
            if (entry.path().filename() == "address") {
                const std::string text = kit::contentOf(entry.path());
                return text.substr(0, text.find('\n'));
            }
        }
        return "";
    }

    /// (name, process id, restarts, since, last exit)
    using Process = sdbus::Struct<std::string, std::uint32_t, std::uint32_t, std::int64_t, std::string>;

    Process process(const std::string& name)
    {
        for (const Process& each : owner->processes<Process>()) {
            if (each.get<0>() == name) {
                return each;
            }
        }
        return {};
    }

    std::string cameraLog() const { return kit::contentOf(path("camera.log")); }

    std::optional<kit::ChildProcess> camera;
    std::optional<Client> owner;
};

TEST_F(SupervisedBusDeathTest, theSupervisorStartsTheDaemonAgainAndNobodyElse)
{
    ASSERT_TRUE(isStored(*owner, "Before"));
    ASSERT_TRUE(eventsReach(*owner));
    for (int round = 1; round <= 2; ++round) {
        const std::uint64_t frames = owner->frames();
        const pid_t pipelineProcess = owner->status()["pid"].asInt();
        const std::uint64_t sessions = owner->sessions();
        const pid_t daemon = static_cast<pid_t>(process("dbus-daemon").get<1>());
        ASSERT_GT(daemon, 1);
        ASSERT_EQ(0, ::kill(daemon, SIGKILL));
        ASSERT_TRUE(eventually([&] { return owner->sessions() > sessions; })) << cameraLog();
        ASSERT_TRUE(allNamesAreServed(*owner)) << cameraLog();
        ASSERT_TRUE(eventually([&] { return static_cast<int>(process("dbus-daemon").get<2>()) == round; }));
        EXPECT_EQ("signal 9 (Killed)", process("dbus-daemon").get<4>());
        EXPECT_EQ(0U, process("camera-pipeline").get<2>());
        EXPECT_EQ(0U, process("camera-services").get<2>());
        EXPECT_EQ(pipelineProcess, owner->status()["pid"].asInt());
        ASSERT_TRUE(eventually([&] { return owner->frames() >= frames + 25; }));
        EXPECT_TRUE(framesGoOnWithoutTheBus());
        EXPECT_TRUE(isStored(*owner, "Round" + std::to_string(round)));
        EXPECT_TRUE(eventsReach(*owner));
    }
    EXPECT_THAT(cameraLog(), HasSubstr("dbus-daemon ended by signal 9 (Killed); starting it again"));
    owner.reset();
    EXPECT_EQ(0, camera->end()) << cameraLog();
    EXPECT_EQ("", address());
}

} // namespace
} // namespace camera::fault_tests
