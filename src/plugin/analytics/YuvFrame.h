#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace analytics_lib {

/**
 * One NV12 image as an engine sees it.
 *
 * Luma: height rows of bytesPerRow bytes at data; the chroma plane follows it, height / 2 rows of
 * interleaved U and V with the same stride. The image is borrowed for the call that brings it.
 * Pan, tilt and angles of view are in thousandths of a degree, zero on a camera that cannot move.
 */
struct __attribute__((visibility("default"))) YuvFrame {
    std::uint32_t timestamp[2] = {0, 0}; ///< seconds since 1970, nanoseconds
    std::uint8_t* data = nullptr;
    std::uint64_t width = 0;  ///< pixels
    std::uint64_t height = 0; ///< pixels
    std::uint32_t bytesPerRow = 0;
    std::uint32_t pan = 0;
    std::int32_t tilt = 0;
    std::uint32_t zoom = 0;
    std::uint32_t horizontalAngleOfView = 0;
    std::uint32_t verticalAngleOfView = 0;
};

} // namespace analytics_lib

#pragma GCC visibility pop
