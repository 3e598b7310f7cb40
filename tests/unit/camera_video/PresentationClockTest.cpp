#include "camera/video/PresentationClock.h"

#include "camera/video/Timestamp.h"

#include <gtest/gtest.h>

#include <limits>

namespace camera::video {
namespace {

constexpr std::int64_t kStart = 1000000000000;
constexpr std::int64_t kFrame = 40000000;

TEST(PresentationClock, followsTheInputFromWhereverItBegins)
{
    PresentationClock clock(kStart, kFrame);
    EXPECT_EQ(kStart, clock.next(7000000000));
    EXPECT_EQ(kStart + 50000000, clock.next(7050000000));
    EXPECT_EQ(kStart + 2000000000, clock.next(9000000000));
}

TEST(PresentationClock, countsFramesWhereTheInputGivesNoTime)
{
    PresentationClock clock(kStart, kFrame);
    EXPECT_EQ(kStart, clock.next(std::nullopt));
    EXPECT_EQ(kStart + kFrame, clock.next(std::nullopt));
}

TEST(PresentationClock, goesOnByOneFrameWhereTheInputStandsStillOrJumpsBack)
{
    PresentationClock clock(kStart, kFrame);
    clock.next(5000000000);
    EXPECT_EQ(kStart + kFrame, clock.next(5000000000));
    EXPECT_EQ(kStart + 2 * kFrame, clock.next(0));
    EXPECT_EQ(kStart + 3 * kFrame, clock.next(kFrame));
}

TEST(PresentationClock, takesAJumpOfHoursForABrokenClock)
{
    PresentationClock clock(kStart, kFrame);
    clock.next(0);
    EXPECT_EQ(kStart + kFrame, clock.next(7200000000000));
    EXPECT_EQ(kStart + 2 * kFrame, clock.next(7200000000000 + kFrame));
}

TEST(PresentationClock, takesANumberThatIsNoTimeForNone)
{
    PresentationClock clock(kStart, kFrame);
    EXPECT_EQ(kStart, clock.next(std::numeric_limits<std::int64_t>::min() + 1));
    EXPECT_EQ(kStart + kFrame, clock.next(0));
    EXPECT_EQ(kStart + 2 * kFrame, clock.next(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(kStart + 3 * kFrame, clock.next(2 * kFrame));
}

TEST(PresentationClock, isLaterAfterARestartByWhatItIsTold)
{
    PresentationClock clock(kStart, kFrame);
    clock.next(0);
    clock.restart(7 * kFrame);
    EXPECT_EQ(kStart + 8 * kFrame, clock.next(0));
}

TEST(PresentationClock, goesOnAfterARestartOfTheInput)
{
    PresentationClock clock(kStart, kFrame);
    clock.next(0);
    clock.next(kFrame);
    clock.restart();
    EXPECT_EQ(kStart + 2 * kFrame, clock.next(0));
}

TEST(Timestamp, splitsIntoTheTwoWordsAndBack)
{
    Frame frame;
    stamp(frame, 1700000000123456789);
    EXPECT_EQ(1700000000U, frame.seconds);
    EXPECT_EQ(123456789U, frame.nanoseconds);
    EXPECT_EQ(1700000000123456789, nanosecondsOf(frame));
    stamp(frame, -5);
    EXPECT_EQ(0, nanosecondsOf(frame));
}

} // namespace
} // namespace camera::video
