#include "camera/engines/EngineLog.h"
#include "camera/engines/EngineModules.h"
#include "camera/engines/MotionEngine.h"
#include "camera/engines/SimpleEngine.h"
#include "camera/kit/EngineModule.h"
#include "plugin/analytics/factory.h"

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>

namespace camera::engines {

namespace {

using Engine = std::shared_ptr<analytics_lib::IOnvifAnalytics>;

constexpr char kSymbol[] = "detectionEngineModule";

std::vector<const DetectionEngineModule*>& modules()
{
    static std::vector<const DetectionEngineModule*> all;
    return all;
}

/// The first reason against a module, or null.
const char* mismatch(const DetectionEngineModule* module)
{
    if (module->version != DetectionEngineModule::kVersion) {
        return "it was built for another version of the engine interface; build it again";
    }
    if (module->frameBytes != sizeof(analytics_lib::YuvFrame) || module->buffersBytes != sizeof(MetadataBuffers) ||
        module->stringBytes != sizeof(std::string)) {
        return "it was built with other declarations or another standard library; build it again";
    }
    if (module->name == nullptr || module->create == nullptr) {
        return "its description is incomplete";
    }
    return nullptr;
}

bool isPrefix(const std::string& shorter, const std::string& longer)
{
    return longer.compare(0, shorter.size(), shorter) == 0;
}

/// Stored configurations are found by the engine's name at the front of their keys, so no name may
/// begin with another.
bool fits(const std::vector<Engine>& engines, const Engine& engine, const EngineLog& log)
{
    const std::string name = engine->getName();
    for (const Engine& other : engines) {
        const std::string otherName = other->getName();
        if (name.empty() || isPrefix(name, otherName) || isPrefix(otherName, name)) {
            log.error("the engine '" + forLog(name) + "' is left out: its name and '" + forLog(otherName) +
                      "' begin alike");
            return false;
        }
    }
    return true;
}

Engine create(const DetectionEngineModule& module, void* logContext, std::shared_ptr<analytics_lib::IAnalyticsPtz> ptz,
              const EngineLog& log)
{
    try {
        Engine engine = module.create(logContext, std::move(ptz));
        if (!engine) {
            log.error("the engine module '" + forLog(module.name) + "' made no engine");
        }
        return engine;
    } catch (const std::exception& error) {
        log.error("the engine module '" + forLog(module.name) + "' failed: " + forLog(error.what()));
    } catch (...) {
        log.error("the engine module '" + forLog(module.name) + "' failed");
    }
    return nullptr;
}

} // namespace

void addEngineModule(const std::string& path)
{
    // A bare name would be looked for among the system's libraries.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        throw std::runtime_error("cannot load the engine module '" + path + "': " + (reason ? reason : "unknown"));
    }
    const auto* module = static_cast<const DetectionEngineModule*>(dlsym(library, kSymbol));
    const char* reason = module == nullptr ? "it exports no detectionEngineModule" : mismatch(module);
    if (reason != nullptr) {
        dlclose(library);
        throw std::runtime_error("cannot use the engine module '" + path + "': " + reason);
    }
    modules().push_back(module); // its library is never closed: engines may outlive everything else
}

void clearEngineModules()
{
    modules().clear();
}

} // namespace camera::engines

namespace analytics_lib {

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* logContext,
                                                                        std::shared_ptr<IAnalyticsPtz> ptz)
{
    using namespace camera::engines;
    const EngineLog log(logContext, "engines");
    const auto simple = std::make_shared<SimpleEngine>(logContext);
    const auto motion = std::make_shared<MotionEngine>(logContext);
    std::vector<std::shared_ptr<IOnvifAnalytics>> engines;
    std::vector<std::shared_ptr<IOnvifAnalytics>> all{simple, motion};
    for (const DetectionEngineModule* module : modules()) {
        const auto engine = create(*module, logContext, ptz, log);
        if (engine && fits(all, engine, log)) {
            engines.push_back(engine);
            all.push_back(engine);
        }
    }
    engines.push_back(simple);
    engines.push_back(motion);
    return engines;
}

} // namespace analytics_lib
