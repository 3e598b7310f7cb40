// An analytics engine as small as it can be: its only rule, "ex:TooDark", says when the picture is
// darker than the rule's Threshold. docs/engine-guide.md explains what every operation promises.
#include "camera/kit/EngineModule.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IRuleSet.h"
#include "ravel/logging.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <vector>

namespace {

using analytics_lib::IOnvifAnalytics;

constexpr char kName[] = "Brightness";
constexpr char kType[] = "ex:TooDark";
constexpr char kTopic[] = "tns1:VideoSource/ImageTooDark/AnalyticsService";

std::string printed(const pugi::xml_node& node)
{
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

/// What one rule's list of parameters says.
struct Settings {
    long threshold = 50;
    bool active = true;
};

/// Reads a tt:Parameters element; says in the log what is wrong with it.
bool read(void* log, const std::string& rule, const pugi::xml_node& list, Settings& settings)
{
    std::string problem = list ? "" : "it has no tt:Parameters list";
    for (const pugi::xml_node& item : list.children()) {
        const std::string name = item.attribute("Name").value();
        const std::string value = item.attribute("Value").value();
        bool good = name == "PtzPreset"; // the host's: which position the rule belongs to
        if (name == "Active") {
            good = value == "true" || value == "false";
            settings.active = value == "true";
        } else if (name == "Threshold") {
            char* end = nullptr;
            settings.threshold = std::strtol(value.c_str(), &end, 10);
            good = !value.empty() && *end == '\0' && settings.threshold >= 0 && settings.threshold <= 255;
        }
        problem = good ? problem : "parameter '" + name + "' cannot be '" + value + "'";
    }
    if (!problem.empty()) {
        ravel_core_logging_log(log, RAVEL_CORE_LOG_ERROR, "%s: component '%s', %s", kName, rule.c_str(),
                               problem.c_str());
    }
    return problem.empty();
}

/// One configuration: the text of each rule's parameters by the rule's name.
class RuleSet final : public analytics_lib::IRuleSet {
public:
    explicit RuleSet(void* log) : _log(log) {}

    bool validateFullConfig(const std::string& config) override { return RuleSet(_log).setFullConfig(config); }
    bool validateConfig(const std::string& rule, const std::string& type, const std::string& list) override
    {
        return RuleSet(_log).setConfig(rule, type, list);
    }
    bool setConfig(const std::string& rule, const std::string& type, const std::string& list) override
    {
        pugi::xml_document document;
        Settings settings;
        if (type != kType) { // another engine's, perhaps: every engine is asked
            return false;
        }
        document.load_string(list.c_str());
        if (!read(_log, rule, document.child("tt:Parameters"), settings)) {
            return false;
        }
        _rules[rule] = list;
        return true;
    }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& name) override { return _rules.erase(name) > 0; }
    bool setFullConfig(const std::string& config) override
    {
        pugi::xml_document document;
        if (!config.empty() && !document.load_string(config.c_str())) {
            ravel_core_logging_log(_log, RAVEL_CORE_LOG_ERROR, "%s: the configuration is no XML document", kName);
            return false;
        }
        RuleSet next(_log);
        const pugi::xml_node root = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str());
        for (const pugi::xml_node& rule : root.child(IOnvifAnalytics::kRuleConfigTag.c_str()).children("tt:Rule")) {
            if (!next.setConfig(rule.attribute("Name").value(), rule.attribute("Type").value(),
                                printed(rule.child("tt:Parameters")))) {
                return false; // the content stays what it was
            }
        }
        _rules.swap(next._rules);
        return true;
    }
    std::string getFullConfig() override
    {
        pugi::xml_document document;
        for (const auto& [name, parameters] : _rules) {
            pugi::xml_node rule = document.append_child("tt:Rule");
            rule.append_attribute("Name").set_value(name.c_str());
            rule.append_attribute("Type").set_value(kType);
            rule.append_buffer(parameters.data(), parameters.size());
        }
        return IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kEngineConfigHeader +
               IOnvifAnalytics::kEngineConfigFooter + IOnvifAnalytics::kRuleConfigHeader + printed(document) +
               IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
    }

    std::map<std::string, Settings> activeRules() const
    {
        std::map<std::string, Settings> rules;
        for (const auto& [name, parameters] : _rules) {
            pugi::xml_document document;
            document.load_string(parameters.c_str());
            Settings settings;
            if (read(_log, name, document.child("tt:Parameters"), settings) && settings.active) {
                rules[name] = settings;
            }
        }
        return rules;
    }

private:
    void* _log;
    std::map<std::string, std::string> _rules;
};

/// A time as events have it.
std::string utcText(std::uint32_t seconds, std::uint32_t nanoseconds)
{
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S.") << std::setfill('0') << std::setw(3) << nanoseconds / 1'000'000
         << 'Z';
    return text.str();
}

void addItem(pugi::xml_node list, const char* name, const std::string& value)
{
    pugi::xml_node item = list.append_child("tt:SimpleItem");
    item.append_attribute("Name").set_value(name);
    item.append_attribute("Value").set_value(value.c_str());
}

