#pragma once

#include "camera/ravel/Event.h"
#include "camera/video/Drawing.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

namespace camera::cli {

/// What a run has seen so far. Thread-safe: events come on a thread of their own.
class RunReport {
public:
    RunReport();

    void frame(bool analysed);
    void drawing(const video::Drawing& drawing);
    void event(const ravel::Event& event);

    /// "frames 250  24.9/s  objects 3  events 2"
    std::string status() const;

    /// The lines of the summary that are about frames, objects and events.
    std::vector<std::string> summary() const;

private:
    double seconds() const;

    mutable std::mutex mutex;
    std::chrono::steady_clock::time_point start;
    std::uint64_t frames = 0;
    std::uint64_t failed = 0;
    std::size_t objectsNow = 0;
    std::size_t objectsAtOnce = 0;
    std::unordered_set<std::uint32_t> objectIds;
    std::uint64_t events = 0;
    std::map<std::string, std::uint64_t> eventsOfTopic;
};

/// "  frames      " and so on: the left column of a summary line, then its text.
std::string summaryLine(const std::string& label, const std::string& text);

/// "1.2 MB"
std::string sizeText(std::uintmax_t bytes);

} // namespace camera::cli
