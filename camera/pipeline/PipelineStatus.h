#pragma once

#include "camera/pipeline/ActiveKeys.h"
#include "camera/pipeline/Device.h"
#include "camera/pipeline/RunReport.h"

#include <cstdint>
#include <string>
#include <vector>

namespace camera::pipeline {

/// How the pipeline process does, as a JSON object for people and programs. Uses only what is thread-safe.
struct PipelineStatus {
    pipeline::Device& device;
    pipeline::RunReport& report;
    const ActiveKeys& keys;
    std::string input;
    const std::vector<std::string>& missingEngines; ///< modules that the state folder remembers and that are not loaded
    int orientation = 0;
    std::uint64_t documentsTaken = 0; ///< by the metadata streamer
    std::uint64_t documentsLost = 0;  ///< on the way to it

    std::string json() const;
};

} // namespace camera::pipeline
