#pragma once

#include "camera/bus/day_night_server.h"
#include "camera/services/FaultyAnswers.h"

namespace camera::services {

class ServiceState;

/// The day/night service: its filter rests until it is told that a movement begins. Each begin and end is an event.
class DayNightObject final : public bus::DayNightServer {
public:
    DayNightObject(const ObjectContext& context, ServiceState& state);

private:
    void begin() override { move(true); }
    void end() override { move(false); }
    bool isMoving() override;
    void move(bool moving);

    ServiceState& _state;
};

} // namespace camera::services
