// How rule sets come into the map: by a validation that succeeds, or by restoring a stored text.

#include "unit/settings/RuleSetMapFixture.h"

namespace korva::meridan::tests {

namespace {

using RuleSetMapValidateTest = RuleSetMapTest;
using RuleSetMapRestoreTest = RuleSetMapTest;

TEST_F(RuleSetMapValidateTest, beginsEmptyAndCallsNothing)
{
    EXPECT_FALSE(std::is_polymorphic_v<RuleSetMap>);
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_THAT(map.getAllConfigs(), IsEmpty());
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapValidateTest, asksANewRuleSetForAnUnknownKeyAndKeepsItWhenItAccepts)
{
    EXPECT_TRUE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", "<tt:Parameters/>"));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateConfig(R1, tt:MotionRule) -> true"));
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
    EXPECT_EQ(RuleSetMapPeer::at(map, "MotionP1"), engine.ruleSet(1));
}

TEST_F(RuleSetMapValidateTest, handsNameTypeAndParametersOnInThatOrder)
{
    map.validateConfig(&engine, "MotionP1", "the name", "tt:MotionRule",
                       "<tt:Parameters>the parameters</tt:Parameters>");

    EXPECT_EQ(engine.ruleSet(1)->lastComponent.name, "the name");
    EXPECT_EQ(engine.ruleSet(1)->lastComponent.type, "tt:MotionRule");
    EXPECT_EQ(engine.ruleSet(1)->lastComponent.parameters, "<tt:Parameters>the parameters</tt:Parameters>");
}

TEST_F(RuleSetMapValidateTest, asksTheStoredRuleSetWhenTheKeyIsKnown)
{
    ASSERT_TRUE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));
    EXPECT_TRUE(map.validateConfig(&engine, "MotionP1", "R2", "tt:MotionRule", ""));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateConfig(R1, tt:MotionRule) -> true",
                                       "#1 validateConfig(R2, tt:MotionRule) -> true"));
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapValidateTest, handsANewRuleSetBackThatRefusesAComponent)
{
    engine.validateAnswers = {false};

    EXPECT_FALSE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateConfig(R1, tt:MotionRule) -> false",
                                       "releaseRuleSet Motion #1"));
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 0);
}

TEST_F(RuleSetMapValidateTest, keepsTheStoredRuleSetWhenItRefusesAComponent)
{
    engine.validateAnswers = {true, false};
    ASSERT_TRUE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));

    EXPECT_FALSE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateConfig(R1, tt:MotionRule) -> true",
                                       "#1 validateConfig(R1, tt:MotionRule) -> false"));
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapValidateTest, refusesAComponentSilentlyWhenTheEngineHasNoRuleSetLeft)
{
    engine.createAnswers = {false};

    EXPECT_FALSE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> null"));
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapValidateTest, asksANewRuleSetForTheWholeTextAndKeepsItWhenItAccepts)
{
    EXPECT_TRUE(map.validateFullConfig(&engine, "MotionP1", "the whole text"));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateFullConfig -> true"));
    EXPECT_EQ(engine.ruleSet(1)->lastFullConfig, "the whole text");
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapValidateTest, leavesAValidatedRuleSetWithoutContent)
{
    ASSERT_TRUE(map.validateFullConfig(&engine, "MotionP1", "the whole text"));

    EXPECT_THAT(map.getAllConfigs(), ElementsAre(""));
}

TEST_F(RuleSetMapValidateTest, keepsTheStoredRuleSetWhenItRefusesANewConfiguration)
{
    engine.validateFullAnswers = {true, false};
    ASSERT_TRUE(map.validateFullConfig(&engine, "MotionP1", configuration("Motion")));

    EXPECT_FALSE(map.validateFullConfig(&engine, "MotionP1", configuration("Motion")));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateFullConfig -> true",
                                       "#1 validateFullConfig -> false"));
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
    EXPECT_EQ(engine.notReturned(), 1);
}

TEST_F(RuleSetMapValidateTest, handsANewRuleSetBackThatRefusesTheWholeText)
{
    engine.validateFullAnswers = {false};

    EXPECT_FALSE(map.validateFullConfig(&engine, "MotionP1", configuration("Motion")));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 validateFullConfig -> false",
                                       "releaseRuleSet Motion #1"));
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapValidateTest, refusesAWholeTextSilentlyWhenTheEngineHasNoRuleSetLeft)
{
    engine.createAnswers = {false};

    EXPECT_FALSE(map.validateFullConfig(&engine, "MotionP1", configuration("Motion")));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> null"));
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapValidateTest, acceptsTheEmptyKey)
{
    EXPECT_TRUE(map.validateConfig(&engine, "", "R1", "tt:MotionRule", ""));

    EXPECT_THAT(keys(), ElementsAre(""));
}

