// How rule sets leave the map, and which of them their engine gets back.

#include "unit/settings/RuleSetMapFixture.h"

namespace korva::meridan::tests {

namespace {

using RuleSetMapHandBackTest = RuleSetMapTest;

TEST_F(RuleSetMapHandBackTest, detachesARuleSetBeforeItGoesBack)
{
    given("MotionP1", "text");
    given("MotionP2", "text");

    map.deleteRuleSet("MotionP1", &engine);

    EXPECT_THAT(takeAll(), ElementsAre("#1 detach", "releaseRuleSet Motion #1"));
    EXPECT_THAT(keys(), ElementsAre("MotionP2"));
}

TEST_F(RuleSetMapHandBackTest, deletesNothingForAnUnknownKey)
{
    given("MotionP1", "text");

    map.deleteRuleSet("MotionP", &engine);

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapHandBackTest, forgetsAKeyWithoutRuleSetWithoutCallingTheEngine)
{
    givenNull("MotionP1");

    map.deleteRuleSet("MotionP1", &engine);

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapHandBackTest, keepsTheKeyWhenHandingBackThrows)
{
    given("MotionP1", "text");
    engine.before["releaseRuleSet"] = [] { throw 5; };

    EXPECT_THROW(map.deleteRuleSet("MotionP1", &engine), int);

    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapHandBackTest, handsEveryKeyWithThePrefixBackInKeyOrderWithoutDetaching)
{
    given("SimpleFront", "text");
    given("Simple", "text");
    given("Simpl", "text");
    given("SimplE", "text");
    given("Sinple", "text");

    map.deleteRulesWithPrefix(&engine, "Simple");

    EXPECT_THAT(takeAll(), ElementsAre("releaseRuleSet Motion #2", "releaseRuleSet Motion #1"));
    EXPECT_THAT(keys(), ElementsAre("Simpl", "SimplE", "Sinple"));
}

TEST_F(RuleSetMapHandBackTest, takesEveryKeyToBeginWithTheEmptyPrefix)
{
    given("", "text");
    given("A", "text");
    given("\xFF", "text");

    map.deleteRulesWithPrefix(&engine, "");

    EXPECT_THAT(takeAll(),
                ElementsAre("releaseRuleSet Motion #1", "releaseRuleSet Motion #2", "releaseRuleSet Motion #3"));
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 0);
}

TEST_F(RuleSetMapHandBackTest, leavesTheEmptyKeyAloneWhenThereIsAPrefix)
{
    given("", "text");
    given("Motion", "text");

    map.deleteRulesWithPrefix(&engine, "Motion");

    EXPECT_THAT(takeAll(), ElementsAre("releaseRuleSet Motion #2"));
    EXPECT_THAT(keys(), ElementsAre(""));
}

TEST_F(RuleSetMapHandBackTest, handsAMissingRuleSetBackToo)
{
    givenNull("MotionP1");

    map.deleteRulesWithPrefix(&engine, "Motion");

    EXPECT_THAT(takeAll(), ElementsAre("releaseRuleSet Motion (null)"));
    EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(RuleSetMapHandBackTest, matchesPrefixesByTheirBytes)
{
    given("motion", "text");
    given("Motio", "text");
    given("MotionMotion", "text");
    given("AMotion", "text");

    map.deleteRulesWithPrefix(&engine, "Motion");

    EXPECT_THAT(keys(), ElementsAre("AMotion", "Motio", "motion"));
}

TEST_F(RuleSetMapHandBackTest, forgetsEverythingOnClearWithoutCallingTheEngine)
{
    given("MotionP1", "text");
    given("MotionP2", "text");

    map.clear();

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 2);
}

TEST_F(RuleSetMapHandBackTest, callsNoEngineWhenItIsDestroyed)
{
    {
        RuleSetMap shortLived(kit::Platform::logHandle());
        ASSERT_TRUE(shortLived.restoreFullConfig(&engine, "MotionP1", "text"));
        journal().clear();
    }

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(engine.notReturned(), 1);
}

TEST_F(RuleSetMapHandBackTest, keepsTheKeyWhenHandingBackByPrefixThrows)
{
    given("MotionP1", "text");
    engine.before["releaseRuleSet"] = [] { throw 5; };

    EXPECT_THROW(map.deleteRulesWithPrefix(&engine, "Motion"), int);

    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapHandBackTest, keepsTheKeyOfAFailedRestorationWhenHandingBackThrows)
{
    engine.setFullAnswers = {false};
    engine.before["releaseRuleSet"] = [] { throw 5; };

    EXPECT_THROW(map.restoreFullConfig(&engine, "MotionP1", "text"), int);

    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

} // namespace

} // namespace korva::meridan::tests
