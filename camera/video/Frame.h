#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace camera::video {

/**
 * One NV12 picture with its capture time. Copies share the pixels.
 *
 * Luma: height rows of strideBytes bytes at data; chroma follows, (height + 1) / 2 rows of
 * interleaved U and V with the same stride.
 */
struct Frame {
    std::shared_ptr<std::uint8_t> data;
    std::size_t sizeBytes = 0;
    int width = 0;                 ///< pixels, even
    int height = 0;                ///< pixels, even
    int strideBytes = 0;           ///< at least width
    std::uint32_t seconds = 0;     ///< since 1970-01-01 UTC
    std::uint32_t nanoseconds = 0; ///< below 1,000,000,000
};

} // namespace camera::video
