// A source that goes away and comes back, with a clock of the test's own.
#include "camera/video/ContinuedSource.h"

#include "camera/video/FramePool.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace camera::video {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kFrame = kSecond / 25;
constexpr std::int64_t kStart = 1700000000 * kSecond;

// Gives so many frames, the first one always with the same time, and then ends, or fails.
class FakeSource final : public FrameSource {
public:
    FakeSource(int frames, bool live, PictureSize size, std::string failure = "")
        : _frames(frames), _live(live), _size(size), _failure(std::move(failure))
    {
    }

    std::optional<Frame> next() override
    {
        if (_given == _frames) {
            return _failure.empty() ? std::nullopt : throw std::runtime_error(_failure);
        }
        Frame frame = _pool.take(_size.width, _size.height);
        stamp(frame, kStart + _given++ * kFrame);
        return frame;
    }
    int width() const override { return _size.width; }
    int height() const override { return _size.height; }
    double framesPerSecond() const override { return 25; }
    bool live() const override { return _live; }

private:
    const int _frames;
    const bool _live;
    const PictureSize _size;
    const std::string _failure;
    int _given = 0;
    FramePool _pool;
};

class ContinuedSourceTest : public testing::Test {
protected:
    ContinuedSourceTest()
    {
        options.loop = true;
        options.stop = &stop;
        options.clock.steady = [this] { return now * kSecond; };
        options.clock.wait = [this](std::chrono::seconds time) {
            now += time.count();
            stop = stop || now >= stopAt;
        };
        options.tell = [this](const std::string& sentence) { told.push_back(sentence); };
        options.gone = [this](bool gone) { changes.push_back(gone); };
        options.whileGone = [this](std::int64_t time) { shown.push_back((time - kStart) / kSecond); };
    }

    ContinuedSource open()
    {
        return {"x://y",
                [this](PictureSize size) -> std::unique_ptr<FrameSource> {
                    tries.push_back(now);
                    wanted = size;
                    if (now < thereFrom) {
                        throw std::runtime_error("nobody answers");
                    }
                    return std::make_unique<FakeSource>(2, live, PictureSize{64, 32}, failure);
                },
                [this] { return clockStep; }, options};
    }

    // Milliseconds since the start of the first source.
    static std::int64_t time(const std::optional<Frame>& frame)
    {
        return frame ? (nanosecondsOf(*frame) - kStart) / 1000000 : -1;
    }

    std::atomic<bool> stop{false};
    SourceOptions options;
    bool live = true;
    std::string failure;
    std::int64_t clockStep = 0;
    std::int64_t now = 100;       ///< seconds
    std::int64_t stopAt = 100000; ///< when Ctrl-C comes
    std::int64_t thereFrom = 0;   ///< when it can be opened
    std::vector<std::int64_t> tries;
    PictureSize wanted;
    std::vector<std::string> told;
    std::vector<bool> changes;
    std::vector<std::int64_t> shown;
};

TEST_F(ContinuedSourceTest, waitsForALiveSourceWithGrowingPausesAndGoesOnByTheClock)
{
    ContinuedSource source = open();
    EXPECT_TRUE(source.live());
    EXPECT_EQ(time(source.next()), 0);
    EXPECT_EQ(time(source.next()), 40);
    thereFrom = 100 + 1 + 2 + 4 + 8 + 16 + 30 + 1;
    EXPECT_EQ(time(source.next()), 40 + 91 * 1000) << "what the clock says since the last frame";
    EXPECT_EQ(time(source.next()), 40 + 91 * 1000 + 40);
    EXPECT_THAT(tries, ElementsAre(100, 101, 103, 107, 115, 131, 161, 191));
    EXPECT_EQ(wanted.width, 64);
    EXPECT_THAT(told,
                ElementsAre("waiting for the source: 'x://y' has ended", "the source 'x://y' is there after 91 s"));
    EXPECT_THAT(changes, ElementsAre(true, false));
    ASSERT_EQ(shown.size(), 91u) << "each second";
    EXPECT_EQ(shown.back(), 90);
}

TEST_F(ContinuedSourceTest, beginsWithTheShortPauseEachTime)
{
    ContinuedSource source = open();
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(source.next());
    }
    EXPECT_THAT(tries, ElementsAre(100, 101, 102));
}

TEST_F(ContinuedSourceTest, aLiveSourceThatFailsIsWaitedForWithItsReason)
{
    failure = "it is damaged";
    ContinuedSource source = open();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(source.next());
    }
    EXPECT_THAT(told, testing::Contains("waiting for the source: it is damaged"));
}

TEST_F(ContinuedSourceTest, oneThatIsNotLiveOrIsReadOnceEndsAsItEnds)
{
    for (const bool isLive : {true, false}) {
        live = isLive;
        options.loop = !isLive;
        failure.clear();
        ContinuedSource source = open();
        EXPECT_TRUE(source.next());
        EXPECT_TRUE(source.next());
        EXPECT_FALSE(source.next());
        failure = "it is damaged";
        ContinuedSource damaged = open();
        damaged.next();
        damaged.next();
        EXPECT_EQ(kit::refusalOf([&damaged] { damaged.next(); }), "it is damaged");
    }
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(ContinuedSourceTest, aStopEndsTheWaitAtOnce)
{
    ContinuedSource source = open();
    source.next();
    source.next();
    thereFrom = 1000;
    stopAt = 109;
    EXPECT_FALSE(source.next());
    EXPECT_EQ(now, 109);
    EXPECT_THAT(changes, ElementsAre(true));
    EXPECT_FALSE(source.next());
}

TEST_F(ContinuedSourceTest, oneThatCannotBeOpenedAtTheStartIsRefusedUnlessItIsWaitedFor)
{
    thereFrom = 105;
    EXPECT_EQ(kit::refusalOf([this] { open(); }), "nobody answers");
    EXPECT_THAT(told, IsEmpty());
    options.wait = true;
    ContinuedSource source = open();
    EXPECT_EQ(source.width(), 64);
    EXPECT_EQ(time(source.next()), 0);
    EXPECT_THAT(told, ElementsAre("waiting for the source: nobody answers", HasSubstr("is there after 7 s")));
    EXPECT_THAT(shown, IsEmpty()) << "there is no frame to show";
    thereFrom = 1000;
    stopAt = now + 3;
    EXPECT_THAT(kit::refusalOf([this] { open(); }), HasSubstr("stopped while it waited for 'x://y'"));
}

TEST_F(ContinuedSourceTest, aClockThatWasSetIsFollowedWhenTheSourceIsThereAgain)
{
    ContinuedSource source = open();
    source.next();
    source.next();
    clockStep = 3600 * kSecond;
    EXPECT_EQ(time(source.next()), 40 + 1000 + 3600 * 1000);
    EXPECT_EQ(time(source.next()), 40 + 1000 + 3600 * 1000 + 40);
}

TEST_F(ContinuedSourceTest, timesAreLaterThanThoseOfTheRunBefore)
{
    options.notBefore = kStart + 5 * kSecond;
    ContinuedSource source = open();
    EXPECT_EQ(time(source.next()), 5040);
    EXPECT_EQ(time(source.next()), 5080);
}

} // namespace
} // namespace camera::video
