#include "camera/engines/Tracker.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace camera::engines {

namespace {

constexpr unsigned kFramesToReport = 3;
constexpr std::int64_t kLostAfter = kNanosecondsPerSecond * 6 / 10;
constexpr double kLeastMatch = 0.1;
constexpr double kPreviousSpeedWeight = 0.7; // weight of the previous speed in each new one

double overlap(const cv::Rect& a, const cv::Rect& b)
{
    const double both = (a & b).area();
    return both / (a.area() + b.area() - both);
}

cv::Rect moved(const cv::Rect& box, const cv::Point2d& by)
{
    return box + cv::Point(static_cast<int>(std::lround(by.x)), static_cast<int>(std::lround(by.y)));
}

/// 1 for the same box, 0 for no relation: the larger of overlap and closeness of the centres relative to their size.
double likeness(const cv::Rect& expected, const cv::Rect& found)
{
    const cv::Point2d apart = (cv::Point2d(expected.tl() + expected.br()) - cv::Point2d(found.tl() + found.br())) / 2;
    const double size = (expected.width + expected.height + found.width + found.height) / 4.0;
    const double nearness = 0.5 * (1 - std::hypot(apart.x, apart.y) / size);
    return std::max(overlap(expected, found), nearness);
}

} // namespace

void Tracker::update(const Foreground& foreground, double minAreaPercent)
{
    if (!foreground.known) {
        forget();
        return;
    }
    findRegions(foreground, minAreaPercent);
    assign(foreground.time);
    _tracks.erase(std::remove_if(_tracks.begin(), _tracks.end(),
                                 [&](const Track& track) { return foreground.time - track.seen > kLostAfter; }),
                  _tracks.end());
    _objects.clear();
    for (const Track& track : _tracks) {
        if (track.seen == foreground.time && track.frames >= kFramesToReport) {
            _objects.push_back(track.object);
        }
    }
}

void Tracker::forget()
{
    _tracks.clear();
    _objects.clear();
}

void Tracker::findRegions(const Foreground& foreground, double minAreaPercent)
{
    _regions.clear();
    const double minArea = minAreaPercent / 100 * static_cast<double>(foreground.mask.total());
    const int count = cv::connectedComponentsWithStats(foreground.mask, _labels, _stats, _centers, 8, CV_32S);
    for (int label = 1; label < count; ++label) {
        const int* stats = _stats.ptr<int>(label);
        const cv::Rect box(stats[cv::CC_STAT_LEFT], stats[cv::CC_STAT_TOP], stats[cv::CC_STAT_WIDTH],
                           stats[cv::CC_STAT_HEIGHT]);
        // A region that fills only a small part of its box is an edge, not an object.
        const bool solid = stats[cv::CC_STAT_AREA] > box.area() / 5;
        if (box.area() >= minArea && solid) {
            const auto* center = _centers.ptr<double>(label);
            _regions.push_back({box, {center[0], center[1]}, false});
        }
    }
}

void Tracker::assign(std::int64_t time)
{
    std::vector<std::tuple<double, std::size_t, std::size_t>> pairs;
    for (std::size_t t = 0; t < _tracks.size(); ++t) {
        const Track& track = _tracks[t];
        const double seconds = static_cast<double>(time - track.seen) / kNanosecondsPerSecond;
        const cv::Rect expected = moved(track.object.box, track.speed * seconds);
        for (std::size_t r = 0; r < _regions.size(); ++r) {
            const double match = likeness(expected, _regions[r].box);
            if (match >= kLeastMatch) {
                pairs.emplace_back(-match, t, r);
            }
        }
    }
    std::sort(pairs.begin(), pairs.end());
    std::vector<bool> followed(_tracks.size());
    for (const auto& [match, t, r] : pairs) {
        if (!followed[t] && !_regions[r].taken) {
            followed[t] = true;
            _regions[r].taken = true;
            follow(_tracks[t], _regions[r], time);
        }
    }
    for (const Region& region : _regions) {
        if (!region.taken) {
            _tracks.push_back({{_nextId++, region.box, region.center}, {}, time, 1});
        }
    }
}

void Tracker::follow(Track& track, const Region& region, std::int64_t time)
{
    const double seconds = static_cast<double>(time - track.seen) / kNanosecondsPerSecond;
    if (seconds > 0) {
        const cv::Point2d speed = (region.center - track.object.center) / seconds;
        track.speed =
            track.frames > 1 ? track.speed * kPreviousSpeedWeight + speed * (1 - kPreviousSpeedWeight) : speed;
    }
    track.object.box = region.box;
    track.object.center = region.center;
    track.seen = time;
    ++track.frames;
}

} // namespace camera::engines
