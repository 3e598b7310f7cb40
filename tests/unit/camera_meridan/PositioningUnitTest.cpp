#include "camera/meridan/PositioningUnit.h"

#include "camera/ravel/Current.h"

#include "korva/meridan/PositioningManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using camera::meridan::PositioningUnit;
using korva::meridan::PositioningManager;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> calls;

void onMotion(bool moving, unsigned int pan, int tilt, unsigned int zoom, void* /*context*/)
{
    calls.push_back((moving ? "moves at " : "stands at ") + std::to_string(pan) + "," + std::to_string(tilt) + "," +
                    std::to_string(zoom));
}

void onPriority(bool panTilt, bool zoom, unsigned int priority, void* /*context*/)
{
    calls.push_back("priority " + std::to_string(priority) + (panTilt && zoom ? "" : "?"));
}

void onPreset(int state, const std::string& name, bool byTour, const std::string& user, void* context)
{
    calls.push_back("preset " + std::to_string(state) + " " + name + (byTour || !user.empty() ? "?" : "") +
                    (context == nullptr ? "" : " with context"));
}

void onModified(const std::string& name, bool created, bool changed, bool removed, void* /*context*/)
{
    calls.push_back(name + (created ? " created" : "") + (changed ? " changed" : "") + (removed ? " removed" : ""));
}

void onTour(int state, const std::string& /*name*/, unsigned int /*stop*/, int stopType, void* /*context*/)
{
    calls.push_back("tour " + std::to_string(state) + " " + std::to_string(stopType));
}

class PositioningUnitTest : public testing::Test {
protected:
    void SetUp() override { calls.clear(); }

    void build(bool movable)
    {
        PositioningUnit::Options options;
        options.movable = movable;
        options.presets = {{"Gate", {10000, -5000, 200}}, {"Yard", {350000, 0, 100}}};
        unit = std::make_shared<PositioningUnit>(
            options, [this](std::function<void()> task) { queue.push_back(std::move(task)); });
        binding = std::make_unique<camera::ravel::Current<PositioningUnit>::Binding>(unit);
    }

    void registerAll()
    {
        EXPECT_TRUE(manager.registerMotionStateCallback(&onMotion, nullptr));
        EXPECT_TRUE(manager.registerCommandPriorityCallback(&onPriority, nullptr));
        EXPECT_TRUE(manager.registerPresetStateCallback(&onPreset, nullptr));
        EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, nullptr));
        EXPECT_TRUE(manager.registerTourStateCallback(&onTour, nullptr));
    }

    void runPosted()
    {
        const auto tasks = std::exchange(queue, {});
        for (const auto& task : tasks) {
            task();
        }
    }

    PositioningManager& manager = PositioningManager::instance();
    std::vector<std::function<void()>> queue;
    std::shared_ptr<PositioningUnit> unit;
    std::unique_ptr<camera::ravel::Current<PositioningUnit>::Binding> binding;
};

TEST_F(PositioningUnitTest, isAFixedCameraThatAnswersNothingAndChangesNoOutput)
{
    build(false);
    unsigned int a = 1;
    unsigned int b = 2;
    unsigned int c = 3;
    int tilt = 4;
    EXPECT_FALSE(manager.isAvailable());
    EXPECT_FALSE(manager.getCurrentPosition(a, tilt, b, c));
    EXPECT_FALSE(manager.getAngleOfViewLimits(a, b));
    EXPECT_FALSE(manager.getFocalLengthLimits(a, b));
    EXPECT_FALSE(manager.getSensorDimensions(a, b));
    EXPECT_FALSE(manager.getPresetLocation("Gate", a, tilt, b));
    EXPECT_EQ(std::vector<unsigned int>({a, b, c}), std::vector<unsigned int>({1, 2, 3}));
    EXPECT_EQ(tilt, 4);
    EXPECT_FALSE(manager.goToPreset("Gate", true));
    EXPECT_FALSE(manager.setZoomPosition(200));
    EXPECT_FALSE(manager.startLinearContinuousMovement(true, 1, true, 1, true, 1));
    EXPECT_FALSE(manager.stopLinearContinuousMovement(true, true, true));
    EXPECT_FALSE(manager.registerPresetStateCallback(&onPreset, nullptr));
    EXPECT_FALSE(unit->goToPreset("Gate"));
    EXPECT_FALSE(unit->savePreset({"New", {}}));
    EXPECT_FALSE(unit->removePreset("Gate"));
    EXPECT_EQ(manager.getActivePreset(false), "");
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, isUnavailableWithoutADevice)
{
    EXPECT_FALSE(manager.isAvailable());
    EXPECT_EQ(manager.getActivePreset(false), "");
    EXPECT_FALSE(manager.goToPreset("Gate", false));
}

