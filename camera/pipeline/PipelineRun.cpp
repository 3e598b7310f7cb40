// What one run of the pipeline process owns, in which order that comes up and in which order it goes down. What becomes
// of a frame is in FrameLoop, what is printed at the end in RunSummary.
//
// Up: the state folder, the input, the engine modules, the device with the plug-in, the overlay, the run's
// configurations and tour, and the bus last, so that every client finds a complete camera.
// Down: the input first, because its demuxer and the plug-in use one XML parser, which the plug-in takes down with it;
// then what is on its way is delivered, the overlay is completed, the plug-in is destroyed, and the bus goes last.
#include "camera/pipeline/PipelineRun.h"

#include "camera/base/Activity.h"
#include "camera/base/Contained.h"
#include "camera/base/JsonText.h"
#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/base/StopSignal.h"
#include "camera/base/Text.h"
#include "camera/onvif/EventText.h"
#include "camera/pipeline/CameraBuilder.h"
#include "camera/pipeline/DeviceServicesClient.h"
#include "camera/pipeline/FactoryConfiguration.h"
#include "camera/pipeline/FrameLoop.h"
#include "camera/pipeline/FramePacer.h"
#include "camera/pipeline/PipelineService.h"
#include "camera/pipeline/PipelineStatus.h"
#include "camera/pipeline/RememberedCamera.h"
#include "camera/pipeline/RunCounts.h"
#include "camera/pipeline/RunOutputs.h"
#include "camera/pipeline/RunReport.h"
#include "camera/pipeline/RunSummary.h"
#include "camera/pipeline/Scenario.h"
#include "camera/pipeline/SupervisorWords.h"
#include "camera/ptz/PositioningDriver.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/store/StateFolder.h"
#include "camera/video/LibavLog.h"
#include "camera/video/OpenSource.h"
#include "camera/video/Timestamp.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace camera::pipeline {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatienceAtTheEnd(2);
constexpr std::chrono::seconds kPatienceForTheBus(1);
constexpr std::int64_t kFutureThatIsBelieved = 3600LL * 1000000000; ///< a run at full speed ends ahead of the clock
constexpr double kWholeScene = 90; ///< any angle: a fixed camera sees as much as there is

video::PictureSize pictureSize(const base::RunOptions& run, video::PictureSize source)
{
    if (run.width != 0) {
        return {run.width, run.height};
    }
    return run.camera.ptz ? video::defaultSize(source) : source;
}

// What the plug-in gets of a frame: what a PTZ camera sees of it, the whole picture scaled, or, without a view, the
// frame.
std::optional<video::View> viewOf(const std::optional<PtzOption>& ptz, video::PictureSize source,
                                  video::PictureSize picture)
{
    if (!ptz && picture == source) {
        return std::nullopt;
    }
    return video::View(ptz ? ptz->description.sceneAngleDegrees : kWholeScene, picture);
}

Json::Value noticeObject(const std::string& notice)
{
    Json::Value object(Json::objectValue);
    object["part"] = "notice";
    object["text"] = notice;
    return object;
}

class PipelineRun {
public:
    PipelineRun(base::PipelineOptions&& options, base::Console& console)
        : _options(std::move(options)),
          _run(_options.run),
          _console(console),
          _scenario(_run),
          _state(_run.camera.stateDir),
          _counts(openRunCounts(_options.counts)),
          _before(*_counts),
          _report(_counts),
          _outputs(_run, _counts, [this](const std::string& sentence) { fail(sentence); })
    {
        _options.run.camera = rememberedCamera(_run.camera, _state.path(), console);
    }

