#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/pipeline_server.h"
#include "camera/pipeline/PipelineStatus.h"
#include "camera/pipeline/Recordings.h"
#include "camera/ptz/Position.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::pipeline {

class Device;

/// The pipeline process itself on the bus, ravel.pipeline: how it and its engines do, and the documents of its settings
/// store.
class PipelineObject final : public bus::PipelineServer {
public:
    /// Called on any thread; they must not wait.
    struct Report {
        std::function<PipelineStatus()> status;
        std::function<double()> takeLongestFrame; ///< in milliseconds, since the last call
        std::shared_ptr<Recordings> recordings = std::make_shared<Recordings>();
        std::function<bool(const ptz::Position&)> showsElsewhere = {};
    };

    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. device outlives it.
    PipelineObject(const std::shared_ptr<bus::Session>& session, Device& device, Report report);

private:
    using VersionRow = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;
    using PictureRow = sdbus::Struct<std::uint32_t, std::uint32_t, double>;
    using EngineRow =
        sdbus::Struct<std::string, std::string, std::vector<std::string>, std::vector<std::string>, std::uint64_t,
                      std::uint64_t, std::uint64_t, double, double, std::vector<std::uint64_t>>;

    std::vector<EngineRow> engines() override;
    std::string document(const std::string& key, std::int64_t sequence) override;
    std::vector<VersionRow> history(const std::string& key) override;
    void picture(sdbus::UnixFd file, const std::string& name) override;
    void record(sdbus::UnixFd file, const std::string& name, double seconds, sdbus::UnixFd client) override;
    void restore(const std::string& key, std::int64_t sequence) override;
    std::vector<std::string> storedKeys() override;
    void setLogLevel(const std::string& level) override { bus::setLogLevel(level); }
    bool showsElsewhere(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom) override;
    double takeLongestFrame() override { return _report.takeLongestFrame(); }

    std::uint32_t pid() override;
    std::int64_t startTime() override;
    std::string input() override { return _report.status().input; }
    std::vector<std::string> missingEngines() override { return _report.status().missingEngines; }
    std::uint64_t frames() override { return _report.status().frames; }
    std::uint64_t framesFailed() override { return _report.status().framesFailed; }
    double framesPerSecond() override { return _report.status().framesPerSecond; }
    PictureRow pictureFormat() override;
    double longestFrameMs() override { return _report.status().longestFrameMs; }
    std::uint64_t events() override { return _report.status().events; }
    std::uint64_t eventsDropped() override { return _report.status().eventsDropped; }
    std::uint64_t documents() override { return _report.status().documents; }
    std::uint64_t documentsTaken() override { return _report.status().documentsTaken; }
    std::uint64_t documentsDropped() override { return _report.status().documentsDropped; }
    std::uint64_t controlFailures() override { return _report.status().controlFailures; }
    std::uint32_t orientation() override { return _report.status().orientation; }

    bool sourceGone() override { return _report.status().sourceGone; }
    std::uint64_t sourceLosses() override { return _report.status().sourceLosses; }

    Device& _device;
    const Report _report;
};

} // namespace camera::pipeline
