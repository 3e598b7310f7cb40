#pragma once

#include "camera/engines/Foreground.h"

#include <cstdint>
#include <vector>

namespace camera::engines {

/// One object that was seen in enough frames to be reported. Boxes are pixels of the analysed picture.
struct TrackedObject {
    std::uint32_t id = 0;
    cv::Rect box;
    cv::Point2d center; ///< of gravity
};

/**
 * Finds the moving regions of a foreground and follows them from frame to frame, so that an object
 * keeps its number.
 *
 * How it works: connected foreground pixels form regions. Each known object has a predicted box (its last
 * box moved by its speed). Pairs of predicted box and region are matched, best overlap first. A region
 * without an object starts a candidate, which is reported after a number of frames; an object without a
 * region is kept for a short time, then forgotten.
 *
 * Thread: the frame thread.
 */
class Tracker {
public:
    /// @param minAreaPercent smaller boxes are ignored; percent of the picture.
    void update(const Foreground& foreground, double minAreaPercent);

    /// The objects of the last frame, in the order of their numbers.
    const std::vector<TrackedObject>& objects() const { return _objects; }

    /// Forgets all objects. Numbers are not used again unless nextId gives the next one.
    void forget();

    std::uint32_t nextId() const { return _nextId; }
    void setNextId(std::uint32_t id) { _nextId = id; }

private:
    struct Track {
        TrackedObject object;
        cv::Point2d speed; ///< pixels per second
        std::int64_t seen = 0;
        unsigned frames = 0; ///< number of frames in which it was seen
    };
    struct Region {
        cv::Rect box;
        cv::Point2d center;
        bool taken = false;
    };

    void findRegions(const Foreground& foreground, double minAreaPercent);
    void assign(std::int64_t time);
    void follow(Track& track, const Region& region, std::int64_t time);

    std::vector<Region> _regions;
    std::vector<Track> _tracks;
    std::vector<TrackedObject> _objects;
    std::uint32_t _nextId = 1;
    cv::Mat _labels;
    cv::Mat _stats;
    cv::Mat _centers;
};

} // namespace camera::engines
