#include "camera/video/View.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace camera::video {
namespace {

using ptz::Position;

constexpr double kScene = 128;
constexpr unsigned int kHalf = 64000; // half of the scene
constexpr PictureSize kSource{3840, 2160};
constexpr PictureSize kOutput{1920, 1080};

// Each quarter of the picture has a luma of its own; chroma tells the column.
Frame quarters(FramePool& pool, int width, int height)
{
    Frame frame = pool.take(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            frame.data.get()[y * frame.strideBytes + x] =
                static_cast<std::uint8_t>((x < width / 2 ? 50 : 100) + (y < height / 2 ? 0 : 100));
        }
    }
    for (int y = 0; y < height / 2; ++y) {
        for (int x = 0; x < width / 2; ++x) {
            std::uint8_t* pair = frame.data.get() + (height + y) * frame.strideBytes + 2 * x;
            pair[0] = x < width / 4 ? 30 : 60;
            pair[1] = x < width / 4 ? 200 : 220;
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
    return pair[0] * 1000 + pair[1];
}

TEST(View, showsTheMiddleOfTheWholePictureAtHome)
{
    EXPECT_EQ(viewOf(Position(), kHalf, kScene, kSource, kOutput), (Rectangle{960, 540, 1920, 1080}));
    EXPECT_EQ(viewOf(Position(), kHalf, kScene, {768, 576}, {640, 360}), (Rectangle{192, 180, 384, 216}));
}

TEST(View, followsPanToTheRightAndTiltUpwards)
{
    EXPECT_EQ(viewOf({10000, 0, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{1260, 540, 1920, 1080}));
    EXPECT_EQ(viewOf({350000, 0, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{660, 540, 1920, 1080}));
    EXPECT_EQ(viewOf({0, 10000, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{960, 240, 1920, 1080}));
    EXPECT_EQ(viewOf({0, -10000, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{960, 840, 1920, 1080}));
}

TEST(View, staysInsideThePicture)
{
    EXPECT_EQ(viewOf({90000, 90000, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{1920, 0, 1920, 1080}));
    EXPECT_EQ(viewOf({270000, -90000, 100}, kHalf, kScene, kSource, kOutput), (Rectangle{0, 1080, 1920, 1080}));
}

TEST(View, seesLessThroughALongerLens)
{
    EXPECT_EQ(viewOf(Position(), kHalf / 4, kScene, kSource, kOutput), (Rectangle{1680, 946, 480, 270}));
    const Rectangle smallest = viewOf(Position(), 1, kScene, kSource, kOutput);
    EXPECT_EQ(smallest.width, 8);
    EXPECT_EQ(smallest.height, 8);
}

TEST(View, isNeverLargerThanThePictureAndKeepsItsShape)
{
    EXPECT_EQ(viewOf(Position(), 180000, kScene, kSource, kOutput), (Rectangle{0, 0, 3840, 2160}));
    EXPECT_EQ(viewOf(Position(), 180000, kScene, {768, 576}, {640, 360}), (Rectangle{0, 72, 768, 432}));
    EXPECT_EQ(viewOf(Position(), 180000, kScene, {4000, 500}, {640, 360}), (Rectangle{1556, 0, 888, 500}));
}

TEST(View, hasEvenNumbersInsideThePictureEverywhere)
{
    for (const PictureSize source :
         {PictureSize{768, 576}, PictureSize{3840, 2160}, PictureSize{6, 4}, PictureSize{2, 2}, PictureSize{101, 57}}) {
        for (unsigned int pan = 0; pan < 360000; pan += 7001) {
            for (int tilt = -90000; tilt <= 90000; tilt += 9001) {
                for (unsigned int angle = 500; angle < 128000; angle += 13001) {
                    const Rectangle seen = viewOf({pan, tilt, 100}, angle, kScene, source, {640, 360});
                    ASSERT_EQ((seen.x | seen.y | seen.width | seen.height) % 2, 0);
                    ASSERT_GE(seen.x, 0);
                    ASSERT_GE(seen.y, 0);
                    ASSERT_GT(seen.width, 0);
                    ASSERT_GT(seen.height, 0);
                    ASSERT_LE(seen.x + seen.width, source.width);
                    ASSERT_LE(seen.y + seen.height, source.height);
                }
            }
        }
    }
}

TEST(View, deliversLargePicturesOfLargeSourcesOnly)
{
    EXPECT_EQ(defaultSize({3840, 2160}), (PictureSize{1920, 1080}));
    EXPECT_EQ(defaultSize({3838, 2160}), (PictureSize{640, 360}));
    EXPECT_EQ(defaultSize({768, 576}), (PictureSize{640, 360}));
    EXPECT_EQ(defaultSize({320, 240}), (PictureSize{320, 180}));
    EXPECT_EQ(defaultSize({3840, 540}), (PictureSize{960, 540}));
    EXPECT_EQ(defaultSize({2, 2}), (PictureSize{2, 2}));
}

TEST(View, cutsOutWhatItSees)
{
    FramePool pool;
    const Frame source = quarters(pool, 128, 64);
    View view(kScene, {64, 32});
    const Frame home = view.of(source, Position(), kHalf);
    EXPECT_EQ(home.width, 64);
    EXPECT_EQ(home.height, 32);
    EXPECT_EQ(home.seconds, 12u);
    EXPECT_EQ(home.nanoseconds, 34u);
    EXPECT_EQ(lumaAt(home, 31, 15), 50);
    EXPECT_EQ(lumaAt(home, 32, 15), 100);
    EXPECT_EQ(lumaAt(home, 31, 16), 150);
    EXPECT_EQ(lumaAt(home, 32, 16), 200);
    EXPECT_EQ(chromaAt(home, 15, 0), 30200);
    EXPECT_EQ(chromaAt(home, 16, 15), 60220);

    const Frame upperRight = view.of(source, {60000, 60000, 100}, kHalf);
    EXPECT_EQ(lumaAt(upperRight, 0, 0), 100);
    EXPECT_EQ(lumaAt(upperRight, 63, 31), 100);
    EXPECT_EQ(chromaAt(upperRight, 0, 0), 60220);
    const Frame lowerLeft = view.of(source, {300000, -60000, 100}, kHalf);
    EXPECT_EQ(lumaAt(lowerLeft, 0, 0), 150);
    EXPECT_EQ(lumaAt(lowerLeft, 63, 31), 150);
    EXPECT_EQ(chromaAt(lowerLeft, 31, 15), 30200);
}

// Interpolating rounds by one or two.
void expectChroma(const Frame& frame, int x, int y, int u, int v)
{
    EXPECT_NEAR(chromaAt(frame, x, y) / 1000, u, 2);
    EXPECT_NEAR(chromaAt(frame, x, y) % 1000, v, 2);
}

TEST(View, scalesWhatItSees)
{
    FramePool pool;
    const Frame source = quarters(pool, 128, 64);
    for (const PictureSize size : {PictureSize{128, 64}, PictureSize{32, 16}, PictureSize{256, 128}}) {
        View view(kScene, size);
        const Frame seen = view.of(source, Position(), kHalf);
        EXPECT_EQ(lumaAt(seen, 0, 0), 50);
        EXPECT_EQ(lumaAt(seen, size.width - 1, 0), 100);
        EXPECT_EQ(lumaAt(seen, 0, size.height - 1), 150);
        EXPECT_EQ(lumaAt(seen, size.width - 1, size.height - 1), 200);
        expectChroma(seen, 0, size.height / 2 - 1, 30, 200);
        expectChroma(seen, size.width / 2 - 1, 0, 60, 220);
    }
}

TEST(View, isTheSourceItselfWhenItSeesAllOfIt)
{
    FramePool pool;
    const Frame source = quarters(pool, 128, 64);
    View view(kScene, {128, 64});
    EXPECT_EQ(view.of(source, Position(), 128000).data, source.data);
    EXPECT_NE(view.of(source, Position(), kHalf).data, source.data);
}

TEST(View, knowsWhereTheSourceEnds)
{
    const auto beyond = [](unsigned int pan, int tilt) {
        return isBeyondEdge({pan, tilt, 100}, 30000, 90, {900, 450}, {640, 320});
    };
    EXPECT_FALSE(beyond(0, 0));
    EXPECT_FALSE(beyond(29500, 0));
    EXPECT_FALSE(beyond(360000 - 29500, 0));
    EXPECT_TRUE(beyond(31000, 0));
    EXPECT_TRUE(beyond(360000 - 31000, 0));
    EXPECT_TRUE(beyond(180000, 0));
    EXPECT_FALSE(beyond(0, 14500));
    EXPECT_TRUE(beyond(0, -16000));
}

TEST(View, usesTheMemoryOfEarlierFramesAgain)
{
    FramePool pool;
    const Frame source = quarters(pool, 128, 64);
    View view(kScene, {64, 32});
    std::set<const std::uint8_t*> memory;
    Frame held = view.of(source, Position(), kHalf);
    for (int frame = 0; frame < 100; ++frame) {
        Frame next = view.of(source, {static_cast<unsigned int>(frame) * 100, 0, 100}, kHalf);
        memory.insert(next.data.get());
        EXPECT_NE(next.data.get(), held.data.get());
        held = next;
    }
    EXPECT_LE(memory.size(), 3u);
}

TEST(View, refusesWhatIsNoPicture)
{
    EXPECT_THROW(View(kScene, {0, 360}), std::invalid_argument);
    EXPECT_THROW(View(kScene, {641, 360}), std::invalid_argument);
    EXPECT_THROW(View(kScene, {640, -2}), std::invalid_argument);
    EXPECT_THROW(View(0, {640, 360}), std::invalid_argument);
    EXPECT_NO_THROW(View(1, {640, 360}));
    EXPECT_THROW(View(kScene, {640, 360}).of(Frame(), Position(), kHalf), std::invalid_argument);
    FramePool pool;
    EXPECT_THROW(View(kScene, {640, 360}).of(pool.take(1, 360), Position(), kHalf), std::invalid_argument);
    EXPECT_THROW(View(kScene, {640, 360}).of(pool.take(640, 1), Position(), kHalf), std::invalid_argument);
}

} // namespace
} // namespace camera::video
