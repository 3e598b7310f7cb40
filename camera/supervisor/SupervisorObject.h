#pragma once

#include "camera/bus/Connection.h"

#include <functional>
#include <memory>
#include <string>

namespace camera::supervisor {

/// The service "supervisor" on the bus: what runs, a new start of the pipeline, and the end of it all. Lives on the bus
/// thread.
class SupervisorObject {
public:
    struct Operations {
        std::function<std::string()> status; ///< as JSON
        std::function<void()> stop;
        std::function<void()> restartPipeline;
    };

    SupervisorObject(const std::shared_ptr<bus::Session>& session, Operations operations);

private:
    std::unique_ptr<sdbus::IObject> _object;
};

/// Tells when somebody serves a bus name, also when that was so before. Lives on the bus thread.
class NameWatch {
public:
    NameWatch(const std::shared_ptr<bus::Session>& session, const std::string& name, std::function<void()> owned);

private:
    std::unique_ptr<sdbus::IProxy> _proxy;
};

} // namespace camera::supervisor
