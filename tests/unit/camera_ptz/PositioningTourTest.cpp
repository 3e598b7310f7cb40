// Presets as a list, and tours.
#include "unit/camera_ptz/PositioningFixture.h"

namespace {

using camera::ptz::Axes;
using camera::ptz::Position;
using camera::ptz::Tour;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

class PositioningTourTest : public PositioningFixture {
protected:
    void SetUp() override
    {
        build();
        ASSERT_TRUE(unit->createTour(round));
    }

    const Tour round{"Round", {{"Gate", Milliseconds(2000), 100}, {"Yard", Milliseconds(1000), 50}}};
};

TEST_F(PositioningTourTest, visitsItsStopsOverAndOver)
{
    EXPECT_TRUE(unit->startTour("Round", operator1));
    EXPECT_THAT(reported(), ElementsAre("tour 1 Round", "priority 400", "state 1 Gate", "motion started"));
    untilItStandsAt("Gate");
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate", "motion stopped"));
    EXPECT_TRUE(unit->tourProgress()->dwelling);
    pass(Milliseconds(1900));
    EXPECT_THAT(reported(), IsEmpty());
    untilItStandsAt("Yard");
    EXPECT_THAT(reported(), ElementsAre("priority 400", "state 0 Gate", "state 1 Yard", "motion started",
                                        "state 2 Yard", "motion stopped"));
    EXPECT_EQ(unit->tourProgress()->stop, 1u);
    untilItStandsAt("Gate");
    EXPECT_EQ(unit->tourProgress()->stop, 0u);
}

TEST_F(PositioningTourTest, goesAsFastAsTheStopSays)
{
    const auto time = [&](int percent) {
        build();
        EXPECT_TRUE(unit->createTour({"T", {{"Yard", Milliseconds(0), percent}}}));
        unit->startTour("T", operator1);
        int ticks = 0;
        for (; unit->activePreset().empty() && ticks < 10000; ++ticks) {
            unit->advance(Milliseconds(5));
        }
        return ticks;
    };
    const int slow = time(1);
    EXPECT_GT(slow, 5 * time(100));
    EXPECT_LT(slow, 10000);
}

TEST_F(PositioningTourTest, reportsItsEndOnceItStandsWhenItIsStoppedOnTheWay)
{
    unit->startTour("Round", operator1);
    pass(Milliseconds(50));
    reported();
    EXPECT_TRUE(unit->stopTour(operator1));
    EXPECT_FALSE(unit->tourProgress().has_value());
    EXPECT_EQ(unit->stopTour(operator1).status, Status::notRunning);
    EXPECT_THAT(reported(), IsEmpty());
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped", "tour 0 Round"));
    EXPECT_EQ(unit->activePreset(), "");
}

TEST_F(PositioningTourTest, reportsItsEndAtOnceWhenItIsStoppedAtAStop)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    reported();
    EXPECT_TRUE(unit->stopTour(operator1));
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round"));
    pass(Milliseconds(60000));
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_EQ(unit->activePreset(), "Gate");
}

TEST_F(PositioningTourTest, isEndedByAPlainStopToo)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    reported();
    unit->stop(Axes(), operator1);
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round"));
    unit->startTour("Round", operator1);
    pass(Milliseconds(10));
    reported();
    unit->stop(Axes(), operator1);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped", "tour 0 Round"));
}

TEST_F(PositioningTourTest, givesWayToAMoreImportantUserAtAStop)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    reported();
    unit->goToPreset("Roof", operator2);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round", "priority 200", "state 0 Gate", "state 1 Roof",
                                        "motion started", "state 2 Roof", "motion stopped"));
    pass(Milliseconds(60000));
    EXPECT_THAT(reported(), IsEmpty()) << "it does not come back";
}

TEST_F(PositioningTourTest, givesWayToAMoreImportantUserOnTheWay)
{
    unit->startTour("Round", operator1);
    pass(Milliseconds(50));
    reported();
    unit->drive({10, {}, {}, {}}, operator2);
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round", "priority 200"));
    unit->stop(Axes(), operator2);
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("motion stopped"));
}

TEST_F(PositioningTourTest, holdsTheCameraAgainstEnginesAlsoWhileItDwells)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    EXPECT_EQ(unit->goToPreset("Roof", engine).status, Status::held);
    EXPECT_EQ(unit->goToPreset("Roof", engine).sentence,
              "tour Round holds the camera with priority 400, which is more important than 500");
    EXPECT_EQ(unit->stopTour(engine).status, Status::held);
    EXPECT_EQ(unit->pauseTour(engine).status, Status::held);
    EXPECT_TRUE(unit->tourProgress().has_value());
}

