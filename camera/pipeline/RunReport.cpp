#include "camera/pipeline/RunReport.h"

#include "camera/base/Console.h"
#include "camera/base/Text.h"

#include <algorithm>
#include <utility>

namespace camera::pipeline {

namespace {

// A camera may run for years: an object is counted again when its id comes back after this many others.
constexpr std::size_t kIdsOfAGeneration = 4096;
constexpr std::size_t kMostSwitches = 40;
constexpr double kRateWindowSeconds = 2;

} // namespace

RunReport::RunReport(std::shared_ptr<RunCounts> counts)
    : _counts(std::move(counts)), _start(std::chrono::steady_clock::now()), _windowStart(_start)
{
}

void RunReport::frame(bool analysed, std::chrono::nanoseconds took)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_frames;
    ++_counts->frames;
    _counts->failed += analysed ? 0 : 1;
    _longest = std::max(_longest, took);
    _longestLately = std::max(_longestLately, took);
    ++_windowFrames;
    const auto now = std::chrono::steady_clock::now();
    const double window = std::chrono::duration<double>(now - _windowStart).count();
    if (window >= kRateWindowSeconds) {
        _windowRate = static_cast<double>(_windowFrames) / window;
        _windowStart = now;
        _windowFrames = 0;
    }
}

void RunReport::time(std::int64_t nanoseconds)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _counts->firstTime = _counts->firstTime == 0 ? nanoseconds : _counts->firstTime;
    _counts->lastTime = nanoseconds;
}

void RunReport::rulesChanged(const std::vector<ActiveRules>& rules)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const double second = _counts->second(_counts->lastTime);
    if (!_switches.empty() && _switches.back().second == second) {
        _switches.pop_back(); // lost before the next frame, it was never active for one
        --_switchCount;
    }
    if (_switches.empty() && second > 0 && !_counts->restarted()) {
        _switches.push_back({0, kNoRules}); // until now
        ++_switchCount;
    }
    std::string active = base::printable(describe(rules));
    if (_switches.empty() || _switches.back().active != active) {
        ++_switchCount;
        _switches.push_back({second, std::move(active)});
    }
    if (_switches.size() > kMostSwitches) {
        _switches.pop_front();
    }
}

std::string RunReport::activeRules() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _switches.empty() ? kNoRules : _switches.back().active;
}

RunReport::Now RunReport::now() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const double rate = _windowRate > 0 ? _windowRate : static_cast<double>(_frames) / seconds();
    return {_frames, rate, std::chrono::duration<double, std::milli>(_longest).count()};
}

double RunReport::takeLongestFrameMilliseconds()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return std::chrono::duration<double, std::milli>(std::exchange(_longestLately, std::chrono::nanoseconds(0)))
        .count();
}

void RunReport::sourceGone(bool gone)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _counts->sourceLosses += gone && !_sourceGone ? 1 : 0;
    _sourceGone = gone;
}

bool RunReport::isSourceGone() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _sourceGone;
}

std::uint64_t RunReport::sourceLosses() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _counts->sourceLosses;
}

void RunReport::drawing(const video::Drawing& drawing)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _objectsNow = drawing.movingBoxes();
    _counts->objectsAtOnce = std::max<std::uint64_t>(_counts->objectsAtOnce, _objectsNow);
    for (const kit::BoxRecord& box : drawing.boxes) {
        if (_objectIds.insert(box.id).second && _olderIds.count(box.id) == 0) {
            ++_counts->objects;
        }
    }
    if (_objectIds.size() >= kIdsOfAGeneration) {
        _olderIds.swap(_objectIds);
        _objectIds.clear();
    }
}

void RunReport::event(const base::Event& event)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_counts->events;
    for (RunCounts::Topic& topic : _counts->topics) {
        const std::string name = event.topic.substr(0, topic.name.size() - 1);
        if (topic.events == 0) {
            std::copy(name.begin(), name.end(), topic.name.begin());
        }
        if (name == topic.name.data()) {
            ++topic.events;
            return;
        }
    }
}

double RunReport::seconds() const
{
    return std::max(std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count(), 0.001);
}

