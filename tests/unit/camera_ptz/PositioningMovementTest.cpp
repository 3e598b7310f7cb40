// Movement: the order of the events, arrival, time-outs, and users who compete.
#include "unit/camera_ptz/PositioningFixture.h"

#include <limits>

namespace {

using camera::ptz::Axes;
using camera::ptz::Drive;
using camera::ptz::Position;
using namespace testing;

class PositioningMovementTest : public PositioningFixture {
protected:
    void SetUp() override { build(); }

    static Drive panning(int percent) { return {percent, {}, {}, {}}; }
};

TEST_F(PositioningMovementTest, goesToAPresetFromNowhere)
{
    EXPECT_TRUE(unit->goToPreset("Gate", operator1));
    EXPECT_THAT(calls, IsEmpty()) << "called from inside the call";
    EXPECT_EQ(queue.size(), 1u) << "one task, so that nothing comes between";
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 1 Gate", "motion started"));
    EXPECT_TRUE(unit->moving());
    EXPECT_EQ(unit->activePreset(), "");
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate", "motion stopped"));
    EXPECT_EQ(unit->activePreset(), "Gate");
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
    pass(Milliseconds(60000));
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(PositioningMovementTest, leavesOnePresetForAnother)
{
    standAt("Gate");
    unit->goToPreset("Yard", operator1);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "state 1 Yard", "motion started",
                                        "state 2 Yard", "motion stopped"));
}

TEST_F(PositioningMovementTest, goesToThePresetWhereItStandsInTheSameOrder)
{
    standAt("Gate");
    unit->goToPreset("Gate", operator1);
    pass(Milliseconds(295));
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "state 1 Gate", "motion started"));
    pass(Milliseconds(5));
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate", "motion stopped"));
}

TEST_F(PositioningMovementTest, movesToAPlaceAndTellsTheNameItLeft)
{
    standAt("Gate");
    EXPECT_TRUE(unit->moveTo({20000, 1000, 300}, operator1));
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "motion started"));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
    EXPECT_EQ(unit->position(), (Position{20000, 1000, 300}));
    EXPECT_EQ(unit->activePreset(), "");
    unit->moveTo({0, 0, 100}, operator1);
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 ", "motion started"));
}

TEST_F(PositioningMovementTest, turnsOnlyTheLens)
{
    standAt("Gate");
    EXPECT_TRUE(unit->setZoom(3000, operator1));
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "motion started"));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 3000}));
    EXPECT_EQ(unit->setZoom(3001, operator1).status, Status::outOfLimits);
    EXPECT_EQ(unit->setZoom(99, operator1).status, Status::outOfLimits);
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(PositioningMovementTest, isDrivenUntilItIsReleased)
{
    standAt("Gate");
    EXPECT_TRUE(unit->drive(panning(50), operator1));
    pass(kSecond);
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "motion started"));
    // A quarter of a second up to 60 degrees a second, then three quarters at that speed.
    EXPECT_NEAR(unit->position().pan, 10000 + 7500 + 45000, 300);
    EXPECT_EQ(unit->position().tilt, -5000);
    EXPECT_TRUE(unit->stop(Axes(), operator1));
    EXPECT_THAT(reported(), IsEmpty()) << "it brakes";
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
}

TEST_F(PositioningMovementTest, keepsTheOtherAxesWhenOneIsStopped)
{
    unit->drive({20, 20, {}, {}}, operator1);
    pass(kSecond);
    unit->stop({true, false, false}, operator1);
    pass(kSecond);
    EXPECT_TRUE(unit->moving());
    const auto there = unit->position();
    pass(kSecond);
    EXPECT_EQ(unit->position().pan, there.pan);
    EXPECT_GT(unit->position().tilt, there.tilt);
    unit->stop({false, true, false}, operator1);
    untilItStands();
}

TEST_F(PositioningMovementTest, changesTheNamedAxesOfADriveAndReportsNoSecondStart)
{
    unit->drive(panning(20), operator1);
    pass(kSecond);
    unit->drive({{}, {}, 50, {}}, operator1);
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 ", "motion started", "priority 100"));
    const auto there = unit->position();
    pass(kSecond);
    EXPECT_GT(unit->position().pan, there.pan);
    EXPECT_GT(unit->position().zoom, there.zoom);
}

