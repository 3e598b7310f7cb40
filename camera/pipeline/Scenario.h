#pragma once

#include "camera/cli/RunOptions.h"
#include "camera/device/Device.h"

#include <string>
#include <utility>
#include <vector>

namespace camera::pipeline {

/// What a run begins with: configurations, each of which says for which preset it is, and a tour. Read before anything
/// starts, so that a file that cannot be used ends the run before it has begun.
class Scenario {
public:
    /// @throws std::runtime_error with one sentence for a file that cannot be read or is no configuration.
    explicit Scenario(const cli::RunOptions& options);

    /**
     * Gives the device its configurations and starts the tour.
     * @return sentences for people about what will not be active where the camera stands.
     * @throws std::runtime_error with one sentence when the camera refuses one.
     */
    std::vector<std::string> begin(device::Device& device) const;

    /// The positioning of a camera that begins like this.
    static device::PtzOption positioning(const cli::RunOptions& options);

private:
    struct File {
        std::string name;
        std::string xml;
    };

    void startTour(device::Device& device) const;

    const cli::RunOptions& _options;
    std::vector<File> _files;
};

} // namespace camera::pipeline
