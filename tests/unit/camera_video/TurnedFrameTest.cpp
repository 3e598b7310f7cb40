#include "camera/video/TurnedFrame.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace camera::video {
namespace {

Frame numbered(FramePool& pool, int width, int height)
{
    Frame frame = pool.take(width, height);
    for (int y = 0; y < height * 3 / 2; ++y) {
        for (int x = 0; x < width; ++x) {
            frame.data.get()[y * frame.strideBytes + x] = static_cast<std::uint8_t>(y * 31 + x * 7);
        }
    }
    frame.seconds = 12;
    frame.nanoseconds = 34;
    return frame;
}

int lumaAt(const Frame& frame, int x, int y)
{
    return frame.data.get()[y * frame.strideBytes + x];
}

int chromaAt(const Frame& frame, int x, int y)
{
    const std::uint8_t* pair = frame.data.get() + (frame.height + y) * frame.strideBytes + 2 * x;
    return pair[0] * 256 + pair[1];
}

// What the plug-in's side does with a delivered picture: turn it clockwise, pixel by pixel.
using PixelAt = int (*)(const Frame&, int, int);
int clockwiseAt(PixelAt at, const Frame& delivered, int width, int height, int degrees, int x, int y)
{
    switch (degrees) {
    case 90:
        return at(delivered, y, width - 1 - x);
    case 180:
        return at(delivered, width - 1 - x, height - 1 - y);
    case 270:
        return at(delivered, height - 1 - y, x);
    default:
        return at(delivered, x, y);
    }
}

TEST(TurnedFrame, isUprightAgainOnceItIsTurnedClockwise)
{
    FramePool pool;
    const Frame upright = numbered(pool, 150, 82);
    for (const int degrees : {0, 90, 180, 270}) {
        const Frame delivered = turnedForDelivery(upright, degrees, pool);
        EXPECT_EQ(degrees % 180 == 0 ? 150 : 82, delivered.width);
        EXPECT_EQ(degrees % 180 == 0 ? 82 : 150, delivered.height);
        for (int y = 0; y < 82; ++y) {
            for (int x = 0; x < 150; ++x) {
                ASSERT_EQ(lumaAt(upright, x, y), clockwiseAt(lumaAt, delivered, 150, 82, degrees, x, y)) << degrees;
            }
        }
        for (int y = 0; y < 41; ++y) {
            for (int x = 0; x < 75; ++x) {
                ASSERT_EQ(chromaAt(upright, x, y), clockwiseAt(chromaAt, delivered, 75, 41, degrees, x, y)) << degrees;
            }
        }
        EXPECT_EQ(12U, delivered.seconds);
        EXPECT_EQ(34U, delivered.nanoseconds);
    }
}

TEST(TurnedFrame, sharesThePixelsOfAnUprightCamera)
{
    FramePool pool;
    const Frame upright = numbered(pool, 16, 16);
    EXPECT_EQ(upright.data.get(), turnedForDelivery(upright, 0, pool).data.get());
}

TEST(TurnedFrame, refusesAnyOtherAngle)
{
    FramePool pool;
    const Frame upright = numbered(pool, 16, 16);
    for (const int degrees : {45, -90, 360, 1}) {
        EXPECT_THROW(turnedForDelivery(upright, degrees, pool), std::invalid_argument);
    }
}

} // namespace
} // namespace camera::video
