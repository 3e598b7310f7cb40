#include "support/Device.h"

#include "kit/Configuration.h"
#include "kit/FakeEngine.h"
#include "kit/ServiceLists.h"
#include "ravel/RavelApiException.h"
#include "support/Check.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>

namespace fuzz {

using kit::FakeEngine;
using kit::platform;
using korva::meridan::OnvifTarget;
using ravel::core::RavelApiException;

namespace {

// Restarting asks for that many presets before and after.
constexpr std::size_t kComparedPresets = 6;

char logHandle;

std::string takeText(char* text)
{
    check(text != nullptr, "an answer is a text");
    return kit::takeText(text);
}

std::vector<std::string> takeList(char** list)
{
    check(list != nullptr, "an answer is a list");
    return kit::takeList(list);
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

bool takesFull(const std::string& config)
{
    pugi::xml_document document;
    return !contains(config, "Unwanted") && document.load_string(config.c_str());
}

/// Takes what reads as XML and bears its name. Some names make it refuse, so that the fuzzer reaches what follows a
/// refusal: "Refused" is valid but never taken, a whole configuration that contains "Unwanted" is not restored, one
/// that contains "Dormant" is not activated. Rule sets are few enough that an input reaches the last one.
std::shared_ptr<FakeEngine> makeEngine(const std::string& name)
{
    auto engine = std::make_shared<FakeEngine>(name);
    const std::string prefix = "tt:" + name;
    engine->mostRuleSets = 12;
    engine->emptyContent = kit::document({}, {});
    engine->topics = {"tns1:RuleEngine/" + name};
    engine->engines = {prefix + "Module"};
    engine->rules = {prefix + "Rule"};
    engine->claims = [prefix](const std::string& config) {
        return contains(config, prefix + "Rule") || contains(config, prefix + "Module");
    };
    engine->acceptsFull = [prefix](const std::string& config) { return contains(config, prefix); };
    engine->accepts = [prefix](const kit::Component& component) {
        return component.type.compare(0, prefix.size(), prefix) == 0 && !component.parameters.empty();
    };
    engine->takes = [](const kit::Component& component) { return component.name != "Refused"; };
    engine->takesFull = takesFull;
    engine->activates = [](const std::string& content) { return !contains(content, "Dormant"); };
    return engine;
}

void checkReadable(const std::string& text)
{
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_string(text.c_str());
    if (!result) {
        checkSame(text, result.description(), "an answer reads as XML");
    }
}

// Members come back in the order of their names, so the text is compared setting by setting.
void checkStored(const std::string& text)
{
    const json::Array document = json::Reader::Read(text);
    check(document.Size() != 0, "a document without settings is not written");
    std::string written = "[ ";
    std::string last;
    for (const json::UnknownElement& element : document) {
        const json::Object& setting = element;
        check(setting.Size() == 2, "a stored setting has two members");
        const std::string key{static_cast<std::string_view>(setting["key"])};
        check(written.size() == 2 || last < key, "the keys are stored in byte order");
        json::Array alone;
        json::Object inOrder;
        inOrder.Append("key", json::BorrowedString{key});
        inOrder.Append("config", json::BorrowedString{static_cast<std::string_view>(setting["config"])});
        alone.Append(std::move(inOrder));
        const std::string one = json::Writer::Write(alone);
        written += (written.size() == 2 ? "" : ", ") + one.substr(2, one.size() - 4);
        last = key;
    }
    checkSame(text, written + " ]", "a stored document reads and writes alike");
}

} // namespace

Device::Device()
{
    start();
}

Device::~Device() = default;

void Device::start()
{
    const unsigned long writes = platform().settings.writes;
    _engines.clear();
    std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> engines;
    for (const char* const name : {"Simple", "Motion", "MotionPlus"}) {
        _engines.push_back(makeEngine(name));
        engines.push_back(_engines.back());
    }
    _target = std::make_unique<OnvifTarget>(&logHandle, engines);
    check(platform().settings.writes == writes, "a start writes nothing");
}

bool Device::setConfiguration(const std::string& text)
{
    const unsigned long writes = platform().settings.writes;
    unsigned char failed = 2;
    int result = 0;
    bool storeFailed = false;
    try {
        result = _target->setConfiguration(text.c_str(), &failed);
    } catch (const RavelApiException&) {
        storeFailed = true;
    }
    check(failed <= 1, "failed is 0 or 1");
    check(result == 0 || (result == 1 && failed == 1), "a refusal is also a failure");
    check(failed == 1 || platform().settings.writes == writes + 1, "what is taken is stored once");
    check(result == 0 || platform().settings.writes == writes, "what is refused is not stored");
    noteWrites(writes, storeFailed);
    return failed == 0;
}

unsigned int Device::createOrModify(const std::vector<std::string>& items, bool modules, bool modify)
{
    Operation operation = modify ? &OnvifTarget::modifyRules : &OnvifTarget::createRules;
    if (modules) {
        operation = modify ? &OnvifTarget::modifyEngines : &OnvifTarget::createEngines;
    }
    const unsigned long writes = platform().settings.writes;
    const unsigned int status = callWithList(operation, items);
    check(status == 0 || status == 1 || status == 4, "the status is one of a modification");
    check(status != 0 || platform().settings.writes == writes + items.size(), "every item that is taken is stored");
    return status;
}

unsigned int Device::remove(const std::vector<std::string>& names, bool modules)
{
    const unsigned long writes = platform().settings.writes;
    const unsigned int status = callWithList(modules ? &OnvifTarget::deleteEngines : &OnvifTarget::deleteRules, names);
    check(status == 0 || status == 1 || status == 5, "the status is one of a deletion");
    check(status != 5 || platform().settings.writes == writes, "a deletion that misses a name stores nothing");
    return status;
}

unsigned int Device::callWithList(Operation operation, const std::vector<std::string>& texts)
{
    std::vector<std::string> copies = texts;
    std::vector<char*> list;
    for (std::string& text : copies) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);

