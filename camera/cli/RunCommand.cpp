#include "camera/cli/RunCommand.h"

#include "camera/cli/CameraBuilder.h"
#include "camera/cli/ConfigurationFile.h"
#include "camera/cli/EventText.h"
#include "camera/cli/RunReport.h"
#include "camera/cli/StateFolder.h"
#include "camera/cli/StopSignal.h"
#include "camera/video/LibavLog.h"
#include "camera/video/OpenSource.h"
#include "camera/video/Overlay.h"
#include "camera/video/Timestamp.h"
#include "camera/video/TurnedFrame.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

namespace camera::cli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStatusInterval(200);
constexpr std::chrono::seconds kClockInterval(5);

/// Delivers frames no earlier than their times say, from the first one on.
class Pace {
public:
    Pace(bool real, const StopSignal& stop) : real(real), stop(stop) {}

    void waitFor(std::int64_t nanoseconds)
    {
        if (!real) {
            return;
        }
        if (first < 0) {
            first = nanoseconds;
            start = Clock::now();
        }
        stop.waitUntil(start + std::chrono::nanoseconds(nanoseconds - first));
    }

private:
    bool real;
    const StopSignal& stop;
    std::int64_t first = -1;
    Clock::time_point start;
};

/// One run, from the files it reads to the summary. Members are declared in the order in which they are
/// needed; end() takes them down in the order that the device asks for.
class Run {
public:
    Run(const RunOptions& options, Console& console)
        : options(options), console(console), state(options.camera.stateDir)
    {
    }

    int execute()
    {
        if (!open()) {
            return 0;
        }
        loop();
        end();
        summary();
        for (const std::string& failure : failures) {
            console.error(failure);
        }
        return failures.empty() ? 0 : 1;
    }

private:
    // False when a signal came while the input was waited for.
    bool open()
    {
        std::vector<std::string> configurations;
        for (const std::string& path : options.configFiles) {
            configurations.push_back(readConfiguration(path));
        }
        device::Options wanted = deviceOptions(options.camera, state.path());
        wanted.orientation = options.orientation;
        wanted.metadataFile = options.metadata;
        video::SourceOptions sourceOptions;
        sourceOptions.loop = options.loop;
        sourceOptions.notBefore = state.lastFrameTime();
        sourceOptions.stop = &stop.flag();
        if (!openSource(sourceOptions)) {
            return false;
        }
        device = buildCamera(options.camera, wanted, console);
        if (!options.overlay.empty() || !options.picture.empty()) {
            overlay.emplace(video::OverlayFiles{options.overlay, options.picture}, source->width(), source->height(),
                            source->framesPerSecond());
        }
        connect();
        for (std::size_t i = 0; i < configurations.size(); ++i) {
            if (!configure(*device, configurations[i], options.configFiles[i])) {
                console.line("'" + options.configFiles[i] +
                             "' is stored for another place than the one where the camera stands.");
            }
        }
        return true;
    }

    bool openSource(const video::SourceOptions& sourceOptions)
    {
        try {
            source = video::openSource(options.input, sourceOptions);
            return true;
        } catch (const std::exception&) {
            if (stop.stopped()) {
                return false;
            }
            throw;
        }
    }

    void connect()
    {
        events = device->onEvent([this](const ravel::Event& event) {
            report.event(event);
            console.line(describeEvent(event));
        });
        device->onFrameOutputs([this](const device::FrameOutputs& outputs) {
            const video::Drawing drawing = video::readDrawing(outputs.drawing, outputs.drawingBytes);
            report.drawing(drawing);
            guarded([&] {
                if (overlay) {
                    overlay->drawing(outputs.frame.seconds, outputs.frame.nanoseconds, drawing);
                }
            });
        });
    }

    // A failure is kept for the end, where it is the last that is read, and ends the run.
    template <typename Action>
    void guarded(const Action& action)
    {
        try {
            action();
        } catch (const std::exception& error) {
            failures.emplace_back(error.what());
            overlayFailed = true;
        }
    }

    void loop()
    {
        Pace pace(options.realSpeed, stop);
        long long delivered = 0;
        while (!stop.stopped() && failures.empty() && console.writable() &&
               (options.frames == 0 || delivered < options.frames)) {
            const std::optional<video::Frame> frame = nextFrame();
            if (!frame) {
                return;
            }
            pace.waitFor(video::nanosecondsOf(*frame));
            if (stop.stopped()) {
                return;
            }
            deliver(*frame);
            ++delivered;
            everyNowAndThen();
        }
    }

