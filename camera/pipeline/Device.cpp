#include "camera/pipeline/Device.h"

#include "camera/base/Activity.h"
#include "camera/base/Contained.h"
#include "camera/base/Current.h"
#include "camera/base/Log.h"
#include "camera/framework/EngineFactory.h"
#include "camera/framework/FrameBuffer.h"
#include "camera/framework/MetadataPool.h"
#include "camera/framework/PluginConfiguration.h"
#include "camera/framework/PluginLoader.h"
#include "camera/framework/PositioningAdapter.h"
#include "camera/framework/SinksAndSources.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/KeptPositions.h"
#include "camera/pipeline/LiveProperties.h"
#include "camera/ptz/PositioningEvent.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ServiceApi.h"
#include "camera/store/StateLock.h"

#include "korva/meridan/BasicFilterPlugin.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace camera::pipeline {

namespace {

constexpr const char* kPluginName = "DetectionPlugin";
constexpr const char* kAnalyticsService = "onvif_analytic_service";
constexpr const char* kComponent = "device";

const DeviceOptions& checked(const DeviceOptions& options)
{
    if (options.engineCount == 0) {
        throw std::invalid_argument("a device needs at least one engine");
    }
    return options;
}

// A preset without a description gets a place of its own: without one, engines could not tell that the camera moved.
ptz::Preset placeFor(const std::string& name, std::size_t index)
{
    const auto pan = static_cast<unsigned int>((index + 1) * 20000 % 360000);
    return {name, {pan, 0, 100}};
}

ptz::PositioningOptions positioningOptions(const DeviceOptions& options)
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
    explicit Impl(const DeviceOptions& options);
    ~Impl() { shutdown(); }

    void start();
    FrameResult deliver(const video::Frame& frame);
    void drain();
    Statistics statistics() const;
    void shutdown();

    const DeviceOptions options;
    const store::StateLock lock;
    const std::shared_ptr<serviceapi::ServiceApi> serviceApi;
    const serviceapi::CurrentServiceApi::Binding serviceApiBinding;
    const std::shared_ptr<ptz::PositioningUnit> positioning;
    const std::shared_ptr<framework::PositioningAdapter> positioningAdapter;
    const base::Current<framework::PositioningAdapter>::Binding positioningBinding;
    const std::shared_ptr<framework::MetadataPool> pool;
    const base::Current<framework::MetadataPool>::Binding poolBinding;
    LiveProperties liveProperties; ///< before the engines, which tell it
    const std::shared_ptr<framework::EngineFactory> engines;
    const base::Current<framework::EngineFactory>::Binding enginesBinding;
    TargetClient target;
    const std::chrono::system_clock::time_point startTime = std::chrono::system_clock::now();
    base::Subscribers<ConfigurationChange> configurationListeners;

private:
    void build();
    void destroy();
    void discardRegistrations();
    void setUpPositioning();
    framework::EngineListeners engineListeners();
    void activeRulesChanged();
    void configurationChanged();
    void configurationChangeEnded();
    void raise(const std::vector<base::Event>& events);

    korva::meridan::MeridanEnv _meridan;
    const korva::meridan::IPluginConfiguration _configuration{kPluginName};
    framework::DiscardingSink _output;

    // Built, connected, disconnected and deleted on the control thread.
    std::unique_ptr<korva::meridan::PipelinePlugin> _plugin;
    std::unique_ptr<framework::ElementSink> _input;

    std::mutex _frameMutex; // held while a frame is inside the plug-in
    bool _accepting = false;
    std::atomic<std::uint64_t> _frames{0};
    std::atomic<std::uint64_t> _framesFailed{0};

    std::optional<KeptPositions> _keptPositions;

    // Control thread.
    bool _rulesWillBeRead = false;
    bool _configurationWillBeRead = false;
    bool _rulesEnd = false;
    base::Subscription _presetEvents;

    std::mutex _shutdownMutex;
    bool _ended = false;
};

