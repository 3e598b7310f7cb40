// Activation, and the lines that name the rules of what is activated.

#include "kit/Heap.h"
#include "unit/settings/RuleSetMapFixture.h"

namespace korva::meridan::tests {

namespace {

using RuleSetMapActivateTest = RuleSetMapTest;
using RuleSetMapRuleLogTest = RuleSetMapTest;

TEST_F(RuleSetMapActivateTest, namesTheKeyAndTheRulesBeforeTheEngineIsAsked)
{
    given("MotionP1", configuration("Motion"));

    EXPECT_TRUE(map.activateRuleSet(&engine, "MotionP1"));

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"activateRuleSet:reconfig with key MotionP1\"", "#1 getFullConfig",
                            "log 6 \"    Rule: tt:MotionRule active true\"", "activateRuleSet Motion #1 -> true"));
}

TEST_F(RuleSetMapActivateTest, reportsAnEngineThatRefuses)
{
    given("MotionP1", document({}, {}));
    engine.activateAnswers = {false};

    EXPECT_FALSE(map.activateRuleSet(&engine, "MotionP1"));

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"activateRuleSet:reconfig with key MotionP1\"", "#1 getFullConfig",
                                       "activateRuleSet Motion #1 -> false",
                                       "log 3 \"Failed to activate rule set for 'Motion' analytics lib\""));
    EXPECT_THAT(keys(), ElementsAre("MotionP1"));
}

TEST_F(RuleSetMapActivateTest, refusesAnUnknownKeyWithoutAWord)
{
    given("MotionP1", configuration("Motion"));

    EXPECT_FALSE(map.activateRuleSet(&engine, "MotionP2"));

    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapActivateTest, refusesAKeyWithoutRuleSetWithoutAWord)
{
    givenNull("MotionP1");

    EXPECT_FALSE(map.activateRuleSet(&engine, "MotionP1"));

    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapActivateTest, activatesATextThatIsNoXmlAndOnlyLosesTheRuleLines)
{
    given("MotionP1", "<broken");

    EXPECT_TRUE(map.activateRuleSet(&engine, "MotionP1"));

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"activateRuleSet:reconfig with key MotionP1\"", "#1 getFullConfig",
                                       "log 6 \"Failed to parse configuration\"", "activateRuleSet Motion #1 -> true"));
}

TEST_F(RuleSetMapActivateTest, neverTakesTextsOfAClientForAFormat)
{
    given("Motion%s%d", "<tt:Rule Type='%s%n'><tt:SimpleItem Name='Active' Value='%d'/></tt:Rule>");

    EXPECT_TRUE(map.activateRuleSet(&engine, "Motion%s%d"));

    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"activateRuleSet:reconfig with key Motion%s%d\"",
                                        "log 6 \"    Rule: %s%n active %d\""));
}

TEST_F(RuleSetMapRuleLogTest, reportsTheSameActiveTextForEveryRule)
{
    map.logRuleNamesFromConfig("<a><tt:Rule Type='One'/><tt:Rule Type='Two'/>"
                               "<tt:SimpleItem Name='Active' Value='true'/></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: One active true\"", "log 6 \"    Rule: Two active true\""));
}

TEST_F(RuleSetMapRuleLogTest, takesTheLastActiveItemOfTheWholeDocument)
{
    map.logRuleNamesFromConfig("<a><tt:Rule Type='One'><tt:SimpleItem Name='Active' Value='first'/></tt:Rule>"
                               "<tt:Rule Type='Two'><tt:SimpleItem Name='Active' Value='second'/></tt:Rule>"
                               "<other><tt:SimpleItem Name='Active' Value='last'/></other></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: One active last\"", "log 6 \"    Rule: Two active last\""));
}

