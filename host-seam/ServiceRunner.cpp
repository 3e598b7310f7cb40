#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"

#include <algorithm>
#include <cstdarg>

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

RavelApiAnalyticsTargetImplBase::RavelApiAnalyticsTargetImplBase(void* logHandle) : _baseLogHandle(logHandle)
{
}

RavelApiAnalyticsTargetImplBase::~RavelApiAnalyticsTargetImplBase()
{
    journal().add(Part::Service, "target base destroyed");
}

bool RavelApiAnalyticsTargetImplBase::isRunnable()
{
    return true;
}

void RavelApiAnalyticsTargetImplBase::log(ravel_core_log_priority priority, const char* format, ...) const
{
    va_list arguments;
    va_start(arguments, format);
    ravel_core_logging_logv(_baseLogHandle, priority, format, arguments);
    va_end(arguments);
}

ravel_core_status RavelApiAnalyticsTargetImplBase::sendEventAnalyticsEvent(const char* topic, const char* source,
                                                                           const char* data) const
{
    platform().reached("sendEvent");
    const ravel_core_status status = platform().framework.sendEventStatus;
    journal().add(Part::Service, "sendEvent(", topic, ", ", source, ", ", data, ") -> ", status);
    return status;
}

struct RavelApiAnalyticsTargetRun::Serving {
    std::string serviceName;
    boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target;
};

RavelApiAnalyticsTargetRun::RavelApiAnalyticsTargetRun(const std::string& serviceName, void* logHandle,
                                                       boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target)
    : _serving(new Serving{serviceName, std::move(target)})
{
    platform().reached("startServing");
    journal().add(Part::Service, "startServing ", serviceName);
    platform().framework.serving.push_back({serviceName, logHandle, _serving->target.get(), this});
}

RavelApiAnalyticsTargetRun::~RavelApiAnalyticsTargetRun()
{
    auto& serving = platform().framework.serving;
    const auto entry = std::find_if(serving.begin(), serving.end(),
                                    [this](const auto& served) { return served.target == _serving->target.get(); });
    if (entry != serving.end()) {
        serving.erase(entry);
    }
    journal().add(Part::Service, "stopServing ", _serving->serviceName);
}
