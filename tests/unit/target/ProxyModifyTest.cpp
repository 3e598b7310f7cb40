// Creating and modifying single rules and modules.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

using ProxyModifyTest = ProxyTargetTest;

TEST_F(ProxyModifyTest, onlyReconfiguresForAnEmptyList)
{
    startFixed({motion, line});

    EXPECT_EQ(modify({}), 0U);

    EXPECT_THAT(takeAll(), ElementsAreArray(joined({cleared("Motion", "Motion"), cleared("Line", "Line")})));
}

TEST_F(ProxyModifyTest, takesANullListForAnEmptyOne)
{
    startFixed({motion});
    unsigned int status = 99;

    EXPECT_EQ(proxy->modifyConfiguration(nullptr, &status, true), 0);

    EXPECT_EQ(status, 0U);
    EXPECT_THAT(takeAll(), ElementsAreArray(cleared("Motion", "Motion")));
}

TEST_F(ProxyModifyTest, validatesStoresAndReconfigures)
{
    startFixed({motion});
    const std::string stored = document({}, {rule("Motion", "R1").active("yes")});

    EXPECT_EQ(modify({rule("Motion", "R1").active("yes")}), 0U);

    EXPECT_THAT(takeAll(),
                ElementsAreArray(
                    joined({{"log 6 \"Analytics settings key ptzPreset is \"", "createRuleSet Motion -> #1",
                             "#1 validateConfig(R1, tt:MotionRule) -> true", "#1 setConfig(R1, tt:MotionRule) -> true",
                             "#1 getFullConfig", "log 6 \"Analytics Setting Key Motion: " + stored + "\"",
                             "settingsSetJson OnvifAnalytics -> 0"},
                            activated("Motion", "Motion", 1, {"log 6 \"    Rule: tt:MotionRule active yes\""})})));
    EXPECT_EQ(storedNow(), storedDocument({{"Motion", stored}}));
}

TEST_F(ProxyModifyTest, handsTheParametersOnInCompactForm)
{
    startFixed({motion});

    EXPECT_EQ(modify({"<?xml version='1.0'?> <tt:Rule Name='R1' Type='tt:MotionRule'>\n <tt:Parameters>\n"
                      "  <tt:SimpleItem Name='A' Value='1'/> </tt:Parameters>\n <tt:More/> </tt:Rule>"}),
              0U);

    EXPECT_EQ(motion->ruleSet(1)->lastComponent.name, "R1");
    EXPECT_EQ(motion->ruleSet(1)->lastComponent.type, "tt:MotionRule");
    EXPECT_EQ(motion->ruleSet(1)->lastComponent.parameters,
              "<tt:Parameters><tt:SimpleItem Name=\"A\" Value=\"1\"/></tt:Parameters>");
}

TEST_F(ProxyModifyTest, takesModulesFromTheirOwnElement)
{
    startFixed({motion});

    EXPECT_EQ(modify({module("Motion", "M1").item("A", "1")}, true), 0U);

    EXPECT_EQ(storedNow(), storedDocument({{"Motion", document({module("Motion", "M1").item("A", "1")}, {})}}));
}

TEST_F(ProxyModifyTest, readsNothingFromAnElementOfTheOtherKind)
{
    startFixed({motion});
    motion->accepts = [](const kit::Component&) { return true; };

    EXPECT_EQ(modify({module("Motion", "M1").item("A", "1")}, false), 0U);

    EXPECT_THAT(takeEngineCalls()[1], "#1 validateConfig(, ) -> true");
    EXPECT_EQ(motion->ruleSet(1)->lastComponent.parameters, "");
}

TEST_F(ProxyModifyTest, refusesAnElementOfTheOtherKindThatNoEngineAccepts)
{
    startFixed({motion});

    EXPECT_EQ(modify({rule("Motion", "R1")}, true), 4U);
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyModifyTest, offersAnItemToTheEnginesInOrderUntilOneAccepts)
{
    startFixed({motion, line, simple});

    EXPECT_EQ(modify({rule("Line", "R1")}), 0U);

    const Lines calls = takeAll();
    EXPECT_THAT(Lines(calls.begin(), calls.begin() + 8),
                ElementsAre("log 6 \"Analytics settings key ptzPreset is \"", "createRuleSet Motion -> #1",
                            "#1 validateConfig(R1, tt:LineRule) -> false", "releaseRuleSet Motion #1",
                            "log 6 \"Analytics settings key ptzPreset is \"", "createRuleSet Line -> #2",
                            "#2 validateConfig(R1, tt:LineRule) -> true", "#2 setConfig(R1, tt:LineRule) -> true"));
    EXPECT_EQ(storedNow(), storedDocument({{"Line", document({}, {rule("Line", "R1")})}}));
}

