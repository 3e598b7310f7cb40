// Whole configurations on their way in.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

using ProxyIntakeTest = ProxyTargetTest;

TEST_F(ProxyIntakeTest, refusesNothingAndStoresNothingWithoutEngines)
{
    startFixed({});

    EXPECT_THAT(setConfiguration("<a/>"), Pair(0, 1));
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"setConfiguration config <a/>\""));
}

TEST_F(ProxyIntakeTest, countsAsFailedBeforeTheFirstLine)
{
    startFixed({});
    unsigned char failed = 7;
    unsigned char atTheLine = 7;
    platform().before["log"] = [&] { atTheLine = failed; };
    EXPECT_EQ(proxy->setConfiguration("<a/>", &failed), 0);
    EXPECT_EQ(atTheLine, 1);
}

TEST_F(ProxyIntakeTest, storesNothingThatNoEngineClaims)
{
    startFixed({motion, line});

    EXPECT_THAT(setConfiguration(configuration("Other")), Pair(0, 1));

    EXPECT_THAT(takeCalls(),
                ElementsAre("isEngineConfiguration Motion -> false", "isEngineConfiguration Line -> false"));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyIntakeTest, givesAConfigurationToTheFirstEngineThatClaimsIt)
{
    startFixed({motion, line, simple});
    simple->claims = [](const std::string&) { return true; };

    EXPECT_THAT(setConfiguration(configuration("Line")), Pair(0, 0));

    EXPECT_THAT(takeEngineCalls(),
                ElementsAre("isEngineConfiguration Motion -> false", "isEngineConfiguration Line -> true",
                            "createRuleSet Line -> #1", "#1 validateFullConfig -> true", "createRuleSet Line -> #2",
                            "#2 setFullConfig -> true", "clearAllRules Line", "#2 getFullConfig",
                            "activateRuleSet Line #2 -> true"));
}

TEST_F(ProxyIntakeTest, validatesStoresAndActivatesWhatAppliesNow)
{
    startFixed({motion});
    const std::string text = configuration("Motion");

    EXPECT_THAT(setConfiguration(text), Pair(0, 0));

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"setConfiguration config " + text + "\"", "isEngineConfiguration Motion -> true",
                            "log 6 \"Analytics settings key ptzPreset is \"", "createRuleSet Motion -> #1",
                            "#1 validateFullConfig -> true", "createRuleSet Motion -> #2", "#2 setFullConfig -> true",
                            "log 6 \"Analytics Setting Key Motion: " + text + "\"",
                            "settingsSetJson OnvifAnalytics -> 0", activeKeyLine("Motion"), "clearAllRules Motion",
                            activatingLine("Motion"), "#2 getFullConfig",
                            "log 6 \"    Rule: tt:MotionRule active true\"", "activateRuleSet Motion #2 -> true"));
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", text}}));
    EXPECT_EQ(motion->activeRuleSet(), 2);
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyIntakeTest, storesTheCompactFormAndHandsTheReceivedTextToTheEngine)
{
    startFixed({motion});
    const std::string spacious = configuration("Motion").spacious();
    ASSERT_NE(spacious, configuration("Motion").text());

    EXPECT_THAT(setConfiguration("<?xml version=\"1.0\"?>\n<!-- by hand -->\n" + spacious), Pair(0, 0));

    EXPECT_EQ(motion->ruleSet(1)->lastFullConfig, "<?xml version=\"1.0\"?>\n<!-- by hand -->\n" + spacious);
    EXPECT_EQ(motion->ruleSet(2)->lastFullConfig, "<?xml version=\"1.0\"?>\n<!-- by hand -->\n" + spacious);
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", configuration("Motion")}}));
}

TEST_F(ProxyIntakeTest, refusesADocumentThatCannotBeRead)
{
    startFixed({motion});
    motion->claims = [](const std::string&) { return true; };

    EXPECT_THAT(setConfiguration("<broken"), Pair(1, 1));

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"setConfiguration config <broken\"", "isEngineConfiguration Motion -> true",
                            "log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config <broken\"",
                            "log 3 \"Analytics setConfiguration got non-hashable key\""));
}

