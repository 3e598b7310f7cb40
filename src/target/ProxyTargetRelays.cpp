// Device state on its way to the engines.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"
#include "target/ProxyTarget.h"

namespace korva::meridan {

namespace {

const char* textOf(bool value)
{
    return value ? "true" : "false";
}

} // namespace

void ProxyTarget::setWindowBlankingColor(const analytics_lib::ColorYuv& color)
{
    windowBlankingColor = color;
}

void ProxyTarget::handleWindowBlankingEvent(bool enabled)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "Window blanking event enabled %s", textOf(enabled));
    for (const Engine& engine : analyticLibs) {
        engine->onWindowBlankingChange(enabled, windowBlankingColor);
    }
}

void ProxyTarget::handleOrientationChangeEvent(unsigned int orientation)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "rotation call back");
    frameOrientation.store(orientation, std::memory_order_relaxed);
    for (const Engine& engine : analyticLibs) {
        engine->onOrientationChanged(orientation);
    }
}

unsigned int ProxyTarget::getFrameOrientation() const
{
    return frameOrientation.load(std::memory_order_relaxed);
}

void ProxyTarget::handleDayNightChangeEvent(bool movement)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "day night change call back, movement: %s",
                           textOf(movement));
    inMovement = movement;
    reconfigure(false);
}

} // namespace korva::meridan
