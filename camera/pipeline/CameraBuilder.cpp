#include "camera/pipeline/CameraBuilder.h"

#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/engines/ReferenceEngines.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/serviceapi/ServiceApi.h"

#include <algorithm>
#include <stdexcept>

namespace camera::pipeline {

namespace {

base::LogLevel logLevel(int verbosity)
{
    if (verbosity == 0) {
        return base::LogLevel::error;
    }
    return verbosity == 1 ? base::LogLevel::info : base::LogLevel::debug;
}

// Why no engine takes a configuration, as far as its types tell.
std::string refusalReason(TargetClient& target, const std::vector<onvif::ComponentName>& given)
{
    const std::vector<std::string> rules = target.supportedRules();
    const std::vector<std::string> modules = target.supportedEngines();
    for (const onvif::ComponentName& component : given) {
        const std::vector<std::string>& types = component.isRule ? rules : modules;
        if (std::find(types.begin(), types.end(), component.type) == types.end()) {
            return "no engine knows the type of its " + onvif::describe(component) + "; camera " +
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

Options deviceOptions(const base::CameraOptions& options, const std::filesystem::path& stateDir)
{
    Options result;
    result.pluginPath = base::pluginPath(options.plugin, base::programFolder());
    result.stateDir = stateDir;
    if (options.ptz) {
        result.ptz.emplace();
        result.ptz->arriveAt = options.preset;
    }
    result.engines = [](void* log, const auto& /*ptz*/) { return engines::referenceEngines(log); };
    result.engineCount = engines::kReferenceEngines + options.engines.size();
    result.logLevel = logLevel(options.verbosity);
    return result;
}

std::unique_ptr<Device> buildCamera(const Options& deviceOptions, base::Console& console)
{
    base::Log::instance().setWriter([&console](const std::string& line) { console.log(line); });
    auto device = std::make_unique<Device>(deviceOptions);
    for (const std::string& notice : device->environment().settings.notices()) {
        console.error(notice);
    }
    return device;
}

bool configure(Device& device, const std::string& xml, const std::string& origin)
{
    const std::vector<onvif::ComponentName> given = onvif::componentsOf(xml);
    if (!device.target().setConfiguration(xml)) {
        throw std::runtime_error("the camera refuses the configuration '" + origin +
                                 "': " + refusalReason(device.target(), given) + ".");
    }
    const std::vector<onvif::ComponentName> active = onvif::componentsOf(device.target().currentConfiguration());
    return std::all_of(given.begin(), given.end(), [&active](const onvif::ComponentName& component) {
        return std::find(active.begin(), active.end(), component) != active.end();
    });
}

} // namespace camera::pipeline
