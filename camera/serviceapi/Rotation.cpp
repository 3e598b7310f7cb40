#include "camera/serviceapi/Rotation.h"

#include "camera/serviceapi/Environment.h"

namespace camera::serviceapi {

void Rotation::ask(const std::shared_ptr<RemoteServices>& remote)
{
    liveElsewhere();
    const std::lock_guard<std::mutex> lock(_mutex);
    _remote = remote;
}

void Rotation::setAngle(std::uint32_t angleDegrees)
{
    _angleDegrees = angleDegrees;
    notify([angleDegrees](auto handler, const char* id, void* context) { handler(angleDegrees, id, context); });
}

ravel_core_status Rotation::angle(void* cookie, const char* targetId, std::uint32_t& angleDegrees) const
{
    const ravel_core_status status = queryStatus(cookie, targetId);
    if (status != kOk) {
        return status;
    }
    std::unique_lock<std::mutex> lock(_mutex);
    if (const auto remote = _remote.lock()) {
        lock.unlock(); // a round trip
        return remote->rotationAngle(targetId, angleDegrees);
    }
    angleDegrees = _angleDegrees;
    return kOk;
}

} // namespace camera::serviceapi

using camera::serviceapi::CurrentEnvironment;

ravel_core_status ravel_api_rotate_initiator_init(void* /*loop*/, void* /*logHandle*/, void** cookie, int version,
                                                  void* /*options*/)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->rotation.init(cookie, version) : camera::serviceapi::kUnavailable;
}

void ravel_api_rotate_initiator_deinit(void* cookie)
{
    if (const auto environment = CurrentEnvironment::get()) {
        environment->rotation.deinit(cookie);
    }
}

ravel_core_status ravel_api_rotate_orientation_changed_register_event_handler(
    void* cookie, ravel_api_rotate_orientation_changed_handler handler, void* context)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->rotation.addHandler(cookie, handler, context) : camera::serviceapi::kUnavailable;
}

ravel_core_status
ravel_api_rotate_orientation_changed_unregister_event_handler(void* cookie,
                                                              ravel_api_rotate_orientation_changed_handler handler)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->rotation.removeHandler(cookie, handler) : camera::serviceapi::kUnavailable;
}

ravel_core_status ravel_api_rotate_get_angle_send(void* cookie, const char* targetId, std::uint32_t* angle)
{
    const auto environment = CurrentEnvironment::get();
    if (angle == nullptr) {
        return camera::serviceapi::kInvalidArgument;
    }
    return environment ? environment->rotation.angle(cookie, targetId, *angle) : camera::serviceapi::kUnavailable;
}
