#pragma once

#include "camera/bus/window_blanking_server.h"
#include "camera/services/FaultyAnswers.h"

#include <cstdint>
#include <tuple>

namespace camera::services {

class ServiceState;
struct Blanking;

/// The window blanking service: a region colour, and whether it is on. Every change of either is an event.
class WindowBlankingObject final : public bus::WindowBlankingServer {
public:
    WindowBlankingObject(const ObjectContext& context, ServiceState& state);

private:
    std::uint8_t getEnable() override;
    std::tuple<std::uint8_t, std::uint8_t, std::uint8_t> getRegionColor() override;
    void setEnable(bool enable) override;
    void setRegionColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue) override;
    void set(const Blanking& blanking);

    ServiceState& _state;
};

} // namespace camera::services
