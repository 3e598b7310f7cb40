#include "kit/FakeEngine.h"

#include "plugin/analytics/IEventHandler.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace kit {

namespace {

std::atomic<int> lastRuleSetId{0};

void appendBytes(std::uint8_t* buffer, std::uint32_t count, int value)
{
    if (buffer != nullptr) {
        std::memset(buffer, value, count);
    }
}

} // namespace

void restartRuleSetIds()
{
    lastRuleSetId = 0;
}

FakeEngine::FakeEngine(std::string engineName)
    : name(std::move(engineName)),
      claims([this](const std::string& config) {
          const std::string type = "Type=\"tt:" + name;
          return config.find(type + "Rule") != std::string::npos || config.find(type + "Module") != std::string::npos;
      }),
      accepts([this](const Component& component) {
          return component.type.compare(0, name.size() + 7, "tt:" + name + "Rule") == 0 ||
                 component.type.compare(0, name.size() + 9, "tt:" + name + "Module") == 0;
      })
{
}

FakeEngine::~FakeEngine()
{
    journal().add(Part::Engine, "engine ", name, " destroyed");
}

void FakeEngine::reached(std::string_view call) const
{
    if (before.empty()) {
        return;
    }
    const auto hook = before.find(call);
    if (hook != before.end()) {
        const auto action = hook->second;
        action();
    }
}

bool FakeEngine::isEngineConfiguration(const std::string& config)
{
    reached("isEngineConfiguration");
    const bool answer = claims(config);
    journal().add(Part::Engine, "isEngineConfiguration ", name, " -> ", answer);
    return answer;
}

void FakeEngine::setEventHandler(analytics_lib::IEventHandler* handler)
{
    reached("setEventHandler");
    journal().add(Part::Engine, "setEventHandler ", name);
    const std::lock_guard<std::mutex> lock(_mutex);
    _handler = handler;
}

bool FakeEngine::onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    const bool recording = Journal::recording();
    if (recording) {
        reached("onFrame");
        frames.push_back(frame);
        outputsSeen.push_back(outputs);
    }
    const bool answer = frameScript ? frameScript(frame, outputs) : true;
    if (recording) {
        journal().add(Part::Engine, "onFrame ", name, " -> ", answer);
    }
    return answer;
}

void FakeEngine::onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color)
{
    reached("onWindowBlankingChange");
    journal().add(Part::Engine, "onWindowBlankingChange ", name, " ", enabled, " ", int{color.y}, " ", int{color.u},
                  " ", int{color.v});
}

void FakeEngine::onOrientationChanged(unsigned int degrees)
{
    reached("onOrientationChanged");
    journal().add(Part::Engine, "onOrientationChanged ", name, " ", degrees);
}

std::vector<std::string> FakeEngine::getEventTopics()
{
    reached("getEventTopics");
    journal().add(Part::Engine, "getEventTopics ", name);
    return topics;
}

std::vector<std::string> FakeEngine::getSupportedEngines()
{
    reached("getSupportedEngines");
    journal().add(Part::Engine, "getSupportedEngines ", name);
    return engines;
}

std::vector<std::string> FakeEngine::getSupportedRules()
{
    reached("getSupportedRules");
    journal().add(Part::Engine, "getSupportedRules ", name);
    return rules;
}

bool FakeEngine::readFramesFromFile(const char* path, bool flag)
{
    reached("readFramesFromFile");
    journal().add(Part::Engine, "readFramesFromFile ", name, " ", path, " ", flag);
    return fileResult;
}

bool FakeEngine::writeFramesToFile(const char* path, unsigned int count)
{
    reached("writeFramesToFile");
    journal().add(Part::Engine, "writeFramesToFile ", name, " ", path, " ", count);
    return fileResult;
}