    int execute()
    {
        if (!open()) {
            return 0;
        }
        if (hasInput()) {
            if (_run.frames == 0 || framesLeft() > 0) {
                runFrames();
            }
        } else { // there are questions to answer only, and nothing moves
            base::Activity::instance().addFrame();
            _stop.waitUntil(Clock::time_point::max());
        }
        const RunSummary summary = end();
        if (hasInput()) {
            print([&] { return summary.objects(); }, [&] { return summary.lines(); });
        }
        for (const std::string& failure : _failures) {
            _console.error(failure);
        }
        return _failed || !_failures.empty() ? 1 : 0;
    }

private:
    bool hasInput() const { return _run.input != base::kNoInput; }
    long long framesLeft() const { return _run.frames - static_cast<long long>(_counts->frames); }

    // False when a signal came while the input was waited for.
    bool open()
    {
        DeviceOptions options = deviceOptions();
        if (hasInput() && !openSource()) {
            return false;
        }
        video::PictureSize picture;
        if (_source) {
            const video::PictureSize source{_source->width(), _source->height()};
            picture = pictureSize(_run, source);
            _picture = {static_cast<std::uint32_t>(picture.width), static_cast<std::uint32_t>(picture.height),
                        _source->framesPerSecond()};
            _view = viewOf(options.ptz, source, picture);
        }
        _missingEngines = loadEngineModules(_run.camera, options, _console);
        _device = buildCamera(options, _console);
        rememberCamera(_run.camera, _state.path());
        if (!options.metadataFile.empty()) {
            _outputs.metadataBegins();
        }
        if (_source) {
            _outputs.openOverlay(picture, _source->framesPerSecond());
            _recordings->begin(_source->framesPerSecond());
        }
        _events = _device->onEvent([this](const base::Event& event) {
            _report.event(event);
            printEvent(event);
        });
        begin();
        tellBegun(_options.bus);
        _service = std::make_unique<PipelineService>(
            _options.bus, *_device,
            PipelineObject::Report{[this] { return status(); },
                                   [this] { return _report.takeLongestFrameMilliseconds(); }, _recordings,
                                   showsElsewhere(options.ptz, picture)},
            base::programFolder());
        if (_source) {
            keepStart(picture);
        }
        return true;
    }

    // Empty for a camera without frames, and for one that does not move.
    std::function<bool(const ptz::Position&)> showsElsewhere(const std::optional<PtzOption>& ptz,
                                                             video::PictureSize picture)
    {
        if (!_source || !ptz) {
            return {};
        }
        const video::PictureSize source{_source->width(), _source->height()};
        return [this, source, picture, scene = ptz->description.sceneAngleDegrees](const ptz::Position& position) {
            const unsigned int angle = _device->positioning().optics().angleOfView(position.zoom);
            return video::isBeyondEdge(position, angle, scene, source, picture);
        };
    }

    void begin()
    {
        for (const std::string& notice : _scenario.configure(*_device)) {
            printNotice(notice);
        }
        if (_run.camera.factory) {
            giveFactoryConfiguration();
        }
        try {
            _scenario.startTour(*_device);
        } catch (const std::exception& error) {
            if (!_options.again) { // after a crash a preset of the tour may have been removed
                throw;
            }
            printNotice(std::string("The tour of the command line is not started again: ") + error.what() + ".");
        }
    }

    // A start that dies before the file says that it is given gives it again; after that nobody gives it.
    void giveFactoryConfiguration()
    {
        const std::vector<std::string> refused =
            pipeline::giveFactoryConfiguration(*_device, _run.camera.ptz, base::programFolder());
        for (const std::string& sentence : refused) {
            _console.error(sentence);
        }
        _options.run.camera.factory = !refused.empty();
        rememberCamera(_run.camera, _state.path());
    }

    // What is told when the first frame has come. Frames do not wait for it then.
    void keepStart(video::PictureSize picture)
    {
        _service->waitUntilConnected(Clock::now() + kPatienceForTheBus);
        _start.emplace();
        _start->input = _run.input;
        _start->width = picture.width;
        _start->height = picture.height;
        _start->framesPerSecond = _source->framesPerSecond();
        base::contained("device", "the active rules cannot be read", [&] { _start->engines = _device->activeRules(); });
        _start->stateFolder = _state.path().string();
        _start->onvif = _options.onvif;
        _start->runtimeFolder = std::filesystem::path(_options.counts).parent_path().string();
    }

