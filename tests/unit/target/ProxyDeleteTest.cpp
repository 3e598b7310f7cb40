// Deleting single rules and modules.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

using ProxyDeleteTest = ProxyTargetTest;

TEST_F(ProxyDeleteTest, doesNothingForAnEmptyList)
{
    startFixed({motion});

    EXPECT_EQ(remove({}), 0U);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyDeleteTest, takesANullListForAnEmptyOne)
{
    startFixed({motion});
    unsigned int status = 99;

    EXPECT_EQ(proxy->deleteBehaviorSetting(nullptr, &status), 0);

    EXPECT_EQ(status, 0U);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyDeleteTest, persistsTheEmptyTextForTheKeyAndReconfigures)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"R1"}), 0U);

    EXPECT_THAT(takeAll(),
                ElementsAreArray(joined({{"#2 deleteBehavior(R1) -> true", "log 6 \"Analytics Setting Key Motion: \"",
                                          "settingsSetJson OnvifAnalytics -> 0"},
                                         activated("Motion", "Motion", 2)})));
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", ""}}));
}

TEST_F(ProxyDeleteTest, keepsTheKeysOtherRulesAliveUntilTheNextStart)
{
    startFixed({motion});
    given(configuration("Motion").add(rule("Motion", "R1")).add(rule("Motion", "R2")));

    ASSERT_EQ(remove({"R1"}), 0U);
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R2").text()));

    restart(false, {motion});
    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_EQ(currentConfiguration(), kit::merged(document({}, {})));
}

TEST_F(ProxyDeleteTest, deletesModulesByNameToo)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"M1"}), 0U);

    EXPECT_THAT(currentModules(), IsEmpty());
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").active("true").text()));
}

TEST_F(ProxyDeleteTest, deletesOneOccurrenceOfANameThatSeveralKeysHold)
{
    startMovable({motion});
    given(configuration("Motion").preset("P1"));
    given(configuration("Motion").preset("P2"));

    EXPECT_EQ(remove({"R1"}), 0U);

    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").preset("P2").active("true").text()));
    EXPECT_EQ(storedNow(), storedDocument({{"MotionP1", ""}, {"MotionP2", configuration("Motion").preset("P2")}}));
}

TEST_F(ProxyDeleteTest, writesAKeyOnceForEveryNameDeletedFromIt)
{
    startFixed({motion});
    given(configuration("Motion"));
    platform().settings.written.clear();

    EXPECT_EQ(remove({"R1", "M1"}), 0U);

    EXPECT_THAT(platform().settings.written,
                ElementsAre(storedDocument({{"Motion", ""}}), storedDocument({{"Motion", ""}})));
    EXPECT_EQ(journal().count("clearAllRules Motion"), 1U);
}

TEST_F(ProxyDeleteTest, looksForEveryNameBeforeItStoresAnything)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"M1", "R1"}), 0U);

    const Lines calls = takeCalls();
    EXPECT_THAT(Lines(calls.begin(), calls.begin() + 3),
                ElementsAre("#2 deleteBehavior(M1) -> true", "#2 deleteBehavior(R1) -> true",
                            "settingsSetJson OnvifAnalytics -> 0"));
}

TEST_F(ProxyDeleteTest, reportsAnUnknownNameAndTouchesNothing)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"R7"}), 5U);

    EXPECT_THAT(takeAll(), ElementsAre("#2 deleteBehavior(R7) -> false"));
}

TEST_F(ProxyDeleteTest, reportsAnUnknownNameWithoutEngines)
{
    startFixed({});

    EXPECT_EQ(remove({"R1"}), 5U);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyDeleteTest, leavesTheStoredTextWholeAndTheLiveRuleSetReducedWhenOneNameIsUnknown)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"R1", "R7"}), 5U);

    EXPECT_THAT(takeAll(), ElementsAreArray(joined({{"#2 deleteBehavior(R1) -> true", "#2 deleteBehavior(R7) -> false"},
                                                    activated("Motion", "Motion", 2)})));
    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", configuration("Motion")}}));
    EXPECT_EQ(currentConfiguration(), kit::merged(configuration("Motion")));
}

