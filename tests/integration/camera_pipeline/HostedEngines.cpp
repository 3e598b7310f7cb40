#include "integration/camera_pipeline/HostedEngines.h"

#include "kit/FakeEngine.h"

#include <algorithm>
#include <utility>

Hosted& Hosted::instance()
{
    static Hosted& hosted = *new Hosted;
    return hosted;
}

void Hosted::reset(std::vector<std::string> engineNames)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    names = std::move(engineNames);
    onControl = nullptr;
    onRefused = nullptr;
    onFrame = nullptr;
    onCreate = nullptr;
    ptz.reset();
    events = nullptr;
    _journal.clear();
    _threads.clear();
    _overlapped = false;
    _running = 0; // an operation that threw did not end
}

std::vector<std::string> Hosted::journal() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _journal;
}

std::size_t Hosted::count(const std::string& operation) const
{
    const auto entries = journal();
    return static_cast<std::size_t>(std::count(entries.begin(), entries.end(), operation));
}

std::set<std::thread::id> Hosted::controlThreads() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _threads;
}

Hosted::Operation::Operation(const std::string& text)
{
    Hosted& hosted = instance();
    if (++hosted._running > 1) {
        hosted._overlapped = true;
    }
    {
        const std::lock_guard<std::mutex> lock(hosted._mutex);
        hosted._journal.push_back(text);
        hosted._threads.insert(std::this_thread::get_id());
    }
    if (hosted.onControl) {
        hosted.onControl(text);
    }
}

Hosted::Operation::~Operation()
{
    --instance()._running;
}

std::string documentFor(const std::string& engine, const std::string& preset, const std::string& verdict)
{
    // In the form in which it is stored, so that it can be recognised after a restart.
    const std::string parameters =
        preset.empty() ? "<tt:Parameters/>"
                       : "<tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" + preset + "\"/></tt:Parameters>";
    return "<tt:VideoAnalyticsConfiguration for=\"" + engine + "\"><tt:RuleEngineConfiguration><tt:Rule Name=\"" +
           engine + preset + "\" Type=\"" + verdict + "\">" + parameters +
           "</tt:Rule></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
}

namespace {

/// Accepts everything but what is called invalid, and notes the operations of the control side.
class HostedEngine final : public kit::FakeEngine {
public:
    explicit HostedEngine(const std::string& engineName) : FakeEngine(engineName)
    {
        claims = [this](const std::string& config) { return config.find("for=\"" + name + "\"") != std::string::npos; };
        acceptsFull = [this](const std::string& config) {
            return config.find("invalid") == std::string::npos || refused();
        };
        accepts = [this](const kit::Component& component) { return component.type != "invalid" || refused(); };
        topics = {"tns1:RuleEngine/" + name};
        engines = {"tt:" + name + "Engine"};
        rules = {"tt:" + name + "Rule", "tt:Other"};
        frameScript = [this](const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) {
            const auto& script = Hosted::instance().onFrame;
            return !script || script(name, frame, outputs);
        };
        for (const char* call : {"isEngineConfiguration", "setEventHandler", "getEventTopics", "getSupportedEngines",
                                 "createRuleSet", "releaseRuleSet", "clearAllRules"}) {
            before[call] = [this, call] { const Hosted::Operation noted(name + " " + call); };
        }
    }
    ~HostedEngine() override { const Hosted::Operation noted(name + " destroyed"); }

    bool refused() const
    {
        const auto& script = Hosted::instance().onRefused;
        if (script) {
            script(name);
        }
        return false;
    }

    void setEventHandler(analytics_lib::IEventHandler* handler) override
    {
        FakeEngine::setEventHandler(handler);
        Hosted::instance().events = handler;
    }
    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override
    {
        const Hosted::Operation noted(name + " blanking " + (enabled ? "on " : "off ") + std::to_string(color.y) + "," +
                                      std::to_string(color.u) + "," + std::to_string(color.v));
    }
    void onOrientationChanged(unsigned int degrees) override
    {
        const Hosted::Operation noted(name + " orientation " + std::to_string(degrees));
    }
    bool readFramesFromFile(const char* path, bool flag) override
    {
        const Hosted::Operation noted(name + " reads " + path + (flag ? " flagged" : ""));
        return true;
    }
    bool writeFramesToFile(const char* path, unsigned int count) override
    {
        const Hosted::Operation noted(name + " writes " + path + " " + std::to_string(count));
        return true;
    }
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override
    {
        const Hosted::Operation noted(name + " activates " + ruleSet->getFullConfig());
        return FakeEngine::activateRuleSet(ruleSet);
    }
};

} // namespace

camera::framework::EngineSource Hosted::source()
{
    return [](void* /*logContext*/, const std::shared_ptr<analytics_lib::IAnalyticsPtz>& ptz) {
        const Operation noted("factory");
        Hosted& hosted = instance();
        hosted.ptz = ptz;
        if (hosted.onCreate) {
            hosted.onCreate();
        }
        camera::framework::Engines engines;
        for (const std::string& name : hosted.names) {
            engines.push_back(std::make_shared<HostedEngine>(name));
        }
        return engines;
    };
}
