// Subscriptions to the positioning unit and to the device's services, and their end.

#include "korva/meridan/PositioningManager.h"
#include "ravel/configuration.h"
#include "ravel/day_night.h"
#include "ravel/rotate.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"
#include "target/BlankingColor.h"
#include "target/OnvifTarget.h"
#include "target/ServiceCall.h"

namespace korva::meridan {

namespace {

/// Calls operation on the target behind a callback's context; nothing without a context.
template <typename Operation>
void onTarget(void* context, const Operation& operation)
{
    if (context != nullptr) {
        operation(*static_cast<OnvifTarget*>(context));
    }
}

void onMotionState(bool moving, unsigned int, int, unsigned int, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handlePositioningMotionStateEvent(moving); });
}

void onCommandPriority(bool, bool, unsigned int priority, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handlePositioningCommandPriorityEvent(priority); });
}

void onPresetState(int state, const std::string& presetName, bool, const std::string&, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handlePresetStateEvent(state, presetName); });
}

void onPresetModified(const std::string& presetName, bool, bool, bool removed, void* context)
{
    if (removed) {
        onTarget(context, [&](OnvifTarget& target) { target.handlePresetModifiedEvent(presetName); });
    }
}

void onTourState(int tourState, const std::string&, unsigned int, int stopType, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handleTourStateEvent(tourState, stopType); });
}

void onDayNightMovement(bool movement, const char*, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handleDayNightChangeEvent(movement); });
}

void onWindowBlanking(bool enabled, const char*, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handleWindowBlankingEvent(enabled); });
}

void onOrientation(unsigned int orientation, const char*, void* context)
{
    onTarget(context, [&](OnvifTarget& target) { target.handleOrientationChangeEvent(orientation); });
}

/// The targets of a service; empty also when the service is unknown.
std::vector<std::string> targetIdsOf(const char* service)
{
    std::vector<std::string> ids;
    if (!ravel::core::getTargetIds(service, ids)) {
        ids.clear();
    }
    return ids;
}

} // namespace

void OnvifTarget::initializePositioningEvents()
{
    PositioningManager& positioning = PositioningManager::instance();
    if (!positioning.isAvailable()) {
        return;
    }
    // A camera at no preset counts as having arrived there; one that stands at a preset reports it
    // again once this target listens.
    const std::string preset = positioning.getActivePreset(false);
    _proxyTarget.handlePresetStateEvent(preset.empty() ? ProxyTarget::kPresetReached : ProxyTarget::kPresetLeft,
                                        preset);

    positioning.registerMotionStateCallback(onMotionState, this);
    positioning.registerCommandPriorityCallback(onCommandPriority, this);
    positioning.registerPresetStateCallback(onPresetState, this);
    positioning.registerPresetModifiedCallback(onPresetModified, this);
    positioning.registerTourStateCallback(onTourState, this);
}

// Tour states stay registered; the host discards them.
void OnvifTarget::releasePositioningEvents()
{
    PositioningManager& positioning = PositioningManager::instance();
    if (!positioning.isAvailable()) {
        return;
    }
    positioning.unregisterMotionStateCallback(onMotionState, this);
    positioning.unregisterCommandPriorityCallback(onCommandPriority, this);
    positioning.unregisterPresetStateCallback(onPresetState, this);
    positioning.unregisterPresetModifiedCallback(onPresetModified, this);
}

void OnvifTarget::initializeDayNightEvents()
{
    if (targetIdsOf("day_night").empty()) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "%s: day_night service not found", __func__);
        return;
    }
    try {
        throwOnFailure(ravel_api_day_night_initiator_init(nullptr, _logCookie, &_dayNightIpcCookie, 1, nullptr),
                       "ravel_api_day_night_initiator_init(nullptr, _logCookie, &_dayNightIpcCookie, 1, nullptr)");
        ravel_api_day_night_movement_change_register_event_handler(_dayNightIpcCookie, onDayNightMovement, this);
    } catch (const std::exception& error) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "%s: get day/night service exception: %s", __func__,
                               error.what());
        _dayNightIpcCookie = nullptr;
    }
}

void OnvifTarget::releaseDayNightEvents()
{
    if (_dayNightIpcCookie != nullptr) {
        ravel_api_day_night_movement_change_unregister_event_handler(_dayNightIpcCookie, onDayNightMovement);
        ravel_api_day_night_initiator_deinit(_dayNightIpcCookie);
        _dayNightIpcCookie = nullptr;
    }
}

