#pragma once

#include "camera/video/Frame.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace camera::video {

/**
 * Hands out NV12 frames and takes their memory back when the last copy is gone, so that a running
 * source touches the same few pages again. Frames may outlive the pool and be released on any
 * thread; take() is thread-bound.
 */
class FramePool {
public:
    FramePool();

    /// A frame of even width and height with a stride that is a multiple of 64; pixels undefined, time zero.
    /// @throws std::bad_alloc
    Frame take(int width, int height);

private:
    struct Shelf;
    std::shared_ptr<Shelf> _shelf;
};

} // namespace camera::video
