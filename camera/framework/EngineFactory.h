#pragma once

#include "camera/framework/EngineModules.h"
#include "camera/framework/EngineMonitor.h"

#include <functional>
#include <memory>
#include <vector>

namespace camera::framework {

using Engines = std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>>;

/// Makes the engines that the program has itself, in the order in which they are visited. May throw.
using EngineSource = std::function<Engines(void* logContext, std::shared_ptr<analytics_lib::IAnalyticsPtz> ptz)>;

/**
 * What analytics_lib::GetSupportedAnalyticsLibs answers with while it is the current one (base::Current): the engines
 * of modules, then those of the program, each behind a monitor.
 *
 * Thread: make() on the control thread, once; records() from any thread once make() has returned.
 */
class EngineFactory {
public:
    EngineFactory(EngineSource source, std::vector<EngineModule> modules, EngineListeners listeners);

    /// A module's engine whose name begins like another one's, or the other way round, is left out with a log line:
    /// stored configurations are found by the engine's name at the front of their keys.
    Engines make(void* logContext, const std::shared_ptr<analytics_lib::IAnalyticsPtz>& ptz);

    /// One of each engine, in their order.
    const std::vector<std::shared_ptr<EngineRecord>>& records() const { return _records; }

private:
    const EngineSource _source;
    const std::vector<EngineModule> _modules;
    const EngineListeners _listeners;
    std::vector<std::shared_ptr<EngineRecord>> _records;
};

} // namespace camera::framework
