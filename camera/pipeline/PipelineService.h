#pragma once

#include "camera/bus/Connection.h"
#include "camera/pipeline/AnalyticsObject.h"
#include "camera/pipeline/Device.h"
#include "camera/pipeline/PipelineObject.h"
#include "camera/pipeline/PositioningObject.h"
#include "camera/pipeline/TargetObject.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * What the pipeline process serves on the bus: the analytics target with its events, positioning, itself.
 *
 * Built when the device is complete, taken down after Device::shutdown(): until then requests that come are
 * still answered, with the sentence that the camera is ending. The descriptions of the engines are read once.
 */
class PipelineService {
public:
    PipelineService(const std::string& address, Device& device, PipelineObject::Report report,
                    const std::filesystem::path& programFolder);
    ~PipelineService();
    PipelineService(const PipelineService&) = delete;
    PipelineService& operator=(const PipelineService&) = delete;

    bool connected() const { return _connection.connected(); }
    void waitUntilConnected(std::chrono::steady_clock::time_point deadline) const
    {
        _connection.waitUntilConnected(deadline);
    }
    std::uint64_t sessions() const { return _connection.sessions(); }

private:
    const std::vector<std::string> _descriptions;
    bus::Connection _connection;
    std::shared_ptr<bus::CurrentObject<TargetObject>> _target;
    std::shared_ptr<bus::CurrentObject<AnalyticsObject>> _analytics;
    std::shared_ptr<bus::CurrentObject<PositioningObject>> _positioning;
    std::shared_ptr<bus::CurrentObject<PipelineObject>> _pipeline;
    base::Subscription _positioningEvents;
    base::Subscription _events;
    base::Subscription _configurationChanges;
};

} // namespace camera::pipeline
