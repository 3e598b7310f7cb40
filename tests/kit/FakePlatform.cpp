#include "kit/FakePlatform.h"

#include "kit/FakeEngine.h"
#include "kit/HeapWatch.h"
#include "kit/Journal.h"
#include "kit/LogHandles.h"

namespace kit {

void* FakePlatform::logHandle()
{
    return logHandles().standing();
}

void FakePlatform::offerAllServices()
{
    targetIds["day_night"] = {"dayNight0"};
    targetIds["window_blanking"] = {"blanking0"};
    targetIds["rotate"] = {"rotate0"};
    targetIds["onvif_metadata_streamer"] = {"streamer0"};
}

void FakePlatform::reached(std::string_view call) const
{
    const auto hook = before.find(call);
    if (hook != before.end()) {
        const auto action = hook->second; // it may take itself out of the map
        action();
    }
}

void FakePlatform::reset()
{
    *this = FakePlatform();
    logHandles().reset();
    forgetWatchedBlocks();
    restartRuleSetIds();
    journal().record(true);
    journal().clear();
}

FakePlatform& platform()
{
    static auto* const thePlatform = new FakePlatform; // outlives every static object of a loaded module
    return *thePlatform;
}

std::vector<std::pair<std::string, korva::meridan::PluginManager::Factory>>& pluginFactories()
{
    static auto* const factories = new std::vector<std::pair<std::string, korva::meridan::PluginManager::Factory>>;
    return *factories;
}

} // namespace kit