    void tellStart()
    {
        if (std::optional<RunStart> start = std::exchange(_start, std::nullopt)) {
            if (!_service->connected()) {
                start->silent = "its bus";
            } else if (!_services->targetIds(bus::service::kOnvifMetadataStreamer)) {
                start->silent = "camera-services";
            }
            print([&] { return start->objects(); }, [&] { return std::vector{start->line()}; });
        }
    }

    // For programs or for people, as the options say.
    void print(const std::function<std::vector<Json::Value>()>& objects,
               const std::function<std::vector<std::string>()>& lines)
    {
        if (_run.quiet) {
            return;
        }
        if (_run.json) {
            for (const Json::Value& object : objects()) {
                _console.line(base::jsonLine(object));
            }
            return;
        }
        for (const std::string& line : lines()) {
            _console.line(line);
        }
    }

    void printNotice(const std::string& notice)
    {
        print([&] { return std::vector{noticeObject(notice)}; }, [&] { return std::vector{base::printable(notice)}; });
    }

    void printEvent(const base::Event& event)
    {
        if (_run.json) {
            const std::string preset = _run.camera.ptz ? _device->positioning().activePreset() : std::string();
            _console.line(base::jsonLine(onvif::eventObject(event, preset)));
        } else if (!_run.quiet) {
            _console.line(onvif::describeEvent(event));
        }
    }

    void showStatus()
    {
        if (!_run.quiet) {
            _console.status(_report.status());
        }
    }

    DeviceOptions deviceOptions()
    {
        DeviceOptions options = pipeline::deviceOptions(_run.camera, _state.path());
        options.metadataFile = _outputs.metadataFile();
        options.metadataGoesOn = _outputs.metadataGoesOn();
        options.activeRulesChanged = [this](const auto& rules) { _report.rulesChanged(rules); };
        if (_run.camera.ptz) {
            options.ptz = Scenario::positioning(_run);
            options.ptz->keepState = _state.kept(); // also in a temporary folder: this process may be restarted
        }
        options.services = _services;
        return options;
    }

    bool openSource()
    {
        video::SourceOptions options;
        options.loop = _run.loop;
        options.wait = _run.waitSource || (_counts->restarted() && _counts->liveSource);
        options.followClock = _run.realSpeed;
        options.notBefore = notBefore();
        options.stop = &_stop.flag();
        options.clock.wait = [this](std::chrono::seconds time) { _stop.waitUntil(Clock::now() + time); };
        options.tell = [this](const std::string& sentence) { _console.error(sentence); };
        options.gone = [this](bool gone) { _report.sourceGone(gone); };
        options.whileGone = [this](std::int64_t time) {
            _outputs.drawGone(time);
            _recordings->drawGone(time, "waiting for the source");
            showStatus();
        };
        options.stepped = [this](std::int64_t nanoseconds) { _pacer.timesStepped(nanoseconds); };
        try {
            _source = video::openSource(_run.input, options);
            _counts->liveSource = _source->live();
            return true;
        } catch (const std::exception&) {
            if (_stop.stopped()) {
                return false;
            }
            throw;
        }
    }

    // Later than this are the times of the frames: within a run always, and after another one unless that had a clock
    // that was wrong.
    std::int64_t notBefore()
    {
        if (_counts->lastTime != 0) {
            return _counts->lastTime;
        }
        const std::int64_t last = _state.lastFrameTime();
        if (last <= video::wallClockNanoseconds() + kFutureThatIsBelieved) {
            return last;
        }
        _console.error("the last run on '" + _state.path().string() + "' ended at " + base::utcText(last / 1000000000) +
                       ", which is in the future; the times of this run begin with the clock");
        return 0;
    }

