#pragma once

#include <memory>

class RavelApiAnalyticsTargetImplBase;

namespace analytics_lib {
class IOnvifAnalytics;
} // namespace analytics_lib

namespace hostile {

/// What a whole plug-in is built from and what came of it.
struct HostSide {
    std::shared_ptr<analytics_lib::IOnvifAnalytics> engine; ///< the only one that the factory offers
    RavelApiAnalyticsTargetImplBase* served = nullptr;      ///< null while nobody serves
};

HostSide& hostSide();

} // namespace hostile
