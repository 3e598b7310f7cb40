#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using namespace kit;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfigurationTest : public ModuleTest {
protected:
    ConfigurationTest() { platform().positioning.available = true; }
};

TEST_F(ConfigurationTest, storesAndActivatesWhatIsForThePresentPosition)
{
    startQuietly();
    platform().positioning.firePresetState(2, "Gate");
    journal().clear();
    const std::string xml = configuration("Motion").preset("Gate").spacious();
    const std::string stored = configuration("Motion").preset("Gate");
    EXPECT_EQ(configure(xml), "0/0");
    EXPECT_EQ(
        takeAll(),
        (Lines{"log 6 \"setConfiguration config " + xml + "\"", "isEngineConfiguration Simple -> false",
               "isEngineConfiguration Motion -> true", "log 6 \"Analytics settings key ptzPreset is Gate\"",
               "createRuleSet Motion -> #1", "#1 validateFullConfig -> true", "createRuleSet Motion -> #2",
               "#2 setFullConfig -> true", "log 6 \"Analytics Setting Key MotionGate: " + stored + "\"",
               "settingsSetJson OnvifAnalytics -> 0", "log 7 \"getActiveSettingsKey: getSettingsKey :MotionGate:\"",
               "clearAllRules Motion", "log 6 \"activateRuleSet:reconfig with key MotionGate\"", "#2 getFullConfig",
               "log 6 \"    Rule: tt:MotionRule active true\"", "activateRuleSet Motion #2 -> true"}));
    EXPECT_EQ(storedText(), storedDocument({{"MotionGate", configuration("Motion").preset("Gate")}}));
    EXPECT_EQ(motion->activeRuleSet(), 2);
    EXPECT_EQ(motion->notReturned(), 2) << "the validated rule set stays with its engine";
}

TEST_F(ConfigurationTest, storesWhatIsForAnotherPositionAndLeavesTheRunningRulesAlone)
{
    startQuietly();
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_EQ(configure(configuration("Motion").preset("Gate")), "0/0");
    journal().clear();
    const std::string xml = configuration("Motion").preset("Door");
    const std::string& stored = xml;
    EXPECT_EQ(configure(xml), "0/0");
    EXPECT_EQ(
        takeAll(),
        (Lines{"log 6 \"setConfiguration config " + xml + "\"", "isEngineConfiguration Simple -> false",
               "isEngineConfiguration Motion -> true", "log 6 \"Analytics settings key ptzPreset is Door\"",
               "createRuleSet Motion -> #3", "#3 validateFullConfig -> true", "createRuleSet Motion -> #4",
               "#4 setFullConfig -> true", "log 6 \"Analytics Setting Key MotionDoor: " + stored + "\"",
               "settingsSetJson OnvifAnalytics -> 0", "log 7 \"getActiveSettingsKey: getSettingsKey :MotionGate:\""}));
    EXPECT_EQ(motion->activeRuleSet(), 2);
    EXPECT_EQ(storedText(), storedDocument({{"MotionDoor", configuration("Motion").preset("Door")},
                                            {"MotionGate", configuration("Motion").preset("Gate")}}));
}

TEST_F(ConfigurationTest, activatesASimpleConfigurationAtEveryPosition)
{
    startQuietly();
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_EQ(configure(configuration("Simple")), "0/0");
    EXPECT_NE(simple->activeRuleSet(), 0);
    journal().clear();
    EXPECT_EQ(configure(configuration("Simple").preset("Gate")), "0/0");
    EXPECT_THAT(journal().startingWith("activateRuleSet"), IsEmpty()) << "kept, and never active";
}

TEST_F(ConfigurationTest, refusesWhatNoEngineClaims)
{
    startQuietly();
    EXPECT_EQ(configure(configuration("Nobody")), "0/1");
    EXPECT_THAT(journal().engineCalls(),
                ElementsAre("isEngineConfiguration Simple -> false", "isEngineConfiguration Motion -> false"));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ConfigurationTest, refusesTwoPresets)
{
    startQuietly();
    const std::string xml =
        configuration("Motion").add(rule("Motion", "A").preset("P1")).add(rule("Motion", "B").preset("P2"));
    EXPECT_EQ(configure(xml), "1/1");
    EXPECT_THAT(journal().of({Part::Log, Part::Engine}),
                ElementsAre("log 6 \"setConfiguration config " + xml + "\"", "isEngineConfiguration Simple -> false",
                            "isEngineConfiguration Motion -> true",
                            "log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:P2\"",
                            "log 3 \"Analytics setConfiguration got non-hashable key\""));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ConfigurationTest, refusesWhatIsNoXml)
{
    motion->claims = [](const std::string&) { return true; };
    startQuietly();
    EXPECT_EQ(configure("<broken"), "1/1");
    EXPECT_THAT(journal().logs(), ElementsAre("log 6 \"setConfiguration config <broken\"",
                                              "log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config <broken\"",
                                              "log 3 \"Analytics setConfiguration got non-hashable key\""));
}

