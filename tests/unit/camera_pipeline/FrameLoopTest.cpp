// The way of frames through a camera of fakes: every step writes one line into a journal.
#include "camera/pipeline/FrameLoop.h"

#include "camera/kit/DrawingFormat.h"
#include "camera/video/Timestamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using camera::pipeline::FrameLoop;
using camera::pipeline::FrameResult;
using camera::pipeline::RunReport;
using camera::pipeline::ViewDirection;
using camera::video::Drawing;
using camera::video::Frame;
using camera::video::FramePool;
using camera::video::View;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr std::int64_t kStart = 1700000000LL * 1000000000;
constexpr std::int64_t kMillisecond = 1000000;

class FrameLoopTest : public testing::Test {
protected:
    FrameLoopTest()
    {
        steps.mayContinue = [this] { return !stopped; };
        steps.read = [this] { return read(); };
        steps.waitUntilDue = [this](std::int64_t time) { note("wait " + milliseconds(time - kStart)); };
        steps.advanceCamera = [this](std::chrono::nanoseconds time) { note("advance " + milliseconds(time.count())); };
        steps.drainControl = [this] { note("drain"); };
        steps.direction = [this] {
            note("direction");
            return direction;
        };
        steps.orientation = [this] { return orientation; };
        steps.deliver = [this](const Frame& frame) { return deliver(frame); };
        steps.draw = [this](const Frame& upright, const Drawing& drawing) {
            note("draw " + size(upright) + " boxes " + std::to_string(drawing.boxes.size()));
        };
        steps.showStatus = [this] { note("status"); };
        steps.keepTime = [this](std::int64_t time) { note("keep " + milliseconds(time - kStart)); };
        steps.now = [this] { return now; };
    }

    void run(FrameLoop::Options options, std::optional<View> view = std::nullopt)
    {
        FrameLoop loop(options, std::move(view), steps, report);
        try {
            loop.run();
        } catch (const std::exception& error) {
            failure = error.what();
        }
        lastFrameTime = loop.lastFrameTime();
    }

    std::size_t frames() const
    {
        return static_cast<std::size_t>(std::count_if(
            journal.begin(), journal.end(), [](const std::string& line) { return line.rfind("frame ", 0) == 0; }));
    }

    // Lines of the journal that begin so.
    std::vector<std::string> lines(const std::string& begin) const
    {
        std::vector<std::string> found;
        std::copy_if(journal.begin(), journal.end(), std::back_inserter(found),
                     [&](const std::string& line) { return line.rfind(begin, 0) == 0; });
        return found;
    }

    void note(const std::string& line) { journal.push_back(line); }

    static std::string milliseconds(std::int64_t nanoseconds) { return std::to_string(nanoseconds / kMillisecond); }
    static std::string size(const Frame& frame)
    {
        return std::to_string(frame.width) + "x" + std::to_string(frame.height);
    }

    std::optional<Frame> read()
    {
        if (frameTimes.empty()) {
            return std::nullopt;
        }
        Frame frame = pool.take(64, 32);
        std::fill_n(frame.data.get(), frame.sizeBytes, std::uint8_t{90});
        camera::video::stamp(frame, kStart + frameTimes.front() * kMillisecond);
        frameTimes.erase(frameTimes.begin());
        return frame;
    }

    FrameResult deliver(const Frame& frame)
    {
        note("frame " + size(frame) + " at " + milliseconds(camera::video::nanosecondsOf(frame) - kStart));
        now += perFrame;
        return result;
    }

    std::vector<std::int64_t> frameTimes{0, 40, 80}; ///< milliseconds
    bool stopped = false;
    int orientation = 0;
    ViewDirection direction{{0, 0, 100}, 90000};
    FrameResult result{true, {}};
    FrameLoop::Clock::time_point now{std::chrono::hours(1)};
    std::chrono::milliseconds perFrame{40}; ///< how long the plug-in has each
    FramePool pool;
    RunReport report;
    FrameLoop::Steps steps;
    std::vector<std::string> journal;
    std::string failure;
    std::int64_t lastFrameTime = 0;
};

