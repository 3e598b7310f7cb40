#include "camera/meridan/PositioningDriver.h"
#include "unit/camera_meridan/PositioningFixture.h"

#include <condition_variable>
#include <mutex>
#include <optional>

namespace {

using camera::meridan::PositioningDriver;

using PositioningDriverTest = PositioningFixture;

TEST_F(PositioningDriverTest, letsTheCamerasTimePass)
{
    std::mutex mutex;
    std::condition_variable arrived;
    bool standing = false;
    build();
    unit->onChange([&](Unit::Change) {
        const std::lock_guard<std::mutex> lock(mutex);
        standing = true;
        arrived.notify_one();
    });
    const PositioningDriver driver(*unit);
    unit->goToPreset("Gate", operator1);
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_TRUE(arrived.wait_for(lock, std::chrono::seconds(60), [&] { return standing; }));
    EXPECT_EQ(unit->activePreset(), "Gate");
}

TEST_F(PositioningDriverTest, endsItsThreadBeforeItIsGone)
{
    build();
    std::optional<PositioningDriver> driver;
    driver.emplace(*unit);
    driver.reset();
    unit->goToPreset("Gate", operator1);
    EXPECT_EQ(unit->position(), camera::meridan::Position());
}

} // namespace
