#pragma once

#include "plugin/analytics/IOnvifAnalytics.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace camera::engines {

inline constexpr std::size_t kReferenceEngines = 2;

/// "Simple" and "Motion". logContext is theirs to keep.
std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> referenceEngines(void* logContext);

} // namespace camera::engines