TEST_F(RuleSetMapRuleLogTest, findsItemsUnderAnyPrefixButRulesUnderOneOnly)
{
    map.logRuleNamesFromConfig(
        "<a><tt:Rule Type='One'/><Rule Type='Bare'/><ns:Rule Type='Foreign'/>"
        "<SimpleItem Name='Active' Value='bare'/><ns:SimpleItem Name='Active' Value='foreign'/></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: One active foreign\""));
}

TEST_F(RuleSetMapRuleLogTest, comparesTheItemsNameExactly)
{
    map.logRuleNamesFromConfig("<a><tt:Rule Type='One'/><tt:SimpleItem Name='Active' Value='yes'/>"
                               "<tt:SimpleItem Name='active' Value='no'/><tt:SimpleItem Name='Active2' Value='no'/>"
                               "<tt:SimpleItem Value='no'/><tt:Item Name='Active' Value='no'/></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: One active yes\""));
}

TEST_F(RuleSetMapRuleLogTest, leavesAbsentTypesAndValuesEmpty)
{
    map.logRuleNamesFromConfig("<a><tt:Rule/></a>");
    map.logRuleNamesFromConfig("<a><tt:Rule Type='One'/><tt:SimpleItem Name='Active' Value='yes'/>"
                               "<tt:SimpleItem Name='Active'/></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule:  active \"", "log 6 \"    Rule: One active \""));
}

TEST_F(RuleSetMapRuleLogTest, findsRulesAtAnyDepthInDocumentOrder)
{
    map.logRuleNamesFromConfig("<a><b><c><tt:Rule Type='Deep'><tt:Rule Type='Deeper'/></tt:Rule></c></b>"
                               "<tt:Rule Type='Shallow'/></a>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: Deep active \"", "log 6 \"    Rule: Deeper active \"",
                                       "log 6 \"    Rule: Shallow active \""));
}

TEST_F(RuleSetMapRuleLogTest, logsNothingForADocumentWithoutRules)
{
    map.logRuleNamesFromConfig("<a><tt:SimpleItem Name='Active' Value='true'/></a>");

    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(RuleSetMapRuleLogTest, saysSoWhenTheTextIsNoDocument)
{
    map.logRuleNamesFromConfig("");
    map.logRuleNamesFromConfig("plain");
    map.logRuleNamesFromConfig("<a></b>");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"Failed to parse configuration\"", "log 6 \"Failed to parse configuration\"",
                            "log 6 \"Failed to parse configuration\""));
}

TEST_F(RuleSetMapRuleLogTest, takesNoLock)
{
    const std::lock_guard<std::mutex> held(RuleSetMapPeer::mutex(map));

    map.logRuleNamesFromConfig("<tt:Rule Type='One'/>");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"    Rule: One active \""));
}

std::string manyRules(int count)
{
    std::vector<std::string> rules;
    for (int i = 0; i < count; ++i) {
        rules.push_back(rule("Motion", std::to_string(i)).active(std::to_string(i)));
    }
    return document({}, rules);
}

std::size_t allocationsFor(RuleSetMap& map, int count)
{
    const std::string text = manyRules(count);
    const std::size_t before = kit::allocationsOfThisThread();
    map.logRuleNamesFromConfig(text);
    return kit::allocationsOfThisThread() - before;
}

TEST_F(RuleSetMapRuleLogTest, namesTenThousandRulesWithoutLookingAtTheDocumentForEach)
{
    const std::size_t forFew = allocationsFor(map, 1000);
    journal().clear();
    const std::size_t forMany = allocationsFor(map, 10000);

    const Lines lines = takeLogs();
    ASSERT_EQ(lines.size(), 10000U);
    EXPECT_EQ(lines.front(), "log 6 \"    Rule: tt:MotionRule active 9999\"");
    EXPECT_EQ(lines.back(), "log 6 \"    Rule: tt:MotionRule active 9999\"");
    EXPECT_LE(forMany, forFew * 15); // a selection for every rule would make it a hundred times
}

} // namespace

} // namespace korva::meridan::tests
