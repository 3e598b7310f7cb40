#include "camera/pipeline/RunReport.h"

#include "camera/base/Console.h"
#include "camera/base/PrintableText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace camera::pipeline {

namespace {

// A camera may run for years; the number of objects is for people and need not be exact by then.
constexpr std::size_t kMostIds = 1000000;
constexpr std::size_t kMostTopics = 10;
constexpr std::size_t kMostSwitches = 40;
constexpr double kRateWindowSeconds = 2;

std::string oneDecimal(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

} // namespace

RunReport::RunReport() : start(std::chrono::steady_clock::now()), windowStart(start)
{
}

void RunReport::frame(bool analysed, std::chrono::nanoseconds took)
{
    const std::lock_guard<std::mutex> lock(mutex);
    ++frames;
    failed += analysed ? 0 : 1;
    longest = std::max(longest, took);
    longestLately = std::max(longestLately, took);
    ++windowFrames;
    const auto now = std::chrono::steady_clock::now();
    const double window = std::chrono::duration<double>(now - windowStart).count();
    if (window >= kRateWindowSeconds) {
        windowRate = static_cast<double>(windowFrames) / window;
        windowStart = now;
        windowFrames = 0;
    }
}

void RunReport::time(std::int64_t nanoseconds)
{
    const std::lock_guard<std::mutex> lock(mutex);
    firstTime = firstTime == 0 ? nanoseconds : firstTime;
    lastTime = nanoseconds;
}

void RunReport::rulesChanged(const std::vector<ActiveRules>& rules)
{
    const std::lock_guard<std::mutex> lock(mutex);
    rulesNow = rules;
    const double second = static_cast<double>(lastTime - firstTime) / 1e9;
    if (!switches.empty() && switches.back().second == second) {
        switches.pop_back(); // lost before the next frame, it was never active for one
        --switchCount;
    }
    if (switches.empty() && second > 0) {
        switches.push_back({0, kNoRules}); // until now
        ++switchCount;
    }
    std::string active = base::printable(describe(rules));
    if (switches.empty() || switches.back().active != active) {
        ++switchCount;
        switches.push_back({second, std::move(active)});
    }
    if (switches.size() > kMostSwitches) {
        switches.pop_front();
    }
}

std::string RunReport::activeRules(const std::string& engine) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found =
        std::find_if(rulesNow.begin(), rulesNow.end(), [&](const auto& each) { return each.engine == engine; });
    return found == rulesNow.end() ? kNoRules : describe(*found);
}

std::string RunReport::activeRules() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return switches.empty() ? kNoRules : switches.back().active;
}

RunReport::Now RunReport::now() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const double rate = windowRate > 0 ? windowRate : static_cast<double>(frames) / seconds();
    return {frames, rate, std::chrono::duration<double, std::milli>(longest).count()};
}

double RunReport::takeLongestFrameMilliseconds()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return std::chrono::duration<double, std::milli>(std::exchange(longestLately, std::chrono::nanoseconds(0))).count();
}

void RunReport::drawing(const video::Drawing& drawing)
{
    const std::lock_guard<std::mutex> lock(mutex);
    objectsNow = drawing.movingBoxes();
    objectsAtOnce = std::max(objectsAtOnce, objectsNow);
    for (const kit::BoxRecord& box : drawing.boxes) {
        if (objectIds.size() < kMostIds) {
            objectIds.insert(box.id);
        }
    }
}

void RunReport::event(const base::Event& event)
{
    const std::lock_guard<std::mutex> lock(mutex);
    ++events;
    if (eventsOfTopic.size() < kMostTopics || eventsOfTopic.count(event.topic) != 0) {
        ++eventsOfTopic[event.topic];
    }
}

double RunReport::seconds() const
{
    return std::max(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.001);
}

std::string RunReport::status() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return "frames " + std::to_string(frames) + "  " + oneDecimal(static_cast<double>(frames) / seconds()) +
           "/s  objects " + std::to_string(objectsNow) + "  events " + std::to_string(events);
}

std::vector<std::string> RunReport::summary() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::string framesText = std::to_string(frames) + " in " + oneDecimal(seconds()) + " s, " +
                             oneDecimal(static_cast<double>(frames) / seconds()) + " frames/s";
    if (failed != 0) {
        framesText += ", " + std::to_string(failed) + " of them failed";
    }
    std::vector<std::string> lines;
    lines.push_back(summaryLine("frames", framesText));
    lines.push_back(summaryLine("objects", std::to_string(objectIds.size()) + ", at most " +
                                               std::to_string(objectsAtOnce) + " at once"));
    lines.push_back(summaryLine("events", std::to_string(events)));
    for (const auto& [topic, count] : eventsOfTopic) {
        lines.push_back(summaryLine("", std::to_string(count) + "  " + base::printable(topic)));
    }
    rulesSummary(lines);
    return lines;
}

// Which rules were active when, in seconds of the video; where they never ended there is nothing to tell.
void RunReport::rulesSummary(std::vector<std::string>& lines) const
{
    if (std::none_of(switches.begin(), switches.end(), [](const Switch& each) { return each.active == kNoRules; })) {
        return;
    }
    std::string label = "rules";
    if (switchCount > switches.size()) {
        lines.push_back(summaryLine(label, "the last " + std::to_string(switches.size()) + " of " +
                                               std::to_string(switchCount) + " switches:"));
        label.clear();
    }
    for (const Switch& each : switches) {
        lines.push_back(summaryLine(label, "from " + oneDecimal(each.second) + " s  " + each.active));
        label.clear();
    }
}

std::string summaryLine(const std::string& label, const std::string& text)
{
    std::string line = "  " + label;
    line.resize(12, ' ');
    return line + text;
}

} // namespace camera::pipeline