TEST_F(ProxyIntakeTest, refusesADocumentForTwoPresets)
{
    startMovable({motion});
    const std::string text =
        configuration("Motion").add(rule("Motion", "R1").preset("P1")).add(rule("Motion", "R2").preset("P2"));

    EXPECT_THAT(setConfiguration(text), Pair(1, 1));

    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"setConfiguration config " + text + "\"", "isEngineConfiguration Motion -> true",
                            "log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:P2\"",
                            "log 3 \"Analytics setConfiguration got non-hashable key\""));
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyIntakeTest, storesNothingThatTheEngineRefuses)
{
    startMovable({motion});
    motion->validateFullAnswers = {false};

    EXPECT_THAT(setConfiguration(configuration("Motion").preset("P1")), Pair(1, 1));

    EXPECT_THAT(takeCalls(), ElementsAre("isEngineConfiguration Motion -> true", "createRuleSet Motion -> #1",
                                         "#1 validateFullConfig -> false", "releaseRuleSet Motion #1"));
    EXPECT_THAT(usedPresets(), ElementsAre("P1")); // the only trace
    EXPECT_THAT(currentRules(), IsEmpty());
}

TEST_F(ProxyIntakeTest, refusesAConfigurationWhenTheEngineHasNoRuleSetLeft)
{
    startFixed({motion});
    motion->createAnswers = {false};

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(1, 1));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyIntakeTest, storesNothingThatTheMapDoesNotTakeAfterAll)
{
    startFixed({motion});
    motion->setFullAnswers = {false};

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(0, 1));

    EXPECT_THAT(takeCalls(), ElementsAre("isEngineConfiguration Motion -> true", "createRuleSet Motion -> #1",
                                         "#1 validateFullConfig -> true", "createRuleSet Motion -> #2",
                                         "#2 setFullConfig -> false", "releaseRuleSet Motion #2"));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyIntakeTest, storesNothingWhenTheSecondRuleSetCannotBeMade)
{
    startFixed({motion});
    motion->createAnswers = {true, false};

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(0, 1));

    EXPECT_THAT(takeLogs(), ::testing::Contains("log 3 \"Failed to create rule set from lib 'Motion' for saved setting "
                                                "'Motion\""));
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyIntakeTest, keepsAConfigurationForAnotherPresetWithoutTouchingTheRunningRules)
{
    startMovable({motion});
    arriveAt("P4");
    given(configuration("Motion").preset("P4"));
    const int running = motion->activeRuleSet();
    const std::string text = configuration("Motion").preset("P3");

    EXPECT_THAT(setConfiguration(text), Pair(0, 0));

    EXPECT_EQ(motion->activeRuleSet(), running);
    EXPECT_EQ(journal().count("clearAllRules Motion"), 0U);
    EXPECT_EQ(journal().all().back(), activeKeyLine("MotionP4"));
    EXPECT_EQ(storedNow(), storedDocument({{"MotionP3", text}, {"MotionP4", configuration("Motion").preset("P4")}}));
}

TEST_F(ProxyIntakeTest, activatesAConfigurationForThePresetWhereTheCameraStands)
{
    startMovable({motion});
    arriveAt("P4");

    EXPECT_THAT(setConfiguration(configuration("Motion").preset("P4")), Pair(0, 0));

    EXPECT_EQ(motion->activeRuleSet(), 2);
}

TEST_F(ProxyIntakeTest, keepsAConfigurationThatArrivesWhileTheCameraMoves)
{
    startFixed({motion});
    proxy->handlePositioningMotionStateEvent(true);

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(0, 0));

    EXPECT_EQ(motion->activeRuleSet(), 0);
    EXPECT_EQ(journal().all().back(), activeKeyLine(""));
}

TEST_F(ProxyIntakeTest, keepsAConfigurationWithoutPresetOnAMovableCameraUnderTheBareName)
{
    startMovable({motion});

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(0, 0));

    EXPECT_EQ(motion->activeRuleSet(), 0); // being at no preset has a key of its own
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", configuration("Motion")}}));
}

TEST_F(ProxyIntakeTest, reportsAFailureWhenTheEngineDoesNotActivateWhatWasStored)
{
    startFixed({motion});
    motion->activateAnswers = {false};

    EXPECT_THAT(setConfiguration(configuration("Motion")), Pair(0, 1));

    EXPECT_EQ(journal().count("clearAllRules Motion"), 1U);
    EXPECT_EQ(motion->activeRuleSet(), 0);
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", configuration("Motion")}}));
}

