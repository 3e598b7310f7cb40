// The service runner and the base of the target that it serves.
#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"

#include "camera/base/Log.h"
#include "camera/serviceapi/ServiceApi.h"
#include "camera/serviceapi/Status.h"

#include <cstdarg>
#include <memory>
#include <utility>

using camera::serviceapi::CurrentServiceApi;
using camera::serviceapi::ServiceApi;

RavelApiAnalyticsTargetImplBase::RavelApiAnalyticsTargetImplBase(void* logHandle) : _baseLogHandle(logHandle)
{
}

RavelApiAnalyticsTargetImplBase::~RavelApiAnalyticsTargetImplBase() = default;

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
    const auto api = CurrentServiceApi::get();
    if (!api || !api->analyticsTargets.serves(this)) {
        return camera::serviceapi::kUnavailable;
    }
    const auto text = [](const char* value) { return std::string(value != nullptr ? value : ""); };
    api->events.publish({text(topic), text(source), text(data)});
    return camera::serviceapi::kOk;
}

struct RavelApiAnalyticsTargetRun::Serving {
    std::weak_ptr<ServiceApi> api; // weak, because a runner may outlive its device
    std::string service;
    const RavelApiAnalyticsTargetImplBase* target = nullptr;
};

RavelApiAnalyticsTargetRun::RavelApiAnalyticsTargetRun(const std::string& serviceName, void* logHandle,
                                                       boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target)
{
    const auto api = CurrentServiceApi::get();
    if (!api || !target || !target->isRunnable()) {
        ravel_core_logging_log(logHandle, RAVEL_CORE_LOG_ERROR, "%s: the target cannot be served", serviceName.c_str());
        return;
    }
    const RavelApiAnalyticsTargetImplBase* address = target.get();
    if (!api->analyticsTargets.add(serviceName, std::move(target))) {
        ravel_core_logging_log(logHandle, RAVEL_CORE_LOG_ERROR, "%s: another target is served under this name",
                               serviceName.c_str());
        return;
    }
    _serving.reset(new Serving{api, serviceName, address});
}

RavelApiAnalyticsTargetRun::~RavelApiAnalyticsTargetRun()
{
    if (!_serving) {
        return;
    }
    if (const auto api = _serving->api.lock()) {
        api->analyticsTargets.remove(_serving->service, _serving->target);
    }
}
