#pragma once

#include "camera/serviceapi/DeviceService.h"
#include "camera/serviceapi/RemoteServices.h"

#include "ravel/rotate.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace camera::serviceapi {

/// The rotation service, "rotate". A camera without one has the configuration value
/// "default_analytics_rotation" instead.
class Rotation : public DeviceService<ravel_api_rotate_orientation_changed_handler> {
public:
    Rotation(ControlThread& control, TargetRegistry& targets, ServiceFault fault, std::uint32_t angleDegrees)
        : DeviceService("rotate", control, targets, fault), _angleDegrees(angleDegrees)
    {
    }

    /// The service lives elsewhere: queries go to remote, until it has gone.
    void ask(const std::shared_ptr<RemoteServices>& remote);

    /// Turns the picture: posts the event.
    void setAngle(std::uint32_t angleDegrees);

    ravel_core_status angle(void* cookie, const char* targetId, std::uint32_t& angleDegrees) const;

private:
    mutable std::mutex _mutex;
    std::weak_ptr<RemoteServices> _remote;
    std::atomic<std::uint32_t> _angleDegrees;
};

} // namespace camera::serviceapi