    const unsigned long writes = platform().settings.writes;
    unsigned int status = 1;
    bool storeFailed = false;
    try {
        check((_target.get()->*operation)(list.data(), &status) == 0, "a list operation answers 0");
    } catch (const RavelApiException&) {
        storeFailed = true;
        status = 1;
    }
    check(copies == texts, "the caller's texts stay as they are");
    noteWrites(writes, storeFailed);
    return status;
}

std::string Device::currentConfiguration()
{
    char* text = nullptr;
    check(_target->getCurrentConfiguration(&text) == 0, "a query answers 0");
    std::string configuration = takeText(text);
    checkReadable(configuration);
    return configuration;
}

std::string Device::presetConfiguration(const std::string& preset)
{
    char* text = nullptr;
    check(_target->getPtzPresetConfiguration(preset.c_str(), &text) == 0, "a query answers 0");
    std::string configuration = takeText(text);
    checkReadable(configuration);
    return configuration;
}

std::vector<std::string> Device::usedPresets()
{
    return list(&OnvifTarget::getUsedPtzPresets);
}

std::vector<std::string> Device::list(Query query)
{
    char** answer = nullptr;
    check((_target.get()->*query)(&answer) == 0, "a query answers 0");
    return takeList(answer);
}

void Device::checkElements(Query query, const char* element)
{
    for (const std::string& text : list(query)) {
        pugi::xml_document document;
        if (!document.load_string(text.c_str()) || !document.child(element)) {
            checkSame(element, text, "a listed element reads as such");
        }
    }
}

void Device::askEverything()
{
    check(list(&OnvifTarget::getEventTopics).size() == _engines.size(), "every engine's topics are listed");
    check(list(&OnvifTarget::getSupportedRules).size() == _engines.size(), "every engine's rules are listed");
    check(list(&OnvifTarget::getSupportedEngines).size() == _engines.size(), "every engine's modules are listed");
    checkElements(&OnvifTarget::getCurrentRules, "tt:Rule");
    checkElements(&OnvifTarget::getCurrentEngines, "tt:AnalyticsModule");
    checkSame(currentConfiguration(), currentConfiguration(), "asking changes nothing");
    check(usedPresets() == usedPresets(), "asking changes nothing");
}

void Device::deletePreset(const std::string& preset)
{
    _target->handlePresetModifiedEvent(preset);
    _storeIsCurrent = false;
}

void Device::failNextWrite()
{
    platform().before["settingsSetJson"] = [] {
        mendStore();
        throw RavelApiException("the store is full", 1);
    };
}

void Device::mendStore()
{
    platform().before.erase("settingsSetJson");
}

void Device::raiseEvent(const std::string& text)
{
    for (const std::shared_ptr<FakeEngine>& engine : _engines) {
        engine->raise("tns1:" + text, text, text);
    }
}

void Device::restart()
{
    std::vector<std::string> presets = usedPresets();
    presets.resize(std::min(presets.size(), kComparedPresets));
    std::vector<std::string> before;
    for (const std::string& preset : presets) {
        before.push_back(presetConfiguration(preset));
    }
    _target->handlePresetStateEvent(2, "");
    const std::string current = currentConfiguration();

    _target.reset();
    start();
    check(usedPresets().empty(), "no preset has been named since the start");
    _target->handlePresetStateEvent(2, "");
    if (_storeIsCurrent) {
        checkSame(current, currentConfiguration(), "the current configuration outlives a restart");
        for (std::size_t i = 0; i < presets.size(); ++i) {
            checkSame(before[i], presetConfiguration(presets[i]), "a preset's configuration outlives a restart");
        }
    }
    _storeIsCurrent = true;
}

// One write brings the store up to date with everything before it.
void Device::noteWrites(unsigned long before, bool failed)
{
    if (platform().settings.writes != before) {
        checkStored(platform().settings.analytics());
        _storeIsCurrent = true;
    }
    if (failed) {
        _storeIsCurrent = false;
    }
}

} // namespace fuzz
