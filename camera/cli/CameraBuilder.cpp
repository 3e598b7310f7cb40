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

// Why no engine takes a configuration, as far as its types tell.
std::string refusalReason(device::TargetClient& target, const std::vector<ComponentName>& given)
{
    const std::vector<std::string> rules = target.supportedRules();
    const std::vector<std::string> modules = target.supportedEngines();
    for (const ComponentName& component : given) {
        const std::vector<std::string>& types = component.isRule ? rules : modules;
        if (std::find(types.begin(), types.end(), component.type) == types.end()) {
            return "no engine knows the type of its " + describe(component) + "; camera config " +
                   (component.isRule ? "rules" : "modules") + " types lists those that there are";
        }
    }
    if (given.empty()) {
        return "there is no rule and no module in it";
    }
    return "the log lines above name the reason; without one, it mixes the types of several engines, which take "
           "a file each";
}

} // namespace

device::Options deviceOptions(const CameraOptions& options, const std::filesystem::path& stateDir)
{
    device::Options result;
    result.pluginPath = pluginPath(options.plugin, programFolder());
    result.stateDir = stateDir;
    if (options.ptz) {
        result.ptz.emplace();
        result.ptz->arriveAt = options.preset;
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
    const std::vector<ComponentName> given = componentsOf(xml);
    if (!device.target().setConfiguration(xml)) {
        throw std::runtime_error("the camera refuses the configuration '" + origin +
                                 "': " + refusalReason(device.target(), given) + ".");
    }
    const std::vector<ComponentName> active = componentsOf(device.target().currentConfiguration());
    return std::all_of(given.begin(), given.end(), [&active](const ComponentName& component) {
        return std::find(active.begin(), active.end(), component) != active.end();
    });
}

} // namespace camera::cli