TEST_F(PositioningMovementTest, movesToAPlaceWithAPartOfItsSpeed)
{
    const auto panAfterASecond = [this](unsigned int speedPercent) {
        unit->placeAt("Gate");
        EXPECT_TRUE(unit->moveTo({90000, 0, 100}, operator1, speedPercent));
        pass(Milliseconds(1000));
        const unsigned int pan = unit->position().pan;
        untilItStands();
        EXPECT_EQ(unit->position(), (Position{90000, 0, 100}));
        return pan;
    };
    EXPECT_LT(panAfterASecond(10), panAfterASecond(50));
    EXPECT_TRUE(unit->goToPreset("Gate", operator1, 10));
    pass(Milliseconds(1000));
    EXPECT_GT(unit->position().pan, 60000u);
    untilItStands();
    EXPECT_EQ(unit->activePreset(), "Gate");
    for (const unsigned int wrong : {0u, 101u, std::numeric_limits<unsigned int>::max()}) {
        EXPECT_EQ(unit->moveTo({0, 0, 100}, operator1, wrong).status, camera::ptz::CommandStatus::badRequest);
        EXPECT_EQ(unit->goToPreset("Yard", operator1, wrong).status, camera::ptz::CommandStatus::badRequest);
    }
    EXPECT_FALSE(unit->moving());
}

TEST_F(PositioningMovementTest, takesADriveWithoutSpeedForAStop)
{
    unit->drive({20, 20, {}, {}}, operator1);
    pass(kSecond);
    reported();
    EXPECT_TRUE(unit->drive({0, 0, {}, {}}, operator1));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
}

TEST_F(PositioningMovementTest, endsADriveAfterItsDurationOrTheLongestAllowed)
{
    unit->drive({10, {}, {}, Milliseconds(500)}, operator1);
    pass(Milliseconds(1500));
    EXPECT_FALSE(unit->moving());
    unit->drive(panning(10), operator1);
    pass(options.description.driveFor - kSecond);
    EXPECT_TRUE(unit->moving());
    pass(Milliseconds(2000));
    EXPECT_FALSE(unit->moving());
}

TEST_F(PositioningMovementTest, endsADriveAtTheEndsOfItsAxes)
{
    unit->drive({{}, 100, 100, {}}, operator1);
    pass(Milliseconds(6000));
    EXPECT_FALSE(unit->moving());
    EXPECT_EQ(unit->position(), (Position{0, 90000, 3000}));
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 ", "motion started", "motion stopped"));
}

TEST_F(PositioningMovementTest, turnsFromOnePresetToAnotherOnTheWay)
{
    standAt("Gate");
    unit->goToPreset("Yard", operator1);
    pass(Milliseconds(50));
    unit->goToPreset("Roof", operator1);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 Gate", "state 1 Yard", "motion started",
                                        "priority 100", "state 1 Roof", "state 2 Roof", "motion stopped"));
}

TEST_F(PositioningMovementTest, givesUpAPresetForADriveWithoutSayingThatItStands)
{
    // State 0 on the way would tell that rules may work again while everything moves.
    unit->goToPreset("Yard", operator1);
    pass(Milliseconds(50));
    unit->drive(panning(10), operator1);
    pass(kSecond);
    unit->stop(Axes(), operator1);
    untilItStands();
    EXPECT_THAT(reported(),
                ElementsAre("priority 100", "state 1 Yard", "motion started", "priority 100", "motion stopped"));
    EXPECT_EQ(unit->activePreset(), "");
}

TEST_F(PositioningMovementTest, stopsOnTheWayToAPresetWithoutAnArrival)
{
    unit->goToPreset("Gate", operator1);
    pass(Milliseconds(50));
    unit->stop({true, false, false}, operator1);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 1 Gate", "motion started", "motion stopped"));
    EXPECT_EQ(unit->activePreset(), "");
}

