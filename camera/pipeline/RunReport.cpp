#include "camera/pipeline/RunReport.h"

#include "camera/base/Console.h"
#include "camera/base/Text.h"

#include <algorithm>
#include <utility>

namespace camera::pipeline {

namespace {

// A camera may run for years; the number of objects is for people and need not be exact by then.
constexpr std::size_t kMostIds = 1000000;
constexpr std::size_t kMostTopics = 10;
constexpr std::size_t kMostSwitches = 40;
constexpr double kRateWindowSeconds = 2;

} // namespace

RunReport::RunReport() : _start(std::chrono::steady_clock::now()), _windowStart(_start)
{
}

void RunReport::frame(bool analysed, std::chrono::nanoseconds took)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_frames;
    _failed += analysed ? 0 : 1;
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
    _firstTime = _firstTime == 0 ? nanoseconds : _firstTime;
    _lastTime = nanoseconds;
}

void RunReport::rulesChanged(const std::vector<ActiveRules>& rules)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const double second = static_cast<double>(_lastTime - _firstTime) / 1e9;
    if (!_switches.empty() && _switches.back().second == second) {
        _switches.pop_back(); // lost before the next frame, it was never active for one
        --_switchCount;
    }
    if (_switches.empty() && second > 0) {
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

void RunReport::drawing(const video::Drawing& drawing)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _objectsNow = drawing.movingBoxes();
    _objectsAtOnce = std::max(_objectsAtOnce, _objectsNow);
    for (const kit::BoxRecord& box : drawing.boxes) {
        if (_objectIds.size() < kMostIds) {
            _objectIds.insert(box.id);
        }
    }
}

void RunReport::event(const base::Event& event)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    ++_events;
    if (_eventsOfTopic.size() < kMostTopics || _eventsOfTopic.count(event.topic) != 0) {
        ++_eventsOfTopic[event.topic];
    }
}

double RunReport::seconds() const
{
    return std::max(std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count(), 0.001);
}

std::string RunReport::status() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return "frames " + std::to_string(_frames) + "  " + base::decimals(static_cast<double>(_frames) / seconds(), 1) +
           "/s  objects " + std::to_string(_objectsNow) + "  events " + std::to_string(_events);
}

std::vector<std::string> RunReport::summary() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::string framesText = std::to_string(_frames) + " in " + base::decimals(seconds(), 1) + " s, " +
                             base::decimals(static_cast<double>(_frames) / seconds(), 1) + " frames/s";
    if (_failed != 0) {
        framesText += ", " + std::to_string(_failed) + " of them failed";
    }
    std::vector<std::string> lines;
    lines.push_back(summaryLine("frames", framesText));
    lines.push_back(summaryLine("objects", std::to_string(_objectIds.size()) + ", at most " +
                                               std::to_string(_objectsAtOnce) + " at once"));
    lines.push_back(summaryLine("events", std::to_string(_events)));
    for (const auto& [topic, count] : _eventsOfTopic) {
        lines.push_back(summaryLine("", std::to_string(count) + "  " + base::printable(topic)));
    }
    rulesSummary(lines);
    return lines;
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