TEST_F(ProxyIntakeTest, neverActivatesAConfigurationForAPresetOnTheEngineNamedSimple)
{
    startMovable({simple});
    arriveAt("P1");

    EXPECT_THAT(setConfiguration(configuration("Simple").preset("P1")), Pair(0, 0));
    EXPECT_EQ(simple->activeRuleSet(), 0);
    arriveAt("P1");
    EXPECT_EQ(simple->activeRuleSet(), 0);

    EXPECT_THAT(setConfiguration(configuration("Simple")), Pair(0, 0));
    EXPECT_NE(simple->activeRuleSet(), 0);
}

TEST_F(ProxyIntakeTest, leavesTheValidatedRuleSetWithItsEngineWhenTheRestoredOneTakesItsPlace)
{
    startFixed({motion});
    given(configuration("Motion"));
    given(configuration("Motion"));

    // The second time the stored rule set is asked, and then replaced.
    EXPECT_EQ(motion->notReturned(), 3);
    EXPECT_EQ(motion->activeRuleSet(), 3);
    proxy.reset();
    EXPECT_EQ(motion->notReturned(), 2);
    EXPECT_TRUE(motion->ruleSet(3)->released());
}

TEST_F(ProxyIntakeTest, keepsTheOldConfigurationWhenANewOneIsRefused)
{
    startFixed({motion});
    given(configuration("Motion"));
    motion->validateFullAnswers = {false};

    EXPECT_THAT(setConfiguration(configuration("Motion").add(rule("Motion", "R9"))), Pair(1, 1));

    EXPECT_EQ(motion->activeRuleSet(), 2);
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", configuration("Motion")}}));
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R1").active("true").text()));
}

TEST_F(ProxyIntakeTest, neverTakesAConfigurationForAFormat)
{
    startFixed({motion});
    const std::string text = configuration("Motion").add(rule("Motion", "%s%n").active("%d"));

    EXPECT_THAT(setConfiguration(text), Pair(0, 0));

    EXPECT_EQ(journal().logs().front(), "log 6 \"setConfiguration config " + text + "\"");
}

TEST_F(ProxyIntakeTest, letsAFailedWriteReachTheCallerWithTheFailureStillReported)
{
    startFixed({motion});
    platform().before["settingsSetJson"] = [] { throw std::runtime_error("disk full"); };
    unsigned char failed = 9;

    EXPECT_THROW(proxy->setConfiguration(configuration("Motion").text().c_str(), &failed), std::runtime_error);

    EXPECT_EQ(failed, 1);
}

TEST_F(ProxyIntakeTest, givesEnginesTheTextAsItCame)
{
    startFixed({motion});
    const std::string text = "\n" + configuration("Motion").spacious().text() + "<!-- end -->\n";
    std::string asked;
    motion->claims = [&](const std::string& config) {
        asked = config;
        return true;
    };

    EXPECT_THAT(setConfiguration(text), Pair(0, 0));

    EXPECT_EQ(asked, text);
    EXPECT_EQ(motion->ruleSet(1)->lastFullConfig, text) << "validated";
    EXPECT_EQ(motion->ruleSet(2)->lastFullConfig, text) << "kept";
}

TEST_F(ProxyIntakeTest, storesTextAndRawTextWholeAndNothingBesides)
{
    startFixed({motion});
    const std::string start = "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration>";
    const std::string open = "<tt:Rule Name=\"R1\" Type=\"tt:MotionRule\"><tt:Parameters>";
    const std::string close = "</tt:Parameters></tt:Rule>";
    const std::string end = "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";

    EXPECT_THAT(setConfiguration("<?xml version=\"1.0\"?>\r\n<?note a?><!-- c -->" + start + "\r\n " + open +
                                 kEveryConstruct + close + end),
                Pair(0, 0));

    const std::string line = "log 6 \"Analytics Setting Key Motion: ";
    EXPECT_THAT(journal().startingWith(line),
                ElementsAre(line + start + open + kEveryConstructCompact + close + end + "\""));
    EXPECT_THAT(currentRules(), ElementsAre(open + kEveryConstructCompact + close));
}

} // namespace

} // namespace korva::meridan::tests