    // The run goes on, without what has failed.
    void fail(const std::string& sentence)
    {
        _failed = true;
        _console.error(sentence);
    }

    void runFrames()
    {
        std::optional<ptz::PositioningDriver> driver;
        if (_run.realSpeed) {
            driver.emplace(_device->positioning());
        }
        FrameLoop loop({_run.realSpeed, _run.frames == 0 ? 0 : framesLeft()}, std::move(_view), frameSteps(), _report);
        try {
            loop.run();
        } catch (...) {
            _failures.push_back(base::reasonOfException()); // for the end, where it is the last that is read
        }
        _lastFrameTime = loop.lastFrameTime();
    }

    FrameLoop::Steps frameSteps()
    {
        FrameLoop::Steps steps;
        steps.mayContinue = [this] { return !_stop.stopped() && _console.writable(); };
        steps.read = [this] { return _source->next(); };
        steps.waitUntilDue = [this](std::int64_t nanoseconds) { _pacer.waitUntilDue(nanoseconds); };
        steps.advanceCamera = [this](std::chrono::nanoseconds time) { _device->positioning().advance(time); };
        steps.drainControl = [this] { _device->control().drain(); };
        steps.direction = [this] { return direction(); };
        steps.orientation = [this] { return static_cast<int>(_services->orientation()); };
        steps.deliver = [this](const video::Frame& frame) {
            const FrameResult result = _device->deliver(frame);
            countWhatTheDeviceDid(_device->statistics());
            return result;
        };
        steps.draw = [this](const video::Frame& upright, const video::Drawing& drawing) {
            if (_outputs.draws() || _recordings->wanted()) {
                const std::string text = caption();
                _outputs.draw(upright, drawing, text);
                _recordings->draw(upright, drawing, text);
            }
        };
        steps.showStatus = [this] {
            tellStart();
            showStatus();
        };
        steps.keepTime = [this](std::int64_t nanoseconds) { keepTime(nanoseconds); };
        return steps;
    }

    ViewDirection direction()
    {
        if (!_run.camera.ptz) {
            return {ptz::Position(), static_cast<unsigned int>(kWholeScene * 1000)};
        }
        const ptz::Position position = _device->positioning().position();
        return {position, _device->positioning().optics().angleOfView(position.zoom)};
    }

    // With every frame: the process may die in the next one.
    void countWhatTheDeviceDid(const Statistics& statistics)
    {
        _counts->documents = _before.documents + statistics.documents;
        _counts->eventsDropped = _before.eventsDropped + statistics.eventsDropped;
        _counts->metadataFailed = _before.metadataFailed || !statistics.metadataError.empty();
    }

    // Where the camera looks and which rules are active there, for the picture.
    std::string caption() const
    {
        const std::string rules = "rules: " + _report.activeRules();
        if (!_run.camera.ptz) {
            return rules;
        }
        const std::string preset = _device->positioning().activePreset();
        if (!preset.empty()) {
            return preset + "   " + rules;
        }
        return (_device->positioning().moving() ? "moving   " : "at no preset   ") + rules;
    }

    // Where a run goes on is a convenience for the next one: nothing ends because it cannot be kept, and it is said
    // once.
    void keepTime(std::int64_t nanoseconds)
    {
        if (nanoseconds == 0 || !_state.kept()) {
            return;
        }
        try {
            _state.keepLastFrameTime(nanoseconds);
        } catch (const std::runtime_error& error) {
            if (!std::exchange(_toldTimeNotKept, true)) {
                base::Log::instance().write(base::LogLevel::error, "state", error.what());
            }
        }
    }

    PipelineStatus status()
    {
        PipelineStatus status = pipelineStatus(*_device, _report);
        status.input = _run.input;
        status.missingEngines = _missingEngines;
        status.picture = _picture;
        status.orientation = _services->orientation();
        status.documentsTaken = _services->documentsTaken();
        status.documentsDropped += _services->documentsLost();
        return status;
    }

