#pragma once

#include "Client.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryFolder.h"
#include "system/cli/Documents.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace camera::fault_tests {

// Objects come and go all the time; small, so that several run beside each other.
inline const std::string kLively = "scene:size=160x90,fps=25,objects=2,enter=15,frames=0,noise=1";

/// The camera's processes on a bus of the test's own, each with its log in a file.
class FaultTest : public testing::Test {
protected:
    FaultTest()
    {
        std::filesystem::create_directory(path("rt"));
        setenv("XDG_RUNTIME_DIR", path("rt").c_str(), 1);
    }

    std::string path(const std::string& name) const { return folder / name; }

    void startServices()
    {
        services.emplace(
            Words{SERVICES_PROGRAM, "--bus", bus.address(), "--state", path("state"), "--runtime", path("rt")},
            kit::bothOutputs(path("services.log")));
        ASSERT_TRUE(eventually([this] { return client.isServed(service::kServices); }))
            << kit::contentOf(path("services.log"));
    }

    /// Returns when it serves and frames come. One that watches services has looked each of them up by then.
    void startPipeline(const Words& more = {})
    {
        // Engines with rules write a document for each frame, also when nothing moves.
        Words words = {PIPELINE_PROGRAM, kLively,    "--no-factory", "--bus", bus.address(), "--state",
                       path("state"),    "--config", config,         "-v",    "-v"};
        words.insert(words.end(), more.begin(), more.end());
        pipeline.emplace(words, kit::bothOutputs(path("pipeline.log")));
        ASSERT_TRUE(eventually([this] { return client.frames() > 0 || !pipeline->runs(); }));
        ASSERT_TRUE(pipeline->runs()) << log();
    }

    void setFault(const std::string& name, const std::string& fault, double seconds = 0)
    {
        ASSERT_TRUE(client.tell(service::kServices, "setFault", name, fault, seconds));
    }

    std::string log() const { return kit::contentOf(path("pipeline.log")); }

    /// How many lines of the pipeline's log end with this text.
    std::size_t lines(const std::string& text) const { return kit::occurrences(log(), text + "\n"); }
    bool logs(const std::string& text) const { return kit::occurrences(log(), text) != 0; }

    bool framesGoOn(std::uint64_t more = 25)
    {
        const std::uint64_t before = client.frames();
        return eventually([&] { return client.frames() >= before + more; });
    }

    bool documentsArrive()
    {
        const std::uint64_t before = client.documentsReceived();
        return eventually([&] { return client.documentsReceived() > before + 3; });
    }

    bool documentsAreLost()
    {
        const auto lost = [this] { return client.status()["documentsDropped"].asUInt64(); };
        const std::uint64_t before = lost();
        return eventually([&] { return lost() > before + 3; });
    }

    /// Whether the plug-in logged the line once more than before the action.
    template <class Action>
    bool brings(const std::string& line, Action&& action)
    {
        const std::size_t before = lines(line);
        return action() && eventually([&] { return lines(line) > before; });
    }

    bool dayNightReachesThePlugin()
    {
        return brings(kNight, [this] { return client.tell(service::kDayNight, "begin"); }) &&
               brings(kDay, [this] { return client.tell(service::kDayNight, "end"); });
    }

    bool blankingReachesThePlugin()
    {
        return brings(kBlanked, [this] { return client.tell(service::kWindowBlanking, "setEnable", true); }) &&
               brings(kNotBlanked, [this] { return client.tell(service::kWindowBlanking, "setEnable", false); });
    }

    bool rotationReachesThePlugin()
    {
        const std::uint32_t angle = client.status()["orientation"].asUInt() == 180 ? 0 : 180;
        return brings(kTurned, [&] { return client.tell(service::kRotate, "setAngle", angle); }) &&
               eventually([&] { return client.status()["orientation"].asUInt() == angle; });
    }

    bool everythingReachesThePlugin()
    {
        return dayNightReachesThePlugin() && blankingReachesThePlugin() && rotationReachesThePlugin() &&
               documentsArrive();
    }

    static constexpr char kNight[] = "info DETECTION: day night change call back, movement: true";
    static constexpr char kDay[] = "info DETECTION: day night change call back, movement: false";
    static constexpr char kBlanked[] = "info DETECTION: Window blanking event enabled true";
    static constexpr char kNotBlanked[] = "info DETECTION: Window blanking event enabled false";
    static constexpr char kTurned[] = "info DETECTION: rotation call back";

    static constexpr char kNoDayNight[] = "error DETECTION: initializeDayNightEvents: day_night service not found";
    static constexpr char kNoBlanking[] =
        "error DETECTION: initializeWindowBlankingEvents: window_blanking service not found";
    static constexpr char kNoRotation[] = "info DETECTION: initializeRotationEvents: rotation service not found";

    kit::TemporaryFolder folder;
    const std::string config = folder.write("simple.xml", system_tests::simpleConfiguration("Anything"));
    kit::PrivateBus bus;
    Client client{bus.address()};
    std::optional<kit::ChildProcess> services;
    std::optional<kit::ChildProcess> pipeline;
};

} // namespace camera::fault_tests