TEST_F(ConfigurationTest, refusesWhatTheEngineDoesNotValidate)
{
    startQuietly();
    motion->validateFullAnswers = {false};
    EXPECT_EQ(configure(configuration("Motion")), "1/1");
    EXPECT_THAT(journal().engineCalls(),
                ElementsAre("isEngineConfiguration Simple -> false", "isEngineConfiguration Motion -> true",
                            "createRuleSet Motion -> #1", "#1 validateFullConfig -> false",
                            "releaseRuleSet Motion #1"));
    EXPECT_THAT(platform().settings.written, IsEmpty());
    EXPECT_EQ(motion->notReturned(), 0);
}

TEST_F(ConfigurationTest, failsWhenTheEngineDoesNotTakeWhatItValidated)
{
    startQuietly();
    motion->setFullAnswers = {false};
    EXPECT_EQ(configure(configuration("Motion")), "0/1");
    EXPECT_THAT(journal().logs().back(), "log 3 \"Failed to restore rule set config for saved setting 'Motion\"");
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ConfigurationTest, storesButReportsWhatCannotBeActivated)
{
    platform().positioning.available = false;
    startQuietly();
    motion->activateAnswers = {false};
    EXPECT_EQ(configure(configuration("Motion")), "0/1");
    EXPECT_EQ(journal().logs().back(), "log 3 \"Failed to activate rule set for 'Motion' analytics lib\"");
    EXPECT_EQ(storedText(), storedDocument({{"Motion", configuration("Motion")}}));
    EXPECT_EQ(motion->activeRuleSet(), 0);
}

TEST_F(ConfigurationTest, givesTheConfigurationBackMerged)
{
    platform().positioning.available = false;
    startQuietly();
    EXPECT_EQ(configure(configuration("Motion")), "0/0");
    EXPECT_EQ(configure(configuration("Simple")), "0/0");
    EXPECT_EQ(currentConfiguration(),
              kit::merged(kit::document({kit::module("Simple", "M1").item("Sensitivity", "50"),
                                         kit::module("Motion", "M1").item("Sensitivity", "50")},
                                        {rule("Simple", "R1").active("true"), rule("Motion", "R1").active("true")})));
}

TEST_F(ConfigurationTest, comesBackAfterARestart)
{
    platform().positioning.available = false;
    startQuietly();
    EXPECT_EQ(configure(configuration("Motion")), "0/0");
    stop();
    startQuietly();
    EXPECT_NE(motion->activeRuleSet(), 0);
    EXPECT_EQ(motion->ruleSet(motion->activeRuleSet())->content(), configuration("Motion").text());
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").active("true").text()));
}

TEST_F(ConfigurationTest, comesBackAfterDefaultsWereRestored)
{
    platform().positioning.available = false;
    startQuietly();
    EXPECT_EQ(configure(configuration("Motion")), "0/0");
    const std::size_t writes = platform().settings.written.size();
    EXPECT_EQ(target().restoreDefaultSettings(), 0);
    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_EQ(motion->activeRuleSet(), 0);
    EXPECT_EQ(platform().settings.written.size(), writes);
    stop();
    startQuietly();
    EXPECT_NE(motion->activeRuleSet(), 0);
}

TEST_F(ConfigurationTest, forgetsTheUsedPresetsWithARestart)
{
    startQuietly();
    configure(configuration("Motion").preset("Door"));
    configure(configuration("Motion").preset("Away"));
    char** presets = nullptr;
    target().getUsedPtzPresets(&presets);
    EXPECT_THAT(kit::takeList(presets), ElementsAre("Away", "Door"));
    stop();
    startQuietly();
    target().getUsedPtzPresets(&presets);
    EXPECT_THAT(kit::takeList(presets), IsEmpty());
}

} // namespace
