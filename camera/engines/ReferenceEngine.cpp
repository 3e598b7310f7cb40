#include "camera/engines/ReferenceEngine.h"

#include "camera/engines/ConfigurationText.h"
#include "camera/engines/ParameterList.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <stdexcept>

namespace camera::engines {

namespace {

constexpr std::uint32_t kBlankingOn = 1U << 24;

} // namespace

ReferenceEngine::ReferenceEngine(void* logContext, const ComponentTypes& types)
    : _types(types), _log(logContext, types.engine)
{
    // OpenCV's thread pool is off: for a picture of this size it costs more time than it saves.
    cv::setNumThreads(1);
}

bool ReferenceEngine::isEngineConfiguration(const std::string& config)
{
    pugi::xml_document document;
    if (!document.load_string(config.c_str())) {
        return false;
    }
    const auto components = readComponents(document);
    return components && !components->empty() &&
           std::all_of(components->begin(), components->end(),
                       [this](const RawComponent& component) { return _types.owns(component.type); });
}

void ReferenceEngine::setEventHandler(analytics_lib::IEventHandler* handler)
{
    const std::lock_guard gate(_gate);
    _handler = handler;
}

void ReferenceEngine::onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color)
{
    const std::uint32_t packed = kBlankingOn | std::uint32_t{color.y} << 16 | std::uint32_t{color.u} << 8 | color.v;
    _blanking = enabled ? packed : 0;
    _forget = true; // a blanked window that appears or disappears must not count as motion
}

void ReferenceEngine::onOrientationChanged(unsigned int /*degrees*/)
{
    _forget = true;
}

analytics_lib::IRuleSet* ReferenceEngine::createRuleSet()
{
    try {
        auto ruleSet = std::make_unique<RuleSet>(_types, _log);
        analytics_lib::IRuleSet* handle = ruleSet.get();
        _ruleSets.emplace(handle, std::move(ruleSet));
        return handle;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void ReferenceEngine::releaseRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    if (ruleSet != nullptr && ruleSet == _activeRuleSet) {
        clearAllRules();
    }
    _ruleSets.erase(ruleSet);
}

bool ReferenceEngine::activateRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    const auto found = _ruleSets.find(ruleSet);
    if (found == _ruleSets.end()) {
        _log.error("a rule set that is not of this engine cannot be activated");
        return false;
    }
    try {
        const Components components = found->second->components();
        replaceProgram(components.empty() ? nullptr : compile(components), ruleSet);
        return true;
    } catch (const std::exception& error) {
        _log.error(std::string("the rule set cannot be activated: ") + error.what());
        return false;
    }
}

void ReferenceEngine::clearAllRules()
{
    replaceProgram(nullptr, nullptr);
}

void ReferenceEngine::replaceProgram(Program next, const analytics_lib::IRuleSet* ruleSet)
{
    const std::lock_guard gate(_gate);
    Program old;
    {
        const std::lock_guard hand(_hand);
        old.swap(_active);
    }
    if (old) {
        old->end();
        old->endAlarms(_handler, _lastTime);
    }
    const std::lock_guard hand(_hand);
    _active = std::move(next);
    _activeRuleSet = ruleSet;
}

ReferenceEngine::Program ReferenceEngine::active() const
{
    const std::lock_guard hand(_hand);
    return _active;
}

bool ReferenceEngine::readFramesFromFile(const char* path, bool flag)
{
    try {
        auto reader = std::make_unique<kit::FrameFileReader>(path == nullptr ? "" : path, flag);
        const std::lock_guard hand(_hand);
        _newReplay = std::move(reader);
        return true;
    } catch (const std::exception& error) {
        _log.error(error.what());
        return false;
    }
}

bool ReferenceEngine::writeFramesToFile(const char* path, unsigned int count)
{
    try {
        std::unique_ptr<kit::FrameFileWriter> writer;
        if (count > 0) {
            writer = std::make_unique<kit::FrameFileWriter>(path == nullptr ? "" : path, count);
        }
        const std::lock_guard hand(_hand);
        _newRecording = std::move(writer);
        _endRecording = true;
        return true;
    } catch (const std::exception& error) {
        _log.error(error.what());
        return false;
    }
}

} // namespace camera::engines
