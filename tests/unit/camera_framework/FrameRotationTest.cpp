#include "plugin/analytics/frame_utils.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

namespace {

using analytics_lib::YuvFrame;

/// A picture whose bytes are all different enough that a misplaced one shows, between guard bytes.
class Picture {
public:
    Picture(unsigned width, unsigned height, unsigned stride) : _bytes(std::size_t{stride} * height * 3 / 2)
    {
        for (std::size_t i = 0; i < _bytes.size(); ++i) {
            _bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 251 * 7 + i / stride);
        }
        frame.data = _bytes.data();
        frame.width = width;
        frame.height = height;
        frame.bytesPerRow = stride;
    }
    YuvFrame frame;

    unsigned luma(std::size_t x, std::size_t y) const { return _bytes[y * frame.bytesPerRow + x]; }
    unsigned chroma(std::size_t x, std::size_t y, unsigned component) const
    {
        return _bytes[frame.bytesPerRow * (frame.height + y) + 2 * x + component];
    }

private:
    std::vector<std::uint8_t> _bytes;
};

struct Point {
    std::size_t x;
    std::size_t y;
};

/// Where the pixel at x, y of the turned picture comes from.
Point origin(int degrees, std::size_t x, std::size_t y, std::size_t sourceWidth, std::size_t sourceHeight)
{
    switch (degrees) {
    case 90:
        return {y, sourceHeight - 1 - x};
    case 180:
        return {sourceWidth - 1 - x, sourceHeight - 1 - y};
    default:
        return {sourceWidth - 1 - y, x};
    }
}

void turn(int degrees, const YuvFrame& source, YuvFrame& destination)
{
    using namespace analytics_lib::frame_utils;
    degrees == 90    ? YUV420SemiPlanar_Rotate90(source, destination)
    : degrees == 180 ? YUV420SemiPlanar_Rotate180(source, destination)
                     : YUV420SemiPlanar_Rotate270(source, destination);
}

/// The number of bytes that differ from a plain loop's.
std::size_t wrongBytes(const Picture& source, const YuvFrame& turned, int degrees)
{
    const std::size_t width = source.frame.width;
    const std::size_t height = source.frame.height;
    std::size_t wrong = 0;
    for (std::size_t y = 0; y < turned.height; ++y) {
        for (std::size_t x = 0; x < turned.width; ++x) {
            const Point from = origin(degrees, x, y, width, height);
            wrong += turned.data[y * turned.bytesPerRow + x] != source.luma(from.x, from.y);
        }
    }
    const std::uint8_t* chroma = turned.data + turned.bytesPerRow * turned.height;
    for (std::size_t y = 0; y < turned.height / 2; ++y) {
        for (std::size_t x = 0; x < turned.width; ++x) {
            const Point from = origin(degrees, x / 2, y, width / 2, height / 2);
            wrong += chroma[y * turned.bytesPerRow + x] != source.chroma(from.x, from.y, x % 2);
        }
    }
    return wrong;
}

class FrameRotationTest : public testing::TestWithParam<int> {};

TEST_P(FrameRotationTest, turnsEverySizeAndStrideAsAPlainLoopDoes)
{
    for (unsigned width = 2; width <= 150; width += width < 40 ? 2 : 14) {
        for (unsigned height = 2; height <= 150; height += height < 40 ? 2 : 22) {
            for (const unsigned padding : {0U, 1U, 6U, 64U}) {
                const Picture source(width, height, width + padding);
                YuvFrame turned = source.frame;
                turn(GetParam(), source.frame, turned);
                EXPECT_EQ(turned.width, GetParam() == 180 ? width : height);
                EXPECT_EQ(turned.height, GetParam() == 180 ? height : width);
                EXPECT_GE(turned.bytesPerRow, turned.width);
                EXPECT_EQ(wrongBytes(source, turned, GetParam()), 0U) << width << "x" << height << "+" << padding;
                std::free(turned.data);
            }
        }
    }
}

TEST_P(FrameRotationTest, turnsCommonCameraSizes)
{
    for (const auto& [width, height, stride] : {std::tuple<unsigned, unsigned, unsigned>{1920, 1080, 1920},
                                                {1920, 1080, 2048},
                                                {768, 576, 1024},
                                                {640, 362, 704},
                                                {1000, 1056, 4096}, // several bands of rows, stripes that do not fit in
                                                {4096, 2, 4096},
                                                {2, 4096, 2}}) {
        const Picture source(width, height, stride);
        YuvFrame turned = source.frame;
        turn(GetParam(), source.frame, turned);
        EXPECT_EQ(wrongBytes(source, turned, GetParam()), 0U) << width << "x" << height;
        std::free(turned.data);
    }
}

