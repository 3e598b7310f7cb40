#include "integration/camera_power/StubEngines.h"

#include "kit/FakeEngine.h"

#include <algorithm>
#include <memory>
#include <utility>

StubEngines& StubEngines::instance()
{
    static StubEngines& engines = *new StubEngines;
    return engines;
}

std::vector<std::string> StubEngines::takeRestored()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::sort(_restored.begin(), _restored.end());
    return std::exchange(_restored, {});
}

void StubEngines::noteRestored(const std::string& config)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _restored.push_back(config);
}

void StubEngines::noteCall() const
{
    if (onCall) {
        onCall();
    }
}

camera::framework::EngineSource StubEngines::source()
{
    return [](void* /*logContext*/, const auto& /*ptz*/) {
        camera::framework::Engines engines;
        for (const char* name : {"Line", "Motion"}) {
            const auto engine = std::make_shared<kit::FakeEngine>(name);
            engine->rules = {"tt:" + engine->name + "Rule"};
            engine->takesFull = [](const std::string& config) {
                instance().noteRestored(config);
                return true;
            };
            for (const char* call : {"ruleSet.setConfig", "ruleSet.deleteBehavior", "ruleSet.setFullConfig",
                                     "activateRuleSet", "clearAllRules"}) {
                engine->before[call] = [] { instance().noteCall(); };
            }
            engines.push_back(engine);
        }
        return engines;
    };
}
