#include "camera/pipeline/PipelineRun.h"

#include "camera/base/PrintableText.h"
#include "camera/base/SizeText.h"
#include "camera/base/StopSignal.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/onvif/EventText.h"
#include "camera/pipeline/BusPresence.h"
#include "camera/pipeline/CameraBuilder.h"
#include "camera/pipeline/DeviceServicesClient.h"
#include "camera/pipeline/Pace.h"
#include "camera/pipeline/PipelineStatus.h"
#include "camera/pipeline/RememberedCamera.h"
#include "camera/pipeline/RunReport.h"
#include "camera/pipeline/Scenario.h"
#include "camera/ptz/PositioningDriver.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/store/StateFolder.h"
#include "camera/video/LibavLog.h"
#include "camera/video/OpenSource.h"
#include "camera/video/Overlay.h"
#include "camera/video/Timestamp.h"
#include "camera/video/TurnedFrame.h"
#include "camera/video/View.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

namespace camera::pipeline {

namespace {

using base::Console;
using base::printable;
using base::sizeText;
using onvif::ComponentName;
using pipeline::summaryLine;

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStatusInterval(200);
constexpr std::chrono::seconds kClockInterval(5);
constexpr std::chrono::seconds kPatienceAtTheEnd(2);
constexpr double kWholeScene = 90; ///< any angle: a fixed camera sees as much as there is

/// One run, from the files it reads to the summary. Members are declared in the order in which they are
/// needed; end() takes them down in the order that the device asks for.
class Run {
public:
    Run(pipeline::PipelineOptions&& given, Console& console)
        : given(std::move(given)),
          options(this->given.run),
          console(console),
          scenario(options),
          state(options.camera.stateDir)
    {
        this->given.run.camera = rememberedCamera(options.camera, state.path(), console);
    }

    int execute()
    {
        if (!open()) {
            return 0;
        }
        loop();
        end();
        if (hasInput()) {
            summary();
        }
        for (const std::string& failure : failures) {
            console.error(failure);
        }
        return failures.empty() ? 0 : 1;
    }

private:
    // False when a signal came while the input was waited for.
    bool open()
    {
        video::SourceOptions sourceOptions;
        sourceOptions.loop = options.loop;
        sourceOptions.notBefore = state.lastFrameTime();
        sourceOptions.stop = &stop.flag();
        pipeline::Options wanted = deviceOptions();
        if (hasInput()) {
            if (!openSource(sourceOptions)) {
                return false;
            }
            openView(wanted);
        }
        missingEngines = loadEngineModules(options.camera, wanted, console);
        device = pipeline::buildCamera(wanted, console);
        rememberCamera(options.camera, state.path());
        if (hasInput() && (!options.overlay.empty() || !options.picture.empty())) {
            overlay.emplace(video::OverlayFiles{options.overlay, options.picture}, pictureSize.width,
                            pictureSize.height, source->framesPerSecond());
        }
        connect();
        for (const std::string& notice : scenario.begin(*device)) {
            console.line(notice);
        }
        presence = std::make_unique<BusPresence>(
            given.bus, *device,
            PipelineObject::Report{[this] { return status(); },
                                   [this] { return report.takeLongestFrameMilliseconds(); }});
        return true;
    }

    bool hasInput() const { return options.input != kNoInput; }

    pipeline::Options deviceOptions()
    {
        pipeline::Options wanted = pipeline::deviceOptions(options.camera, state.path());
        wanted.metadataFile = options.metadata;
        wanted.activeRulesChanged = [this](const auto& rules) { report.rulesChanged(rules); };
        if (options.camera.ptz) {
            wanted.ptz = Scenario::positioning(options);
            wanted.ptz->keepState =
                state.kept(); // also in a folder that goes with the camera: this process may be restarted
        }
        wanted.services = services;
        return wanted;
    }