TEST_F(ProxyModifyTest, keepsAnItemUnderThePresetInItsParameters)
{
    startMovable({motion});

    EXPECT_EQ(modify({rule("Motion", "R1").preset("P1")}), 0U);

    EXPECT_EQ(storedNow(), storedDocument({{"MotionP1", document({}, {rule("Motion", "R1").preset("P1")})}}));
    EXPECT_THAT(usedPresets(), ElementsAre("P1"));
    EXPECT_EQ(motion->activeRuleSet(), 0);
    arriveAt("P1");
    EXPECT_EQ(motion->activeRuleSet(), 1);
}

TEST_F(ProxyModifyTest, replacesARuleOfTheSameName)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(modify({rule("Motion", "R1").active("false")}), 0U);

    EXPECT_EQ(storedNow(), storedDocument({{"Motion", document({module("Motion", "M1").item("Sensitivity", "50")},
                                                               {rule("Motion", "R1").active("false")})}}));
}

TEST_F(ProxyModifyTest, asksTheStoredRuleSetOfTheKey)
{
    startFixed({motion});
    given(configuration("Motion"));

    EXPECT_EQ(modify({rule("Motion", "R2")}), 0U);

    EXPECT_EQ(takeEngineCalls().front(), "#2 validateConfig(R2, tt:MotionRule) -> true");
}

TEST_F(ProxyModifyTest, validatesAllItemsBeforeTheFirstIsStored)
{
    startFixed({motion});

    EXPECT_EQ(modify({rule("Motion", "R1"), rule("Motion", "R2")}), 0U);

    const Lines calls = takeCalls();
    EXPECT_THAT(Lines(calls.begin(), calls.begin() + 9),
                ElementsAre("createRuleSet Motion -> #1", "#1 validateConfig(R1, tt:MotionRule) -> true",
                            "#1 validateConfig(R2, tt:MotionRule) -> true", "#1 setConfig(R1, tt:MotionRule) -> true",
                            "#1 getFullConfig", "settingsSetJson OnvifAnalytics -> 0",
                            "#1 setConfig(R2, tt:MotionRule) -> true", "#1 getFullConfig",
                            "settingsSetJson OnvifAnalytics -> 0"));
}

TEST_F(ProxyModifyTest, writesTheWholeDocumentOnceForEveryAcceptedItem)
{
    startFixed({motion, line});

    EXPECT_EQ(modify({rule("Motion", "R1"), rule("Line", "R2"), rule("Motion", "R3")}), 0U);

    EXPECT_THAT(platform().settings.written,
                ElementsAre(storedDocument({{"Motion", document({}, {rule("Motion", "R1")})}}),
                            storedDocument({{"Line", document({}, {rule("Line", "R2")})},
                                            {"Motion", document({}, {rule("Motion", "R1")})}}),
                            storedDocument({{"Line", document({}, {rule("Line", "R2")})},
                                            {"Motion", document({}, {rule("Motion", "R1"), rule("Motion", "R3")})}})));
}

TEST_F(ProxyModifyTest, storesNothingWhenALaterItemIsRefused)
{
    startFixed({motion});

    EXPECT_EQ(modify({rule("Motion", "R1"), rule("Other", "R2").preset("P7")}), 4U);

    EXPECT_THAT(
        takeAll(),
        ElementsAreArray(
            joined({{"log 6 \"Analytics settings key ptzPreset is \"", "createRuleSet Motion -> #1",
                     "#1 validateConfig(R1, tt:MotionRule) -> true", "log 6 \"Analytics settings key ptzPreset is P7\"",
                     "createRuleSet Motion -> #2", "#2 validateConfig(R2, tt:OtherRule) -> false",
                     "releaseRuleSet Motion #2", "log 3 \"not a valid component\""},
                    activated("Motion", "Motion", 1, {"log 6 \"Failed to parse configuration\""})})));
    EXPECT_THAT(platform().settings.written, IsEmpty());
    EXPECT_THAT(usedPresets(), ElementsAre("P7"));
}

