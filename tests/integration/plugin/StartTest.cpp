#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using kit::configuration;
using kit::journal;
using kit::Part;
using kit::platform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartTest : public ModuleTest {
protected:
    StartTest()
    {
        store({{"Motion", "<motion/>"},
               {"MotionGate", "<gate/>"},
               {"MotionZintuInternalSimpleAnalyticsPreset", "<away/>"},
               {"Simple", "<simple/>"},
               {"SimpleGate", "<unused/>"}});
    }

    /// What reached engines, positioning and log.
    static Lines story() { return journal().of({Part::Log, Part::Engine, Part::RuleSet, Part::Positioning}); }
};

TEST_F(StartTest, registersItsFactoryOnceWhenItIsLoaded)
{
    std::size_t found = 0;
    for (const auto& factory : kit::pluginFactories()) {
        EXPECT_EQ(factory.first, "DetectionPlugin");
        ++found;
    }
    EXPECT_EQ(found, 1U);
}

TEST_F(StartTest, activatesTheConfigurationsOfAFixedCamera)
{
    start();
    EXPECT_EQ(takeAll(), (Lines{"filterConstructed",
                                "loggingInit DETECTION -> 0",
                                "getSupportedAnalyticsLibs -> 2",
                                "settingsSetDefault OnvifAnalytics [] -> 0",
                                "settingsGetJson OnvifAnalytics -> 0",
                                "setEventHandler Simple",
                                "createRuleSet Simple -> #1",
                                "#1 setFullConfig -> true",
                                "createRuleSet Simple -> #2",
                                "#2 setFullConfig -> true",
                                "setEventHandler Motion",
                                "createRuleSet Motion -> #3",
                                "#3 setFullConfig -> true",
                                "createRuleSet Motion -> #4",
                                "#4 setFullConfig -> true",
                                "createRuleSet Motion -> #5",
                                "#5 setFullConfig -> true",
                                "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                                "log 6 \"reconfigure:clearing all rules for Simple\"",
                                "clearAllRules Simple",
                                "log 6 \"activateRuleSet:reconfig with key Simple\"",
                                "#1 getFullConfig",
                                "activateRuleSet Simple #1 -> true",
                                "log 7 \"getActiveSettingsKey: getSettingsKey :Motion:\"",
                                "log 6 \"reconfigure:clearing all rules for Motion\"",
                                "clearAllRules Motion",
                                "log 6 \"activateRuleSet:reconfig with key Motion\"",
                                "#3 getFullConfig",
                                "activateRuleSet Motion #3 -> true",
                                "getTargetIds day_night -> false",
                                "log 3 \"initializeDayNightEvents: day_night service not found\"",
                                "getTargetIds window_blanking -> false",
                                "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
                                "getTargetIds rotate -> false",
                                "log 6 \"initializeRotationEvents: rotation service not found\"",
                                "configurationGetInt default_analytics_rotation -> 2",
                                "log 3 \"Failed to get default rotation position: status text 2\"",
                                "log 6 \"rotation call back\"",
                                "onOrientationChanged Simple 0",
                                "onOrientationChanged Motion 0",
                                "startServing onvif_analytic_service",
                                "log 7 \"DetectionPlugin::DetectionPlugin\""}));
    EXPECT_EQ(simple->activeRuleSet(), 1);
    EXPECT_EQ(motion->activeRuleSet(), 3);
}

TEST_F(StartTest, activatesTheConfigurationForNoPresetOnAPtzCameraAwayFromPresets)
{
    platform().positioning.available = true;
    start();
    EXPECT_EQ(story(),
              (Lines{"getSupportedAnalyticsLibs -> 2",
                     "setEventHandler Simple",
                     "createRuleSet Simple -> #1",
                     "#1 setFullConfig -> true",
                     "createRuleSet Simple -> #2",
                     "#2 setFullConfig -> true",
                     "setEventHandler Motion",
                     "createRuleSet Motion -> #3",
                     "#3 setFullConfig -> true",
                     "createRuleSet Motion -> #4",
                     "#4 setFullConfig -> true",
                     "createRuleSet Motion -> #5",
                     "#5 setFullConfig -> true",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                     "log 6 \"reconfigure:clearing all rules for Simple\"",
                     "clearAllRules Simple",
                     "log 6 \"activateRuleSet:reconfig with key Simple\"",
                     "#1 getFullConfig",
                     "activateRuleSet Simple #1 -> true",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\"",
                     "log 6 \"reconfigure:clearing all rules for Motion\"",
                     "clearAllRules Motion",
                     "log 6 \"activateRuleSet:reconfig with key MotionZintuInternalSimpleAnalyticsPreset\"",
                     "#5 getFullConfig",
                     "activateRuleSet Motion #5 -> true",
                     "getActivePreset false -> ",
                     "log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset \"",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                     "log 6 \"reconfigure:clearing all rules for Simple\"",
                     "clearAllRules Simple",
                     "log 6 \"activateRuleSet:reconfig with key Simple\"",
                     "#1 getFullConfig",
                     "activateRuleSet Simple #1 -> true",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\"",
                     "log 6 \"reconfigure:clearing all rules for Motion\"",
                     "clearAllRules Motion",
                     "log 6 \"activateRuleSet:reconfig with key MotionZintuInternalSimpleAnalyticsPreset\"",
                     "#5 getFullConfig",
                     "activateRuleSet Motion #5 -> true",
                     "registerMotionState",
                     "registerCommandPriority",
                     "registerPresetState",
                     "registerPresetModified",
                     "registerTourState",
                     "log 3 \"initializeDayNightEvents: day_night service not found\"",
                     "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
                     "log 6 \"initializeRotationEvents: rotation service not found\"",
                     "log 3 \"Failed to get default rotation position: status text 2\"",
                     "log 6 \"rotation call back\"",
                     "onOrientationChanged Simple 0",
                     "onOrientationChanged Motion 0",
                     "log 7 \"DetectionPlugin::DetectionPlugin\""}));
    EXPECT_EQ(motion->activeRuleSet(), 5);
}