TEST_F(ProxyDeleteTest, bringsAPartlyDeletedRuleBackWithTheNextStart)
{
    startFixed({motion});
    given(configuration("Motion"));
    ASSERT_EQ(remove({"R7", "R1"}), 5U);

    restart(false, {motion});

    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").active("true").text()));
}

TEST_F(ProxyDeleteTest, looksTheStoredTextUpForEveryKeyOfAPartlyFailedDelete)
{
    startFixed({motion});
    // The key is live but was never stored: validation of a refused call put it there.
    ASSERT_EQ(modify({rule("Motion", "R1"), "<broken"}), 4U);
    motion->ruleSet(1)->setContent(document({}, {rule("Motion", "R1")}));
    journal().clear();

    EXPECT_EQ(remove({"R1", "R7"}), 5U);

    EXPECT_EQ(journal().logs().front(), "log 7 \"Could not find setting Motion\"");
}

TEST_F(ProxyDeleteTest, takesARuleUnderTheEmptyKeyAwayAndYetReportsItUnknown)
{
    startFixed({motion});
    ASSERT_EQ(modify({rule("Motion", "R1").withoutParameters()}), 0U);
    ASSERT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").withoutParameters().text()));
    platform().settings.written.clear();
    journal().clear();

    EXPECT_EQ(remove({"R1"}), 5U);

    EXPECT_THAT(takeAll(), ElementsAre("#1 deleteBehavior(R1) -> true"));
    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyDeleteTest, letsAFailedWriteReachTheCaller)
{
    startFixed({motion});
    given(configuration("Motion"));
    platform().before["settingsSetJson"] = [] { throw std::runtime_error("disk full"); };
    InputList names{"R1"};
    unsigned int status = 99;

    EXPECT_THROW(proxy->deleteBehaviorSetting(names, &status), std::runtime_error);
}

TEST_F(ProxyDeleteTest, leavesTheStatusAloneWhateverIsThrown)
{
    startFixed({motion});
    given(configuration("Motion"));
    InputList names{"R1"};
    for (const char* call : {"ruleSet.deleteBehavior", "clearAllRules"}) {
        unsigned int status = 99;
        motion->before = {{call, [] { throw std::runtime_error("engine"); }}};

        EXPECT_THROW(proxy->deleteBehaviorSetting(names, &status), std::runtime_error) << call;

        EXPECT_EQ(status, 99U) << call;
        motion->before.clear();
    }
}

TEST_F(ProxyDeleteTest, storesNothingWhenOneOfThreeNamesIsUnknown)
{
    startMovable({motion});
    given(configuration("Motion").preset("P1"));
    given(configuration("Motion").preset("P2"));
    const std::string before = storedNow();

    EXPECT_EQ(remove({"R1", "R7", "R1"}), 5U);

    EXPECT_EQ(storedNow(), before);
    EXPECT_THAT(currentRules(), IsEmpty()) << "both are gone from the live rule sets";
}

TEST_F(ProxyDeleteTest, looksEveryKeyOfAPartlyFailedDeleteUp)
{
    startFixed({motion, line});
    // Both keys are live without a setting: a refused call left them.
    motion->emptyContent = document({}, {rule("Motion", "R1")});
    line->emptyContent = document({}, {rule("Line", "R2")});
    ASSERT_EQ(modify({rule("Motion", "A"), rule("Line", "B"), "<broken"}), 4U);
    journal().clear();

    EXPECT_EQ(remove({"R2", "R1", "R7"}), 5U);

    EXPECT_THAT(journal().startingWith("log 7 \"Could not"),
                ElementsAre("log 7 \"Could not find setting Line\"", "log 7 \"Could not find setting Motion\""));
}

TEST_F(ProxyDeleteTest, keepsTheRuleSetOfAPreset)
{
    startMovable({motion});
    given(configuration("Motion").preset("P1"));

    EXPECT_EQ(remove({"R1"}), 0U);

    EXPECT_EQ(journal().startingWith("releaseRuleSet").size(), 0U);
    arriveAt("P1");
    EXPECT_EQ(motion->activeRuleSet(), 2);
}

TEST_F(ProxyDeleteTest, takesAnEmptyNameForAnUnknownOne)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(remove({"", "R1"}), 5U);

    EXPECT_THAT(currentRules(), IsEmpty()) << "the list goes on behind it";
}

} // namespace

} // namespace korva::meridan::tests
