// Reading and changing the content of the rule sets that the map holds.

#include "unit/settings/RuleSetMapFixture.h"

namespace korva::meridan::tests {

namespace {

using RuleSetMapContentTest = RuleSetMapTest;

TEST_F(RuleSetMapContentTest, changesAComponentAndReturnsTheWholeTextAfterwards)
{
    given("MotionP1", configuration("Motion"));

    const auto result =
        map.setConfig("MotionP1", "R2", "tt:MotionRule", rule("Motion", "R2").item("A", "1").parameters());

    EXPECT_TRUE(result.first);
    EXPECT_EQ(result.second, document({module("Motion", "M1").item("Sensitivity", "50")},
                                      {rule("Motion", "R1").active("true"), rule("Motion", "R2").item("A", "1")}));
    EXPECT_THAT(takeAll(), ElementsAre("#1 setConfig(R2, tt:MotionRule) -> true", "#1 getFullConfig"));
}

TEST_F(RuleSetMapContentTest, handsNameTypeAndParametersToTheRuleSet)
{
    given("MotionP1", configuration("Motion"));

    map.setConfig("MotionP1", "the name", "the type", "the parameters");

    EXPECT_EQ(engine.ruleSet(1)->lastComponent.name, "the name");
    EXPECT_EQ(engine.ruleSet(1)->lastComponent.type, "the type");
    EXPECT_EQ(engine.ruleSet(1)->lastComponent.parameters, "the parameters");
}

TEST_F(RuleSetMapContentTest, returnsTheWholeTextAlsoWhenTheComponentIsRefused)
{
    given("MotionP1", "the text");
    engine.setAnswers = {false};

    EXPECT_THAT(map.setConfig("MotionP1", "R2", "tt:MotionRule", ""), Pair(false, "the text"));

    EXPECT_THAT(takeAll(), ElementsAre("#1 setConfig(R2, tt:MotionRule) -> false", "#1 getFullConfig"));
}

TEST_F(RuleSetMapContentTest, refusesAComponentForAnUnknownKeyWithoutAWord)
{
    given("MotionP1", "the text");

    EXPECT_THAT(map.setConfig("MotionP2", "R2", "tt:MotionRule", ""), Pair(false, ""));

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapContentTest, refusesAComponentForAKeyWithoutRuleSet)
{
    givenNull("MotionP1");

    EXPECT_THAT(map.setConfig("MotionP1", "R2", "tt:MotionRule", ""), Pair(false, ""));
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapContentTest, yieldsNoTextForAKeyThatItHolds)
{
    given("MotionP1", "the text");

    EXPECT_EQ(map.getFullConfig("MotionP1"), "");
    EXPECT_EQ(map.getFullConfig("MotionP2"), "");
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapContentTest, neverReplacesAWholeText)
{
    given("MotionP1", "the text");

    EXPECT_FALSE(map.setFullConfig("MotionP1", "another"));
    EXPECT_FALSE(map.setFullConfig("MotionP2", "another"));

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(engine.ruleSet(1)->content(), "the text");
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapContentTest, listsAllTextsInKeyOrder)
{
    given("MotionP2", "second");
    given("MotionP1", "first");
    given("Motion", "shortest");

    EXPECT_THAT(map.getAllConfigs(), ElementsAre("shortest", "first", "second"));
    EXPECT_THAT(takeAll(), ElementsAre("#3 getFullConfig", "#2 getFullConfig", "#1 getFullConfig"));
}

TEST_F(RuleSetMapContentTest, ordersKeysByTheirBytes)
{
    given("Motion\xC3\xA4", "above all letters");
    given("Motionz", "lower case");
    given("MotionZ", "upper case");

    EXPECT_THAT(map.getAllConfigs(), ElementsAre("upper case", "lower case", "above all letters"));
}

TEST_F(RuleSetMapContentTest, deletesABehaviorFromTheFirstKeyThatHoldsIt)
{
    given("MotionP2", configuration("Motion"));
    given("MotionP1", configuration("Motion"));
    given("MotionP0", configuration("Motion").add(rule("Motion", "R9")));

    EXPECT_EQ(map.deleteBehavior("R1"), "MotionP1");

    EXPECT_THAT(takeAll(), ElementsAre("#3 deleteBehavior(R1) -> false", "#2 deleteBehavior(R1) -> true"));
    EXPECT_THAT(keys(), ElementsAre("MotionP0", "MotionP1", "MotionP2"));
}

TEST_F(RuleSetMapContentTest, leavesTheSameBehaviorOfOtherKeysAlone)
{
    given("MotionP1", configuration("Motion"));
    given("MotionP2", configuration("Motion"));

    map.deleteBehavior("R1");

    EXPECT_EQ(engine.ruleSet(2)->content(), configuration("Motion").text());
}

TEST_F(RuleSetMapContentTest, answersNothingForABehaviorThatNobodyHolds)
{
    given("MotionP1", configuration("Motion"));
    given("MotionP2", configuration("Motion"));

    EXPECT_EQ(map.deleteBehavior("R7"), "");

    EXPECT_THAT(takeAll(), ElementsAre("#1 deleteBehavior(R7) -> false", "#2 deleteBehavior(R7) -> false"));
}

TEST_F(RuleSetMapContentTest, passesKeysWithoutRuleSetWhenItDeletesABehavior)
{
    givenNull("Motion");
    given("MotionP1", configuration("Motion"));

    EXPECT_EQ(map.deleteBehavior("R1"), "MotionP1");
    EXPECT_THAT(takeAll(), ElementsAre("#1 deleteBehavior(R1) -> true"));
}

TEST_F(RuleSetMapContentTest, answersNothingForABehaviorWhenItIsEmpty)
{
    EXPECT_EQ(map.deleteBehavior("R1"), "");
    EXPECT_THAT(takeAll(), IsEmpty());
}

} // namespace

} // namespace korva::meridan::tests
