#pragma once

#include "camera/bus/Connection.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::supervisor {

/// Asks processes on the bus whether they are there, for the length of a session. The library that every one of them
/// uses answers, on the thread that serves its connection. Thread-safe.
class Pings {
public:
    using Clock = std::chrono::steady_clock;

    Pings(sdbus::IConnection& connection, const std::vector<std::string>& busNames);

    /// Asks each one that owes no answer. One that has no such name owes none.
    void ask();

    /// When the one of that name was asked what it has not answered yet.
    std::optional<Clock::time_point> askedAt(const std::string& busName) const;

private:
    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _proxies;
    mutable std::mutex _mutex;
    std::map<std::string, Clock::time_point> _asked;
};

} // namespace camera::supervisor
