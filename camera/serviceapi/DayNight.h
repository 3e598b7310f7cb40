#pragma once

#include "camera/serviceapi/DeviceService.h"

#include "ravel/day_night.h"

namespace camera::serviceapi {

/// The day/night service, "day_night". Its filter rests until somebody moves it.
class DayNight : public DeviceService<ravel_api_day_night_movement_change_handler> {
public:
    DayNight(ControlThread& control, TargetRegistry& targets, ServiceFault fault)
        : DeviceService("day_night", control, targets, fault)
    {
    }

    /// The filter starts (true) or has finished (false) moving: posts the event.
    void movement(bool moving);
};

} // namespace camera::serviceapi