std::string RunReport::status() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return (_sourceGone ? "source gone  frames " : "frames ") + std::to_string(_counts->frames) + "  " +
           base::decimals(static_cast<double>(_frames) / seconds(), 1) + "/s  objects " + std::to_string(_objectsNow) +
           "  events " + std::to_string(_counts->events);
}

// The whole run, with the processes before this one.
double RunReport::lasted() const
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return std::max(static_cast<double>(now - _counts->startedAt) / 1e9, 0.001);
}

Json::Value RunReport::counted() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    Json::Value object(Json::objectValue);
    object["seconds"] = lasted();
    object["frames"] = Json::UInt64(_counts->frames);
    object["framesFailed"] = Json::UInt64(_counts->failed);
    object["restarts"] = _counts->starts - 1;
    object["sourceLosses"] = Json::UInt64(_counts->sourceLosses);
    object["objects"] = Json::UInt64(_counts->objects);
    object["objectsAtOnce"] = Json::UInt64(_counts->objectsAtOnce);
    object["events"] = Json::UInt64(_counts->events);
    return object;
}

std::vector<std::string> RunReport::summary() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::string framesText = std::to_string(_counts->frames) + " in " + base::decimals(lasted(), 1) + " s, " +
                             base::decimals(static_cast<double>(_counts->frames) / lasted(), 1) + " frames/s";
    if (_counts->failed != 0) {
        framesText += ", " + std::to_string(_counts->failed) + " of them failed";
    }
    std::vector<std::string> lines;
    lines.push_back(summaryLine("frames", framesText));
    restartsSummary(lines);
    if (_counts->sourceLosses != 0) {
        lines.push_back(summaryLine("source", "gone " + std::to_string(_counts->sourceLosses) + " times"));
    }
    lines.push_back(summaryLine("objects", std::to_string(_counts->objects) + ", at most " +
                                               std::to_string(_counts->objectsAtOnce) + " at once"));
    lines.push_back(summaryLine("events", std::to_string(_counts->events)));
    auto topics = _counts->topics;
    std::sort(topics.begin(), topics.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    for (const RunCounts::Topic& topic : topics) {
        if (topic.events != 0) {
            lines.push_back(summaryLine("", std::to_string(topic.events) + "  " + base::printable(topic.name.data())));
        }
    }
    rulesSummary(lines);
    return lines;
}

// When the pipeline was started again, in seconds of the video.
void RunReport::restartsSummary(std::vector<std::string>& lines) const
{
    const std::size_t count = _counts->starts - 1;
    const std::size_t named = std::min(count, RunCounts::kMostRestarts);
    for (std::size_t i = 0; i < named; ++i) {
        const RunCounts::Restart& restart = _counts->restarts[i];
        lines.push_back(
            summaryLine(i == 0 ? "restarts" : "", (restart.crashed ? "after a crash at " : "on request at ") +
                                                      base::decimals(restart.second, 1) + " s"));
    }
    if (named < count) {
        lines.push_back(summaryLine("", "and " + std::to_string(count - named) + " more"));
    }
}

// Which rules were active when, in seconds of the video; where they never ended there is nothing to tell.
void RunReport::rulesSummary(std::vector<std::string>& lines) const
{
    if (std::none_of(_switches.begin(), _switches.end(), [](const Switch& each) { return each.active == kNoRules; })) {
        return;
    }
    std::string label = "rules";
    if (_switchCount > _switches.size()) {
        lines.push_back(summaryLine(label, "the last " + std::to_string(_switches.size()) + " of " +
                                               std::to_string(_switchCount) + " switches:"));
        label.clear();
    }
    for (const Switch& each : _switches) {
        lines.push_back(summaryLine(label, "from " + base::decimals(each.second, 1) + " s  " + each.active));
        label.clear();
    }
}

std::string summaryLine(const std::string& label, const std::string& text)
{
    std::string line = "  " + label;
    line.resize(std::max<std::size_t>(line.size() + 1, 12), ' ');
    return line + text;
}

} // namespace camera::pipeline