    // What the plug-in gets: the source's whole picture, scaled when a size is given, or what a PTZ camera sees of it.
    void openView(const pipeline::Options& wanted)
    {
        pictureSize = {source->width(), source->height()};
        const video::PictureSize whole = pictureSize;
        if (wanted.ptz) {
            pictureSize = video::defaultSize(whole);
        }
        if (options.width != 0) {
            pictureSize = {options.width, options.height};
        }
        if (wanted.ptz) {
            view.emplace(wanted.ptz->description.sceneAngleDegrees, pictureSize);
        } else if (!(pictureSize == whole)) {
            view.emplace(kWholeScene, pictureSize);
        }
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
        events = device->onEvent([this](const base::Event& event) {
            report.event(event);
            console.line(onvif::describeEvent(event));
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
        if (!hasInput()) { // there are questions to answer only, and nothing moves
            return stop.waitUntil(Clock::time_point::max());
        }
        Pace pace(options.realSpeed, stop);
        // At full speed the camera moves by the times of the frames, else by the clock, also while no frame comes.
        std::optional<ptz::PositioningDriver> driver;
        if (options.realSpeed) {
            driver.emplace(device->positioning());
        }
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
            move(*frame);
            deliver(seen(*frame));
            ++delivered;
            everyNowAndThen();
        }
    }

    void move(const video::Frame& frame)
    {
        if (!options.realSpeed && lastFrame != 0) {
            device->positioning().advance(std::chrono::nanoseconds(video::nanosecondsOf(frame) - lastFrame));
            device->control().drain(); // what it announced is true for this frame
        }
        report.time(video::nanosecondsOf(frame));
    }

    video::Frame seen(const video::Frame& frame)
    {
        if (!view) {
            return frame;
        }
        if (!options.camera.ptz) {
            return view->of(frame, ptz::Position(), static_cast<unsigned int>(kWholeScene * 1000));
        }
        const ptz::Position position = device->positioning().position();
        return view->of(frame, position, device->positioning().optics().angleOfView(position.zoom));
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
        const int orientation = static_cast<int>(services->orientation());
        const video::Frame delivered = video::turnedForDelivery(frame, orientation, turned);
        const auto begin = Clock::now();
        const FrameResult result = device->deliver(delivered);
        report.frame(result.analysed, Clock::now() - begin);
        const video::Drawing drawing = video::readDrawing(result.outputs.drawing, result.outputs.drawingBytes);
        if (result) {
            report.drawing(drawing);
        }
        guarded([&] {
            if (overlay) {
                overlay->add(frame, drawing, caption());
            }
        });
        lastFrame = video::nanosecondsOf(frame);
    }

    // Where the camera looks and which rules are active there, for the picture.
    std::string caption() const
    {
        const std::string rules = "rules: " + report.activeRules();
        if (!options.camera.ptz) {
            return rules;
        }
        const std::string preset = device->positioning().activePreset();
        if (!preset.empty()) {
            return preset + "   " + rules;
        }
        return (device->positioning().moving() ? "moving   " : "at no preset   ") + rules;
    }

    PipelineStatus status()
    {
        PipelineStatus status = pipelineStatus(*device, report);
        status.input = options.input;
        status.missingEngines = missingEngines;
        status.orientation = services->orientation();
        status.documentsTaken = services->documentsTaken();
        status.documentsDropped += services->documentsLost();
        return status;
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
        // A streamer that takes its time must not hold up the end, least of all one that somebody waits for.
        services->finishBy(Clock::now() + (stop.stopped() ? std::chrono::seconds(0) : kPatienceAtTheEnd));
        device->drain();
        if (overlay && !overlayFailed) {
            guarded([&] { overlay->finish(); });
        }
        for (const ActiveRules& rules : device->activeRules()) {
            active.insert(active.end(), rules.components.begin(), rules.components.end());
        }
        device->shutdown();
        presence.reset();
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
        console.line(summaryLine("settings", state.kept() && !given.temporaryState
                                                 ? state.path().string()
                                                 : "not kept; --state DIR keeps them"));
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
            console.line(summaryLine(i == 0 ? "active" : "", printable(onvif::describe(active[i]))));
        }
        if (active.empty()) {
            console.line(summaryLine("active", "none; --config FILE.xml gives rules"));
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

    pipeline::PipelineOptions given; ///< with what the state folder remembers
    const pipeline::RunOptions& options;
    Console& console;
    const Scenario scenario;
    base::StopSignal stop;
    store::StateFolder state;
    std::vector<std::string> failures;
    std::vector<std::string> missingEngines; ///< paths of modules that the folder remembers and that cannot be loaded
    pipeline::RunReport report;
    std::optional<video::Overlay> overlay;
    bool overlayFailed = false;
    video::FramePool turned;
    video::PictureSize pictureSize;
    std::optional<video::View> view;
    const std::shared_ptr<DeviceServicesClient> services =
        std::make_shared<DeviceServicesClient>(DeviceServicesClient::Options{given.bus});
    std::unique_ptr<pipeline::Device> device;
    std::unique_ptr<BusPresence> presence;
    serviceapi::EventBus::Subscription events;
    std::unique_ptr<video::FrameSource> source; ///< last: gone before the device, also after a failure
    pipeline::Statistics statistics;
    std::vector<ComponentName> active;
    std::int64_t lastFrame = 0;
    Clock::time_point lastStatus;
    Clock::time_point lastKept = Clock::now();
};

} // namespace

int runPipeline(pipeline::PipelineOptions options, base::Console& console)
{
    video::routeLibavLog(options.run.camera.verbosity > 0);
    try {
        return Run(std::move(options), console).execute();
    } catch (const std::exception& error) {
        console.clearStatus();
        console.error(error.what());
        return 1;
    }
}

} // namespace camera::pipeline