void OnvifTarget::initializeWindowBlankingEvents()
{
    const std::vector<std::string> windowBlankingTargetIds = targetIdsOf("window_blanking");
    if (windowBlankingTargetIds.empty()) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "%s: window_blanking service not found", __func__);
        return;
    }
    try {
        throwOnFailure(
            ravel_api_window_blanking_initiator_init(nullptr, _logCookie, &_windowBlankingIpcCookie, 1, nullptr),
            "ravel_api_window_blanking_initiator_init(NULL, _logCookie, &_windowBlankingIpcCookie, 1, NULL)");
        ravel_api_window_blanking_settings_changed_register_event_handler(_windowBlankingIpcCookie, onWindowBlanking,
                                                                          this);
        const char* const targetId = windowBlankingTargetIds[0].c_str();
        std::uint8_t red = 0;
        std::uint8_t green = 0;
        std::uint8_t blue = 0;
        throwOnFailure(
            ravel_api_window_blanking_get_region_color_send(_windowBlankingIpcCookie, targetId, &red, &green, &blue),
            "ravel_api_window_blanking_get_region_color_send( _windowBlankingIpcCookie, "
            "windowBlankingTargetIds[0].c_str(), &red, &green, &blue)");
        _proxyTarget.setWindowBlankingColor(toColorYuv(red, green, blue));
        std::uint8_t enable = 0;
        throwOnFailure(ravel_api_window_blanking_get_enable_send(_windowBlankingIpcCookie, targetId, &enable),
                       "ravel_api_window_blanking_get_enable_send( _windowBlankingIpcCookie, "
                       "windowBlankingTargetIds[0].c_str(), &enable)");
        _proxyTarget.handleWindowBlankingEvent(enable != 0);
    } catch (const std::exception& error) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "%s: get window blanking service exception: %s",
                               __func__, error.what());
        // Forgotten as it is, neither closed nor unregistered: the host discards both.
        _windowBlankingIpcCookie = nullptr;
    }
}

void OnvifTarget::releaseWindowBlankingEvents()
{
    if (_windowBlankingIpcCookie != nullptr) {
        ravel_api_window_blanking_settings_changed_unregister_event_handler(_windowBlankingIpcCookie, onWindowBlanking);
        ravel_api_window_blanking_initiator_deinit(_windowBlankingIpcCookie);
        _windowBlankingIpcCookie = nullptr;
    }
}

void OnvifTarget::initializeRotationEvents()
{
    unsigned int angle = 0;
    const std::vector<std::string> rotationTargetIds = targetIdsOf("rotate");
    if (rotationTargetIds.empty()) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_INFO, "%s: rotation service not found", __func__);
        angle = configuredOrientation();
    } else {
        try {
            throwOnFailure(ravel_api_rotate_initiator_init(nullptr, _logCookie, &_rotationIpcCookie, 1, nullptr),
                           "ravel_api_rotate_initiator_init(nullptr, _logCookie, &_rotationIpcCookie, 1, nullptr)");
            ravel_api_rotate_orientation_changed_register_event_handler(_rotationIpcCookie, onOrientation, this);
            std::uint32_t reported = 0;
            throwOnFailure(
                ravel_api_rotate_get_angle_send(_rotationIpcCookie, rotationTargetIds[0].c_str(), &reported),
                "ravel_api_rotate_get_angle_send( _rotationIpcCookie, rotationTargetIds[0].c_str(), &angle)");
            angle = reported;
        } catch (const std::exception& error) {
            // The handle stays: an orientation handler may be registered on it already.
            ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "%s: get rotation service exception: %s", __func__,
                                   error.what());
        }
    }
    handleOrientationChangeEvent(angle);
}

unsigned int OnvifTarget::configuredOrientation()
{
    int angle = 0;
    const ravel_core_status status = ravel_core_configuration_get_int_value("default_analytics_rotation", &angle);
    if (status != 0) {
        ravel_core_logging_log(_logCookie, RAVEL_CORE_LOG_ERROR, "Failed to get default rotation position: %s",
                               ravel_core_status_to_string(status));
        return 0;
    }
    return static_cast<unsigned int>(angle);
}

} // namespace korva::meridan