TEST_F(ProxyModifyTest, leavesTheEmptyRuleSetsThatValidationInsertedAfterARefusal)
{
    startMovable({motion});

    EXPECT_EQ(modify({rule("Motion", "R1").preset("P1"), rule("Motion", "R2").preset("P2"), "<broken"}), 4U);

    EXPECT_EQ(motion->notReturned(), 2);
    EXPECT_EQ(motion->ruleSet(1)->content(), "");
    EXPECT_THAT(currentRules(), IsEmpty());
    arriveAt("P1");
    EXPECT_EQ(motion->activeRuleSet(), 1);
    proxy.reset();
    EXPECT_EQ(motion->notReturned(), 0);
}

TEST_F(ProxyModifyTest, stopsAtTheFirstRefusedItem)
{
    startFixed({motion});

    EXPECT_EQ(modify({"<broken", rule("Motion", "R1")}), 4U);

    EXPECT_THAT(takeAll(),
                ElementsAreArray(joined({{"log 3 \"not a valid component\""}, cleared("Motion", "Motion")})));
}

TEST_F(ProxyModifyTest, refusesAnythingWithoutEngines)
{
    startFixed({});

    EXPECT_EQ(modify({rule("Motion", "R1")}), 4U);

    EXPECT_THAT(takeAll(), ElementsAre("log 3 \"not a valid component\""));
}

TEST_F(ProxyModifyTest, storesTheOtherItemsWhenTheEngineDoesNotTakeOne)
{
    startFixed({motion});
    motion->setAnswers = {false, true};

    EXPECT_EQ(modify({rule("Motion", "R1"), rule("Motion", "R2")}), 4U);

    EXPECT_EQ(storedNow(), storedDocument({{"Motion", document({}, {rule("Motion", "R2")})}}));
    EXPECT_THAT(platform().settings.written.size(), 1U);
    EXPECT_EQ(journal().count("log 3 \"not a valid component\""), 0U);
    EXPECT_EQ(motion->activeRuleSet(), 1); // reconfigured all the same
}

TEST_F(ProxyModifyTest, storesNothingWhenTheEngineTakesNone)
{
    startFixed({motion});
    motion->setAnswers = {false};

    EXPECT_EQ(modify({rule("Motion", "R1")}), 4U);

    EXPECT_THAT(platform().settings.written, IsEmpty());
    EXPECT_EQ(journal().count("clearAllRules Motion"), 1U);
}

TEST_F(ProxyModifyTest, leavesTheStatusAtOneWhenAnExceptionCutsItShort)
{
    startFixed({motion});
    InputList items{rule("Motion", "R1").text()};
    unsigned int status = 99;
    motion->before["ruleSet.setConfig"] = [] { throw std::runtime_error("engine"); };

    EXPECT_THROW(proxy->modifyConfiguration(items, &status, false), std::runtime_error);

    EXPECT_EQ(status, 1U);
}

TEST_F(ProxyModifyTest, givesAnItemWithTwoPresetsTheEmptyKey)
{
    startMovable({motion});

    EXPECT_EQ(modify({rule("Motion", "R1").preset("P1").preset("P2")}), 0U);

    EXPECT_EQ(journal().logs().front(),
              "log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:P2\"");
    EXPECT_EQ(storedNow(), storedDocument({{"", document({}, {rule("Motion", "R1").preset("P1").preset("P2")})}}));
}

TEST_F(ProxyModifyTest, givesAnItemWithoutParametersTheEmptyKey)
{
    startFixed({motion});
    const std::string item = rule("Motion", "R1").withoutParameters();

    EXPECT_EQ(modify({item}), 0U);

    const Lines calls = takeAll();
    EXPECT_THAT(Lines(calls.begin(), calls.begin() + 4),
                ElementsAre("log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config \"", "createRuleSet Motion -> #1",
                            "#1 validateConfig(R1, tt:MotionRule) -> true", "#1 setConfig(R1, tt:MotionRule) -> true"));
    EXPECT_THAT(platform().settings.written.size(), 1U);
    EXPECT_EQ(motion->activeRuleSet(), 0);
}

TEST_F(ProxyModifyTest, activatesTheRuleSetOfTheEmptyKeyOnEveryEngineWhileTheCameraMoves)
{
    startMovable({motion, line});
    ASSERT_EQ(modify({rule("Motion", "R1").withoutParameters()}), 0U);
    journal().clear();

    proxy->handlePositioningCommandPriorityEvent(0);

    EXPECT_THAT(takeEngineCalls(),
                ElementsAre("clearAllRules Motion", "#1 getFullConfig", "activateRuleSet Motion #1 -> true",
                            "clearAllRules Line", "#1 getFullConfig", "activateRuleSet Line (not its own) -> false"));
}

