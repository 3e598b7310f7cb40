#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using namespace kit;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A PTZ camera with a configuration of every kind; rule sets by number: #1 Simple, #2 Door, #3 Gate, #4 away.
class FollowingTest : public ModuleTest {
protected:
    FollowingTest()
    {
        platform().positioning.available = true;
        platform().targetIds["day_night"] = {"dn"};
        store({{"MotionDoor", "<door/>"},
               {"MotionGate", "<gate/>"},
               {"MotionZintuInternalSimpleAnalyticsPreset", "<away/>"},
               {"Simple", "<simple/>"}});
        startQuietly();
    }

    using Active = std::pair<int, int>;

    /// Which rule sets of Simple and Motion are active.
    Active active() const { return {simple->activeRuleSet(), motion->activeRuleSet()}; }

    kit::Positioning& camera = platform().positioning;
};

TEST_F(FollowingTest, startsAwayFromEveryPreset)
{
    EXPECT_EQ(active(), Active(1, 4));
}

TEST_F(FollowingTest, switchesWithThePresets)
{
    camera.firePresetState(2, "Gate");
    EXPECT_EQ(takeAll(), joined({{"log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset Gate\""},
                                 activated("Simple", "Simple", 1),
                                 activated("Motion", "MotionGate", 3)}));
    EXPECT_EQ(active(), Active(1, 3));
    camera.firePresetState(1, "Door");
    EXPECT_EQ(takeAll(),
              joined({{"log 6 \"handlePresetStateEvent ---------->Stop Analytics\""}, stopped({"Simple", "Motion"})}));
    EXPECT_EQ(active(), Active(0, 0));
    camera.firePresetState(2, "Door");
    EXPECT_EQ(active(), Active(1, 2));
    camera.firePresetState(2, "");
    EXPECT_EQ(active(), Active(1, 4));
}

TEST_F(FollowingTest, runsWithoutRulesAtAPresetWithoutConfiguration)
{
    camera.firePresetState(2, "Unknown");
    EXPECT_EQ(active(), Active(1, 0));
}

TEST_F(FollowingTest, resumesOnlyTheSimpleEngineWhenTheCameraStopsAwayFromPresets)
{
    camera.firePresetState(1, "Gate");
    camera.fireMotionState(true);
    journal().clear();
    camera.fireMotionState(false);
    EXPECT_EQ(takeAll(),
              joined({{"log 6 \"handlePositioningMotionStateEvent ---------->Start simple analytics on motion stop\""},
                      activated("Simple", "Simple", 1),
                      {"log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\""}}));
    EXPECT_EQ(active(), Active(1, 0));
}

TEST_F(FollowingTest, resumesNothingWhenTheCameraStopsAtAPreset)
{
    camera.firePresetState(2, "Gate");
    camera.fireCommandPriority(100);
    EXPECT_EQ(active(), Active(0, 0));
    journal().clear();
    camera.fireMotionState(false);
    EXPECT_THAT(journal().all(), IsEmpty());
    camera.firePresetState(2, "Gate");
    EXPECT_EQ(active(), Active(1, 3));
}

TEST_F(FollowingTest, stopsAnalyticsForACommandBelowTheLimit)
{
    camera.fireCommandPriority(499);
    EXPECT_EQ(takeAll(), joined({{"log 6 \"handlePositioningCommandPriorityEvent ---------->Stop Analytics\""},
                                 stopped({"Simple", "Motion"})}));
    EXPECT_EQ(active(), Active(0, 0));
}

TEST_F(FollowingTest, suspendsSilentlyForACommandFromTheLimitOn)
{
    camera.fireCommandPriority(500);
    EXPECT_THAT(journal().all(), IsEmpty());
    EXPECT_EQ(active(), Active(1, 4)) << "the running rules stay";
    EXPECT_EQ(createRules({}), 0U);
    EXPECT_EQ(active(), Active(0, 0)) << "until anything reconfigures";
    camera.fireMotionState(false);
    EXPECT_EQ(active(), Active(1, 0));
}

TEST_F(FollowingTest, suspendsAnalyticsWhileATourRuns)
{
    camera.fireTourState(1, 3);
    EXPECT_EQ(takeAll(), joined({{"log 6 \"====== handleTourStateEvent(tour tourState = 1, stop type = 3) ====\""},
                                 stopped({"Simple", "Motion"})}));
    EXPECT_EQ(active(), Active(0, 0));
    camera.firePresetState(2, "Door");
    EXPECT_EQ(active(), Active(1, 2));
    journal().clear();
    camera.fireTourState(0, 0);
    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"====== handleTourStateEvent(tour tourState = 0, stop type = 0) ====\""));
    camera.fireTourState(2, -1);
    EXPECT_EQ(active(), Active(1, 2));
}

TEST_F(FollowingTest, clearsBothFlagsWhenAPresetIsLeft)
{
    camera.firePresetState(2, "Gate");
    camera.fireTourState(1, 0);
    journal().clear();
    camera.firePresetState(0, "Gate");
    EXPECT_THAT(journal().all(), IsEmpty());
    EXPECT_EQ(createRules({}), 0U);
    EXPECT_EQ(active(), Active(1, 4)) << "neither moving nor at a preset";
}

TEST_F(FollowingTest, suspendsAnalyticsWhileTheDayNightFilterMoves)
{
    camera.firePresetState(2, "Gate");
    journal().clear();
    platform().dayNight.fire(true);
    EXPECT_EQ(takeAll(),
              joined({{"log 6 \"day night change call back, movement: true\""}, stopped({"Simple", "Motion"})}));
    EXPECT_EQ(active(), Active(0, 0));
    platform().dayNight.fire(false);
    EXPECT_EQ(active(), Active(1, 3));
}

TEST_F(FollowingTest, forgetsTheConfigurationOfADeletedPreset)
{
    camera.firePresetModified("Gate", false, false, true);
    EXPECT_EQ(takeAll(), (Lines{"log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionGate\"",
                                "#3 detach", "releaseRuleSet Motion #3"}));
    camera.firePresetState(2, "Gate");
    EXPECT_EQ(active(), Active(1, 0));
    EXPECT_THAT(platform().settings.written, IsEmpty());
    stop();
    startQuietly();
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_NE(motion->activeRuleSet(), 0) << "nothing was saved since: it is back";
}

TEST_F(FollowingTest, losesADeletedPresetForGoodOnceSomethingIsSaved)
{
    camera.firePresetModified("Gate", false, false, true);
    ASSERT_EQ(configure(kit::configuration("Simple")), "0/0");
    EXPECT_EQ(storedText(), storedDocument({{"MotionDoor", "<door/>"},
                                            {"MotionZintuInternalSimpleAnalyticsPreset", "<away/>"},
                                            {"Simple", kit::configuration("Simple")}}));
}

TEST_F(FollowingTest, keepsTheConfigurationOfAPresetThatOnlyChanged)
{
    camera.firePresetModified("Gate", true, true, false);
    EXPECT_THAT(journal().all(), IsEmpty());
}

} // namespace
