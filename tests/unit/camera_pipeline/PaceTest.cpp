#include "camera/pipeline/Pace.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

using camera::base::StopSignal;
using camera::pipeline::Pace;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kYear = 365LL * 24 * 3600 * 1000 * kMillisecond;

TEST(PaceTest, aFrameComesNoEarlierThanItsTimeSays)
{
    const StopSignal stop;
    Pace pace(true, stop);
    const std::int64_t first = 1700000000LL * 1000 * kMillisecond;
    const auto begin = Clock::now();
    pace.waitFor(first);
    pace.waitFor(first + 30 * kMillisecond);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(30));
    pace.waitFor(first - kYear); // a frame that is late already
}

TEST(PaceTest, atFullSpeedNobodyWaits)
{
    const StopSignal stop;
    Pace pace(false, stop);
    pace.waitFor(0);
    pace.waitFor(kYear);
}

TEST(PaceTest, aSignalEndsTheWait)
{
    const StopSignal stop;
    Pace pace(true, stop);
    pace.waitFor(0);
    std::raise(SIGTERM);
    pace.waitFor(kYear);
    EXPECT_TRUE(stop.stopped());
}

} // namespace