TEST_F(ProxyModifyTest, neverHandsTheRuleSetOfTheEmptyKeyBack)
{
    startMovable({motion});
    ASSERT_EQ(modify({rule("Motion", "R1").withoutParameters()}), 0U);

    proxy.reset();

    EXPECT_EQ(motion->notReturned(), 1);
}

TEST_F(ProxyModifyTest, forgetsTheRuleSetOfTheEmptyKeyWhenDefaultsAreRestored)
{
    startMovable({motion});
    ASSERT_EQ(modify({rule("Motion", "R1").withoutParameters()}), 0U);

    ASSERT_EQ(proxy->restoreDefaultSettings(), 0);

    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_EQ(motion->notReturned(), 1);
}

TEST_F(ProxyModifyTest, handsTextAndRawTextOnWholeAndNothingBesides)
{
    startFixed({motion});

    EXPECT_EQ(modify({"<tt:Rule Name=\"R1\" Type=\"tt:MotionRule\"><tt:Parameters>" + kEveryConstruct +
                      "</tt:Parameters></tt:Rule>"}),
              0U);

    EXPECT_EQ(motion->ruleSet(1)->lastComponent.parameters,
              "<tt:Parameters>" + kEveryConstructCompact + "</tt:Parameters>");
}

TEST_F(ProxyModifyTest, takesAnItemOnlyFromTheTopOfItsText)
{
    startFixed({motion});
    std::string name;
    motion->accepts = [&](const kit::Component& component) {
        name = component.name;
        return true;
    };
    const auto nameOf = [&](const std::string& item) {
        EXPECT_EQ(modify({item}), 0U);
        return name;
    };

    EXPECT_EQ(nameOf("<more>" + rule("Motion", "R1").text() + "</more>"), "");
    EXPECT_EQ(nameOf("<more/>" + rule("Motion", "R2").text()), "R2") << "not the first element";
    EXPECT_EQ(nameOf(rule("Motion", "R3").text() + rule("Motion", "R4").text()), "R3");
}

TEST_F(ProxyModifyTest, takesTheFirstParametersOfAnItem)
{
    startFixed({motion});

    EXPECT_EQ(modify({"<tt:Rule Name=\"R1\" Type=\"tt:MotionRule\"><more/>" + rule("", "").item("A", "1").parameters() +
                      rule("", "").item("A", "2").parameters() + "</tt:Rule>"}),
              0U);

    EXPECT_EQ(motion->ruleSet(1)->lastComponent.parameters, rule("", "").item("A", "1").parameters());
}

TEST_F(ProxyModifyTest, refusesAnEmptyItem)
{
    startFixed({motion});

    EXPECT_EQ(modify({"", rule("Motion", "R1")}), 4U);
    EXPECT_EQ(modify({rule("Motion", "R1"), ""}), 4U);
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

TEST_F(ProxyModifyTest, leavesTheStatusAtOneWhateverIsThrown)
{
    startFixed({motion});
    InputList items{rule("Motion", "R1").text()};
    const auto statusWhen = [&](const char* call) {
        unsigned int status = 99;
        motion->before = {{call, [] { throw std::runtime_error("engine"); }}};
        EXPECT_THROW(proxy->modifyConfiguration(items, &status, false), std::runtime_error) << call;
        motion->before.clear();
        return status;
    };

    EXPECT_EQ(statusWhen("ruleSet.validateConfig"), 1U);
    EXPECT_EQ(statusWhen("createRuleSet"), 1U);
    EXPECT_EQ(statusWhen("ruleSet.setConfig"), 1U);
    EXPECT_EQ(statusWhen("clearAllRules"), 1U) << "although it is stored";
}

TEST_F(ProxyModifyTest, letsAStoreThatThrowsReachTheCaller)
{
    startFixed({motion});
    InputList items{rule("Motion", "R1").text()};
    unsigned int status = 99;
    platform().before["settingsSetJson"] = [] { throw std::runtime_error("disk full"); };

    EXPECT_THROW(proxy->modifyConfiguration(items, &status, false), std::runtime_error);

    EXPECT_EQ(status, 1U);
    EXPECT_EQ(journal().count("clearAllRules Motion"), 0U);
}

} // namespace

} // namespace korva::meridan::tests
