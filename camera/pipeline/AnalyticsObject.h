#pragma once

#include "camera/bus/Connection.h"
#include "camera/device/TargetClient.h"
#include "camera/pipeline/ControlAnswer.h"
#include "camera/ravel/Event.h"

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * The analytics target on the bus, ravel.onvif_analytic_service: each operation is a method, each event a
 * signal of three strings. The operations run on the control thread, one at a time.
 *
 * Texts that come in are UTF-8 without NUL bytes, or the call is refused; bytes that cannot be sent go out
 * as U+FFFD.
 */
class AnalyticsObject {
public:
    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. client and control outlive it.
    AnalyticsObject(const std::shared_ptr<bus::Session>& session, device::TargetClient& client,
                    ravel::ControlThread& control);

    /// Emits one event; what the bus refuses is logged. Any thread.
    void emit(const ravel::Event& event);

private:
    using Strings = std::vector<std::string>;
    using List = Strings (device::TargetClient::*)();
    using Change = device::Answer (device::TargetClient::*)(const Strings&);

    void registerList(const char* method, const char* output, List operation);
    void registerChange(const char* method, const char* input, Change operation);
    void registerConfiguration();
    void registerFrameFiles();

    device::TargetClient& _client;
    ControlAnswer _onControl;
    std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::pipeline