Device::Impl::Impl(const DeviceOptions& deviceOptions)
    : options(checked(deviceOptions)),
      lock(options.stateDir),
      serviceApi(std::make_shared<serviceapi::ServiceApi>(serviceapi::ServiceApiOptions{
          options.stateDir, options.metadataFile, options.services, options.metadataGoesOn, options.copyInterval})),
      serviceApiBinding(serviceApi),
      positioning(std::make_shared<ptz::PositioningUnit>(
          positioningOptions(options),
          [serviceApi = serviceApi.get()](std::function<void()> task) { serviceApi->control.post(std::move(task)); })),
      positioningAdapter(std::make_shared<framework::PositioningAdapter>(positioning)),
      positioningBinding(positioningAdapter),
      pool(std::make_shared<framework::MetadataPool>(options.engineCount, options.metadataBytes)),
      poolBinding(pool),
      engines(std::make_shared<framework::EngineFactory>(options.engines, options.engineModules, engineListeners())),
      enginesBinding(engines),
      target(serviceApi->control, serviceApi->analyticsTargets, kAnalyticsService, [this] { configurationChanged(); })
{
    if (options.ptz) {
        setUpPositioning();
    }
}

void Device::Impl::setUpPositioning()
{
    const PtzOption& ptz = *options.ptz;
    if (ptz.keepState) {
        _keptPositions.emplace(*serviceApi, *positioning);
        _keptPositions->begin();
    }
    if (!ptz.arriveAt.empty() && !positioning->placeAt(ptz.arriveAt)) {
        throw std::invalid_argument("preset '" + ptz.arriveAt + "' is beyond what the camera '" +
                                    ptz.description.model + "' can reach");
    }
    // The options of a restart after a crash do not name them again.
    if (_keptPositions && (!ptz.presets.empty() || !ptz.arriveAt.empty())) {
        _keptPositions->store();
    }
}

// When the camera arrives somewhere, the rules of every engine change several times. They are read once, after the task
// of the control thread that changes them.
void Device::Impl::activeRulesChanged()
{
    if (!options.activeRulesChanged || _rulesWillBeRead || _rulesEnd) {
        return;
    }
    _rulesWillBeRead = serviceApi->control.post([this] {
        _rulesWillBeRead = false;
        if (!_rulesEnd) {
            options.activeRulesChanged(pipeline::activeRules(*engines));
        }
    });
}

framework::EngineListeners Device::Impl::engineListeners()
{
    framework::EngineListeners listeners;
    listeners.activeChanged = [this] { activeRulesChanged(); };
    listeners.raised = [this](const std::string& engine, const base::Event& event) {
        liveProperties.raised(engine, event);
    };
    listeners.cleared = [this](const std::string& engine) { raise(liveProperties.closing(engine)); };
    return listeners;
}

// The engine's own way to the listeners ends with the plug-in; nothing is raised after that.
void Device::Impl::raise(const std::vector<base::Event>& events)
{
    for (const base::Event& event : events) {
        if (!_rulesEnd) {
            serviceApi->events.publish(event);
        }
    }
}

// A request that changes several components does so in several steps. They are told once, after its task.
void Device::Impl::configurationChanged()
{
    if (!_configurationWillBeRead && !_rulesEnd) {
        _configurationWillBeRead = serviceApi->control.post([this] { configurationChangeEnded(); });
    }
}

void Device::Impl::configurationChangeEnded()
{
    _configurationWillBeRead = false;
    if (_rulesEnd) {
        return;
    }
    if (!liveProperties.empty()) {
        std::set<std::string> rules;
        for (const std::string& rule : target.currentRules()) {
            for (const onvif::ComponentName& component : onvif::componentsOf(rule)) {
                rules.insert(component.name);
            }
        }
        raise(liveProperties.deleting(rules));
    }
    configurationListeners.tell({ConfigurationChange()});
}

