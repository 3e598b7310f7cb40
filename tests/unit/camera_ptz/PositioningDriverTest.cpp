#include "camera/ptz/PositioningDriver.h"
#include "unit/camera_ptz/PositioningFixture.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace {

using camera::ptz::PositioningDriver;

using PositioningDriverTest = PositioningFixture;

TEST_F(PositioningDriverTest, letsTheCamerasTimePass)
{
    std::mutex mutex;
    std::condition_variable arrived;
    bool standing = false;
    build();
    unit->onStanding([&] {
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
    EXPECT_EQ(unit->position(), camera::ptz::Position());
}

TEST_F(PositioningDriverTest, takesCommandsFromManyThreadsWhileTimePasses)
{
    std::mutex mutex;
    options.movable = true;
    unit = std::make_shared<Unit>(options, [&](std::function<void()> task) {
        const std::lock_guard<std::mutex> lock(mutex);
        queue.push_back(std::move(task));
    });
    unit->keepListsBy([this](const std::string&) { return unit->serialize().empty() ? "nothing" : ""; });
    unit->onStanding([this] { unit->serializeFor([](const std::string& all) { EXPECT_FALSE(all.empty()); }); });
    {
        const PositioningDriver driver(*unit);
        std::vector<std::thread> users;
        for (int user = 0; user < 4; ++user) {
            users.emplace_back([this, user] {
                const Commander who{"user " + std::to_string(user), 100};
                const std::string own = "P" + std::to_string(user);
                for (int round = 0; round < 200; ++round) {
                    unit->goToPreset(round % 2 == 0 ? "Gate" : own, who);
                    unit->savePresetHere(own);
                    unit->drive({user * 10, round % 100, {}, {}}, who);
                    unit->createTour({own, {{"Gate", Milliseconds(0), 100}}});
                    unit->startTour(own, who);
                    unit->advance(Milliseconds(15));
                    unit->stop({}, who);
                    unit->removePreset(own);
                    unit->moving();
                    unit->tourProgress();
                    unit->holder();
                }
            });
        }
        for (auto& user : users) {
            user.join();
        }
    }
    unit->stop({}, operator1);
    unit->advance(std::chrono::minutes(2));
    EXPECT_FALSE(unit->moving());
    EXPECT_EQ(unit->tours().size(), 4u);
}

} // namespace