TEST_F(PositioningMovementTest, takesACommandThatComesWhileItBrakesForTheSameMovement)
{
    unit->drive(panning(100), operator1);
    pass(kSecond);
    unit->stop(Axes(), operator1);
    pass(Milliseconds(50));
    unit->goToPreset("Gate", operator1);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("priority 100", "state 0 ", "motion started", "priority 100", "state 1 Gate",
                                        "state 2 Gate", "motion stopped"));
}

TEST_F(PositioningMovementTest, isThereOnlyWhenEveryAxisHasBeenInPlaceForAWhile)
{
    options.presets.push_back({"Far", {0, 0, 3000}}); // only the lens has a way
    options.description.stableFor = Milliseconds(1000);
    build();
    unit->goToPreset("Far", operator1);
    Milliseconds inPlace(0);
    for (int tick = 0; tick < 2000 && unit->moving(); ++tick) {
        inPlace = unit->position().zoom >= 2999 ? inPlace + Milliseconds(5) : Milliseconds(0);
        unit->advance(Milliseconds(5));
    }
    EXPECT_EQ(unit->activePreset(), "Far");
    EXPECT_NEAR(static_cast<double>(inPlace.count()), 1000, 5);
}

TEST_F(PositioningMovementTest, givesUpAMoveThatDoesNotArrive)
{
    options.description.pan.tolerance = -1; // never in place
    build();
    standAt("Gate");
    unit->goToPreset("Yard", operator1);
    pass(options.description.arrivalMargin);
    EXPECT_TRUE(unit->moving());
    pass(Milliseconds(2000));
    EXPECT_THAT(reported(),
                ElementsAre("priority 100", "state 0 Gate", "state 1 Yard", "motion started", "motion stopped"));
    EXPECT_FALSE(unit->moving());
    EXPECT_EQ(unit->activePreset(), "");
    EXPECT_TRUE(unit->setZoom(300, operator1));
    untilItStands();
    EXPECT_EQ(unit->position().zoom, 300u);
}

TEST_F(PositioningMovementTest, neverReportsAPriorityBetweenAnArrivalAndItsStop)
{
    unit->goToPreset("Gate", engine);
    untilItStandsAt("Gate");
    unit->goToPreset("Yard", operator1);
    untilItStandsAt("Yard");
    EXPECT_THAT(reported(), ElementsAre("priority 500", "state 1 Gate", "motion started", "state 2 Gate",
                                        "motion stopped", "priority 100", "state 0 Gate", "state 1 Yard",
                                        "motion started", "state 2 Yard", "motion stopped"));
}

TEST_F(PositioningMovementTest, comesToTheSamePlaceHoweverTheTimeIsCut)
{
    const auto after = [&](std::chrono::nanoseconds slice) {
        build();
        unit->drive({37, -20, 11, {}}, operator1);
        for (std::chrono::nanoseconds gone(0); gone < kSecond; gone += slice) {
            unit->advance(slice);
        }
        return unit->position();
    };
    const Position whole = after(kSecond);
    EXPECT_NE(whole, Position());
    EXPECT_EQ(after(Milliseconds(1)), whole);
    EXPECT_EQ(after(std::chrono::microseconds(62500)), whole);
    EXPECT_EQ(after(Milliseconds(200)), whole);
}

