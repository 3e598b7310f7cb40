// The calls of the service API that concern the device's services: look-up, connections, event handlers, queries.
#include "camera/serviceapi/ServiceApi.h"

#include "ravel/configuration.h"
#include "ravel/day_night.h"
#include "ravel/onvif_metadata_streamer.h"
#include "ravel/rotate.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using namespace camera::serviceapi;

namespace {

constexpr const char* kDayNight = "day_night";
constexpr const char* kWindowBlanking = "window_blanking";
constexpr const char* kRotate = "rotate";
constexpr const char* kMetadataStreamer = "onvif_metadata_streamer";

// What operation answers for the device that is bound, if there is one.
template <class Operation>
ravel_core_status ofDevice(const Operation& operation)
{
    if (const auto api = CurrentServiceApi::get()) {
        return operation(*api);
    }
    return kUnavailable;
}

std::optional<std::vector<std::string>> targetIds(const ServiceApi& api, const std::string& service)
{
    if (api.analyticsTargets.find(service)) {
        return std::vector<std::string>{kTargetId};
    }
    return api.services->targetIds(service);
}

std::uintptr_t number(void* cookie)
{
    return reinterpret_cast<std::uintptr_t>(cookie);
}

// What a client of a service calls, for the connections that member names.
template <class Connections>
class Client {
public:
    constexpr Client(const char* service, Connections ServiceApi::*member) : _service(service), _member(member) {}

    ravel_core_status init(void** cookie, int version) const
    {
        if (cookie == nullptr || version != 1) {
            return kInvalidArgument;
        }
        return ofDevice([&](ServiceApi& api) {
            if (!targetIds(api, _service)) {
                return kUnavailable;
            }
            // A number that is never followed.
            *cookie = reinterpret_cast<void*>((api.*_member).open());
            return kOk;
        });
    }

    void deinit(void* cookie) const
    {
        ofDevice([&](ServiceApi& api) {
            (api.*_member).close(number(cookie));
            return kOk;
        });
    }

    template <class Handler>
    ravel_core_status add(void* cookie, Handler handler, void* context) const
    {
        return ofDevice([&](ServiceApi& api) { return (api.*_member).add(number(cookie), handler, context); });
    }

    template <class Handler>
    ravel_core_status remove(void* cookie, Handler handler) const
    {
        return ofDevice([&](ServiceApi& api) { return (api.*_member).remove(number(cookie), handler); });
    }

    // query answers on the services, for an open connection and a target that there is.
    template <class Query>
    ravel_core_status ask(void* cookie, const char* targetId, const Query& query) const
    {
        return ofDevice([&](ServiceApi& api) -> ravel_core_status {
            if (!(api.*_member).isOpen(number(cookie)) || targetId == nullptr) {
                return kInvalidArgument;
            }
            const auto ids = targetIds(api, _service);
            if (ids && std::find(ids->begin(), ids->end(), targetId) == ids->end()) {
                return kNotFound;
            }
            return query(*api.services);
        });
    }

private:
    const char* const _service;
    Connections ServiceApi::*const _member;
};

constexpr Client dayNight(kDayNight, &ServiceApi::dayNight);
constexpr Client windowBlanking(kWindowBlanking, &ServiceApi::windowBlanking);
constexpr Client rotation(kRotate, &ServiceApi::rotation);

} // namespace

bool ravel::core::getTargetIds(const char* service, std::vector<std::string>& ids)
{
    const auto api = CurrentServiceApi::get();
    if (!api || service == nullptr) {
        return false;
    }
    auto found = targetIds(*api, service);
    if (found) {
        ids = std::move(*found);
    }
    return found.has_value();
}

ravel_core_status ravel_core_configuration_get_int_value(const char* key, int* value)
{
    if (key == nullptr || value == nullptr) {
        return kInvalidArgument;
    }
    int found = 0;
    const ravel_core_status status =
        ofDevice([&](ServiceApi& api) { return api.services->configurationValue(key, found); });
    if (status == kOk) {
        *value = found;
    }
    return status;
}

ravel_core_status ravel_api_day_night_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie, int version,
                                                     void* /*options*/)
{
    return dayNight.init(cookie, version);
}

