#pragma once

#include "camera/services/ServiceObject.h"

#include <cstdint>

namespace camera::services {

class ServiceState;
struct Blanking;

/// The window blanking service: a region colour, and whether it is on. Every change of either is an event.
class WindowBlankingObject : public ServiceObject {
public:
    WindowBlankingObject(const ObjectContext& context, ServiceState& state);

private:
    void registerQueries();
    void registerChanges();
    void setColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue);
    void setEnabled(bool enabled);
    void set(const Blanking& blanking);

    ServiceState& _state;
};

} // namespace camera::services
