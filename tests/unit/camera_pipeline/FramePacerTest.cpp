#include "camera/pipeline/FramePacer.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

using camera::base::StopSignal;
using camera::pipeline::FramePacer;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kYear = 365LL * 24 * 3600 * 1000 * kMillisecond;

TEST(FramePacerTest, aFrameComesNoEarlierThanItsTimeSays)
{
    const StopSignal stop;
    FramePacer pacer(stop);
    const std::int64_t first = 1700000000LL * 1000 * kMillisecond;
    const auto begin = Clock::now();
    pacer.waitUntilDue(first);
    pacer.waitUntilDue(first + 30 * kMillisecond);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(30));
    pacer.waitUntilDue(first - kYear); // a frame that is late already
}

TEST(FramePacerTest, framesWhoseTimesFollowAClockThatWasSetAreDueAsBefore)
{
    const StopSignal stop;
    FramePacer pacer(stop);
    pacer.waitUntilDue(0);
    pacer.timesStepped(kYear);
    pacer.waitUntilDue(kYear); // else a year from now
}

TEST(FramePacerTest, aSignalEndsTheWait)
{
    const StopSignal stop;
    FramePacer pacer(stop);
    pacer.waitUntilDue(0);
    std::raise(SIGTERM);
    pacer.waitUntilDue(kYear);
    EXPECT_TRUE(stop.stopped());
}

} // namespace
