#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

namespace camera::video {
namespace {

using namespace camera::base;

std::vector<std::uint8_t> pixels(const Frame& frame)
{
    std::vector<std::uint8_t> out;
    for (int y = 0; y < frame.height * 3 / 2; ++y) {
        const std::uint8_t* row = frame.data.get() + static_cast<std::ptrdiff_t>(y) * frame.strideBytes;
        out.insert(out.end(), row, row + frame.width);
    }
    return out;
}

std::vector<std::uint8_t> framePixels(const std::string& url, int number)
{
    Scene scene(url);
    for (int i = 0; i < number; ++i) {
        scene.next();
    }
    return pixels(*scene.next());
}

double meanLuma(const Frame& frame)
{
    double sum = 0;
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            sum += frame.data.get()[y * frame.strideBytes + x];
        }
    }
    return sum / frame.width / frame.height;
}

TEST(Scene, makesTheSamePixelsForTheSameParameters)
{
    const std::string url = "scene:size=320x180,noise=4,light=10,sway=3,shadows=1,objects=4";
    EXPECT_EQ(framePixels(url, 7), framePixels(url, 7));
}

TEST(Scene, makesOtherPixelsForAnotherSeedAndForAnotherFrame)
{
    EXPECT_NE(framePixels("scene:size=320x180,seed=1", 0), framePixels("scene:size=320x180,seed=2", 0));
    EXPECT_NE(framePixels("scene:size=320x180,objects=0", 0), framePixels("scene:size=320x180,objects=0", 1));
}

TEST(Scene, isStillWithoutNoiseAndObjects)
{
    EXPECT_EQ(framePixels("scene:size=320x180,objects=0,noise=0", 0),
              framePixels("scene:size=320x180,objects=0,noise=0", 40));
}

TEST(Scene, endsAfterItsFrames)
{
    Scene scene("scene:size=64x64,frames=2,objects=0");
    EXPECT_TRUE(scene.next().has_value());
    EXPECT_TRUE(scene.next().has_value());
    EXPECT_FALSE(scene.next().has_value());
    EXPECT_FALSE(scene.next().has_value());
}

TEST(Scene, deliversTheSizeAndRateItWasAskedFor)
{
    Scene scene("scene:size=322x182,fps=12.5");
    const Frame frame = *scene.next();
    EXPECT_EQ(322, frame.width);
    EXPECT_EQ(182, frame.height);
    EXPECT_GE(frame.strideBytes, frame.width);
    EXPECT_EQ(static_cast<std::size_t>(frame.strideBytes) * 273, frame.sizeBytes);
    EXPECT_DOUBLE_EQ(12.5, scene.framesPerSecond());
}

TEST(Scene, stampsFramesAtItsRateFromItsStart)
{
    Scene scene("scene:size=64x64,objects=0,fps=4,start=1000");
    EXPECT_EQ(1000000000000, nanosecondsOf(*scene.next()));
    EXPECT_EQ(1000250000000, nanosecondsOf(*scene.next()));
    const Frame third = *scene.next();
    EXPECT_EQ(1000U, third.seconds);
    EXPECT_EQ(500000000U, third.nanoseconds);
}

TEST(Scene, startsNowWhenNoStartIsGiven)
{
    const std::int64_t before = wallClockNanoseconds();
    Scene scene("scene:size=64x64,objects=0");
    const std::int64_t stamped = nanosecondsOf(*scene.next());
    EXPECT_GE(stamped, before);
    EXPECT_LE(stamped, wallClockNanoseconds());
}

TEST(Scene, truthIsTheTightBoxOfThePixelsThatDifferFromTheEmptyScene)
{
    for (const std::string shape : {"person", "ellipse", "box"}) {
        const std::string common = "scene:size=640x360,noise=0,seed=5,contrast=90,shape=" + shape;
        Scene with(common + ",objects=1");
        Scene without(common + ",objects=0");
        for (int i = 0; i < 30; ++i) {
            const Frame a = *with.next();
            const Frame b = *without.next();
            int left = 640;
            int top = 360;
            int right = 0;
            int bottom = 0;
            for (int y = 0; y < 360; ++y) {
                for (int x = 0; x < 640; ++x) {
                    if (a.data.get()[y * a.strideBytes + x] != b.data.get()[y * b.strideBytes + x]) {
                        left = std::min(left, x);
                        top = std::min(top, y);
                        right = std::max(right, x + 1);
                        bottom = std::max(bottom, y + 1);
                    }
                }
            }
            ASSERT_EQ(1U, with.truth().size());
            const TruthBox& box = with.truth()[0];
            EXPECT_EQ(left, box.left) << shape;
            EXPECT_EQ(top, box.top) << shape;
            EXPECT_EQ(right, box.left + box.width) << shape;
            EXPECT_EQ(bottom, box.top + box.height) << shape;
            EXPECT_TRUE(without.truth().empty());
        }
    }
}

TEST(Scene, objectsHaveTheAreaAskedForAndStayInsideThePicture)
{
    Scene scene("scene:size=640x360,objects=3,area=1,speed=1,shape=box");
    for (int i = 0; i < 200; ++i) {
        scene.next();
        ASSERT_EQ(3U, scene.truth().size());
        for (const TruthBox& box : scene.truth()) {
            EXPECT_NEAR(0.01 * 640 * 360, box.width * box.height, 60);
            EXPECT_GE(box.left, 0);
            EXPECT_GE(box.top, 0);
            EXPECT_LE(box.left + box.width, 640);
            EXPECT_LE(box.top + box.height, 360);
        }
    }
}

