#pragma once

#include "camera/bus/Connection.h"
#include "camera/services/DelayedAnswers.h"
#include "camera/services/FaultyAnswers.h"
#include "camera/services/ServicesObject.h"

#include <map>
#include <memory>
#include <string>

namespace camera::services {

/// All that the process has on the bus for one session: each service that is to be there, and the process itself.
/// Thread-bound: the bus thread's.
class Presence {
public:
    /// What outlives every session; borrowed.
    struct Process {
        ProcessParts parts;
        AnswerTimer& timer;
    };

    /// @throws sdbus::Error when an object or a name is not to be had.
    Presence(const std::shared_ptr<bus::Session>& session, const Process& process);
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

private:
    /// Brings a service up or takes it away, as its fault and the camera's kind want it.
    void arrange(const std::string& service);
    bool isWanted(const std::string& service) const;
    std::unique_ptr<bus::Server> make(const std::string& service) const;

    const Process _process;
    DelayedAnswers _answers;
    const ObjectContext _context;
    std::map<std::string, std::unique_ptr<bus::Server>> _objects; ///< those that are there
    ServicesObject _self;
};

} // namespace camera::services