TEST_F(RuleSetMapRestoreTest, putsANewRuleSetWithTheTextUnderTheKey)
{
    EXPECT_TRUE(map.restoreFullConfig(&engine, "MotionP1", "the stored text"));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 setFullConfig -> true"));
    EXPECT_EQ(engine.ruleSet(1)->lastFullConfig, "the stored text");
    EXPECT_EQ(RuleSetMapPeer::at(map, "MotionP1"), engine.ruleSet(1));
}

TEST_F(RuleSetMapRestoreTest, replacesTheKeysRuleSetWithoutHandingTheOldOneBack)
{
    ASSERT_TRUE(map.validateFullConfig(&engine, "MotionP1", "text"));
    journal().clear();

    EXPECT_TRUE(map.restoreFullConfig(&engine, "MotionP1", "text"));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #2", "#2 setFullConfig -> true"));
    EXPECT_EQ(RuleSetMapPeer::at(map, "MotionP1"), engine.ruleSet(2));
    EXPECT_EQ(engine.notReturned(), 2);
}

TEST_F(RuleSetMapRestoreTest, logsWhenTheEngineHasNoRuleSetLeft)
{
    engine.createAnswers = {false};

    EXPECT_FALSE(map.restoreFullConfig(&engine, "MotionP1", "text"));

    EXPECT_THAT(takeAll(),
                ElementsAre("createRuleSet Motion -> null",
                            "log 3 \"Failed to create rule set from lib 'Motion' for saved setting 'MotionP1\""));
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapRestoreTest, keepsTheOldRuleSetWhenTheEngineHasNoneLeft)
{
    given("MotionP1", "old");
    engine.createAnswers = {false};

    EXPECT_FALSE(map.restoreFullConfig(&engine, "MotionP1", "new"));

    EXPECT_THAT(map.getAllConfigs(), ElementsAre("old"));
}

TEST_F(RuleSetMapRestoreTest, handsARuleSetBackThatRefusesTheTextAndForgetsTheKey)
{
    engine.setFullAnswers = {false};

    EXPECT_FALSE(map.restoreFullConfig(&engine, "MotionP1", "text"));

    EXPECT_THAT(takeAll(), ElementsAre("createRuleSet Motion -> #1", "#1 setFullConfig -> false",
                                       "log 3 \"Failed to restore rule set config for saved setting 'MotionP1\"",
                                       "releaseRuleSet Motion #1"));
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 0);
}

TEST_F(RuleSetMapRestoreTest, losesTheOldRuleSetOfAKeyWhoseNewTextIsRefused)
{
    given("MotionP1", "old");
    engine.setFullAnswers = {false};

    EXPECT_FALSE(map.restoreFullConfig(&engine, "MotionP1", "new"));

    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 1);
}

TEST_F(RuleSetMapRestoreTest, holdsTheKeyWhileTheTextIsTriedOut)
{
    engine.before["ruleSet.setFullConfig"] = [] { throw 5; };

    EXPECT_THROW(map.restoreFullConfig(&engine, "MotionP1", "text"), int);

    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapValidateTest, neitherKeepsNorHandsBackANewRuleSetWhoseValidationThrows)
{
    for (const char* call : {"ruleSet.validateConfig", "ruleSet.validateFullConfig"}) {
        engine.before = {{call, [] { throw 5; }}};
        if (std::string(call) == "ruleSet.validateConfig") {
            EXPECT_THROW(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""), int);
        } else {
            EXPECT_THROW(map.validateFullConfig(&engine, "MotionP1", "text"), int);
        }
        EXPECT_THAT(keys(), IsEmpty()) << call;
        EXPECT_THAT(journal().startingWith("releaseRuleSet"), IsEmpty()) << call;
    }
    EXPECT_EQ(engine.notReturned(), 2);
}

TEST_F(RuleSetMapValidateTest, holdsNoNewRuleSetWhileItIsAsked)
{
    Lines seen{"not asked"};
    engine.before["ruleSet.validateConfig"] = [&] { seen = keys(); };

    EXPECT_TRUE(map.validateConfig(&engine, "MotionP1", "R1", "tt:MotionRule", ""));

    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(RuleSetMapRestoreTest, holdsTheRuleSetBeforeItTakesTheText)
{
    engine.before["ruleSet.setFullConfig"] = [] { throw 5; };

    EXPECT_THROW(map.restoreFullConfig(&engine, "MotionP1", "text"), int);

    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

} // namespace

} // namespace korva::meridan::tests
