#include "camera/video/TurnedFrame.h"

#include "camera/video/Yuv.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace camera::video {

namespace {

std::uint8_t* rowOf(const Frame& frame, int row)
{
    return frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * row;
}

// Chroma samples are pairs of bytes. libyuv turns them only after splitting U and V, so this function turns
// them as 16-bit units, in blocks that fit into the cache.
void turnPairs(const Frame& from, const Frame& to, bool clockwise)
{
    constexpr int kBlock = 32;
    const int columns = from.width / 2;
    const int rows = from.height / 2;
    for (int blockY = 0; blockY < rows; blockY += kBlock) {
        for (int x = 0; x < columns; ++x) {
            const int targetRow = clockwise ? x : columns - 1 - x;
            std::uint8_t* out = rowOf(to, to.height + targetRow);
            for (int y = blockY; y < std::min(blockY + kBlock, rows); ++y) {
                const std::uint8_t* in = rowOf(from, from.height + y) + 2 * x;
                const int targetColumn = clockwise ? rows - 1 - y : y;
                out[2 * targetColumn] = in[0];
                out[2 * targetColumn + 1] = in[1];
            }
        }
    }
}

Frame turnQuarter(const Frame& upright, bool clockwise, FramePool& pool)
{
    Frame turned = pool.take(upright.height, upright.width);
    libyuv::RotatePlane(rowOf(upright, 0), upright.strideBytes, rowOf(turned, 0), turned.strideBytes, upright.width,
                        upright.height, clockwise ? libyuv::kRotate90 : libyuv::kRotate270);
    turnPairs(upright, turned, clockwise);
    return turned;
}

Frame turnHalf(const Frame& upright, FramePool& pool)
{
    Frame turned = pool.take(upright.width, upright.height);
    libyuv::NV12Mirror(rowOf(upright, 0), upright.strideBytes, rowOf(upright, upright.height), upright.strideBytes,
                       rowOf(turned, 0), turned.strideBytes, rowOf(turned, turned.height), turned.strideBytes,
                       upright.width, -upright.height);
    return turned;
}

} // namespace

Frame turnedForDelivery(const Frame& upright, int orientationDegrees, FramePool& pool)
{
    Frame turned;
    switch (orientationDegrees) {
    case 0:
        return upright;
    case 90:
        turned = turnQuarter(upright, false, pool);
        break;
    case 180:
        turned = turnHalf(upright, pool);
        break;
    case 270:
        turned = turnQuarter(upright, true, pool);
        break;
    default:
        throw std::invalid_argument("an orientation is 0, 90, 180 or 270 degrees, not " +
                                    std::to_string(orientationDegrees));
    }
    turned.seconds = upright.seconds;
    turned.nanoseconds = upright.nanoseconds;
    return turned;
}

} // namespace camera::video
