#pragma once

#include "camera/bus/Server.h"
#include "camera/services/AnswerTimer.h"
#include "camera/services/DelayedAnswers.h"
#include "camera/services/FaultSwitch.h"

#include <memory>
#include <string>

namespace camera::services {

/// What every object of one session is built with; all of it outlives the object.
struct ObjectContext {
    sdbus::IConnection& connection;
    FaultSwitch& faults;
    AnswerTimer& timer;
    std::weak_ptr<DelayedAnswers> answers; ///< shares its ownership with the session
};

/// Answers requests of a service as its fault wants it. An operation that is not made to fail is performed at once,
/// also when its answer waits.
bus::Dispatch withFaults(const ObjectContext& context, const std::string& service);

} // namespace camera::services
