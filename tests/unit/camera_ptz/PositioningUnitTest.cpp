// The unit through the framework's calls, and who is registered with it.
#include "unit/camera_ptz/PositioningFixture.h"

#include <cmath>

namespace {

using camera::ptz::Position;
using testing::ElementsAre;
using testing::IsEmpty;

void onPresetElsewhere(int state, const std::string& name, bool, const std::string&, void* context)
{
    static_cast<std::vector<std::string>*>(context)->push_back(std::to_string(state) + name);
}

using PositioningUnitTest = PositioningFixture;

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
    EXPECT_FALSE(manager.registerPresetStateCallback(&onPresetElsewhere, &calls));
    EXPECT_EQ(manager.getActivePreset(false), "");
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, saysThatAFixedCameraCannotMove)
{
    build(false);
    EXPECT_EQ(unit->goToPreset("Gate", operator1).sentence, "this camera is fixed: it cannot move and has no presets");
    for (const auto& result :
         {unit->moveTo({}, operator1), unit->setZoom(200, operator1), unit->drive({1, {}, {}, {}}, operator1),
          unit->stop({}, operator1), unit->savePreset({"New", {}}), unit->savePresetHere("New"),
          unit->renamePreset("Gate", "New"), unit->removePreset("Gate"), unit->createTour({"T", {{"Gate", {}, 1}}}),
          unit->startTour("T", operator1), unit->stopTour(operator1), unit->pauseTour(operator1),
          unit->resumeTour(operator1), unit->restore(unit->serialize())}) {
        EXPECT_EQ(result.status, Status::fixedCamera);
    }
    EXPECT_FALSE(unit->placeAt("Gate"));
    unit->advance(kSecond);
    unit->announceStanding();
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, isFixedWhenItsDescriptionSaysSo)
{
    options.description.movable = false;
    build(true);
    EXPECT_FALSE(manager.isAvailable());
}

TEST_F(PositioningUnitTest, isUnavailableWithoutADevice)
{
    EXPECT_FALSE(manager.isAvailable());
    EXPECT_EQ(manager.getActivePreset(false), "");
    EXPECT_FALSE(manager.goToPreset("Gate", false));
    EXPECT_FALSE(manager.startLinearContinuousMovement(true, 10, false, 0, false, 0));
}

