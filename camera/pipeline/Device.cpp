#include "camera/pipeline/Device.h"

#include "camera/base/Contained.h"
#include "camera/base/Current.h"
#include "camera/base/Log.h"
#include "camera/framework/Connections.h"
#include "camera/framework/EngineFactory.h"
#include "camera/framework/FrameBuffer.h"
#include "camera/framework/MetadataPool.h"
#include "camera/framework/PluginConfiguration.h"
#include "camera/framework/PluginLoader.h"
#include "camera/framework/PositioningAdapter.h"
#include "camera/ptz/PositioningDocument.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ServiceApi.h"
#include "camera/store/StateLock.h"

#include "korva/meridan/BasicFilterPlugin.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace camera::pipeline {

namespace {

constexpr const char* kPluginName = "DetectionPlugin";
constexpr const char* kAnalyticsService = "onvif_analytic_service";
constexpr const char* kComponent = "device";

const Options& checked(const Options& options)
{
    if (options.engineCount == 0) {
        throw std::invalid_argument("a device needs room for at least one engine");
    }
    return options;
}

// A preset that nobody described still needs a place of its own, or engines could not tell that the camera moved.
ptz::Preset placeFor(const std::string& name, std::size_t index)
{
    const auto pan = static_cast<unsigned int>((index + 1) * 20000 % 360000);
    return {name, {pan, 0, 100}};
}

ptz::PositioningOptions positioningOptions(const Options& options)
{
    ptz::PositioningOptions result;
    result.movable = options.ptz.has_value();
    if (!options.ptz) {
        return result;
    }
    result.description = options.ptz->description;
    bool known = options.ptz->arriveAt.empty();
    for (const PresetOption& preset : options.ptz->presets) {
        result.presets.push_back({preset.name, {preset.pan, preset.tilt, preset.zoom}});
        known = known || preset.name == options.ptz->arriveAt;
    }
    if (!known) {
        result.presets.push_back(placeFor(options.ptz->arriveAt, result.presets.size()));
    }
    return result;
}

} // namespace

class Device::Impl {
public:
    explicit Impl(const Options& options);
    ~Impl() { shutdown(); }

    void start();
    bool pass(korva::meridan::Buffer* buffer);
    FrameResult deliver(const video::Frame& frame);
    bool deliverEmpty();
    void drain();
    Statistics statistics() const;
    void shutdown();

    const Options options;
    const store::StateLock lock;
    const std::shared_ptr<serviceapi::ServiceApi> environment;
    const serviceapi::CurrentServiceApi::Binding environmentBinding;
    const std::shared_ptr<ptz::PositioningUnit> positioning;
    const std::shared_ptr<framework::PositioningAdapter> positioningAdapter;
    const base::Current<framework::PositioningAdapter>::Binding positioningBinding;
    const std::shared_ptr<framework::MetadataPool> pool;
    const base::Current<framework::MetadataPool>::Binding poolBinding;
    const std::shared_ptr<framework::EngineFactory> engines;
    const base::Current<framework::EngineFactory>::Binding enginesBinding;
    TargetClient target;

private:
    void build();
    void destroy();
    void setUpPositioning();
    void loadPositioning();
    void storePositioning();
    void positioningChanged(ptz::PositioningUnit::Change change);
    void activeRulesChanged();

    korva::meridan::MeridanEnv _meridan;
    const korva::meridan::IPluginConfiguration _configuration{kPluginName};
    framework::CountingSink _output;

    // Built, connected, disconnected and deleted on the control thread.
    std::unique_ptr<korva::meridan::PipelinePlugin> _plugin;
    std::unique_ptr<framework::ElementSink> _input;

    std::mutex _frameMutex; // held while a frame is inside the plug-in
    bool _accepting = false;
    std::atomic<std::uint64_t> _frames{0};
    std::atomic<std::uint64_t> _framesFailed{0};

    std::mutex _storeMutex; // a later state is never overwritten by an earlier one
    std::atomic<bool> _storePending{false};

    // Control thread.
    bool _rulesWillBeRead = false;
    bool _rulesGo = false;

    std::mutex _shutdownMutex;
    bool _ended = false;
};

