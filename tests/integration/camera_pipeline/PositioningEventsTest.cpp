// One test for each row of docs/positioning-events.md, over the real module.
#include "integration/camera_pipeline/PositioningDevice.h"

namespace {

using camera::ptz::Axes;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class PositioningEventsTest : public PositioningDevice {
protected:
    void storesForTheDefaultKey()
    {
        forget();
        ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", kAway)));
        EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: default"));
    }

    // What is stored for the default key while the camera moves is not activated.
    void storesWithoutActivating()
    {
        forget();
        ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", kAway)));
        EXPECT_THAT(told(), IsEmpty());
    }
};

TEST_F(PositioningEventsTest, suspendsOnTheWayToAPresetAndActivatesItsRulesThere)
{
    startWithRules();
    unit().goToPreset("Gate", kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -")); // priority, state 1
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Gate", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, changesRulesFromOnePresetToTheOther)
{
    startWithRules();
    standAt("Gate");
    unit().goToPreset("Yard", kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Yard", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, activatesTheRulesAgainWhenItGoesWhereItStands)
{
    startWithRules();
    standAt("Gate");
    unit().goToPreset("Gate", kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Gate", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, suspendsForADriveAndResumesOnlySimpleWhereItIsReleased)
{
    startWithRules();
    standAt("Gate");
    unit().drive({10, {}, {}, {}}, kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -")); // by the priority
    unit().advance(kMoment);
    storesWithoutActivating();
    unit().stop(Axes(), kOperator);
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
    storesForTheDefaultKey();
}

TEST_F(PositioningEventsTest, suspendsForAnAbsoluteMoveAndResumesOnlySimpleThere)
{
    startWithRules();
    standAt("Gate");
    unit().moveTo({30000, 0, 100}, kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -"));
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, keepsTheRulesWhileAnEngineDrivesButStoresForNoPlace)
{
    startWithRules();
    standAt("Gate");
    unit().advance(std::chrono::seconds(10)); // the operator's hold ends
    ASSERT_TRUE(hosted.ptz->SetZoomPosition(300));
    EXPECT_THAT(told(), IsEmpty()) << "an engine follows a target with its rules on";
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
    storesForTheDefaultKey();
}

TEST_F(PositioningEventsTest, staysSuspendedWhenADriveTakesOverFromAGo)
{
    startWithRules();
    unit().goToPreset("Gate", kOperator);
    unit().advance(kMoment);
    forget();
    unit().drive({10, {}, {}, {}}, kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -"));
    storesWithoutActivating();
    unit().stop(Axes(), kOperator);
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, staysSuspendedWhenAGoTakesOverFromAnother)
{
    startWithRules();
    unit().goToPreset("Yard", kOperator);
    unit().advance(kMoment);
    forget();
    unit().goToPreset("Gate", kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Gate", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, resumesOnlySimpleWhereAGoIsReleased)
{
    startWithRules();
    unit().goToPreset("Yard", kOperator);
    unit().advance(kMoment);
    forget();
    unit().stop(Axes(), kOperator);
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
    storesForTheDefaultKey();
}

TEST_F(PositioningEventsTest, resumesOnlySimpleWhereAGoIsGivenUp)
{
    options.ptz->description.pan.tolerance = -1; // never in place
    startWithRules();
    unit().goToPreset("Yard", kOperator);
    forget();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
    storesForTheDefaultKey();
}

TEST_F(PositioningEventsTest, hasAtEachStopOfATourItsRulesAndNoneBetween)
{
    startWithRules();
    unit().createTour({"Round", {{"Gate", kMoment, 100}, {"Yard", kMoment, 100}}});
    unit().startTour("Round", kOperator);
    // Tour state 1, the priority, state 1: each suspends.
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Gate", "Simple: -", "Simple: default"));
    unit().advance(kMoment * 2);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    storesWithoutActivating();
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Yard", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, keepsTheRulesOfTheStopWhereATourEnds)
{
    startWithRules();
    unit().createTour({"Round", {{"Gate", std::chrono::seconds(9), 100}}});
    unit().startTour("Round", kOperator);
    untilItStands();
    forget();
    unit().stopTour(kOperator);
    EXPECT_THAT(told(), IsEmpty());
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate")));
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Gate")) << "still at the preset";
}

TEST_F(PositioningEventsTest, resumesOnlySimpleWhereATourEndsOnTheWay)
{
    startWithRules();
    unit().createTour({"Round", {{"Gate", std::chrono::seconds(9), 100}}});
    unit().startTour("Round", kOperator);
    unit().advance(kMoment);
    forget();
    unit().stopTour(kOperator);
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, goesToThePresetOfAUserWhoTakesOverFromATour)
{
    startWithRules();
    unit().createTour({"Round", {{"Gate", std::chrono::seconds(9), 100}}});
    unit().startTour("Round", kOperator);
    untilItStands();
    forget();
    unit().goToPreset("Yard", kOperator);
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Simple: -", "Motion: -", "Simple: -"));
    untilItStands();
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Yard", "Simple: -", "Simple: default"));
}

TEST_F(PositioningEventsTest, leavesTheRulesAloneWhileATourPausesAndGoesOn)
{
    startWithRules();
    unit().createTour({"Round", {{"Gate", kMoment, 100}, {"Yard", kMoment, 100}}});
    unit().startTour("Round", kOperator);
    untilItStands();
    forget();
    unit().pauseTour(kOperator);
    unit().advance(std::chrono::minutes(1));
    unit().resumeTour(kOperator);
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PositioningEventsTest, leavesTheRulesAloneWhenAPresetIsSaved)
{
    startWithRules();
    standAt("Gate");
    unit().savePresetHere("New");
    unit().savePreset({"Gate", {10000, 0, 100}});
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(device->target().usedPtzPresets(), testing::UnorderedElementsAre("Gate", "Yard", kAway));
}

TEST_F(PositioningEventsTest, forgetsTheRulesOfARemovedPreset)
{
    startWithRules();
    standAt("Gate");
    unit().removePreset("Yard");
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(device->target().presetConfiguration("Yard"), Not(HasSubstr("MotionYard")));
    EXPECT_THAT(device->target().presetConfiguration("Gate"), HasSubstr("MotionGate"));
}

TEST_F(PositioningEventsTest, losesTheRulesOfThePresetUnderItAndStoresForTheDefaultKey)
{
    startWithRules();
    standAt("Gate");
    EXPECT_EQ(describe(device->activeRules()), "Motion at Gate, Simple");
    const std::size_t released = hosted.count("Motion releaseRuleSet");
    unit().removePreset("Gate");
    EXPECT_THAT(told(), IsEmpty()) << "no rules are activated by a removal";
    EXPECT_EQ(hosted.count("Motion releaseRuleSet"), released + 1) << "which ends those that were active";
    EXPECT_EQ(describe(device->activeRules()), "Simple");
    EXPECT_THAT(device->target().presetConfiguration("Gate"), Not(HasSubstr("MotionGate")));
    storesForTheDefaultKey();
}

TEST_F(PositioningEventsTest, hasTheKeyOfTheNewNameAfterThePresetUnderItWasRenamed)
{
    startWithRules();
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Door")));
    standAt("Gate");
    unit().renamePreset("Gate", "Door");
    EXPECT_THAT(told(), ElementsAre("Motion: -", "Motion: Door", "Simple: -", "Simple: default"));
    EXPECT_THAT(device->target().presetConfiguration("Gate"), Not(HasSubstr("MotionGate")));
}

TEST_F(PositioningEventsTest, hasTheDefaultKeyUntilItReportsAgainThatItStandsAtAPreset)
{
    options.ptz->keepState = true;
    startWithRules();
    standAt("Gate");
    device.reset();
    hosted.reset({"Motion", "Simple"});
    start();
    device->drain();
    EXPECT_EQ(unit().activePreset(), "Gate");
    EXPECT_EQ(unit().position().pan, 10000u);
    // Built, the plug-in takes the default key, though the camera tells that it stands at a preset; what it is
    // told once it listens brings the preset's.
    std::vector<std::string> activated;
    for (const std::string& operation : hosted.journal()) {
        if (operation == "Motion activates " + documentFor("Motion", kAway)) {
            activated.emplace_back("default");
        }
        if (operation == "Motion activates " + documentFor("Motion", "Gate")) {
            activated.emplace_back("Gate");
        }
    }
    EXPECT_THAT(activated, ElementsAre("default", "Gate"));
}

TEST_F(PositioningEventsTest, hasTheDefaultKeyFromAStartAtNoPreset)
{
    options.ptz->keepState = true;
    startWithRules();
    device.reset();
    hosted.reset({"Motion", "Simple"});
    start();
    device->drain();
    // Once with the stored rules, once more when the plug-in learns that there is no preset.
    EXPECT_EQ(hosted.count("Motion activates " + documentFor("Motion", kAway)), 2u);
    EXPECT_EQ(hosted.count("Motion activates " + documentFor("Motion", "Gate")), 0u);
}

using ActiveRulesTest = PositioningDevice;

TEST_F(ActiveRulesTest, areToldAfterEachChangeOfPlaceButNotAtTheEnd)
{
    std::vector<std::string> seen;
    options.activeRulesChanged = [&](const auto& rules) { seen.push_back(describe(rules)); };
    startWithRules();
    seen.clear();
    ASSERT_TRUE(unit().goToPreset("Gate", kOperator));
    device->drain();
    EXPECT_EQ(seen.back(), "none");
    untilItStands();
    EXPECT_THAT(seen, ElementsAre("none", "Motion at Gate, Simple"));
    device->shutdown();
    EXPECT_EQ(seen.size(), 2u);
}

} // namespace
