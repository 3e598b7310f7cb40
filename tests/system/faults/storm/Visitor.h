#pragma once

#include "../Client.h"

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace camera::fault_tests {

/// What became of commands.
struct Tally {
    std::uint64_t sent = 0;
    std::uint64_t refused = 0; ///< understood, but not done: that is how a busy camera answers
    std::uint64_t failed = 0;  ///< any other error
    std::string firstFailure;

    void add(const Tally& other);
};

/// One of several users of a camera at the same time: gives commands at random, as fast as they are answered.
class Visitor {
public:
    Visitor(const std::string& address, std::uint64_t start);

    /// One command, to its answer. Anything that fails is counted.
    void act();

    const Tally& tally() const { return _tally; }
    bool connected() { return _client.isServed(service::kPipeline); }

private:
    void listMovement();
    void listPresets();
    void listTours();
    void listDevices();
    void listConfigurations();
    void listQueries();

    int upTo(int highest);
    std::string preset();
    std::string tour();
    std::uint32_t priority();
    std::uint32_t pan();
    std::int32_t tilt();
    std::uint32_t zoom();
    void taken(bool done);

    Client _client;
    std::mt19937_64 _random;
    std::vector<std::function<void()>> _commands;
    Tally _tally;
};

} // namespace camera::fault_tests