TEST_F(PositioningUnitTest, describesALensWhoseNumbersFitEachOther)
{
    build(true);
    unsigned int narrow = 0;
    unsigned int wide = 0;
    unsigned int shortest = 0;
    unsigned int longest = 0;
    unsigned int sensorWidth = 0;
    unsigned int sensorHeight = 0;
    EXPECT_TRUE(manager.getAngleOfViewLimits(narrow, wide));
    EXPECT_TRUE(manager.getFocalLengthLimits(shortest, longest));
    EXPECT_TRUE(manager.getSensorDimensions(sensorWidth, sensorHeight));
    EXPECT_LT(narrow, wide);
    EXPECT_LT(shortest, longest);
    EXPECT_GT(sensorWidth, sensorHeight);
    const double half = wide * std::acos(-1.0) / 360000.0;
    EXPECT_NEAR(2.0 * shortest * std::tan(half), sensorWidth, 1.0);
    EXPECT_EQ(unit->optics().angleOfView(100), wide);
    EXPECT_EQ(wide, 64020u);
}

TEST_F(PositioningUnitTest, jumpsToAPresetAndPostsTheArrival)
{
    build(true);
    registerAll();
    EXPECT_TRUE(manager.goToPreset("Gate", true));
    EXPECT_THAT(calls, IsEmpty()) << "called from inside the call";
    EXPECT_EQ(manager.getActivePreset(false), "Gate");
    unsigned int pan = 0;
    int tilt = 0;
    unsigned int zoom = 0;
    unsigned int angle = 0;
    EXPECT_TRUE(manager.getCurrentPosition(pan, tilt, zoom, angle));
    EXPECT_EQ(pan, 10000u);
    EXPECT_EQ(tilt, -5000);
    EXPECT_EQ(zoom, 200u);
    EXPECT_EQ(angle, unit->optics().angleOfView(200));
    EXPECT_LT(angle, unit->optics().angleOfView(100));
    runPosted();
    EXPECT_THAT(calls, ElementsAre("preset 2 Gate"));
}

TEST_F(PositioningUnitTest, postsTheArrivalOfACameraThatIsThereAlready)
{
    build(true);
    registerAll();
    unit->goToPreset("Gate");
    unit->goToPreset("Gate");
    runPosted();
    EXPECT_THAT(calls, ElementsAre("preset 2 Gate", "preset 2 Gate"));
}

TEST_F(PositioningUnitTest, refusesAnUnknownPresetAndStaysWhereItIs)
{
    build(true);
    unit->goToPreset("Yard");
    queue.clear();
    EXPECT_FALSE(manager.goToPreset("Roof", false));
    EXPECT_FALSE(manager.goToPreset("", false));
    unsigned int pan = 7;
    int tilt = 7;
    unsigned int zoom = 7;
    EXPECT_FALSE(manager.getPresetLocation("Roof", pan, tilt, zoom));
    EXPECT_EQ(pan, 7u);
    EXPECT_EQ(manager.getActivePreset(false), "Yard");
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, knowsWhereItsPresetsAre)
{
    build(true);
    unsigned int pan = 0;
    int tilt = 0;
    unsigned int zoom = 0;
    EXPECT_TRUE(manager.getPresetLocation("Gate", pan, tilt, zoom));
    EXPECT_EQ(pan, 10000u);
    EXPECT_EQ(tilt, -5000);
    EXPECT_EQ(zoom, 200u);
}

