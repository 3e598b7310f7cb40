#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace camera::services {

/// How a service misbehaves on purpose.
enum class Fault {
    off,
    absent, ///< nobody owns its bus name, and its object is gone
    fail,   ///< every method answers with an error
    slow,   ///< every answer comes late
};

/// The word for it on the bus.
std::string word(Fault fault);

/**
 * Which fault each service has. It outlives a session of the bus, but not the process.
 *
 * Thread-bound: the bus thread's.
 */
class FaultSwitch {
public:
    static constexpr double kLongestDelaySeconds = 3600;

    struct Setting {
        Fault fault = Fault::off;
        std::chrono::duration<double> delay{0}; ///< of each answer, for slow
    };

    /// Those that can have a fault.
    static const std::vector<std::string>& services();

    /// @throws bus::Refusal when one of the words is unknown, or a slow service's seconds are out of range.
    void set(const std::string& service, const std::string& fault, double seconds);

    Setting of(const std::string& service) const;

private:
    std::map<std::string, Setting> _settings;
};

} // namespace camera::services
