#include "host-seam/Platform.h"

#include "host-seam/Journal.h"
#include "host-seam/LogHandles.h"

namespace host_seam {

void* Platform::logHandle()
{
    return logHandles().standing();
}

void Platform::offerAllServices()
{
    targetIds["day_night"] = {"dayNight0"};
    targetIds["window_blanking"] = {"blanking0"};
    targetIds["rotate"] = {"rotate0"};
    targetIds["onvif_metadata_streamer"] = {"streamer0"};
}

void Platform::runBefore(std::string_view call) const
{
    const auto hook = before.find(call);
    if (hook != before.end()) {
        const auto action = hook->second; // it may take itself out of the map
        action();
    }
}

void Platform::reset()
{
    *this = Platform();
    logHandles().reset();
    journal().clear();
}

std::vector<std::pair<std::string, korva::meridan::PluginManager::Factory>>& pluginFactories()
{
    static auto* const factories = new std::vector<std::pair<std::string, korva::meridan::PluginManager::Factory>>;
    return *factories;
}

} // namespace host_seam