Device::Impl::Impl(const Options& given)
    : options(checked(given)),
      lock(options.stateDir),
      environment(std::make_shared<serviceapi::ServiceApi>(
          serviceapi::ServiceApiOptions{options.stateDir, options.metadataFile, options.services})),
      environmentBinding(environment),
      positioning(std::make_shared<ptz::PositioningUnit>(positioningOptions(options),
                                                         [environment = environment.get()](std::function<void()> task) {
                                                             environment->control.post(std::move(task));
                                                         })),
      positioningAdapter(std::make_shared<framework::PositioningAdapter>(positioning)),
      positioningBinding(positioningAdapter),
      pool(std::make_shared<framework::MetadataPool>(
          framework::MetadataPool::Options{options.engineCount, options.metadataBytes})),
      poolBinding(pool),
      engines(std::make_shared<framework::EngineFactory>(options.engines, options.engineModules,
                                                         [this] { activeRulesChanged(); })),
      enginesBinding(engines),
      target(environment->control, environment->analyticsTargets, kAnalyticsService)
{
    if (options.ptz) {
        setUpPositioning();
    }
}

void Device::Impl::setUpPositioning()
{
    const PtzOption& ptz = *options.ptz;
    if (ptz.keepState) {
        loadPositioning();
        positioning->onChange([this](auto change) { positioningChanged(change); });
    }
    if (!ptz.arriveAt.empty() && !positioning->placeAt(ptz.arriveAt)) {
        throw std::invalid_argument("preset '" + ptz.arriveAt + "' is beyond what the camera '" +
                                    ptz.description.model + "' can reach");
    }
    // A start after a crash is not given it again.
    if (ptz.keepState && (!ptz.presets.empty() || !ptz.arriveAt.empty())) {
        storePositioning();
    }
}

void Device::Impl::loadPositioning()
{
    std::string problem;
    try {
        const auto document = environment->settings.read(ptz::kPositioningKey);
        problem = document ? positioning->restore(*document).sentence : std::string();
    } catch (const std::exception& error) {
        problem = std::string("the positions cannot be read: ") + error.what();
    }
    if (!problem.empty()) {
        base::Log::instance().write(base::LogLevel::error, kComponent, problem);
    }
}

void Device::Impl::storePositioning()
{
    const std::lock_guard<std::mutex> oneAtATime(_storeMutex);
    _storePending = false;
    try {
        environment->settings.write(ptz::kPositioningKey, positioning->serialize());
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::error, kComponent,
                                    std::string("the positions could not be stored: ") + error.what());
    }
}

// A list is stored before the caller that changed it gets its answer. Where the camera stands is reported
// by the code that lets time pass, which must not wait for a disk.
void Device::Impl::positioningChanged(ptz::PositioningUnit::Change change)
{
    if (change == ptz::PositioningUnit::Change::lists) {
        storePositioning();
    } else if (!_storePending.exchange(true)) {
        environment->control.post([this] { storePositioning(); });
    }
}

// One change of place is several changes of every engine: they are read once, when all of them are done.
void Device::Impl::activeRulesChanged()
{
    if (!options.activeRulesChanged || _rulesWillBeRead || _rulesGo) {
        return;
    }
    _rulesWillBeRead = environment->control.post([this] {
        _rulesWillBeRead = false;
        if (!_rulesGo) {
            options.activeRulesChanged(pipeline::activeRules(*engines));
        }
    });
}

void Device::Impl::start()
{
    environment->startServices();
    const auto factory = framework::loadPlugin(options.pluginPath, kPluginName);
    environment->control.ask([&] {
        try {
            _plugin.reset(factory(&_meridan, _configuration));
        } catch (const std::exception& error) {
            throw std::runtime_error("the plug-in " + options.pluginPath.string() +
                                     " could not be built: " + error.what());
        }
        build();
    });
    {
        const std::lock_guard<std::mutex> frame(_frameMutex);
        _accepting = true;
    }
    positioning->announceStanding();
    environment->control.drain(); // the first frame finds the camera where it is said to stand
}

void Device::Impl::build()
{
    auto* filter = dynamic_cast<korva::meridan::BasicFilterPlugin*>(_plugin.get());
    if (filter == nullptr) {
        throw std::runtime_error("the plug-in " + options.pluginPath.string() + " is no filter");
    }
    _input = std::make_unique<framework::ElementSink>(*filter);
    filter->OnConnectToSink(&_output);
    _plugin->PipelinesConstructed();
}

