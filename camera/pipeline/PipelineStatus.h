#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace camera::pipeline {

class Device;
class RunReport;

/// The picture that engines see.
struct PictureStatus {
    std::uint32_t width = 0; ///< pixels
    std::uint32_t height = 0;
    double framesPerSecond = 0; ///< as the source has them
};

/// How the pipeline process does.
struct PipelineStatus {
    std::string input;
    std::vector<std::string> missingEngines; ///< modules that the state folder remembers and that are not loaded
    PictureStatus picture;                   ///< zero without an input
    std::uint64_t frames = 0;
    std::uint64_t framesFailed = 0;
    double framesPerSecond = 0;
    double longestFrameMs = 0;
    std::uint64_t events = 0;
    std::uint64_t eventsDropped = 0;
    std::uint64_t documents = 0;
    std::uint64_t documentsTaken = 0; ///< by the metadata streamer
    std::uint64_t documentsDropped = 0;
    std::uint64_t controlFailures = 0;
    std::uint32_t orientation = 0;
    bool sourceGone = false; ///< a live source that is waited for
    std::uint64_t sourceLosses = 0;
};

/// What device and report know of it; the other fields are the caller's. Uses only what is thread-safe.
PipelineStatus pipelineStatus(Device& device, const RunReport& report);

} // namespace camera::pipeline