    std::optional<video::Frame> nextFrame()
    {
        try {
            return source->next();
        } catch (const std::exception& error) {
            failures.emplace_back(error.what());
            return std::nullopt;
        }
    }

    void deliver(const video::Frame& frame)
    {
        guarded([&] {
            if (overlay) {
                overlay->frame(frame);
            }
        });
        report.frame(device->deliver(video::turnedForDelivery(frame, options.orientation, turned)));
        lastFrame = video::nanosecondsOf(frame);
    }

    void everyNowAndThen()
    {
        const auto now = Clock::now();
        if (now - lastStatus >= kStatusInterval) {
            lastStatus = now;
            console.status(report.status());
        }
        if (now - lastKept >= kClockInterval) {
            lastKept = now;
            keepTime();
        }
    }

    void keepTime()
    {
        if (lastFrame != 0 && state.kept()) {
            try {
                state.keepLastFrameTime(lastFrame);
            } catch (const std::exception& error) {
                failures.emplace_back(error.what());
            }
        }
    }

    // Demuxer and muxer go before the plug-in: their library and the plug-in use one XML parser, which the
    // plug-in takes down with it.
    void end()
    {
        source.reset();
        device->drain();
        if (overlay && !overlayFailed) {
            guarded([&] { overlay->finish(); });
        }
        active = componentsOf(device->target().currentConfiguration());
        device->shutdown();
        statistics = device->statistics();
        events.reset();
        keepTime();
        if (!statistics.metadataError.empty()) {
            failures.push_back(statistics.metadataError);
        }
        if (statistics.framesFailed != 0) {
            failures.push_back(std::to_string(statistics.framesFailed) +
                               " frames could not be analysed; the log lines above name the reason.");
        }
        console.clearStatus();
    }

    void summary()
    {
        console.line("");
        console.line(summaryLine("input", options.input));
        for (const std::string& line : report.summary()) {
            console.line(line);
        }
        if (statistics.eventsDropped != 0) {
            console.line(summaryLine("", std::to_string(statistics.eventsDropped) + " were lost: the queue was full"));
        }
        console.line(summaryLine("metadata", std::to_string(statistics.documents) + " documents"));
        summaryOfConfiguration();
        console.line(
            summaryLine("settings", state.kept() ? state.path().string() : "not kept; --state DIR keeps them"));
        summaryOfFile(options.metadata);
        summaryOfFile(options.overlay);
        summaryOfFile(overlay && !overlay->pictureWritten() ? "" : options.picture);
        if (stop.stopped()) {
            console.line(summaryLine("ended", "by a signal"));
        }
    }

    void summaryOfConfiguration()
    {
        constexpr std::size_t kMost = 8;
        for (std::size_t i = 0; i < active.size() && i < kMost; ++i) {
            console.line(summaryLine(i == 0 ? "active" : "", printable(describe(active[i]))));
        }
        if (active.empty()) {
            console.line(summaryLine("active", "no rule and no module; --config FILE.xml gives some"));
        } else if (active.size() > kMost) {
            console.line(summaryLine("", "and " + std::to_string(active.size() - kMost) + " more"));
        }
    }

    void summaryOfFile(const std::string& path)
    {
        std::error_code error;
        const std::uintmax_t size = path.empty() ? 0 : std::filesystem::file_size(path, error);
        if (!path.empty() && !error) {
            console.line(summaryLine("written", path + " (" + sizeText(size) + ")"));
        }
    }

    const RunOptions& options;
    Console& console;
    StopSignal stop;
    StateFolder state;
    std::vector<std::string> failures;
    RunReport report;
    std::optional<video::Overlay> overlay;
    bool overlayFailed = false;
    video::FramePool turned;
    std::unique_ptr<device::Device> device;
    ravel::EventBus::Subscription events;
    std::unique_ptr<video::FrameSource> source; ///< last: gone before the device, also after a failure
    device::Statistics statistics;
    std::vector<ComponentName> active;
    std::int64_t lastFrame = 0;
    Clock::time_point lastStatus;
    Clock::time_point lastKept = Clock::now();
};

} // namespace

int runCamera(const RunOptions& options, Console& console)
{
    video::routeLibavLog(options.camera.verbosity > 0);
    try {
        return Run(options, console).execute();
    } catch (const std::exception& error) {
        console.clearStatus();
        console.error(error.what());
        return 1;
    }
}

} // namespace camera::cli