TEST_F(PositioningMovementTest, takesNoTimeBackwardsAndNoMoreThanAnHourAtOnce)
{
    unit->goToPreset("Gate", operator1);
    unit->advance(std::chrono::nanoseconds(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(unit->position(), Position());
    unit->advance(std::chrono::nanoseconds(std::numeric_limits<std::int64_t>::max()));
    unit->advance(std::chrono::nanoseconds(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(unit->activePreset(), "Gate");
}

TEST_F(PositioningMovementTest, standsAsSoonAsItHasBeenInPlaceForTheStableTime)
{
    unit->moveTo(unit->position(), operator1);
    unit->advance(options.description.stableFor);
    EXPECT_FALSE(unit->moving());
}

TEST_F(PositioningMovementTest, refusesWhatItCannotDoWithASentence)
{
    const auto unknown = unit->goToPreset("Cellar", operator1);
    EXPECT_EQ(unknown.status, Status::unknownPreset);
    EXPECT_EQ(unknown.sentence, "there is no preset 'Cellar'");
    EXPECT_EQ(unit->goToPreset("", operator1).status, Status::unknownPreset);
    EXPECT_EQ(unit->moveTo({0, 90001, 100}, operator1).status, Status::outOfLimits);
    EXPECT_EQ(unit->moveTo({360000, 0, 100}, operator1).status, Status::outOfLimits);
    EXPECT_EQ(unit->moveTo({0, 0, 99}, operator1).status, Status::outOfLimits);
    EXPECT_EQ(unit->drive({}, operator1).status, Status::badRequest);
    EXPECT_EQ(unit->drive(panning(101), operator1).status, Status::badRequest);
    EXPECT_EQ(unit->drive(panning(std::numeric_limits<int>::min()), operator1).status, Status::badRequest);
    EXPECT_EQ(unit->drive({10, {}, {}, Milliseconds(0)}, operator1).status, Status::badRequest);
    EXPECT_TRUE(unit->stop(Axes(), operator1)) << "nothing moves";
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_FALSE(unit->moving());
    EXPECT_FALSE(unit->holder().has_value());
}

TEST_F(PositioningMovementTest, refusesAPresetThatThisModelCannotReach)
{
    options.description.tilt.highest = 5000;
    build();
    EXPECT_EQ(unit->goToPreset("Roof", operator1).status, Status::outOfLimits);
    EXPECT_FALSE(unit->placeAt("Roof"));
    EXPECT_THAT(reported(), IsEmpty());
}

// Its own numbers are negative there, a client's never.
TEST_F(PositioningMovementTest, looksToItsLeftByNumbersBelowAFullTurnAlsoWithoutTurningAllTheWay)
{
    options.description.pan.endless = false;
    options.description.pan.lowest = -170000;
    options.description.pan.highest = 170000;
    build();
    EXPECT_EQ(unit->moveTo({180000, 0, 100}, operator1).status, Status::outOfLimits);
    EXPECT_TRUE(unit->moveTo({350000, 0, 100}, operator1));
    untilItStands();
    EXPECT_EQ(unit->position().pan, 350000u);
    EXPECT_TRUE(unit->moveTo({10000, 0, 100}, operator1));
    untilItStands();
    EXPECT_EQ(unit->position().pan, 10000u);
}

TEST_F(PositioningMovementTest, letsTheMoreImportantUserHoldTheCamera)
{
    unit->drive(panning(10), operator1);
    const auto refused = unit->goToPreset("Gate", operator2);
    EXPECT_EQ(refused.status, Status::held);
    EXPECT_THAT(refused.sentence, HasSubstr("anna holds the camera with priority 100"));
    EXPECT_EQ(unit->moveTo({}, operator2).status, Status::held);
    EXPECT_EQ(unit->setZoom(200, engine).status, Status::held);
    EXPECT_EQ(unit->drive(panning(5), engine).status, Status::held);
    EXPECT_EQ(unit->drive(panning(0), engine).status, Status::held);
    EXPECT_EQ(unit->stop(Axes(), operator2).status, Status::held);
    EXPECT_TRUE(unit->drive(panning(5), {"carl", 100})) << "as important";
    EXPECT_EQ(unit->holder()->user, "carl");
}

TEST_F(PositioningMovementTest, letsTheHoldOutliveTheMoveByItsTime)
{
    unit->goToPreset("Gate", operator1);
    untilItStands();
    pass(options.description.holdFor - Milliseconds(20));
    EXPECT_EQ(unit->goToPreset("Yard", engine).status, Status::held);
    EXPECT_EQ(unit->holder()->user, "anna");
    pass(Milliseconds(20));
    EXPECT_FALSE(unit->holder().has_value());
    EXPECT_TRUE(unit->goToPreset("Yard", engine));
}

TEST_F(PositioningMovementTest, takesTheCameraFromALessImportantUser)
{
    unit->drive(panning(10), engine);
    pass(kSecond);
    EXPECT_TRUE(unit->stop(Axes(), operator1));
    EXPECT_EQ(unit->drive(panning(10), engine).status, Status::held) << "who stopped it, holds it";
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("priority 500", "state 0 ", "motion started", "motion stopped"));
}

} // namespace