analytics_lib::IRuleSet* FakeEngine::createRuleSet()
{
    reached("createRuleSet");
    if (!createAnswers.next(true) || (mostRuleSets && static_cast<std::size_t>(notReturned()) >= *mostRuleSets)) {
        journal().add(Part::Engine, "createRuleSet ", name, " -> null");
        return nullptr;
    }
    auto ruleSet = std::make_unique<FakeRuleSet>(*this, lastRuleSetId + 1);
    FakeRuleSet* const made = ruleSet.get();
    _ruleSets.emplace(made, std::move(ruleSet));
    ++lastRuleSetId;
    journal().add(Part::Engine, "createRuleSet ", name, " -> #", made->id());
    return made;
}

std::shared_ptr<const std::string> FakeEngine::shared(const std::string& text)
{
    if (*_lastText != text) {
        _lastText = std::make_shared<const std::string>(text);
    }
    return _lastText;
}

FakeRuleSet* FakeEngine::own(analytics_lib::IRuleSet* ruleSet) const
{
    const auto entry = _ruleSets.find(ruleSet);
    return entry == _ruleSets.end() ? nullptr : entry->second.get();
}

void FakeEngine::releaseRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    reached("releaseRuleSet");
    FakeRuleSet* const known = own(ruleSet);
    if (known == nullptr || known->released()) {
        const char* const problem = ruleSet == nullptr ? "null" : known == nullptr ? "not its own" : "twice";
        journal().add(Part::Engine, "releaseRuleSet ", name, " (", problem, ")");
        return;
    }
    journal().add(Part::Engine, "releaseRuleSet ", name, " #", known->id());
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_active == known) {
        _active = nullptr;
    }
    known->release();
    if (!journal().recording()) {
        _ruleSets.erase(ruleSet);
    }
}

bool FakeEngine::activateRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    reached("activateRuleSet");
    FakeRuleSet* const known = own(ruleSet);
    const bool answer = known != nullptr && !known->released() && activateAnswers.next(activates(known->content()));
    if (known == nullptr) {
        journal().add(Part::Engine, "activateRuleSet ", name, " (not its own) -> false");
    } else {
        journal().add(Part::Engine, "activateRuleSet ", name, " #", known->id(), " -> ", answer);
    }
    if (answer) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _active = known;
    }
    return answer;
}

void FakeEngine::clearAllRules()
{
    reached("clearAllRules");
    journal().add(Part::Engine, "clearAllRules ", name);
    const std::lock_guard<std::mutex> lock(_mutex);
    _active = nullptr;
}

int FakeEngine::notReturned() const
{
    return static_cast<int>(
        std::count_if(_ruleSets.begin(), _ruleSets.end(), [](const auto& entry) { return !entry.second->released(); }));
}

FakeRuleSet* FakeEngine::ruleSet(int id) const
{
    const auto entry =
        std::find_if(_ruleSets.begin(), _ruleSets.end(), [&](const auto& known) { return known.second->id() == id; });
    return entry == _ruleSets.end() ? nullptr : entry->second.get();
}

int FakeEngine::activeRuleSet() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _active == nullptr ? 0 : _active->id();
}

analytics_lib::IEventHandler* FakeEngine::handler() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _handler;
}

bool FakeEngine::raise(const std::string& topic, const std::string& source, const std::string& data)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_active == nullptr || _handler == nullptr) {
        return false;
    }
    _handler->OnEvent(topic, source, data);
    return true;
}

void FakeEngine::raiseAlways(const std::string& topic, const std::string& source, const std::string& data)
{
    handler()->OnEvent(topic, source, data);
}

FakeEngine::FrameScript FakeEngine::writes(std::uint32_t drawingBytes, std::uint32_t motionBytes, std::string xml,
                                           bool answer)
{
    return [=](const analytics_lib::YuvFrame&, MetadataBuffers& outputs) {
        appendBytes(outputs.drawingBuffer, drawingBytes, 0xD0);
        outputs.drawingBufferUsed = drawingBytes;
        if (outputs.motionBuffer != nullptr) {
            appendBytes(outputs.motionBuffer + outputs.motionBufferUsed, motionBytes, 0x30);
        }
        outputs.motionBufferUsed += motionBytes;
        outputs.metadataXml += xml;
        return answer;
    };
}

} // namespace kit
