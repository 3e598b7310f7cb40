#pragma once

#include "camera/base/Event.h"
#include "camera/pipeline/ActiveRules.h"
#include "camera/pipeline/RunCounts.h"
#include "camera/video/Drawing.h"

#include <json/value.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

namespace camera::pipeline {

/// What a run has seen so far. Thread-safe: events come on a thread of their own.
class RunReport {
public:
    /// @param counts  of all processes of the run; what is asked while the run goes on is about this process alone.
    explicit RunReport(std::shared_ptr<RunCounts> counts = openRunCounts({}));

    /// @param took  how long the plug-in had the frame
    void frame(bool analysed, std::chrono::nanoseconds took = std::chrono::nanoseconds(0));

    /// The time of the frame that comes next, nanoseconds since 1970.
    void time(std::int64_t nanoseconds);

    /// What the engines evaluate from now on.
    void rulesChanged(const std::vector<ActiveRules>& rules);

    /// What the engines evaluate, in short.
    std::string activeRules() const;

    /// What can be asked while the run goes on.
    struct Now {
        std::uint64_t frames = 0;
        double framesPerSecond = 0; ///< over the last seconds
        double longestFrameMilliseconds = 0;
    };
    Now now() const;

    /// How long the plug-in had a frame at most since this was last asked, or since the start.
    double takeLongestFrameMilliseconds();
    /// The source went away, or is there again.
    void sourceGone(bool gone);
    bool isSourceGone() const;
    std::uint64_t sourceLosses() const;

    void drawing(const video::Drawing& drawing);
    void event(const base::Event& event);

    /// "frames 250  24.9/s  objects 3  events 2"
    std::string status() const;

    /// The lines of the summary that are about frames, objects and events.
    std::vector<std::string> summary() const;

    /// The same numbers for programs.
    Json::Value counted() const;

private:
    double seconds() const;
    double lasted() const;
    void restartsSummary(std::vector<std::string>& lines) const;
    void rulesSummary(std::vector<std::string>& lines) const;

    struct Switch {
        double second = 0; ///< of the video
        std::string active;
    };

    mutable std::mutex _mutex;
    const std::shared_ptr<RunCounts> _counts;
    const std::chrono::steady_clock::time_point _start;
    std::uint64_t _frames = 0;
    bool _sourceGone = false;
    std::size_t _objectsNow = 0;
    std::unordered_set<std::uint32_t> _objectIds; ///< of this generation
    std::unordered_set<std::uint32_t> _olderIds;
    std::deque<Switch> _switches; ///< the last ones
    std::uint64_t _switchCount = 0;
    std::chrono::nanoseconds _longest{0};
    std::chrono::nanoseconds _longestLately{0};
    std::chrono::steady_clock::time_point _windowStart;
    std::uint64_t _windowFrames = 0;
    double _windowRate = 0;
};

/// "  frames      " and so on: the left column of a summary line, then its text.
std::string summaryLine(const std::string& label, const std::string& text);

} // namespace camera::pipeline
