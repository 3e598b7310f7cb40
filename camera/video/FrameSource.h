#pragma once

#include "camera/video/Frame.h"

#include <optional>

namespace camera::video {

/// Where frames come from: a file, a URL or a generated scene. Thread-bound.
class FrameSource {
public:
    virtual ~FrameSource() = default;

    /// The next frame in capture order, or nothing at the end.
    /// @throws std::runtime_error with one clear sentence when the source cannot go on.
    virtual std::optional<Frame> next() = 0;

    virtual int width() const = 0;  ///< pixels
    virtual int height() const = 0; ///< pixels
    virtual double framesPerSecond() const = 0;

    /// Whether it gives what happens now, and has neither an end nor a beginning to go back to.
    virtual bool live() const { return false; }
};

} // namespace camera::video
