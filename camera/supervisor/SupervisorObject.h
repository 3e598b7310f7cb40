#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/supervisor_server.h"
#include "camera/supervisor/SupervisedProcess.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::supervisor {

/// The service "supervisor" on the bus: which processes run, a new start of the pipeline, and the end of the
/// camera. Lives on the bus thread.
class SupervisorObject final : public bus::SupervisorServer {
public:
    struct Operations {
        std::function<SupervisorStatus()> status;
        std::function<void()> stop;
        std::function<void()> restartPipeline;
        std::function<void()> restart;
        std::function<void(bool hard)> factoryDefault;
        std::function<void()> pipelineBegun;
        std::function<void(pid_t pid, int code)> pipelineEnds;
    };

    SupervisorObject(const std::shared_ptr<bus::Session>& session, Operations operations);

private:
    using ProcessRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t, std::int64_t, std::string>;

    std::string state() override { return _operations.status().state; }
    std::string address() override { return _operations.status().address; }
    std::vector<std::string> onvifAddresses() override { return _operations.status().onvif; }
    std::vector<ProcessRow> processes() override;
    void stop() override { _operations.stop(); }
    void setLogLevel(const std::string& level) override { bus::setLogLevel(level); }
    void restartPipeline() override { _operations.restartPipeline(); }
    void restart() override { _operations.restart(); }
    void factoryDefault(bool hard) override { _operations.factoryDefault(hard); }
    void pipelineBegun() override { _operations.pipelineBegun(); }
    void pipelineEnds(std::uint32_t pid, std::int32_t code) override
    {
        _operations.pipelineEnds(static_cast<pid_t>(pid), code);
    }

    const Operations _operations;
};

} // namespace camera::supervisor