constexpr FrameLoop::Options kLive{true, 0};
constexpr FrameLoop::Options kFullSpeed{false, 0};

TEST_F(FrameLoopTest, aLiveRunWaitsForEachFrameAndLeavesTheCameraToTheClock)
{
    frameTimes = {0, 40};
    run(kLive);
    EXPECT_THAT(journal, ElementsAre("wait 0", "frame 64x32 at 0", "draw 64x32 boxes 0", "status", "wait 40",
                                     "frame 64x32 at 40", "draw 64x32 boxes 0"));
    EXPECT_EQ(failure, "");
    EXPECT_EQ(lastFrameTime, kStart + 40 * kMillisecond);
}

TEST_F(FrameLoopTest, atFullSpeedTheTimeBetweenFramesMovesTheCameraBeforeTheFrame)
{
    frameTimes = {0, 40, 140};
    perFrame = std::chrono::seconds(0);
    run(kFullSpeed);
    EXPECT_THAT(journal, ElementsAre("frame 64x32 at 0", "draw 64x32 boxes 0", "status", "advance 40", "drain",
                                     "frame 64x32 at 40", "draw 64x32 boxes 0", "advance 100", "drain",
                                     "frame 64x32 at 140", "draw 64x32 boxes 0"));
}

TEST_F(FrameLoopTest, endsAfterTheFramesThatWereAskedForOrWithTheInput)
{
    run({true, 2});
    EXPECT_EQ(frames(), 2u);
    EXPECT_THAT(frameTimes, SizeIs(1));
    run({true, 2});
    EXPECT_EQ(frames(), 3u);
    EXPECT_EQ(report.now().frames, 3u);
}

TEST_F(FrameLoopTest, readsNothingOnceTheRunWasStopped)
{
    stopped = true;
    run(kLive);
    EXPECT_THAT(journal, IsEmpty());
    EXPECT_THAT(frameTimes, SizeIs(3));
    EXPECT_EQ(lastFrameTime, 0);
}

TEST_F(FrameLoopTest, aFrameThatIsWaitedForWhenTheRunIsStoppedIsNotDelivered)
{
    steps.waitUntilDue = [this](std::int64_t time) { stopped = time > kStart; };
    run(kLive);
    EXPECT_EQ(frames(), 1u);
    EXPECT_EQ(lastFrameTime, kStart);
}

TEST_F(FrameLoopTest, aSourceThatFailsEndsTheRunWithItsSentence)
{
    steps.read = [this]() -> std::optional<Frame> {
        if (frameTimes.size() == 1) {
            throw std::runtime_error("the file 'a.mp4' is cut short.");
        }
        return read();
    };
    run(kLive);
    EXPECT_EQ(failure, "the file 'a.mp4' is cut short.");
    EXPECT_EQ(frames(), 2u);
}

TEST_F(FrameLoopTest, aFrameThatFailedIsCountedAndTheNextOneDelivered)
{
    result.analysed = false;
    run(kLive);
    EXPECT_EQ(frames(), 3u);
    EXPECT_THAT(report.summary(), Contains(HasSubstr("3 of them failed")));
    EXPECT_EQ(report.now().longestFrameMilliseconds, 40);
    EXPECT_EQ(failure, "");
}

TEST_F(FrameLoopTest, aFrameThatCannotBeDeliveredEndsTheRun)
{
    steps.deliver = [](const Frame&) -> FrameResult { throw std::runtime_error("no memory for a frame."); };
    run(kLive);
    EXPECT_EQ(failure, "no memory for a frame.");
    EXPECT_EQ(lastFrameTime, 0);
}

TEST_F(FrameLoopTest, anOverlayThatFailsEndsTheRunAndTheFrameCounts)
{
    steps.draw = [](const Frame&, const Drawing&) { throw std::runtime_error("the disk is full."); };
    run(kLive);
    EXPECT_EQ(failure, "the disk is full.");
    EXPECT_EQ(frames(), 1u);
    EXPECT_EQ(report.now().frames, 1u);
    EXPECT_EQ(lastFrameTime, kStart);
}

