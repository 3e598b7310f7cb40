// Tours: the list, and the tour that runs.
#include "unit/camera_ptz/PositioningFixture.h"

namespace {

using camera::ptz::Axes;
using camera::ptz::Tour;
using testing::ElementsAre;
using testing::IsEmpty;

class PositioningToursTest : public PositioningFixture {
protected:
    void SetUp() override
    {
        build();
        ASSERT_TRUE(unit->createTour(round));
    }

    const Tour round{"Round", {{"Gate", Milliseconds(2000), 100}, {"Yard", Milliseconds(1000), 50}}};
};

TEST_F(PositioningToursTest, visitsItsStopsOverAndOver)
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

TEST_F(PositioningToursTest, goesAsFastAsTheStopSays)
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

TEST_F(PositioningToursTest, reportsItsEndOnceItStandsWhenItIsStoppedOnTheWay)
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

TEST_F(PositioningToursTest, reportsItsEndAtOnceWhenItIsStoppedAtAStop)
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

TEST_F(PositioningToursTest, isEndedByAPlainStopToo)
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

TEST_F(PositioningToursTest, givesWayToAMoreImportantUserAtAStop)
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

TEST_F(PositioningToursTest, givesWayToAMoreImportantUserOnTheWay)
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

TEST_F(PositioningToursTest, holdsTheCameraAgainstEnginesAlsoWhileItDwells)
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

TEST_F(PositioningToursTest, staysAtAStopWhileItIsPausedAndReportsNothing)
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

TEST_F(PositioningToursTest, startsOverWhenItIsStartedAgain)
{
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    reported();
    unit->startTour("Round", operator1);
    EXPECT_THAT(reported(), ElementsAre("tour 0 Round", "tour 1 Round", "priority 400", "state 0 Gate", "state 1 Gate",
                                        "motion started"));
}

TEST_F(PositioningToursTest, goesOnToTheNextStopWhenOneCannotBeReached)
{
    options.description.pan.tolerance = -1; // never in place
    build();
    ASSERT_TRUE(unit->createTour(round));
    unit->startTour("Round", operator1);
    untilItStands();
    EXPECT_TRUE(unit->tourProgress()->dwelling);
    pass(round.stops[0].dwell + Milliseconds(50));
    EXPECT_EQ(unit->tourProgress()->stop, 1u);
    EXPECT_THAT(reported(), ElementsAre("tour 1 Round", "priority 400", "state 1 Gate", "motion started",
                                        "motion stopped", "priority 400", "state 1 Yard", "motion started"));
}

TEST_F(PositioningToursTest, passesOverPresetsThatAreGoneAndEndsWithoutAny)
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

TEST_F(PositioningToursTest, followsARenamedPreset)
{
    unit->startTour("Round", operator1);
    unit->renamePreset("Gate", "Door");
    unit->renamePreset("Yard", "Court");
    untilItStandsAt("Door");
    untilItStandsAt("Court");
    EXPECT_EQ(unit->tours()[0].stops[0].preset, "Door");
}

struct RefusedTour {
    const char* name;
    camera::ptz::Tour tour;
    camera::ptz::CommandStatus status;
};

void PrintTo(const RefusedTour& row, std::ostream* out)
{
    *out << row.name;
}

class RefusedTourTest : public PositioningToursTest, public testing::WithParamInterface<RefusedTour> {};

TEST_P(RefusedTourTest, isNotKept)
{
    EXPECT_EQ(unit->createTour(GetParam().tour).status, GetParam().status);
    EXPECT_EQ(unit->tours().size(), 1u);
    EXPECT_THAT(reported(), IsEmpty());
}

using Dwell = std::chrono::milliseconds;
using Refusal = camera::ptz::CommandStatus;
INSTANTIATE_TEST_SUITE_P(
    Tours, RefusedTourTest,
    testing::Values(RefusedTour{"withoutAName", {"", {{"Gate", {}, 100}}}, Refusal::badName},
                    RefusedTour{"withoutAStop", {"T", {}}, Refusal::badRequest},
                    RefusedTour{"ofTooManyStops",
                                {"T", std::vector<camera::ptz::TourStop>(65, {"Gate", {}, 100})},
                                Refusal::badRequest},
                    RefusedTour{"overAnUnknownPreset", {"T", {{"Cellar", {}, 100}}}, Refusal::unknownPreset},
                    RefusedTour{"ofNegativeTime", {"T", {{"Gate", Dwell(-1), 100}}}, Refusal::badRequest},
                    RefusedTour{"withoutASpeed", {"T", {{"Gate", {}, 0}}}, Refusal::badRequest},
                    RefusedTour{"ofTooGreatASpeed", {"T", {{"Gate", {}, 101}}}, Refusal::badRequest}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(PositioningToursTest, hasOneTo64StopsOfUpToADayAtOneTo100Percent)
{
    const auto statusOf = [this](std::size_t stops, Milliseconds dwell, int percent) {
        return unit->createTour({"T", std::vector<camera::ptz::TourStop>(stops, {"Gate", dwell, percent})}).status;
    };
    constexpr Milliseconds kDay = std::chrono::hours(24);
    EXPECT_EQ(statusOf(1, Milliseconds(0), 1), Status::done);
    EXPECT_EQ(statusOf(64, kDay, 100), Status::done);
    EXPECT_EQ(statusOf(0, kDay, 100), Status::badRequest);
    EXPECT_EQ(statusOf(65, kDay, 100), Status::badRequest);
    EXPECT_EQ(statusOf(1, Milliseconds(-1), 100), Status::badRequest);
    EXPECT_EQ(statusOf(1, kDay + Milliseconds(1), 100), Status::badRequest);
    EXPECT_EQ(statusOf(1, kDay, 0), Status::badRequest);
    EXPECT_EQ(statusOf(1, kDay, 101), Status::badRequest);
}

TEST_F(PositioningToursTest, refusesToursThatAreNotThereAndMoreThanItKeeps)
{
    EXPECT_EQ(unit->startTour("T", operator1).status, Status::unknownTour);
    EXPECT_EQ(unit->removeTour("T").status, Status::unknownTour);
    EXPECT_EQ(unit->stopTour(operator1).status, Status::notRunning);
    EXPECT_EQ(unit->pauseTour(operator1).status, Status::notRunning);
    EXPECT_EQ(unit->tours().size(), 1u);
    for (int index = 1; index < 64; ++index) {
        EXPECT_TRUE(unit->createTour({"T" + std::to_string(index), {{"Gate", {}, 100}}}));
    }
    EXPECT_EQ(unit->createTour({"T64", {{"Gate", {}, 100}}}).status, Status::tooMany);
    EXPECT_EQ(unit->tours().size(), 64u);
    EXPECT_TRUE(unit->createTour({"T1", {{"Yard", {}, 100}}})) << "replaced";
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(PositioningToursTest, keepsTheTourThatRunsAsItIs)
{
    unit->startTour("Round", operator1);
    EXPECT_EQ(unit->removeTour("Round").status, Status::badRequest);
    EXPECT_EQ(unit->createTour(round).status, Status::badRequest);
    unit->stopTour(operator1);
    untilItStands();
    EXPECT_TRUE(unit->removeTour("Round"));
    EXPECT_THAT(unit->tours(), IsEmpty());
}

} // namespace