TEST_F(StartTest, waitsForTheArrivalOnAPtzCameraAtAPreset)
{
    platform().positioning.available = true;
    platform().positioning.activePreset = "Gate";
    start();
    EXPECT_EQ(story(),
              (Lines{"getSupportedAnalyticsLibs -> 2",
                     "setEventHandler Simple",
                     "createRuleSet Simple -> #1",
                     "#1 setFullConfig -> true",
                     "createRuleSet Simple -> #2",
                     "#2 setFullConfig -> true",
                     "setEventHandler Motion",
                     "createRuleSet Motion -> #3",
                     "#3 setFullConfig -> true",
                     "createRuleSet Motion -> #4",
                     "#4 setFullConfig -> true",
                     "createRuleSet Motion -> #5",
                     "#5 setFullConfig -> true",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                     "log 6 \"reconfigure:clearing all rules for Simple\"",
                     "clearAllRules Simple",
                     "log 6 \"activateRuleSet:reconfig with key Simple\"",
                     "#1 getFullConfig",
                     "activateRuleSet Simple #1 -> true",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\"",
                     "log 6 \"reconfigure:clearing all rules for Motion\"",
                     "clearAllRules Motion",
                     "log 6 \"activateRuleSet:reconfig with key MotionZintuInternalSimpleAnalyticsPreset\"",
                     "#5 getFullConfig",
                     "activateRuleSet Motion #5 -> true",
                     "getActivePreset false -> Gate",
                     "registerMotionState",
                     "registerCommandPriority",
                     "registerPresetState",
                     "registerPresetModified",
                     "registerTourState",
                     "log 3 \"initializeDayNightEvents: day_night service not found\"",
                     "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
                     "log 6 \"initializeRotationEvents: rotation service not found\"",
                     "log 3 \"Failed to get default rotation position: status text 2\"",
                     "log 6 \"rotation call back\"",
                     "onOrientationChanged Simple 0",
                     "onOrientationChanged Motion 0",
                     "log 7 \"DetectionPlugin::DetectionPlugin\""}));
    EXPECT_EQ(motion->activeRuleSet(), 5);
    journal().clear();
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_EQ(takeAll(),
              (Lines{"log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset Gate\"",
                     "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                     "log 6 \"reconfigure:clearing all rules for Simple\"", "clearAllRules Simple",
                     "log 6 \"activateRuleSet:reconfig with key Simple\"", "#1 getFullConfig",
                     "activateRuleSet Simple #1 -> true", "log 7 \"getActiveSettingsKey: getSettingsKey :MotionGate:\"",
                     "log 6 \"reconfigure:clearing all rules for Motion\"", "clearAllRules Motion",
                     "log 6 \"activateRuleSet:reconfig with key MotionGate\"", "#4 getFullConfig",
                     "activateRuleSet Motion #4 -> true"}));
    EXPECT_EQ(motion->activeRuleSet(), 4);
}

TEST_F(StartTest, restoresAKeyForEveryEngineWhoseNameItBeginsWith)
{
    const auto longer = addEngine("SimplePlus");
    store({{"SimplePlus", "<plus/>"}});
    start();
    EXPECT_EQ(takeEngineCalls(),
              (Lines{"getSupportedAnalyticsLibs -> 3", "setEventHandler Simple", "createRuleSet Simple -> #1",
                     "#1 setFullConfig -> true", "setEventHandler Motion", "setEventHandler SimplePlus",
                     "createRuleSet SimplePlus -> #2", "#2 setFullConfig -> true", "clearAllRules Simple",
                     "clearAllRules Motion", "clearAllRules SimplePlus", "#2 getFullConfig",
                     "activateRuleSet SimplePlus #2 -> true", "onOrientationChanged Simple 0",
                     "onOrientationChanged Motion 0", "onOrientationChanged SimplePlus 0"}));
    EXPECT_EQ(longer->activeRuleSet(), 2);
    EXPECT_EQ(simple->activeRuleSet(), 0);
}

