#include "camera/framework/EngineFactory.h"

#include "camera/base/Activity.h"
#include "camera/base/Contained.h"
#include "camera/base/Current.h"
#include "plugin/analytics/factory.h"
#include "ravel/logging.h"

#include <dlfcn.h>

#include <algorithm>
#include <utility>

namespace camera::framework {

namespace {

using analytics_lib::IAnalyticsPtz;
using Engine = std::shared_ptr<analytics_lib::IOnvifAnalytics>;

bool isPrefix(const std::string& shorter, const std::string& longer)
{
    return longer.compare(0, shorter.size(), shorter) == 0;
}

void logError(void* logContext, const std::string& text)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "engines: %s", text.c_str());
}

bool fits(void* logContext, const Engines& engines, const Engine& engine)
{
    const std::string name = engine->getName();
    for (const Engine& other : engines) {
        const std::string otherName = other->getName();
        if (isPrefix(name, otherName) || isPrefix(otherName, name)) { // an empty name begins every other one
            logError(logContext, "the engine '" + name + "' is left out: its name and '" + otherName + "' begin alike");
            return false;
        }
    }
    return true;
}

// Null when the module makes none, or one that cannot stand beside the others.
Engine create(const DetectionEngineModule& module, void* logContext, const std::shared_ptr<IAnalyticsPtz>& ptz,
              const Engines& others)
{
    const std::string what = "the engine module '" + std::string(module.name) + "' ";
    const base::Activity::Scope scope(
        base::Activity::Kind::control,
        base::Activity::Label("the start of the engine module '" + std::string(module.name) + "'"));
    try {
        Engine engine = module.create(logContext, ptz);
        if (!engine) {
            logError(logContext, what + "made no engine");
        }
        return engine && fits(logContext, others, engine) ? engine : nullptr;
    } catch (...) {
        logError(logContext, what + "failed: " + base::reasonOfException());
    }
    return nullptr;
}

// The file under the name by which it was loaded.
std::filesystem::path fileOf(EngineModule module)
{
    Dl_info info{};
    return dladdr(module, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

} // namespace

EngineFactory::EngineFactory(EngineSource source, std::vector<EngineModule> modules, EngineListeners listeners)
    : _source(std::move(source)), _modules(std::move(modules)), _listeners(std::move(listeners))
{
}

Engines EngineFactory::make(void* logContext, const std::shared_ptr<IAnalyticsPtz>& ptz)
{
    Engines engines = _source ? _source(logContext, ptz) : Engines();
    std::vector<std::filesystem::path> files; // of the modules' engines, which come first
    for (const EngineModule& module : _modules) {
        const Engine engine = create(*module, logContext, ptz, engines);
        if (engine) {
            engines.insert(engines.begin() + static_cast<std::ptrdiff_t>(files.size()), engine);
            files.push_back(fileOf(module));
        }
    }
    files.resize(engines.size());
    for (std::size_t i = 0; i < engines.size(); ++i) {
        Engine& engine = engines[i];
        auto record = std::make_shared<EngineRecord>(engine->getName(), _listeners, files[i]);
        _records.push_back(record);
        engine = std::make_shared<EngineMonitor>(std::move(engine), std::move(record));
    }
    return engines;
}

} // namespace camera::framework

namespace analytics_lib {

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* logContext,
                                                                        std::shared_ptr<IAnalyticsPtz> ptz)
{
    const auto factory = camera::base::Current<camera::framework::EngineFactory>::get();
    return factory ? factory->make(logContext, ptz) : camera::framework::Engines();
}

} // namespace analytics_lib
