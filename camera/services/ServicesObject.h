#pragma once

#include "camera/services/FaultSwitch.h"

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>

namespace camera::services {

/// The process itself on the bus: the faults of its services, and its status. Has no fault of its own.
class ServicesObject {
public:
    struct Hooks {
        std::function<void(const std::string& service)> faultChanged; ///< puts it into effect
        std::function<std::string()> status;                          ///< a JSON document
    };

    ServicesObject(sdbus::IConnection& connection, FaultSwitch& faults, Hooks hooks);
    ServicesObject(const ServicesObject&) = delete;
    ServicesObject& operator=(const ServicesObject&) = delete;

    /// @throws sdbus::Error
    void takeName();

private:
    void registerFaults();
    void registerStatus();

    sdbus::IConnection& _connection;
    FaultSwitch& _faults;
    const Hooks _hooks;
    const std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::services
