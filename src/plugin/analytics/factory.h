#pragma once

#include "plugin/analytics/IAnalyticsPtz.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <memory>
#include <vector>

#pragma GCC visibility push(default)

namespace analytics_lib {

/// Every engine that the device offers, in the order in which they are always visited; may be empty.
/// logContext and ptz are the engines' to keep. Called once per plug-in, on the control thread.
std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* logContext,
                                                                        std::shared_ptr<IAnalyticsPtz> ptz);

} // namespace analytics_lib

#pragma GCC visibility pop