TEST_F(PositioningUnitTest, refusesMovementAtASpeedButIsAlwaysStopped)
{
    build(true);
    EXPECT_FALSE(manager.startLinearContinuousMovement(true, 10, false, 0, false, 0));
    EXPECT_TRUE(manager.stopLinearContinuousMovement(true, true, true));
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, leavesItsPresetWhenTheLensTurns)
{
    build(true);
    registerAll();
    unit->goToPreset("Gate");
    EXPECT_TRUE(manager.setZoomPosition(3000));
    EXPECT_FALSE(manager.setZoomPosition(3001));
    EXPECT_FALSE(manager.setZoomPosition(99));
    EXPECT_EQ(manager.getActivePreset(true), "");
    EXPECT_EQ(unit->position().zoom, 3000u);
    runPosted();
    EXPECT_THAT(
        calls, ElementsAre("preset 2 Gate", "preset 0 Gate", "moves at 10000,-5000,200", "stands at 10000,-5000,3000"));
}

TEST_F(PositioningUnitTest, saysHowAPresetWasModified)
{
    build(true);
    registerAll();
    EXPECT_TRUE(unit->savePreset({"Roof", {1, 2, 100}}));
    EXPECT_TRUE(unit->savePreset({"Roof", {3, 4, 100}}));
    EXPECT_EQ(unit->preset("Roof")->position.pan, 3u);
    unit->goToPreset("Roof");
    EXPECT_TRUE(unit->removePreset("Roof"));
    EXPECT_FALSE(unit->removePreset("Roof"));
    EXPECT_FALSE(unit->savePreset({"", {}}));
    EXPECT_EQ(unit->activePreset(), "");
    EXPECT_EQ(unit->presets().size(), 2u);
    runPosted();
    EXPECT_THAT(calls, ElementsAre("Roof created", "Roof changed", "preset 2 Roof", "Roof removed"));
}

TEST_F(PositioningUnitTest, postsMotionPriorityAndTourEvents)
{
    build(true);
    registerAll();
    unit->postCommandPriority(499);
    unit->postMotion(true);
    unit->postTourState(1, 2);
    unit->postPresetState(1, "Gate");
    runPosted();
    EXPECT_THAT(calls, ElementsAre("priority 499", "moves at 0,0,100", "tour 1 2", "preset 1 Gate"));
}

TEST_F(PositioningUnitTest, callsOnlyWhoIsRegisteredWhenTheTaskRuns)
{
    build(true);
    registerAll();
    int context = 0;
    EXPECT_TRUE(manager.registerPresetStateCallback(&onPreset, &context));
    EXPECT_TRUE(manager.registerPresetStateCallback(&onPreset, &context)) << "a pair counts once";
    unit->goToPreset("Gate");
    EXPECT_TRUE(manager.unregisterPresetStateCallback(&onPreset, nullptr));
    EXPECT_FALSE(manager.unregisterPresetStateCallback(&onPreset, nullptr));
    EXPECT_FALSE(manager.registerPresetStateCallback(nullptr, &context));
    runPosted();
    EXPECT_THAT(calls, ElementsAre("preset 2 Gate with context"));
}

TEST_F(PositioningUnitTest, forgetsWhoeverIsStillRegistered)
{
    build(true);
    registerAll();
    unit->postTourState(1, 0);
    EXPECT_TRUE(manager.unregisterMotionStateCallback(&onMotion, nullptr));
    EXPECT_TRUE(manager.unregisterCommandPriorityCallback(&onPriority, nullptr));
    EXPECT_TRUE(manager.unregisterPresetModifiedCallback(&onModified, nullptr));
    EXPECT_EQ(unit->registrations(), 2u);
    EXPECT_EQ(unit->discardRegistrations(), 2u);
    runPosted();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_FALSE(manager.unregisterTourStateCallback(&onTour, nullptr));
}

TEST_F(PositioningUnitTest, postsNothingOnceQuiet)
{
    build(true);
    registerAll();
    unit->quiesce();
    EXPECT_TRUE(unit->goToPreset("Gate"));
    unit->postMotion(true);
    EXPECT_TRUE(queue.empty());
}

} // namespace
