#pragma once

#include "camera/ravel/DeviceService.h"

#include "ravel/rotate.h"

#include <atomic>
#include <cstdint>

namespace camera::ravel {

/// The rotation service, "rotate". A camera without one has the configuration value
/// "default_analytics_rotation" instead.
class Rotation : public DeviceService<ravel_api_rotate_orientation_changed_handler> {
public:
    Rotation(ControlThread& control, TargetRegistry& targets, ServiceFault fault, std::uint32_t angleDegrees)
        : DeviceService("rotate", control, targets, fault), _angleDegrees(angleDegrees)
    {
    }

    /// Turns the picture: posts the event.
    void setAngle(std::uint32_t angleDegrees);

    ravel_core_status angle(void* cookie, const char* targetId, std::uint32_t& angleDegrees) const;

private:
    std::atomic<std::uint32_t> _angleDegrees;
};

} // namespace camera::ravel
