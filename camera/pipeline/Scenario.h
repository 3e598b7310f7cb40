#pragma once

#include "camera/base/RunOptions.h"
#include "camera/pipeline/Device.h"

#include <string>
#include <utility>
#include <vector>

namespace camera::pipeline {

/// What a run begins with: configurations, each of which says for which preset it is, and a tour. Read before anything
/// starts, so that a file that cannot be used ends the run before it has begun.
class Scenario {
public:
    /// @throws std::runtime_error with one sentence for a file that cannot be read or is no configuration.
    explicit Scenario(const base::RunOptions& options);

    /**
     * Gives the device its configurations.
     * @return sentences for people about what will not be active where the camera stands.
     * @throws std::runtime_error with one sentence when the camera refuses one.
     */
    std::vector<std::string> configure(Device& device) const;

    /// If there is one. @throws std::exception with one sentence when a preset is not there.
    void startTour(Device& device) const;

    /// The positioning of a camera that begins like this.
    static PtzOption positioning(const base::RunOptions& options);

private:
    struct File {
        std::string name;
        std::string xml;
    };

    const base::RunOptions& _options;
    std::vector<File> _files;
};

} // namespace camera::pipeline
