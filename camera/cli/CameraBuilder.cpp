#include "camera/cli/CameraBuilder.h"

#include "camera/cli/ConfigurationFile.h"
#include "camera/cli/PluginPath.h"
#include "camera/engines/EngineModules.h"
#include "camera/ravel/Environment.h"
#include "camera/ravel/Log.h"

#include <algorithm>
#include <stdexcept>

namespace camera::cli {

namespace {

constexpr std::size_t kReferenceEngines = 2;

ravel::LogLevel logLevel(int verbosity)
{
    if (verbosity == 0) {
        return ravel::LogLevel::error;
    }
    return verbosity == 1 ? ravel::LogLevel::info : ravel::LogLevel::debug;
}

} // namespace

device::Options deviceOptions(const CameraOptions& options, const std::filesystem::path& stateDir)
{
    device::Options result;
    result.pluginPath = pluginPath(options.plugin, programFolder());
    result.stateDir = stateDir;
    if (options.ptz) {
        result.ptz = device::PtzOption{{}, options.preset};
    }
    result.engineCount = kReferenceEngines + options.engines.size();
    result.logLevel = logLevel(options.verbosity);
    return result;
}

std::unique_ptr<device::Device> buildCamera(const CameraOptions& options, const device::Options& deviceOptions,
                                            Console& console)
{
    ravel::Log::instance().setWriter([&console](const std::string& line) { console.log(line); });
    engines::clearEngineModules();
    for (const std::string& path : options.engines) {
        engines::addEngineModule(path);
    }
    auto device = std::make_unique<device::Device>(deviceOptions);
    for (const std::string& notice : device->environment().settings.notices()) {
        console.error(notice);
    }
    return device;
}

bool configure(device::Device& device, const std::string& xml, const std::string& origin)
{
    if (!device.target().setConfiguration(xml)) {
        throw std::runtime_error("the camera refuses the configuration '" + origin +
                                 "': no engine takes all of it; the log lines above name the reason.");
    }
    const std::vector<ComponentName> active = componentsOf(device.target().currentConfiguration());
    const std::vector<ComponentName> given = componentsOf(xml);
    return std::all_of(given.begin(), given.end(), [&active](const ComponentName& component) {
        return std::find(active.begin(), active.end(), component) != active.end();
    });
}

} // namespace camera::cli