TEST_F(PositioningTourTest, staysAtAStopWhileItIsPausedAndReportsNothing)
{
    unit->startTour("Round", operator1);
    pass(Milliseconds(50));
    reported();
    EXPECT_TRUE(unit->pauseTour(operator1));
    untilItStandsAt("Gate");
    pass(Milliseconds(3600000));
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate", "motion stopped"));
    EXPECT_TRUE(unit->tourProgress()->paused);
    EXPECT_TRUE(unit->resumeTour(operator1));
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_EQ(unit->resumeTour(operator1).status, Status::notRunning);
    pass(Milliseconds(1900));
    EXPECT_THAT(reported(), IsEmpty()) << "the dwell was not spent while it was paused";
    untilItStandsAt("Yard");
}

TEST_F(PositioningTourTest, startsOverWhenItIsStartedAgain)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    reported();
    unit->startTour("Round", operator1);
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round", "tour 1 Round", "priority 400", "state 0 Gate", "state 1 Gate",
                                        "motion started"));
}

TEST_F(PositioningTourTest, goesOnToTheNextStopWhenOneCannotBeReached)
{
    unit->startTour("Round", operator1);
    unit->jam(true);
    pass(Milliseconds(5000)); // given up
    unit->jam(false);
    EXPECT_FALSE(unit->moving());
    untilItStandsAt("Yard");
}

TEST_F(PositioningTourTest, passesOverPresetsThatAreGoneAndEndsWithoutAny)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    unit->removePreset("Yard");
    reported();
    pass(Milliseconds(2400));
    EXPECT_THAT(reported(), ElementsAre("priority 400", "state 0 Gate", "state 1 Gate", "motion started",
                                        "state 2 Gate", "motion stopped"));
    unit->removePreset("Gate");
    reported();
    pass(Milliseconds(2100));
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round"));
    EXPECT_EQ(unit->startTour("Round", operator1).status, Status::unknownPreset);
    EXPECT_EQ(unit->tours().size(), 1u);
}

TEST_F(PositioningTourTest, followsARenamedPreset)
{
    unit->startTour("Round", operator1);
    unit->renamePreset("Gate", "Door");
    unit->renamePreset("Yard", "Court");
    untilItStandsAt("Door");
    untilItStandsAt("Court");
    EXPECT_EQ(unit->tours()[0].stops[0].preset, "Door");
}