TEST_F(PositioningUnitTest, describesALensWhoseNumbersFitEachOther)
{
    build();
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

TEST_F(PositioningUnitTest, describesTheLensOfItsModel)
{
    options.description.optics = {10000, 500, 7000, 4000};
    build();
    unsigned int first = 0;
    unsigned int second = 0;
    EXPECT_TRUE(manager.getFocalLengthLimits(first, second));
    EXPECT_EQ(first, 10000u);
    EXPECT_EQ(second, 50000u);
    EXPECT_TRUE(manager.getSensorDimensions(first, second));
    EXPECT_EQ(first, 7000u);
    EXPECT_EQ(second, 4000u);
    EXPECT_TRUE(manager.getAngleOfViewLimits(first, second));
    EXPECT_EQ(second, 38580u);
}

TEST_F(PositioningUnitTest, movesForAnEngineWithTheEnginesPriority)
{
    build();
    EXPECT_TRUE(manager.goToPreset("Gate", true));
    EXPECT_THAT(reported(), ElementsAre("priority 500", "state 1 Gate", "motion started"));
    EXPECT_EQ(manager.getActivePreset(false), "");
    untilItStands();
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
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate", "motion stopped"));
    EXPECT_TRUE(manager.setZoomPosition(300));
    EXPECT_EQ(unit->position().zoom, 200u) << "a lens needs time";
    untilItStands();
    EXPECT_EQ(unit->position().zoom, 300u);
    EXPECT_THAT(reported(), ElementsAre("priority 500", "state 0 Gate", "motion started", "motion stopped"));
}

TEST_F(PositioningUnitTest, movesTheAxesThatAnEngineNames)
{
    build();
    EXPECT_TRUE(manager.startLinearContinuousMovement(true, -10, false, 99, true, 10));
    EXPECT_THAT(reported(), ElementsAre("priority 500", "state 0 ", "motion started"));
    pass(kSecond);
    EXPECT_GT(unit->position().pan, 300000u) << "to the left";
    EXPECT_EQ(unit->position().tilt, 0);
    EXPECT_GT(unit->position().zoom, 100u);
    EXPECT_TRUE(manager.stopLinearContinuousMovement(true, false, false));
    pass(kSecond);
    EXPECT_TRUE(unit->moving());
    EXPECT_TRUE(manager.stopLinearContinuousMovement(false, false, true));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
    EXPECT_TRUE(manager.stopLinearContinuousMovement(true, true, true)) << "nothing moves, so it has stopped";
    EXPECT_FALSE(manager.startLinearContinuousMovement(false, 10, false, 10, false, 10));
    EXPECT_FALSE(manager.startLinearContinuousMovement(true, 101, false, 0, false, 0));
}

TEST_F(PositioningUnitTest, refusesAnEngineWhatAnOperatorHolds)
{
    build();
    unit->drive({10, {}, {}, {}}, operator1);
    EXPECT_FALSE(manager.goToPreset("Gate", true));
    EXPECT_FALSE(manager.setZoomPosition(200));
    EXPECT_FALSE(manager.stopLinearContinuousMovement(true, true, true));
    EXPECT_TRUE(unit->moving());
}

TEST_F(PositioningUnitTest, refusesAnUnknownPresetAndStaysWhereItIs)
{
    build();
    standAt("Yard");
    EXPECT_FALSE(manager.goToPreset("Cellar", false));
    EXPECT_FALSE(manager.goToPreset("", false));
    unsigned int pan = 7;
    int tilt = 7;
    unsigned int zoom = 7;
    EXPECT_FALSE(manager.getPresetLocation("Cellar", pan, tilt, zoom));
    EXPECT_EQ(pan, 7u);
    EXPECT_EQ(manager.getActivePreset(false), "Yard");
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, knowsWhereItsPresetsAre)
{
    build();
    unsigned int pan = 0;
    int tilt = 0;
    unsigned int zoom = 0;
    EXPECT_TRUE(manager.getPresetLocation("Gate", pan, tilt, zoom));
    EXPECT_EQ(pan, 10000u);
    EXPECT_EQ(tilt, -5000);
    EXPECT_EQ(zoom, 200u);
}

TEST_F(PositioningUnitTest, isPutAtAPresetWithoutAWord)
{
    build();
    EXPECT_TRUE(unit->placeAt("Gate"));
    EXPECT_EQ(unit->activePreset(), "Gate");
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
    EXPECT_FALSE(unit->placeAt("Cellar"));
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, postsSingleEventsForTests)
{
    build();
    unit->postCommandPriority(499);
    unit->postMotion(true);
    unit->postTourState(1, 2);
    unit->postPresetState(1, "Gate");
    EXPECT_THAT(reported(), ElementsAre("priority 499", "motion started", "tour 1 ", "state 1 Gate"));
}

TEST_F(PositioningUnitTest, callsOnlyWhoIsRegisteredWhenTheTaskRuns)
{
    build();
    std::vector<std::string> first;
    std::vector<std::string> second;
    EXPECT_TRUE(manager.registerPresetStateCallback(&onPresetElsewhere, &first));
    EXPECT_TRUE(manager.registerPresetStateCallback(&onPresetElsewhere, &second));
    EXPECT_TRUE(manager.registerPresetStateCallback(&onPresetElsewhere, &second)) << "a pair counts once";
    unit->postPresetState(2, "Gate");
    EXPECT_TRUE(manager.unregisterPresetStateCallback(&onPresetElsewhere, &first));
    EXPECT_FALSE(manager.unregisterPresetStateCallback(&onPresetElsewhere, &first));
    EXPECT_FALSE(manager.registerPresetStateCallback(nullptr, &first));
    runPosted();
    EXPECT_THAT(first, IsEmpty());
    EXPECT_THAT(second, ElementsAre("2Gate"));
}

TEST_F(PositioningUnitTest, forgetsWhoeverIsStillRegistered)
{
    build();
    unit->postTourState(1, 0);
    EXPECT_EQ(unit->registrations(), 5u);
    EXPECT_EQ(unit->discardRegistrations(), 5u);
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_EQ(unit->registrations(), 0u);
}

TEST_F(PositioningUnitTest, postsNothingOnceQuiet)
{
    build();
    unit->quiesce();
    EXPECT_TRUE(unit->goToPreset("Gate", operator1));
    unit->advance(kSecond);
    unit->postMotion(true);
    EXPECT_TRUE(queue.empty());
}

} // namespace
