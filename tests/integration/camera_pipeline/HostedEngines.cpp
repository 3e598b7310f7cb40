#include "integration/camera_pipeline/HostedEngines.h"

#include "plugin/analytics/IRuleSet.h"

#include <algorithm>
#include <utility>

using analytics_lib::IOnvifAnalytics;
using analytics_lib::IRuleSet;
using analytics_lib::YuvFrame;

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

class HostedRuleSet final : public IRuleSet {
public:
    bool validateFullConfig(const std::string& config) override { return config.find("invalid") == std::string::npos; }
    bool validateConfig(const std::string& /*name*/, const std::string& type, const std::string& /*values*/) override
    {
        return type != "invalid";
    }
    bool setConfig(const std::string& name, const std::string& type, const std::string& /*parameters*/) override
    {
        _content = "<" + type + " Name=\"" + name + "\"/>";
        return true;
    }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& name) override
    {
        return _content.find("\"" + name + "\"") != std::string::npos;
    }
    bool setFullConfig(const std::string& config) override
    {
        _content = config;
        return true;
    }
    std::string getFullConfig() override { return _content; }

private:
    std::string _content;
};

class HostedEngine final : public IOnvifAnalytics {
public:
    explicit HostedEngine(std::string name) : _name(std::move(name)) {}
    ~HostedEngine() override { const Hosted::Operation noted(_name + " destroyed"); }

    std::string getName() const override { return _name; }
    bool isEngineConfiguration(const std::string& config) override
    {
        const Hosted::Operation noted(_name + " isEngineConfiguration");
        return config.find("for=\"" + _name + "\"") != std::string::npos;
    }
    void setEventHandler(analytics_lib::IEventHandler* handler) override
    {
        const Hosted::Operation noted(_name + " setEventHandler");
        Hosted::instance().events = handler;
    }
    bool onFrame(const YuvFrame& frame, MetadataBuffers& outputs) override
    {
        const auto& script = Hosted::instance().onFrame;
        return !script || script(_name, frame, outputs);
    }
    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override
    {
        const Hosted::Operation noted(_name + " blanking " + (enabled ? "on " : "off ") + std::to_string(color.y) +
                                      "," + std::to_string(color.u) + "," + std::to_string(color.v));
    }
    void onOrientationChanged(unsigned int degrees) override
    {
        const Hosted::Operation noted(_name + " orientation " + std::to_string(degrees));
    }
    std::vector<std::string> getEventTopics() override
    {
        const Hosted::Operation noted(_name + " getEventTopics");
        return {"tns1:RuleEngine/" + _name};
    }
    std::vector<std::string> getSupportedEngines() override { return {"tt:" + _name + "Engine"}; }
    std::vector<std::string> getSupportedRules() override { return {"tt:" + _name + "Rule", "tt:Other"}; }
    bool readFramesFromFile(const char* path, bool flag) override
    {
        const Hosted::Operation noted(_name + " reads " + path + (flag ? " flagged" : ""));
        return true;
    }
    bool writeFramesToFile(const char* path, unsigned int count) override
    {
        const Hosted::Operation noted(_name + " writes " + path + " " + std::to_string(count));
        return true;
    }
    IRuleSet* createRuleSet() override
    {
        const Hosted::Operation noted(_name + " createRuleSet");
        _ruleSets.push_back(std::make_unique<HostedRuleSet>());
        return _ruleSets.back().get();
    }
    void releaseRuleSet(IRuleSet* ruleSet) override
    {
        const Hosted::Operation noted(_name + " releaseRuleSet");
        _ruleSets.erase(std::remove_if(_ruleSets.begin(), _ruleSets.end(),
                                       [ruleSet](const auto& owned) { return owned.get() == ruleSet; }),
                        _ruleSets.end());
    }
    bool activateRuleSet(IRuleSet* ruleSet) override
    {
        const Hosted::Operation noted(_name + " activates " + ruleSet->getFullConfig());
        return true;
    }
    void clearAllRules() override { const Hosted::Operation noted(_name + " clearAllRules"); }

private:
    const std::string _name;
    std::vector<std::unique_ptr<HostedRuleSet>> _ruleSets;
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