void ravel_api_day_night_initiator_deinit(void* cookie)
{
    dayNight.deinit(cookie);
}

ravel_core_status ravel_api_day_night_movement_change_register_event_handler(
    void* cookie, ravel_api_day_night_movement_change_handler handler, void* context)
{
    return dayNight.add(cookie, handler, context);
}

ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void* cookie,
                                                             ravel_api_day_night_movement_change_handler handler)
{
    return dayNight.remove(cookie, handler);
}

ravel_core_status ravel_api_window_blanking_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie,
                                                           int version, void* /*options*/)
{
    return windowBlanking.init(cookie, version);
}

void ravel_api_window_blanking_initiator_deinit(void* cookie)
{
    windowBlanking.deinit(cookie);
}

ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler, void* context)
{
    return windowBlanking.add(cookie, handler, context);
}

ravel_core_status ravel_api_window_blanking_settings_changed_unregister_event_handler(
    void* cookie, ravel_api_window_blanking_settings_changed_handler handler)
{
    return windowBlanking.remove(cookie, handler);
}

ravel_core_status ravel_api_window_blanking_get_region_color_send(void* cookie, const char* targetId, std::uint8_t* red,
                                                                  std::uint8_t* green, std::uint8_t* blue)
{
    RegionColor color;
    const ravel_core_status status =
        windowBlanking.ask(cookie, targetId, [&](DeviceServices& services) { return services.regionColor(color); });
    if (status == kOk) {
        *red = color.red;
        *green = color.green;
        *blue = color.blue;
    }
    return status;
}

ravel_core_status ravel_api_window_blanking_get_enable_send(void* cookie, const char* targetId, std::uint8_t* enable)
{
    bool enabled = false;
    const ravel_core_status status = windowBlanking.ask(
        cookie, targetId, [&](DeviceServices& services) { return services.blankingEnabled(enabled); });
    if (status == kOk) {
        *enable = enabled ? 1 : 0;
    }
    return status;
}

ravel_core_status ravel_api_rotate_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie, int version,
                                                  void* /*options*/)
{
    return rotation.init(cookie, version);
}

void ravel_api_rotate_initiator_deinit(void* cookie)
{
    rotation.deinit(cookie);
}

ravel_core_status ravel_api_rotate_orientation_changed_register_event_handler(
    void* cookie, ravel_api_rotate_orientation_changed_handler handler, void* context)
{
    return rotation.add(cookie, handler, context);
}

ravel_core_status
ravel_api_rotate_orientation_changed_unregister_event_handler(void* cookie,
                                                              ravel_api_rotate_orientation_changed_handler handler)
{
    return rotation.remove(cookie, handler);
}

ravel_core_status ravel_api_rotate_get_angle_send(void* cookie, const char* targetId, std::uint32_t* angle)
{
    if (angle == nullptr) {
        return kInvalidArgument;
    }
    std::uint32_t reported = 0;
    const ravel_core_status status =
        rotation.ask(cookie, targetId, [&](DeviceServices& services) { return services.orientation(reported); });
    if (status == kOk) {
        *angle = reported;
    }
    return status;
}

ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void* /*loop*/, void* /*logHandle*/,
                                                                   std::uint64_t* cookie, int version,
                                                                   void* /*options*/)
{
    if (cookie == nullptr || version != 1) {
        return kInvalidArgument;
    }
    return ofDevice([&](ServiceApi& api) {
        if (!targetIds(api, kMetadataStreamer)) {
            return kUnavailable;
        }
        *cookie = api.metadataStreamer.open();
        return kOk;
    });
}

ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t cookie,
                                                                                           const char* targetId,
                                                                                           const char* xml,
                                                                                           int /*flag*/)
{
    if (targetId == nullptr || xml == nullptr) {
        return kInvalidArgument;
    }
    return ofDevice([&](ServiceApi& api) { return api.metadataStreamer.send(cookie, xml); });
}

void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t cookie)
{
    ofDevice([&](ServiceApi& api) {
        api.metadataStreamer.close(cookie);
        return kOk;
    });
}
