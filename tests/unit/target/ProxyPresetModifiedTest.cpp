// What happens when a preset is deleted on the camera.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

class ProxyPresetModifiedTest : public ProxyTargetTest {
protected:
    ProxyPresetModifiedTest()
    {
        stored(all);
        startMovable({motion, simple, line});
    }

    const Settings all = {
        {"LineP1", "<l1/>"}, {"MotionP1", "<p1/>"}, {"MotionP10", "<p10/>"}, {"Simple", "<s/>"}, {"SimpleP1", "<s1/>"}};
};

TEST_F(ProxyPresetModifiedTest, forgetsThePresetOfEveryEngineButSimple)
{
    proxy->handlePresetModifiedEvent("P1");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionP1\"",
                            "#1 detach", "releaseRuleSet Motion #1",
                            "log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset LineP1\"",
                            "#5 detach", "releaseRuleSet Line #5"));
}

TEST_F(ProxyPresetModifiedTest, leavesKeysAloneThatOnlyBeginAlike)
{
    proxy->handlePresetModifiedEvent("P1");

    EXPECT_FALSE(motion->ruleSet(2)->released());
    EXPECT_EQ(simple->notReturned(), 2);
    EXPECT_EQ(presetConfiguration("P10"), kit::merged(document({}, {}))); // known, though it holds no list
    EXPECT_EQ(journal().count("log 6 \"mergeConfigurations Key MotionP10: config <p10/>\""), 1U);
}

TEST_F(ProxyPresetModifiedTest, saysWhichSettingsItDidNotFind)
{
    proxy->handlePresetModifiedEvent("P9");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionP9\"",
                            "log 7 \"Could not find setting MotionP9\"",
                            "log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset LineP9\"",
                            "log 7 \"Could not find setting LineP9\""));
}

TEST_F(ProxyPresetModifiedTest, reconfiguresNothingEvenAtThatPreset)
{
    arriveAt("P1");

    proxy->handlePresetModifiedEvent("P1");

    EXPECT_EQ(journal().count("clearAllRules Motion"), 0U);
    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "MotionP1");
}

TEST_F(ProxyPresetModifiedTest, bringsThePresetBackWithTheNextStartWhenNothingWasSavedSince)
{
    proxy->handlePresetModifiedEvent("P1");
    EXPECT_EQ(storedNow(), storedDocument(all));

    restart(true, {motion});
    arriveAt("P1");

    EXPECT_NE(motion->activeRuleSet(), 0);
}

TEST_F(ProxyPresetModifiedTest, losesThePresetForGoodWithTheNextSave)
{
    proxy->handlePresetModifiedEvent("P1");
    given(configuration("Motion"));

    restart(true, {motion});
    arriveAt("P1");

    EXPECT_EQ(motion->activeRuleSet(), 0);
    EXPECT_EQ(
        storedNow(),
        storedDocument(
            {{"Motion", configuration("Motion")}, {"MotionP10", "<p10/>"}, {"Simple", "<s/>"}, {"SimpleP1", "<s1/>"}}));
}

TEST_F(ProxyPresetModifiedTest, keepsTheDocumentWhenTheLastSettingGoes)
{
    stored({{"MotionP1", "<p1/>"}});
    restart(true, {motion});

    proxy->handlePresetModifiedEvent("P1");

    EXPECT_EQ(storedNow(), storedDocument({{"MotionP1", "<p1/>"}}));
    restart(true, {motion});
    EXPECT_EQ(motion->notReturned(), 1);
}

TEST_F(ProxyPresetModifiedTest, deletesTheSettingBeforeTheRuleSetGoesBack)
{
    ASSERT_EQ(modify({rule("Motion", "R1").preset("P7"), "<broken"}), 4U) << "a rule set without a setting";
    journal().clear();

    proxy->handlePresetModifiedEvent("P7");

    const Lines lines = takeAll();
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 4),
                ElementsAre("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionP7\"",
                            "log 7 \"Could not find setting MotionP7\"", "#6 detach", "releaseRuleSet Motion #6"));
}

TEST_F(ProxyPresetModifiedTest, takesAPresetWithoutANameForTheEngineAlone)
{
    given(configuration("Motion"));

    proxy->handlePresetModifiedEvent("");

    EXPECT_EQ(journal().startingWith("releaseRuleSet Motion").size(), 1U);
    EXPECT_EQ(journal().count("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset Motion\""), 1U);
}

} // namespace

} // namespace korva::meridan::tests