TEST_F(FrameLoopTest, nothingIsDrawnWithoutAnOverlay)
{
    steps.draw = nullptr;
    run(kLive);
    EXPECT_EQ(frames(), 3u);
    EXPECT_THAT(lines("draw"), IsEmpty());
}

TEST_F(FrameLoopTest, whatTheEnginesWroteIsDrawnAndReported)
{
    std::vector<std::uint8_t> written(64);
    camera::kit::DrawingWriter writer(written.data(), written.size());
    ASSERT_TRUE(writer.add(camera::kit::BoxRecord{7, camera::kit::BoxKind::kMoving, {0, 0}, {1, 1}}));
    result.outputs.drawing = written.data();
    result.outputs.drawingBytes = writer.usedBytes();
    run({true, 1});
    EXPECT_THAT(journal, Contains("draw 64x32 boxes 1"));
    EXPECT_THAT(report.summary(), Contains(HasSubstr("1, at most 1 at once")));
}

TEST_F(FrameLoopTest, theStatusIsShownFiveTimesASecondAtMost)
{
    frameTimes.clear();
    for (int i = 0; i < 26; ++i) {
        frameTimes.push_back(i * 40);
    }
    run(kLive); // 40 ms each: the first one, and each fifth after it
    EXPECT_THAT(lines("status"), SizeIs(6));
}

TEST_F(FrameLoopTest, theTimeOfTheLastFrameIsKeptEveryFiveSeconds)
{
    frameTimes = {0, 1, 2, 3, 4, 5, 6};
    perFrame = std::chrono::milliseconds(2500);
    run(kLive);
    EXPECT_THAT(lines("keep"), ElementsAre("keep 1", "keep 3", "keep 5"));
}

TEST_F(FrameLoopTest, withoutAViewThePlugInGetsTheFrameItself)
{
    const std::uint8_t* pixels = nullptr;
    steps.read = [this, &pixels] {
        auto frame = read();
        pixels = frame ? frame->data.get() : pixels;
        return frame;
    };
    steps.deliver = [&pixels](const Frame& frame) {
        EXPECT_EQ(frame.data.get(), pixels);
        return FrameResult{true, {}};
    };
    run(kLive);
    EXPECT_THAT(journal, Not(Contains("direction")));
}

TEST_F(FrameLoopTest, aViewOfTheWholePictureScalesIt)
{
    run({true, 1}, View(90, {32, 16}));
    EXPECT_THAT(journal, ElementsAre("wait 0", "direction", "frame 32x16 at 0", "draw 32x16 boxes 0", "status"));
}

TEST_F(FrameLoopTest, aViewShowsWhereTheCameraLooksAfterItMoved)
{
    steps.read = [this] { // the left half is dark, the right one bright
        auto frame = read();
        for (int row = 0; frame && row < frame->height; ++row) {
            std::uint8_t* line = frame->data.get() + row * frame->strideBytes;
            std::fill_n(line, 32, std::uint8_t{20});
            std::fill_n(line + 32, 32, std::uint8_t{200});
        }
        return frame;
    };
    direction = {{350000, 0, 100}, 20000}; // to the left
    steps.advanceCamera = [this](std::chrono::nanoseconds) { direction.position.pan = 10000; };
    std::vector<int> luma;
    steps.deliver = [&luma](const Frame& frame) {
        luma.push_back(frame.data.get()[8]);
        return FrameResult{true, {}};
    };
    frameTimes = {0, 40};
    run(kFullSpeed, View(90, {16, 8}));
    EXPECT_THAT(luma, ElementsAre(20, 200));
}

TEST_F(FrameLoopTest, theFrameIsDeliveredAsTheCameraIsMountedAndDrawnUpright)
{
    orientation = 90;
    run({true, 1});
    EXPECT_THAT(journal, ElementsAre("wait 0", "frame 32x64 at 0", "draw 64x32 boxes 0", "status"));
}

} // namespace