TEST_F(StartTest, handsBackWhatAnEngineDoesNotTakeAnyMore)
{
    store({{"Motion", "<motion/>"}, {"Simple", "<simple/>"}});
    motion->setFullAnswers = {false};
    start();
    EXPECT_EQ(story(), (Lines{"getSupportedAnalyticsLibs -> 2",
                              "setEventHandler Simple",
                              "createRuleSet Simple -> #1",
                              "#1 setFullConfig -> true",
                              "setEventHandler Motion",
                              "createRuleSet Motion -> #2",
                              "#2 setFullConfig -> false",
                              "log 3 \"Failed to restore rule set config for saved setting 'Motion\"",
                              "releaseRuleSet Motion #2",
                              "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                              "log 6 \"reconfigure:clearing all rules for Simple\"",
                              "clearAllRules Simple",
                              "log 6 \"activateRuleSet:reconfig with key Simple\"",
                              "#1 getFullConfig",
                              "activateRuleSet Simple #1 -> true",
                              "log 7 \"getActiveSettingsKey: getSettingsKey :Motion:\"",
                              "log 6 \"reconfigure:clearing all rules for Motion\"",
                              "clearAllRules Motion",
                              "log 3 \"initializeDayNightEvents: day_night service not found\"",
                              "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
                              "log 6 \"initializeRotationEvents: rotation service not found\"",
                              "log 3 \"Failed to get default rotation position: status text 2\"",
                              "log 6 \"rotation call back\"",
                              "onOrientationChanged Simple 0",
                              "onOrientationChanged Motion 0",
                              "log 7 \"DetectionPlugin::DetectionPlugin\""}));
    EXPECT_EQ(motion->notReturned(), 0);
}

TEST_F(StartTest, goesOnWithoutARuleSetThatCannotBeMade)
{
    store({{"Motion", "<motion/>"}, {"Simple", "<simple/>"}});
    simple->createAnswers = {false};
    start();
    EXPECT_EQ(story(), (Lines{"getSupportedAnalyticsLibs -> 2",
                              "setEventHandler Simple",
                              "createRuleSet Simple -> null",
                              "log 3 \"Failed to create rule set from lib 'Simple' for saved setting 'Simple\"",
                              "setEventHandler Motion",
                              "createRuleSet Motion -> #1",
                              "#1 setFullConfig -> true",
                              "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                              "log 6 \"reconfigure:clearing all rules for Simple\"",
                              "clearAllRules Simple",
                              "log 7 \"getActiveSettingsKey: getSettingsKey :Motion:\"",
                              "log 6 \"reconfigure:clearing all rules for Motion\"",
                              "clearAllRules Motion",
                              "log 6 \"activateRuleSet:reconfig with key Motion\"",
                              "#1 getFullConfig",
                              "activateRuleSet Motion #1 -> true",
                              "log 3 \"initializeDayNightEvents: day_night service not found\"",
                              "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
                              "log 6 \"initializeRotationEvents: rotation service not found\"",
                              "log 3 \"Failed to get default rotation position: status text 2\"",
                              "log 6 \"rotation call back\"",
                              "onOrientationChanged Simple 0",
                              "onOrientationChanged Motion 0",
                              "log 7 \"DetectionPlugin::DetectionPlugin\""}));
    EXPECT_EQ(motion->activeRuleSet(), 1);
}

TEST_F(StartTest, startsWithWhatStandsBeforeADamagedEntry)
{
    platform().settings.analytics() = R"([ { "key" : "Simple", "config" : "<simple/>" }, 5 ])";
    start();
    EXPECT_EQ(journal().count("log 3 \"Caught OnvifSettings json exception: Object member not found: key\""), 1U);
    EXPECT_EQ(simple->activeRuleSet(), 1);
    EXPECT_EQ(motion->activeRuleSet(), 0);
}

TEST_F(StartTest, startsEmptyWhenTheStoreCannotBeRead)
{
    platform().settings.getStatus = 5;
    start();
    EXPECT_EQ(journal().count("log 3 \"Failed to load OnvifSettings.\""), 1U);
    EXPECT_THAT(journal().startingWith("createRuleSet"), IsEmpty());
}

TEST_F(StartTest, logsRuleNamesOfWhatItActivates)
{
    store({{"Motion", kit::configuration("Motion")}});
    start();
    EXPECT_THAT(journal().startingWith("log 6 \"    Rule:"),
                ElementsAre("log 6 \"    Rule: tt:MotionRule active true\""));
}

TEST_F(StartTest, writesNothingIntoTheStore)
{
    start();
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

} // namespace