bool Device::Impl::pass(korva::meridan::Buffer* buffer)
{
    return base::contained(kComponent, "a frame failed", [&] { _input->PutBuffer(buffer); });
}

FrameResult Device::Impl::deliver(const video::Frame& frame)
{
    auto buffer = std::make_unique<framework::FrameBuffer>(frame);
    const std::lock_guard<std::mutex> running(_frameMutex);
    if (!_accepting) {
        return {};
    }
    ++_frames;
    const bool passed = pass(buffer.release());
    const framework::MetadataPool::Outputs outputs = pool->takeOutputs();
    if (!passed) {
        ++_framesFailed;
        return {};
    }
    return {true, outputs};
}

bool Device::Impl::deliverEmpty()
{
    auto buffer = std::make_unique<framework::FrameBuffer>();
    const std::lock_guard<std::mutex> running(_frameMutex);
    return _accepting && pass(buffer.release());
}

void Device::Impl::drain()
{
    environment->control.drain();
    environment->events.drain();
    environment->metadataStreamer.drain();
}

Statistics Device::Impl::statistics() const
{
    const auto documents = environment->metadataStreamer.counters();
    Statistics result;
    result.frames = _frames;
    result.framesFailed = _framesFailed;
    result.emptyBuffers = _output.empties();
    result.events = environment->events.published();
    result.eventsDropped = environment->events.dropped();
    result.documents = documents.received;
    result.documentsWritten = documents.written;
    result.documentsDropped = documents.dropped;
    result.controlFailures = environment->control.failures();
    result.metadataError = documents.error;
    return result;
}

void Device::Impl::shutdown()
{
    const std::lock_guard<std::mutex> ending(_shutdownMutex);
    if (std::exchange(_ended, true)) {
        return;
    }
    {
        const std::lock_guard<std::mutex> waitForTheRunningFrame(_frameMutex);
        _accepting = false;
    }
    positioning->quiesce();
    environment->quiesce();
    if (options.ptz && options.ptz->keepState && positioning->moving()) {
        storePositioning(); // it starts again from between the places, not from where it was before
    }
    // Everything queued so far runs before this: no request and no callback is inside the plug-in then, and
    // what comes later finds nobody who serves the target.
    environment->control.ask([this] { destroy(); });
    environment->control.stop();
    environment->events.drain();
    environment->metadataStreamer.drain();
    environment->services->stop();
}

void Device::Impl::destroy()
{
    _rulesGo = true; // the end is no change of what was active
    if (auto* filter = dynamic_cast<korva::meridan::BasicFilterPlugin*>(_plugin.get())) {
        filter->OnDisconnectSink(&_output);
    }
    _input.reset();
    _plugin.reset();
    // The plug-in leaves some of its registrations behind: their context is gone now.
    positioningAdapter->discardRegistrations();
    environment->discardRegistrations();
}

Device::Device(Options options)
{
    base::Log::instance().setLevel(options.logLevel);
    _impl = std::make_unique<Impl>(options);
    _impl->start();
}

Device::~Device() = default;

FrameResult Device::deliver(const video::Frame& frame)
{
    return _impl->deliver(frame);
}

bool Device::deliverEmpty()
{
    return _impl->deliverEmpty();
}

TargetClient& Device::target()
{
    return _impl->target;
}

serviceapi::EventBus::Subscription Device::onEvent(serviceapi::EventBus::Listener listener)
{
    return _impl->environment->events.subscribe(std::move(listener));
}

bool Device::goToPreset(const std::string& name)
{
    return _impl->positioning->goToPreset(name, {"the device's owner", ptz::kOperatorPriority}).ok();
}

void Device::drain()
{
    _impl->drain();
}

Statistics Device::statistics() const
{
    return _impl->statistics();
}

void Device::shutdown()
{
    _impl->shutdown();
}

const framework::EngineFactory& Device::engines() const
{
    return *_impl->engines;
}

std::vector<ActiveRules> Device::activeRules()
{
    return control().ask([this] { return pipeline::activeRules(engines()); });
}

ptz::PositioningUnit& Device::positioning()
{
    return *_impl->positioning;
}

serviceapi::ServiceApi& Device::environment()
{
    return *_impl->environment;
}

serviceapi::ControlThread& Device::control()
{
    return _impl->environment->control;
}

} // namespace camera::pipeline
