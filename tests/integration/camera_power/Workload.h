#pragma once

#include "camera/pipeline/Device.h"

#include <random>
#include <string>
#include <vector>

/// A client that creates, modifies and deletes, and an operator who removes presets, by chance.
class Workload {
public:
    explicit Workload(unsigned int start) : _random(start) {}

    /// One call of the device, of a kind that comes up by chance.
    void step(camera::pipeline::Device& device);

private:
    std::size_t below(std::size_t bound);
    std::string preset() { return "P" + std::to_string(below(6)); }
    std::string ruleName() { return "rule" + std::to_string(below(12)); }
    std::string engine() { return below(2) == 0 ? "Line" : "Motion"; }
    std::string text();
    std::vector<std::string> rules();
    void removePreset(camera::pipeline::Device& device);

    std::mt19937_64 _random;
    unsigned int _count = 0;
};
