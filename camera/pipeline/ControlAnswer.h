#pragma once

#include "camera/bus/Answer.h"
#include "camera/bus/Connection.h"
#include "camera/serviceapi/ControlThread.h"

#include <sdbus-c++/sdbus-c++.h>

#include <atomic>
#include <memory>
#include <utility>

namespace camera::pipeline {

/**
 * Methods of the bus whose work is done, and answered, on the control thread: the bus thread only queues
 * them. Calls beyond kMost that wait are refused at once, so that a flood takes bounded memory.
 */
class ControlAnswer {
public:
    static constexpr int kMost = 256;

    ControlAnswer(std::weak_ptr<bus::Session> session, serviceapi::ControlThread& control)
        : _session(std::move(session)), _control(control)
    {
    }

    /// Answers with what operation returns on the control thread. Thread: the bus thread.
    template <class... Out, class Operation>
    void operator()(sdbus::Result<Out...>&& result, Operation operation) const
    {
        struct Pending {
            std::shared_ptr<bus::Session> session; // outlives the result, whose message refers to the connection
            sdbus::Result<Out...> result;
            std::shared_ptr<std::atomic<int>> waiting;
            ~Pending() { --*waiting; }
        };
        const bool room = ++*_waiting <= kMost;
        const std::shared_ptr<Pending> pending(new Pending{_session.lock(), std::move(result), _waiting});
        if (!room) {
            bus::answerError(pending->result, bus::error::kUnavailable, "too many requests are waiting");
            return;
        }
        const bool queued = _control.post(
            [pending, operation = std::move(operation)]() mutable { bus::answer(pending->result, operation); });
        if (!queued) {
            bus::answerError(pending->result, bus::error::kUnavailable, "the camera is ending");
        }
    }

private:
    std::weak_ptr<bus::Session> _session;
    serviceapi::ControlThread& _control;
    std::shared_ptr<std::atomic<int>> _waiting = std::make_shared<std::atomic<int>>(0);
};

} // namespace camera::pipeline