TEST_P(FrameRotationTest, staysInsideItsMemoryForOddSizes)
{
    for (unsigned width = 0; width <= 35; ++width) {
        for (unsigned height = 0; height <= 35; ++height) {
            std::vector<std::uint8_t> bytes(std::size_t{width} * (height + (height + 1) / 2) + 1);
            YuvFrame source;
            source.data = bytes.data();
            source.width = width;
            source.height = height;
            source.bytesPerRow = width;
            YuvFrame turned = source;
            turn(GetParam(), source, turned);
            EXPECT_NE(turned.data, source.data);
            EXPECT_EQ(turned.width * turned.height, std::uint64_t{width & ~1U} * (height & ~1U));
            std::free(turned.data);
        }
    }
}

// Such a frame has a broken format; what lies behind its last row belongs to somebody else.
TEST_P(FrameRotationTest, turnsNoMoreThanTheStrideHolds)
{
    for (const auto& [width, stride] : {std::pair<unsigned, unsigned>{16, 8}, {640, 33}, {2, 1}, {16, 0}}) {
        std::vector<std::uint8_t> bytes(std::size_t{stride} * 16 * 3 / 2);
        YuvFrame source;
        source.data = bytes.data();
        source.width = width;
        source.height = 16;
        source.bytesPerRow = stride;
        YuvFrame turned = source;
        turn(GetParam(), source, turned);
        EXPECT_EQ(turned.width, GetParam() == 180 ? stride & ~1U : 16) << width << "/" << stride;
        EXPECT_EQ(turned.height, GetParam() == 180 ? 16 : stride & ~1U) << width << "/" << stride;
        std::free(turned.data);
    }
}

// The frame thread waits for this: a loop over all the columns takes longer than a frame.
TEST_P(FrameRotationTest, turnsAPictureOfManyColumnsAndNoRows)
{
    std::uint8_t pixel = 0;
    YuvFrame source;
    source.data = &pixel;
    source.width = 0x7fff'fffe;
    source.bytesPerRow = 0x7fff'fffe;
    YuvFrame turned = source;
    turn(GetParam(), source, turned);
    EXPECT_NE(turned.data, source.data);
    EXPECT_EQ(turned.width, GetParam() == 180 ? 0x7fff'fffeU : 0U);
    EXPECT_EQ(turned.height, GetParam() == 180 ? 0U : 0x7fff'fffeU);
    std::free(turned.data);
}

TEST_P(FrameRotationTest, leavesTheDestinationAloneWhenTheImageIsTooBigForMemory)
{
    for (const auto& [width, height] : {std::pair<std::uint64_t, std::uint64_t>{0x8000'0000, 2},
                                        {2, 0x8000'0000},
                                        {~std::uint64_t{0}, ~std::uint64_t{0}},
                                        {0x7fff'fffe, 0x7fff'fffe},
                                        {std::uint64_t{1} << 33, std::uint64_t{1} << 33}}) {
        std::uint8_t pixel = 0;
        YuvFrame source;
        source.data = &pixel;
        source.width = width;
        source.height = height;
        source.bytesPerRow = 2;
        YuvFrame destination = source;
        EXPECT_THROW(turn(GetParam(), source, destination), std::bad_alloc);
        EXPECT_EQ(destination.data, &pixel);
        EXPECT_EQ(destination.width, width);
        EXPECT_EQ(destination.height, height);
        EXPECT_EQ(destination.bytesPerRow, 2U);
    }
}

TEST_P(FrameRotationTest, keepsTimeAndPosition)
{
    Picture source(4, 2, 4);
    source.frame.timestamp[0] = 7;
    source.frame.pan = 9;
    YuvFrame turned = source.frame;
    turn(GetParam(), source.frame, turned);
    EXPECT_EQ(turned.timestamp[0], 7U);
    EXPECT_EQ(turned.pan, 9U);
    std::free(turned.data);
}

INSTANTIATE_TEST_SUITE_P(, FrameRotationTest, testing::Values(90, 180, 270));

TEST(FrameRotationDirectionTest, aQuarterTurnMovesTheUpperLeftCornerToTheUpperRight)
{
    Picture source(4, 2, 4);
    source.frame.data[0] = 201;
    YuvFrame turned = source.frame;
    analytics_lib::frame_utils::YUV420SemiPlanar_Rotate90(source.frame, turned);
    EXPECT_EQ(turned.data[1], 201); // two wide, four high
    std::free(turned.data);
}

} // namespace
