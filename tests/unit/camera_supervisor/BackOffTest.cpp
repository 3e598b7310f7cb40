#include "camera/supervisor/BackOff.h"

#include <gmock/gmock.h>

#include <vector>

namespace camera::supervisor {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(BackOff, isFirstNoneThenDoublesUpToItsLongest)
{
    BackOff backOff;
    std::vector<int> pauses;
    for (int i = 0; i < 9; ++i) {
        pauses.push_back(static_cast<int>(backOff.pauseAfter(1s).count()));
    }
    EXPECT_THAT(pauses, ElementsAre(0, 100, 200, 400, 800, 1600, 3200, 5000, 5000));
}

TEST(BackOff, beginsAnewAfterAHealthyLife)
{
    BackOff backOff;
    backOff.pauseAfter(0s);
    backOff.pauseAfter(0s);
    EXPECT_EQ(backOff.pauseAfter(9999ms), 200ms);
    EXPECT_EQ(backOff.pauseAfter(10s), 0ms);
    EXPECT_EQ(backOff.pauseAfter(0s), 100ms);
}

} // namespace
} // namespace camera::supervisor