void Device::Impl::start()
{
    serviceApi->startServices();
    const auto factory = framework::loadPlugin(options.pluginPath, kPluginName);
    serviceApi->control.ask([&] {
        try {
            _plugin.reset(factory(&_meridan, _configuration));
        } catch (...) {
            discardRegistrations(); // what was built of it is gone, and events for it may be queued
            throw std::runtime_error("the plug-in " + options.pluginPath.string() +
                                     " could not be built: " + base::reasonOfException());
        }
        build();
    });
    {
        const std::lock_guard<std::mutex> frame(_frameMutex);
        _accepting = true;
    }
    // After the plug-in's own subscription: it has forgotten the rules of a removed preset by then.
    _presetEvents = positioning->onEvent([this](const ptz::PositioningEvent& event) {
        const auto* const modified = std::get_if<ptz::PresetModified>(&event);
        if (modified != nullptr && modified->change == ptz::PresetChange::removed) {
            configurationChanged();
        }
    });
    positioning->announceStanding();
    serviceApi->control.drain(); // the first frame finds the camera where it is said to stand
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

FrameResult Device::Impl::deliver(const video::Frame& frame)
{
    auto buffer = std::make_unique<framework::FrameBuffer>(frame);
    const std::lock_guard<std::mutex> running(_frameMutex);
    if (!_accepting) {
        return {};
    }
    ++_frames;
    static const base::Activity::Label label("a frame in the plug-in");
    const base::Activity::Scope scope(base::Activity::Kind::frame, label);
    const bool passed = base::contained(kComponent, "a frame failed", [&] { _input->PutBuffer(buffer.release()); });
    const framework::MetadataPool::Outputs outputs = pool->takeOutputs();
    if (!passed) {
        ++_framesFailed;
        return {};
    }
    base::Activity::instance().addFrame();
    return {true, outputs};
}

void Device::Impl::drain()
{
    serviceApi->control.drain();
    serviceApi->events.drain();
    serviceApi->metadataStreamer.drain();
}

Statistics Device::Impl::statistics() const
{
    const auto documents = serviceApi->metadataStreamer.counters();
    Statistics result;
    result.frames = _frames;
    result.framesFailed = _framesFailed;
    result.events = serviceApi->events.published();
    result.eventsDropped = serviceApi->events.dropped();
    result.documents = documents.received;
    result.documentsWritten = documents.written;
    result.documentsDropped = documents.dropped;
    result.controlFailures = serviceApi->control.failures();
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
    serviceApi->quiesce();
    if (_keptPositions && positioning->moving()) {
        _keptPositions->store(); // the next start goes on from here, not from the last place
    }
    // Tasks that are queued already run before this one, so no request and no callback is inside the plug-in when it is
    // destroyed. A later request finds that the target is not served.
    serviceApi->control.ask([this] { destroy(); });
    serviceApi->control.stop();
    serviceApi->events.drain();
    serviceApi->metadataStreamer.drain();
    serviceApi->services->stop();
}

void Device::Impl::destroy()
{
    _rulesEnd = true; // the end is not a change of the active rules
    if (auto* filter = dynamic_cast<korva::meridan::BasicFilterPlugin*>(_plugin.get())) {
        filter->OnDisconnectSink(&_output);
    }
    _input.reset();
    for (const auto& engine : engines->records()) {
        engine->pluginEnds();
    }
    _plugin.reset();
    discardRegistrations();
}

// The plug-in leaves some of its registrations behind: their context is gone.
void Device::Impl::discardRegistrations()
{
    positioningAdapter->discardRegistrations();
    serviceApi->discardRegistrations();
}

Device::Device(DeviceOptions options)
{
    _impl = std::make_unique<Impl>(options);
    _impl->start();
}

Device::~Device() = default;

FrameResult Device::deliver(const video::Frame& frame)
{
    return _impl->deliver(frame);
}

TargetClient& Device::target()
{
    return _impl->target;
}

serviceapi::EventBus::Subscription Device::onEvent(serviceapi::EventBus::Listener listener)
{
    return _impl->serviceApi->events.subscribe(std::move(listener));
}

base::Subscription Device::onConfigurationChange(std::function<void(const ConfigurationChange&)> listener)
{
    return _impl->configurationListeners.add(std::move(listener));
}

std::vector<base::Event> Device::liveProperties() const
{
    return _impl->liveProperties.all();
}

std::chrono::system_clock::time_point Device::startTime() const
{
    return _impl->startTime;
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

serviceapi::ServiceApi& Device::serviceApi()
{
    return *_impl->serviceApi;
}

serviceapi::ControlThread& Device::control()
{
    return _impl->serviceApi->control;
}

} // namespace camera::pipeline
