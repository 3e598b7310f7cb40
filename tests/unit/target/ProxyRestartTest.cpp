// What is true after a restart, where that differs from what was true before.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

using ProxyRestartTest = ProxyTargetTest;

TEST_F(ProxyRestartTest, findsEveryStoredConfigurationAgain)
{
    startMovable({motion, line});
    given(configuration("Motion").preset("P1"));
    given(configuration("Motion").preset("P2"));
    given(configuration("Line").preset("P1"));

    restart(true, {motion, line});
    arriveAt("P2");

    EXPECT_THAT(currentRules(), ElementsAre(rule("Line", "R1").preset("P1").active("true").text(),
                                            rule("Motion", "R1").preset("P1").active("true").text(),
                                            rule("Motion", "R1").preset("P2").active("true").text()));
    EXPECT_EQ(currentConfiguration(), kit::merged(configuration("Motion").preset("P2")));
}

TEST_F(ProxyRestartTest, bringsTheStoredConfigurationsBackAfterDefaultsWereRestored)
{
    startFixed({motion});
    given(configuration("Motion"));
    ASSERT_EQ(proxy->restoreDefaultSettings(), 0);
    EXPECT_THAT(currentRules(), IsEmpty());

    restart(false, {motion});

    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").active("true").text()));
    EXPECT_NE(motion->activeRuleSet(), 0);
}

TEST_F(ProxyRestartTest, knowsNoUsedPresetAtFirst)
{
    startMovable({motion});
    given(configuration("Motion").preset("P1"));
    ASSERT_THAT(usedPresets(), ElementsAre("P1"));

    restart(true, {motion});

    EXPECT_THAT(usedPresets(), IsEmpty());
    EXPECT_EQ(presetConfiguration("P1"), kit::merged(configuration("Motion").preset("P1")));
}

TEST_F(ProxyRestartTest, restoresTheEmptyTextOfADeletedRulesKey)
{
    startFixed({motion});
    given(configuration("Motion").add(rule("Motion", "R1")).add(rule("Motion", "R2")));
    ASSERT_EQ(remove({"R1"}), 0U);

    restart(false, {motion});

    EXPECT_EQ(motion->ruleSet(motion->activeRuleSet())->lastFullConfig, "");
    EXPECT_THAT(currentRules(), IsEmpty());
}

TEST_F(ProxyRestartTest, storesTheKeysRemainingRulesAgainWithTheNextChange)
{
    startFixed({motion});
    given(configuration("Motion").add(rule("Motion", "R1")).add(rule("Motion", "R2")));
    ASSERT_EQ(remove({"R1"}), 0U);

    ASSERT_EQ(modify({rule("Motion", "R3")}), 0U);
    restart(false, {motion});

    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R2").text(), rule("Motion", "R3").text()));
}

TEST_F(ProxyRestartTest, restoresNothingFromTheEmptyKey)
{
    startMovable({motion});
    ASSERT_EQ(modify({rule("Motion", "R1").withoutParameters()}), 0U);
    const int before = motion->notReturned();

    restart(true, {motion});

    EXPECT_EQ(motion->notReturned(), before);
    EXPECT_THAT(currentRules(), IsEmpty());
}

TEST_F(ProxyRestartTest, knowsNoPositionAtFirst)
{
    stored({{"MotionP1", "<p1/>"}});
    startMovable({motion});
    arriveAt("P1");

    restart(true, {motion});

    EXPECT_EQ(proxy->getActiveSettingsKey(motion), std::string("Motion") + kAway);
    EXPECT_EQ(motion->activeRuleSet(), 0);
}

} // namespace

} // namespace korva::meridan::tests
