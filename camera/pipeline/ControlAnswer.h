#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/Server.h"
#include "camera/serviceapi/ControlThread.h"

#include <atomic>
#include <memory>

namespace camera::pipeline {

/// Requests that wait for the control thread beyond this many are refused at once: a flood takes bounded memory.
constexpr int kMostWaiting = 256;

/// Performs and answers requests on the control thread; the bus thread only queues them.
inline bus::Dispatch onControl(const std::weak_ptr<bus::Session>& session, serviceapi::ControlThread& control)
{
    struct Pending {
        std::shared_ptr<bus::Session> session; // outlives the request
        std::shared_ptr<bus::Request> request;
        std::shared_ptr<std::atomic<int>> waiting;
        ~Pending() { --*waiting; }
    };
    return [session, &control,
            waiting = std::make_shared<std::atomic<int>>(0)](const std::shared_ptr<bus::Request>& request) {
        const bool tooMany = ++*waiting > kMostWaiting;
        const std::shared_ptr<Pending> pending(new Pending{session.lock(), request, waiting});
        if (tooMany) {
            request->refuse(bus::error::kUnavailable, "too many requests are waiting");
        } else if (!control.post([pending] { bus::atOnce(pending->request); })) {
            request->refuse(bus::error::kUnavailable, "the camera is ending");
        }
    };
}

} // namespace camera::pipeline