TEST_F(PositioningTourTest, refusesWhatIsNoTour)
{
    EXPECT_EQ(unit->createTour({"", {{"Gate", {}, 100}}}).status, Status::badName);
    EXPECT_EQ(unit->createTour({"T", {}}).status, Status::badRequest);
    EXPECT_EQ(unit->createTour({"T", std::vector<camera::ptz::TourStop>(65, {"Gate", {}, 100})}).status,
              Status::badRequest);
    EXPECT_EQ(unit->createTour({"T", {{"Cellar", {}, 100}}}).status, Status::unknownPreset);
    EXPECT_EQ(unit->createTour({"T", {{"Gate", Milliseconds(-1), 100}}}).status, Status::badRequest);
    EXPECT_EQ(unit->createTour({"T", {{"Gate", {}, 0}}}).status, Status::badRequest);
    EXPECT_EQ(unit->createTour({"T", {{"Gate", {}, 101}}}).status, Status::badRequest);
    EXPECT_EQ(unit->startTour("T", operator1).status, Status::unknownTour);
    EXPECT_EQ(unit->removeTour("T").status, Status::unknownTour);
    EXPECT_EQ(unit->stopTour(operator1).status, Status::notRunning);
    EXPECT_EQ(unit->pauseTour(operator1).status, Status::notRunning);
    EXPECT_EQ(unit->tours().size(), 1u);
    for (int index = 1; index < 64; ++index) {
        EXPECT_TRUE(unit->createTour({"T" + std::to_string(index), {{"Gate", {}, 100}}}));
    }
    EXPECT_EQ(unit->createTour({"T64", {{"Gate", {}, 100}}}).status, Status::tooMany);
    EXPECT_TRUE(unit->createTour({"T1", {{"Yard", {}, 100}}})) << "replaced";
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(PositioningTourTest, keepsTheTourThatRunsAsItIs)
{
    unit->startTour("Round", operator1);
    EXPECT_EQ(unit->removeTour("Round").status, Status::badRequest);
    EXPECT_EQ(unit->createTour(round).status, Status::badRequest);
    unit->stopTour(operator1);
    untilItStands();
    EXPECT_TRUE(unit->removeTour("Round"));
    EXPECT_THAT(unit->tours(), IsEmpty());
}

using PositioningPresetsTest = PositioningTourTest;

TEST_F(PositioningPresetsTest, saysHowAPresetWasModified)
{
    EXPECT_TRUE(unit->savePreset({"Cellar", {1, 2, 100}}));
    EXPECT_TRUE(unit->savePreset({"Cellar", {3, 4, 100}}));
    EXPECT_EQ(unit->preset("Cellar")->position.pan, 3u);
    EXPECT_TRUE(unit->removePreset("Cellar"));
    EXPECT_EQ(unit->removePreset("Cellar").status, Status::unknownPreset);
    EXPECT_THAT(reported(), ElementsAre("Cellar created", "Cellar changed", "Cellar removed"));
}

TEST_F(PositioningPresetsTest, savesWhereItIs)
{
    unit->moveTo({20000, 1000, 300}, operator1);
    untilItStands();
    reported();
    EXPECT_TRUE(unit->savePresetHere("Here"));
    EXPECT_EQ(unit->preset("Here")->position, (Position{20000, 1000, 300}));
    EXPECT_THAT(reported(), ElementsAre("Here created"));
}

TEST_F(PositioningPresetsTest, saysAfterwardsThatItLeftAPresetThatWasRemovedUnderIt)
{
    standAt("Gate");
    EXPECT_TRUE(unit->removePreset("Gate"));
    EXPECT_THAT(reported(), ElementsAre("Gate removed", "state 0 Gate"));
    EXPECT_EQ(unit->activePreset(), "");
}

TEST_F(PositioningPresetsTest, doesNotArriveAtAPresetThatWasRemovedOnTheWay)
{
    unit->goToPreset("Gate", operator1);
    pass(Milliseconds(50));
    unit->removePreset("Gate");
    untilItStands();
    EXPECT_THAT(reported(),
                ElementsAre("priority 100", "state 1 Gate", "motion started", "Gate removed", "motion stopped"));
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
}

TEST_F(PositioningPresetsTest, arrivesUnderTheNewNameWhenItIsRenamed)
{
    standAt("Gate");
    EXPECT_TRUE(unit->renamePreset("Gate", "Door"));
    EXPECT_THAT(reported(), ElementsAre("Door created", "Gate removed", "state 2 Door"));
    EXPECT_EQ(unit->activePreset(), "Door");
    unit->goToPreset("Yard", operator1);
    reported();
    EXPECT_TRUE(unit->renamePreset("Yard", "Court"));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("Court created", "Yard removed", "state 2 Court", "motion stopped"));
    EXPECT_TRUE(unit->renamePreset("Roof", "Top"));
    EXPECT_THAT(reported(), ElementsAre("Top created", "Roof removed"));
}

TEST_F(PositioningPresetsTest, refusesWhatIsNoName)
{
    for (const std::string& name :
         {std::string(), std::string(129, 'a'), std::string("a\nb"), std::string("a\0b", 3)}) {
        EXPECT_EQ(unit->savePreset({name, {}}).status, Status::badName);
        EXPECT_EQ(unit->savePresetHere(name).status, Status::badName);
        EXPECT_EQ(unit->renamePreset("Gate", name).status, Status::badName);
    }
    EXPECT_EQ(unit->renamePreset("Gate", "Yard").status, Status::nameTaken);
    EXPECT_EQ(unit->renamePreset("Cellar", "Door").status, Status::unknownPreset);
    EXPECT_EQ(unit->savePreset({"Sky", {0, 90001, 100}}).status, Status::outOfLimits);
    EXPECT_EQ(unit->presets().size(), 3u);
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_TRUE(unit->savePreset({std::string(128, 'a'), {}}));
    EXPECT_TRUE(unit->savePreset({"Hof \xc3\xb6stlich", {}}));
}

TEST_F(PositioningPresetsTest, keepsNoMoreThanItHasRoomFor)
{
    for (int index = 3; index < 256; ++index) {
        ASSERT_TRUE(unit->savePreset({"P" + std::to_string(index), {}}));
    }
    EXPECT_EQ(unit->savePreset({"P256", {}}).status, Status::tooMany);
    EXPECT_TRUE(unit->savePreset({"P255", {1, 0, 100}})) << "changed";
}

} // namespace
