#include "support/StubPlatform.h"

#include "korva/meridan/PositioningManager.h"
#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "ravel/RavelApiException.h"
#include "ravel/settings.h"

#include <cstdio>
#include <cstring>

using fuzz::platform;

namespace fuzz {

StubPlatform& platform()
{
    static StubPlatform stub;
    return stub;
}

void resetPlatform()
{
    platform() = StubPlatform();
}

} // namespace fuzz

// Formatting reads every text to its end, so a bad pointer shows; the line itself goes nowhere.
void ravel_core_logging_logv(void* /*handle*/, ravel_core_log_priority /*priority*/, const char* format,
                             va_list arguments)
{
    char line[128];
    std::vsnprintf(line, sizeof line, format, arguments);
}

void ravel_core_logging_log(void* handle, ravel_core_log_priority priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ravel_core_logging_logv(handle, priority, format, arguments);
    va_end(arguments);
}

const char* ravel_core_status_to_string(ravel_core_status status)
{
    return status == 0 ? "success" : "failure";
}

std::string ravel::core::statusToString(ravel_core_status status)
{
    return ravel_core_status_to_string(status);
}

ravel_core_status ravel_core_settings_set_default_json_value(const char* /*key*/, const char* value)
{
    platform().defaultDocument = value;
    return 0;
}

ravel_core_status ravel::core::settingsGetJson(const std::string& /*key*/, std::string& value)
{
    value = platform().document.empty() ? platform().defaultDocument : platform().document;
    return 0;
}

ravel_core_status ravel::core::settingsSetJson(const std::string& /*key*/, const std::string& value)
{
    if (platform().nextWriteFails) {
        platform().nextWriteFails = false;
        throw RavelApiException("the store is full", 1);
    }
    platform().document = value;
    ++platform().writes;
    return 0;
}

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
    const std::size_t length = std::strlen(topic) + std::strlen(source) + std::strlen(data);
    return length == 0 ? 1 : 0;
}

namespace korva::meridan {

PositioningManager& PositioningManager::instance()
{
    static PositioningManager manager;
    return manager;
}

bool PositioningManager::isAvailable() const
{
    return platform().canMove;
}

std::string PositioningManager::getActivePreset(bool /*flag*/) const
{
    return {};
}

bool PositioningManager::registerMotionStateCallback(MotionStateCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::registerCommandPriorityCallback(CommandPriorityCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::registerPresetStateCallback(PresetStateCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::registerPresetModifiedCallback(PresetModifiedCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::registerTourStateCallback(TourStateCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::unregisterMotionStateCallback(MotionStateCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::unregisterCommandPriorityCallback(CommandPriorityCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::unregisterPresetStateCallback(PresetStateCallback /*callback*/, void* /*context*/)
{
    return true;
}

bool PositioningManager::unregisterPresetModifiedCallback(PresetModifiedCallback /*callback*/, void* /*context*/)
{
    return true;
}

} // namespace korva::meridan

namespace analytics_lib {

const std::string IOnvifAnalytics::kVideoAnalyticTag = "tt:VideoAnalyticsConfiguration";
const std::string IOnvifAnalytics::kVideoAnalyticHeader = "<tt:VideoAnalyticsConfiguration>";
const std::string IOnvifAnalytics::kVideoAnalyticFooter = "</tt:VideoAnalyticsConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigTag = "tt:AnalyticsEngineConfiguration";
const std::string IOnvifAnalytics::kEngineConfigHeader = "<tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigFooter = "</tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigTag = "tt:RuleEngineConfiguration";
const std::string IOnvifAnalytics::kRuleConfigHeader = "<tt:RuleEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigFooter = "</tt:RuleEngineConfiguration>";

} // namespace analytics_lib
