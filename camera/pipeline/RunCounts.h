#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace camera::pipeline {

/**
 * What one run of the camera has counted, over all processes that were its pipeline.
 *
 * It lies in a file of the run's runtime folder that is mapped into memory: a process that dies loses nothing of it,
 * and the next one counts on. All zero at the start of a run.
 */
struct RunCounts {
    struct Topic {
        std::array<char, 120> name; ///< with its terminating zero
        std::uint64_t events;
    };
    struct Restart {
        double second; ///< of the video
        bool crashed;  ///< false: it was asked for
    };
    static constexpr std::size_t kMostTopics = 10;
    static constexpr std::size_t kMostRestarts = 8;

    std::uint32_t version;
    std::uint32_t starts;   ///< processes so far, with this one
    bool running;           ///< a process counts; found by the next one, it has died
    std::int64_t startedAt; ///< of the first process, nanoseconds of the steady clock

    std::uint64_t frames;
    std::uint64_t failed;
    std::uint64_t objects;
    std::uint64_t objectsAtOnce;
    std::uint64_t events;
    std::uint64_t eventsDropped;
    std::uint64_t documents;
    std::array<Topic, kMostTopics> topics;
    std::int64_t firstTime; ///< of a frame, nanoseconds since 1970
    std::int64_t lastTime;
    std::array<Restart, kMostRestarts> restarts; ///< the first ones

    bool liveSource;            ///< it is waited for, also by the next process
    std::uint64_t sourceLosses; ///< how often it went away

    bool metadataBegun;
    bool metadataFailed;
    std::uint32_t videos;       ///< files of the overlay that were begun
    std::uint64_t videoFrames;  ///< in the last one
    std::uint64_t videosFailed; ///< one bit for each file

    bool restarted() const { return starts > 1; }

    /// Of the video, for a frame of this time.
    double second(std::int64_t time) const { return static_cast<double>(time - firstTime) / 1e9; }
};

/// The counts of the run that has this file, with one more start; where there is none, those of a new run. An empty
/// path, or a file that cannot be used, gives counts that end with the process.
std::shared_ptr<RunCounts> openRunCounts(const std::filesystem::path& file);

} // namespace camera::pipeline