TEST(Scene, objectsMoveAtTheirSpeedAndStandStillWithoutOne)
{
    Scene moving("scene:size=640x360,objects=1,speed=0.25,fps=10,area=1");
    moving.next();
    const int first = moving.truth()[0].left;
    moving.next();
    const int step = std::abs(moving.truth()[0].left - first);
    EXPECT_GE(step, 640 * 0.25 * 0.7 / 10 - 1);
    EXPECT_LE(step, 640 * 0.25 * 1.3 / 10 + 1);

    Scene still("scene:size=640x360,objects=1,speed=0");
    still.next();
    const TruthBox stood = still.truth()[0];
    still.next();
    EXPECT_EQ(stood.left, still.truth()[0].left);
    EXPECT_EQ(stood.top, still.truth()[0].top);
}

TEST(Scene, objectsOfDifferentLanesNeverTouch)
{
    Scene scene("scene:size=640x360,objects=3,area=2,speed=0.5");
    for (int i = 0; i < 100; ++i) {
        scene.next();
        const auto& boxes = scene.truth();
        EXPECT_LE(boxes[0].top + boxes[0].height, boxes[1].top);
        EXPECT_LE(boxes[1].top + boxes[1].height, boxes[2].top);
    }
}

TEST(Scene, objectsEnterAndLeaveAtTheirFrames)
{
    Scene scene("scene:size=64x64,objects=2,enter=2,leave=4");
    std::vector<std::size_t> counts;
    for (int i = 0; i < 6; ++i) {
        scene.next();
        counts.push_back(scene.truth().size());
    }
    EXPECT_THAT(counts, testing::ElementsAre(0, 0, 2, 2, 0, 0));
}

TEST(Scene, noiseHasTheDeviationAskedFor)
{
    Scene noisy("scene:size=640x360,objects=0,noise=6");
    Scene clean("scene:size=640x360,objects=0,noise=0");
    const auto a = pixels(*noisy.next());
    const auto b = pixels(*clean.next());
    double sum = 0;
    double squares = 0;
    const std::size_t count = 640 * 360;
    for (std::size_t i = 0; i < count; ++i) {
        const double difference = a[i] - b[i];
        sum += difference;
        squares += difference * difference;
    }
    EXPECT_NEAR(0, sum / static_cast<double>(count), 0.2);
    EXPECT_NEAR(6, std::sqrt(squares / static_cast<double>(count)), 0.3);
}

TEST(Scene, lightSwitchesAtItsFrameAndChangesSlowlyOtherwise)
{
    Scene scene("scene:size=320x180,objects=0,switch=3,switchlevels=-40");
    std::vector<double> means;
    for (int i = 0; i < 5; ++i) {
        means.push_back(meanLuma(*scene.next()));
    }
    EXPECT_NEAR(means[0], means[2], 0.5);
    EXPECT_NEAR(means[2] - 40, means[3], 4);
    EXPECT_NEAR(means[3], means[4], 0.5);

    Scene slow("scene:size=320x180,objects=0,light=20,lightperiod=4,fps=10");
    double previous = meanLuma(*slow.next());
    double lowest = previous;
    double highest = previous;
    for (int i = 1; i < 40; ++i) {
        const double mean = meanLuma(*slow.next());
        EXPECT_LT(std::abs(mean - previous), 5);
        previous = mean;
        lowest = std::min(lowest, mean);
        highest = std::max(highest, mean);
    }
    EXPECT_NEAR(40, highest - lowest, 6);
}

TEST(Scene, swaysOnlyItsCornerAndShadowsAreNoTruth)
{
    Scene scene("scene:size=640x360,objects=0,noise=0,sway=4,fps=5");
    const Frame first = *scene.next();
    const Frame second = *scene.next();
    bool moved = false;
    for (int y = 0; y < 360; ++y) {
        for (int x = 0; x < 640; ++x) {
            const bool differs =
                first.data.get()[y * first.strideBytes + x] != second.data.get()[y * second.strideBytes + x];
            moved = moved || differs;
            if (x < 480 || y >= 90) {
                ASSERT_FALSE(differs) << x << "," << y;
            }
        }
    }
    EXPECT_TRUE(moved);

    Scene dark("scene:size=640x360,noise=0,objects=2,shadows=1");
    Scene plain("scene:size=640x360,noise=0,objects=2");
    const double shaded = meanLuma(*dark.next());
    EXPECT_LT(shaded, meanLuma(*plain.next()));
    EXPECT_EQ(plain.truth()[0].width, dark.truth()[0].width);
    EXPECT_EQ(plain.truth()[0].height, dark.truth()[0].height);
}

TEST(Scene, framesKeepTheirPixelsWhileLaterOnesAreMade)
{
    Scene scene("scene:size=320x180");
    const Frame kept = *scene.next();
    const auto before = pixels(kept);
    for (int i = 0; i < 20; ++i) {
        scene.next();
    }
    EXPECT_EQ(before, pixels(kept));
}

TEST(Scene, framesOutliveTheScene)
{
    std::optional<Frame> frame;
    {
        Scene scene("scene:size=64x64");
        frame = scene.next();
    }
    EXPECT_EQ(64U * 96U, pixels(*frame).size());
}

} // namespace
} // namespace camera::video