/// The mean of every sixteenth pixel of every sixteenth row.
long brightness(const analytics_lib::YuvFrame& frame)
{
    std::uint64_t sum = 0;
    std::uint64_t count = 0;
    for (std::uint64_t y = 0; y < frame.height; y += 16) {
        for (std::uint64_t x = 0; x < frame.width; x += 16, ++count) {
            sum += frame.data[y * frame.bytesPerRow + x];
        }
    }
    return count == 0 ? 255 : static_cast<long>(sum / count);
}

class BrightnessEngine final : public IOnvifAnalytics {
public:
    explicit BrightnessEngine(void* log) : _log(log) {}

    std::string getName() const override { return kName; }
    std::vector<std::string> getEventTopics() override { return {kTopic}; }
    std::vector<std::string> getSupportedEngines() override { return {}; }
    std::vector<std::string> getSupportedRules() override { return {kType}; }

    /// Only a document in which every component is ours, and there is one.
    bool isEngineConfiguration(const std::string& config) override
    {
        pugi::xml_document document;
        document.load_string(config.c_str());
        const auto all = document.select_nodes("//tt:AnalyticsModule|//tt:Rule");
        return !all.empty() && std::all_of(all.begin(), all.end(), [](const pugi::xpath_node& component) {
            return std::string(component.node().attribute("Type").value()) == kType;
        });
    }

    /// On the frame thread. Measuring needs no lock; the rules are looked at only when nobody changes
    /// them, so that no other operation makes a frame wait.
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override
    {
        outputs.drawingBufferUsed = 0;
        if (frame.data == nullptr) {
            return false;
        }
        try {
            const long measured = brightness(frame);
            const std::unique_lock lock(_mutex, std::try_to_lock);
            if (lock.owns_lock()) {
                _time = utcText(frame.timestamp[0], frame.timestamp[1]);
                judge(measured);
            }
            return true;
        } catch (...) { // nothing leaves a frame
            return false;
        }
    }

    void setEventHandler(analytics_lib::IEventHandler* handler) override
    {
        const std::lock_guard lock(_mutex);
        _handler = handler;
    }

    analytics_lib::IRuleSet* createRuleSet() override
    {
        auto ruleSet = std::make_unique<RuleSet>(_log);
        analytics_lib::IRuleSet* handle = ruleSet.get();
        _ruleSets[handle] = std::move(ruleSet);
        return handle;
    }
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override
    {
        if (ruleSet == _activeSet) {
            clearAllRules();
        }
        _ruleSets.erase(ruleSet);
    }
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override
    {
        const auto found = _ruleSets.find(ruleSet);
        if (found == _ruleSets.end()) { // another engine's
            return false;
        }
        clearAllRules();
        const std::lock_guard lock(_mutex);
        _activeSet = ruleSet;
        _active = found->second->activeRules();
        return true;
    }

    /// Only the holder of this lock raises events: after it is released none runs or follows.
    void clearAllRules() override
    {
        const std::lock_guard lock(_mutex);
        while (!_dark.empty()) {
            raise(*_dark.begin(), false); // every true is closed
        }
        _active.clear();
        _activeSet = nullptr;
    }

    // This engine has nothing to record: it keeps no memory of earlier frames.
    bool readFramesFromFile(const char* /*path*/, bool /*flag*/) override { return false; }
    bool writeFramesToFile(const char* /*path*/, unsigned int /*count*/) override { return false; }

private:
    void judge(long measured)
    {
        for (const auto& [rule, settings] : _active) {
            const bool dark = measured < settings.threshold;
            if (dark != (_dark.count(rule) > 0)) {
                raise(rule, dark);
            }
        }
    }

    void raise(const std::string& name, bool dark)
    {
        const std::string rule = name; // the name may live in what is changed next
        if (dark) {
            _dark.insert(rule);
        } else {
            _dark.erase(rule);
        }
        if (_handler != nullptr) {
            _handler->OnEvent(kTopic, rule, message(rule, dark));
        }
    }

    std::string message(const std::string& rule, bool dark) const
    {
        pugi::xml_document document;
        pugi::xml_node root = document.append_child("tt:Message");
        root.append_attribute("xmlns:tt").set_value("http://www.onvif.org/ver10/schema");
        root.append_attribute("UtcTime").set_value(_time.c_str());
        root.append_attribute("PropertyOperation").set_value("Changed");
        const pugi::xml_node source = root.append_child("tt:Source");
        addItem(source, "VideoSourceConfigurationToken", "VideoSource_1");
        addItem(source, "Rule", rule);
        addItem(root.append_child("tt:Data"), "State", dark ? "true" : "false");
        return printed(root);
    }

    void* _log;
    std::map<analytics_lib::IRuleSet*, std::unique_ptr<RuleSet>> _ruleSets; ///< the control thread's
    std::mutex _mutex;                                                      ///< guards everything below
    analytics_lib::IEventHandler* _handler = nullptr;
    std::map<std::string, Settings> _active;
    std::set<std::string> _dark; ///< the rules whose last event was true
    std::string _time;           ///< of the last frame that was judged
    analytics_lib::IRuleSet* _activeSet = nullptr;
};

} // namespace

DETECTION_ENGINE_MODULE(kName,
                        [](void* log, std::shared_ptr<analytics_lib::IAnalyticsPtz> /*ptz*/)
                            -> std::shared_ptr<IOnvifAnalytics> { return std::make_shared<BrightnessEngine>(log); })
