// What holds for every command: fixed cameras, set-up, events and their listeners.
#include "unit/camera_ptz/PositioningFixture.h"

namespace {

using camera::ptz::Position;
using camera::ptz::PositioningEvent;
using testing::ElementsAre;
using testing::IsEmpty;

using PositioningUnitTest = PositioningFixture;

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
    EXPECT_FALSE(unit->isAvailable());
}

TEST_F(PositioningUnitTest, isPutAtAPresetWithoutAnEvent)
{
    build();
    EXPECT_TRUE(unit->placeAt("Gate"));
    EXPECT_EQ(unit->activePreset(), "Gate");
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
    EXPECT_FALSE(unit->placeAt("Cellar"));
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningUnitTest, tellsWithEachEventWhatBelongsToIt)
{
    build();
    std::vector<PositioningEvent> events;
    const auto subscription = unit->onEvent([&](const PositioningEvent& event) { events.push_back(event); });
    unit->createTour({"Round", {{"Yard", Milliseconds(0), 100}, {"Gate", Milliseconds(9000), 100}}});
    unit->startTour("Round", operator1);
    untilItStandsAt("Gate");
    unit->stopTour(operator2);
    runPosted();
    const auto& started = std::get<camera::ptz::MotionState>(events.at(3));
    const auto& reached = std::get<camera::ptz::PresetStateChange>(events.at(events.size() - 3));
    const auto& stopped = std::get<camera::ptz::MotionState>(events.at(events.size() - 2));
    const auto& ended = std::get<camera::ptz::TourStateChange>(events.back());
    EXPECT_EQ(started.position, Position());
    EXPECT_EQ(stopped.position, (Position{10000, -5000, 200}));
    EXPECT_TRUE(reached.byTour);
    EXPECT_EQ(reached.user, "tour Round");
    EXPECT_EQ(ended.stop, 1u);
}

TEST_F(PositioningUnitTest, tellsOnlyListenersThatAreSubscribedWhenTheTaskRuns)
{
    build();
    int early = 0;
    int late = 0;
    auto first = unit->onEvent([&](const PositioningEvent&) { ++early; });
    unit->savePresetHere("Here");
    const auto second = unit->onEvent([&](const PositioningEvent&) { ++late; });
    first.reset();
    runPosted();
    EXPECT_EQ(early, 0);
    EXPECT_EQ(late, 1);
}

TEST_F(PositioningUnitTest, goesOnWithTheEventsBehindOneThatFails)
{
    build();
    const auto subscription = unit->onEvent([](const PositioningEvent&) { throw std::runtime_error("broken"); });
    unit->goToPreset("Gate", operator1);
    ASSERT_EQ(queue.size(), 1u);
    EXPECT_THAT([&] { queue.front()(); }, testing::ThrowsMessage<std::runtime_error>("broken"));
    EXPECT_THAT(calls, ElementsAre("priority 100", "state 1 Gate", "motion started"));
}

TEST_F(PositioningUnitTest, postsNothingOnceQuiet)
{
    build();
    unit->quiesce();
    EXPECT_TRUE(unit->goToPreset("Gate", operator1));
    unit->advance(kSecond);
    EXPECT_TRUE(unit->savePresetHere("Here"));
    EXPECT_THAT(queue, IsEmpty());
}

} // namespace
