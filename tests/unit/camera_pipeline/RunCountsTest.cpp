// What the processes that are the pipeline of one run leave to each other.
#include "camera/pipeline/RunCounts.h"

#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using camera::pipeline::openRunCounts;
using camera::pipeline::RunCounts;

constexpr std::int64_t kSecond = 1000000000;

TEST(RunCountsTest, beginAtZeroAndGoOnInTheNextProcess)
{
    const kit::TemporaryFolder folder;
    {
        const auto first = openRunCounts(folder / "counts");
        EXPECT_FALSE(first->restarted());
        EXPECT_EQ(first->frames, 0u);
        first->frames = 7;
        first->firstTime = 100 * kSecond;
        first->lastTime = 102 * kSecond; // and it dies
    }
    {
        const auto second = openRunCounts(folder / "counts");
        EXPECT_TRUE(second->restarted());
        EXPECT_EQ(second->frames, 7u);
        EXPECT_TRUE(second->restarts[0].crashed);
        EXPECT_DOUBLE_EQ(second->restarts[0].second, 2);
        second->lastTime = 105 * kSecond;
        second->running = false; // it ends in order
    }
    const auto third = openRunCounts(folder / "counts");
    EXPECT_EQ(third->starts, 3u);
    EXPECT_FALSE(third->restarts[1].crashed);
    EXPECT_DOUBLE_EQ(third->restarts[1].second, 5);
}

TEST(RunCountsTest, keepTheFirstRestartsOfMany)
{
    const kit::TemporaryFolder folder;
    for (std::size_t start = 0; start < RunCounts::kMostRestarts + 5; ++start) {
        openRunCounts(folder / "counts");
    }
    const auto last = openRunCounts(folder / "counts");
    EXPECT_EQ(last->starts, RunCounts::kMostRestarts + 6);
    EXPECT_TRUE(last->restarts.back().crashed);
}

TEST(RunCountsTest, whatIsNoneOfTheirsIsANewRun)
{
    const kit::TemporaryFolder folder;
    folder.write("counts", std::string(9000, 'x'));
    const auto counts = openRunCounts(folder / "counts");
    EXPECT_FALSE(counts->restarted());
    EXPECT_EQ(counts->frames, 0u);
    EXPECT_EQ(openRunCounts(folder / "none/counts")->starts, 1u);
}

} // namespace
