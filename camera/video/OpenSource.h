#pragma once

#include "camera/video/FrameSource.h"
#include "camera/video/SourceClock.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace camera::video {

struct SourceOptions {
    /// Begin again at the end; a generated scene is endless then, and a live source that goes away is waited for.
    bool loop = false;
    bool wait = false;                       ///< also for a source that cannot be opened at the start
    bool followClock = false;                ///< a clock that is set forward, whenever the source begins again
    std::int64_t notBefore = 0;              ///< nanoseconds since 1970: the first frame's time is later than this
    const std::atomic<bool>* stop = nullptr; ///< borrowed; once true, next() ends soon
    SourceClock clock = {};

    // All are called on the thread that opens the source and calls next().
    std::function<void(const std::string& sentence)> tell = [](const std::string&) {};
    std::function<void(bool gone)> gone = [](bool) {};                   ///< it is waited for, or is there again
    std::function<void(std::int64_t time)> whileGone = [](auto) {};      ///< each second, after its first frame
    std::function<void(std::int64_t nanoseconds)> stepped = [](auto) {}; ///< the next times follow a clock that was set
};

/// The source that an input names: a generated scene for "scene:...", else a file, URL or device.
/// @throws std::runtime_error with one sentence, see Scene and VideoInput.
std::unique_ptr<FrameSource> openSource(const std::string& input, const SourceOptions& options);

} // namespace camera::video
