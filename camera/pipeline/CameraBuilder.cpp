#include "camera/pipeline/CameraBuilder.h"

#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/engines/ReferenceEngines.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/serviceapi/ServiceApi.h"

#include <algorithm>
#include <stdexcept>

namespace camera::pipeline {

DeviceOptions deviceOptions(const base::CameraOptions& options, const std::filesystem::path& stateDir)
{
    DeviceOptions result;
    result.pluginPath = base::pluginPath(options.plugin, base::programFolder());
    result.stateDir = stateDir;
    if (options.ptz) {
        result.ptz.emplace();
        result.ptz->arriveAt = options.preset;
    }
    result.engines = [](void* log, const auto& /*ptz*/) { return engines::referenceEngines(log); };
    result.engineCount = engines::kReferenceEngines + options.engines.size();
    return result;
}

std::unique_ptr<Device> buildCamera(const DeviceOptions& deviceOptions, base::Console& console)
{
    base::Log::instance().setWriter([&console](const std::string& line) { console.log(line); });
    auto device = std::make_unique<Device>(deviceOptions);
    for (const std::string& notice : device->serviceApi().settings.notices()) {
        console.error(notice);
    }
    return device;
}

bool configure(Device& device, const std::string& xml, const std::string& origin)
{
    const std::vector<onvif::ComponentName> given = onvif::componentsOf(xml);
    const TargetClient::Acceptance acceptance = device.target().acceptConfiguration(xml);
    if (!acceptance.ok()) {
        throw std::runtime_error("the camera refuses the configuration '" + origin + "': " +
                                 onvif::refusalReason(given, device.target().supportedRules(),
                                                      device.target().supportedEngines(), acceptance.refusal) +
                                 ".");
    }
    const std::vector<onvif::ComponentName> active = onvif::componentsOf(device.target().currentConfiguration());
    return std::all_of(given.begin(), given.end(), [&active](const onvif::ComponentName& component) {
        return std::find(active.begin(), active.end(), component) != active.end();
    });
}

} // namespace camera::pipeline
