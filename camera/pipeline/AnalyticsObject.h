#pragma once

#include "camera/base/Event.h"
#include "camera/bus/Connection.h"
#include "camera/pipeline/ControlAnswer.h"
#include "camera/pipeline/TargetClient.h"

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
    AnalyticsObject(const std::shared_ptr<bus::Session>& session, pipeline::TargetClient& client,
                    serviceapi::ControlThread& control);

    /// Emits one event; what the bus refuses is logged. Any thread.
    void emit(const base::Event& event);

private:
    using Strings = std::vector<std::string>;
    using List = Strings (pipeline::TargetClient::*)();
    using Change = pipeline::Answer (pipeline::TargetClient::*)(const Strings&);

    void registerList(const char* method, const char* output, List operation);
    void registerChange(const char* method, const char* input, Change operation);
    void registerConfiguration();
    void registerFrameFiles();

    pipeline::TargetClient& _client;
    ControlAnswer _onControl;
    std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::pipeline