    RunSummary end()
    {
        _source.reset();
        // The end waits for a slow metadata streamer for a while, and after a signal not at all.
        _services->finishBy(Clock::now() + (_stop.stopped() ? std::chrono::seconds(0) : kPatienceAtTheEnd));
        _device->drain();
        _outputs.finish();
        _recordings->end();
        std::vector<ActiveRules> active;
        base::contained("device", "the active rules cannot be read", [&] { active = _device->activeRules(); });
        _device->shutdown();
        _service.reset();
        const Statistics statistics = _device->statistics();
        _events.reset();
        keepTime(_lastFrameTime);
        countWhatTheDeviceDid(statistics);
        _failed = _failed || _counts->metadataFailed || _counts->videosFailed != 0; // which was told when it happened
        if (statistics.framesFailed != 0) {
            _failures.push_back(std::to_string(statistics.framesFailed) +
                                " frames could not be analysed; the log lines above name the reason.");
        }
        _console.clearStatus();
        _counts->running = false;
        return summaryOf(active);
    }

    RunSummary summaryOf(const std::vector<ActiveRules>& active) const
    {
        RunSummary summary;
        summary.input = _run.input;
        summary.report = _report.summary();
        summary.counted = _report.counted();
        summary.eventsDropped = _counts->eventsDropped;
        summary.documents = _counts->documents;
        for (const ActiveRules& rules : active) {
            summary.active.insert(summary.active.end(), rules.components.begin(), rules.components.end());
        }
        summary.settings = _state.kept() && !_options.temporaryState ? _state.path().string() : "";
        summary.files = _outputs.files();
        if (_stop.stopped()) {
            summary.ended = base::Activity::instance().shutDownAnnounced() ? "by camera shutdown" : "by a signal";
        }
        return summary;
    }

    base::PipelineOptions _options; ///< with what the state folder remembers
    const base::RunOptions& _run;
    base::Console& _console;
    const Scenario _scenario;
    base::StopSignal _stop;
    FramePacer _pacer{_stop};
    store::StateFolder _state;
    std::vector<std::string> _failures; ///< to be printed at the end
    bool _failed = false;               ///< something was lost, and that was printed
    bool _toldTimeNotKept = false;
    PictureStatus _picture;
    std::vector<std::string> _missingEngines; ///< paths of modules that the folder remembers and that cannot be loaded
    const std::shared_ptr<RunCounts> _counts;
    const RunCounts _before; ///< of the processes of this run that were the pipeline before
    RunReport _report;
    RunOutputs _outputs;
    const std::shared_ptr<Recordings> _recordings = std::make_shared<Recordings>();
    std::optional<RunStart> _start; ///< until it has been told
    std::optional<video::View> _view;
    const std::shared_ptr<DeviceServicesClient> _services = std::make_shared<DeviceServicesClient>(_options.bus);
    std::unique_ptr<Device> _device;
    std::unique_ptr<PipelineService> _service;
    serviceapi::EventBus::Subscription _events;
    std::unique_ptr<video::FrameSource> _source; ///< last: gone before the device, also after a failure
    std::int64_t _lastFrameTime = 0;
};

} // namespace

int runPipeline(base::PipelineOptions options, base::Console& console)
{
    video::routeLibavLog();
    const std::string bus = options.bus;
    int code = 1;
    try {
        if (!options.activity.empty()) {
            base::Activity::instance().share(options.activity);
        }
        code = PipelineRun(std::move(options), console).execute();
    } catch (const base::UsageError& error) {
        console.clearStatus();
        console.error(error.what());
        code = 2;
    } catch (...) {
        console.clearStatus();
        console.error(base::reasonOfException());
    }
    base::contained("pipeline", "the supervisor was not told", [&] { tellOutcome(bus, code); }); // it needs a thread
    return code;
}

} // namespace camera::pipeline
