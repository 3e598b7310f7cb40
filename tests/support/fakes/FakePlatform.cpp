#include "support/fakes/FakePlatform.h"

#include "support/fakes/FakeEngine.h"
#include "support/fakes/HeapWatch.h"
#include "support/fakes/Journal.h"
#include "support/fakes/LogHandles.h"

namespace support {

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

} // namespace support
