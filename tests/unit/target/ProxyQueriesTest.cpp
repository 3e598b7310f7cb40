// The read-only side: what engines can do, what is configured, and the document of all engines.

#include "kit/Heap.h"
#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

class ProxyQueriesTest : public ProxyTargetTest {
protected:
    using Query = int (ProxyTarget::*)(char***);

    Lines ask(Query query)
    {
        char** out = nullptr;
        EXPECT_EQ((proxy.get()->*query)(&out), 0);
        return takeList(out);
    }
};

TEST_F(ProxyQueriesTest, givesAListThatHoldsOnlyItsEndWithoutEngines)
{
    startFixed({});

    for (const Query query :
         {&ProxyTarget::getEventTopics, &ProxyTarget::getSupportedRules, &ProxyTarget::getSupportedEngines,
          &ProxyTarget::getCurrentRules, &ProxyTarget::getCurrentEngines, &ProxyTarget::getUsedPtzPresets}) {
        EXPECT_THAT(ask(query), IsEmpty());
    }
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyQueriesTest, givesAnEndedListWhenEnginesOfferNothing)
{
    startFixed({motion});

    EXPECT_THAT(ask(&ProxyTarget::getEventTopics), IsEmpty());
    EXPECT_THAT(ask(&ProxyTarget::getSupportedRules), IsEmpty());
    EXPECT_THAT(ask(&ProxyTarget::getSupportedEngines), IsEmpty());
}

TEST_F(ProxyQueriesTest, givesNoListWhenThereIsNoMemoryForIt)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator cannot be made to refuse";
    }
    startFixed({motion});
    char* nothing = nullptr;
    char** out = &nothing;

    kit::refuseNextCalloc();
    EXPECT_EQ(proxy->getEventTopics(&out), 0);

    EXPECT_EQ(out, nullptr);
}

TEST_F(ProxyQueriesTest, joinsTheEnginesTopicsInOrderAndKeepsDoubles)
{
    startFixed({line, motion});
    motion->topics = {"b", "a"};
    line->topics = {"c", "b"};

    EXPECT_THAT(ask(&ProxyTarget::getEventTopics), ElementsAre("c", "b", "b", "a"));
    EXPECT_THAT(takeAll(), ElementsAre("getEventTopics Line", "getEventTopics Motion"));
}

TEST_F(ProxyQueriesTest, joinsTheEnginesRuleTypes)
{
    startFixed({motion, line});
    motion->rules = {"r2", "r1"};
    line->rules = {"r1"};

    EXPECT_THAT(ask(&ProxyTarget::getSupportedRules), ElementsAre("r2", "r1", "r1"));
    EXPECT_THAT(takeAll(), ElementsAre("getSupportedRules Motion", "getSupportedRules Line"));
}

TEST_F(ProxyQueriesTest, joinsTheEnginesModuleTypes)
{
    startFixed({motion, line});
    motion->engines = {"m2", "m1"};
    line->engines = {"m1"};

    EXPECT_THAT(ask(&ProxyTarget::getSupportedEngines), ElementsAre("m2", "m1", "m1"));
    EXPECT_THAT(takeAll(), ElementsAre("getSupportedEngines Motion", "getSupportedEngines Line"));
}

TEST_F(ProxyQueriesTest, listsTheRulesOfEveryLiveKeyAndSaysWhatItRead)
{
    const std::string first = configuration("Motion").preset("P1");
    const std::string second = configuration("Motion").preset("P2");
    stored({{"MotionP1", first}, {"MotionP2", second}});
    startMovable({motion});

    EXPECT_THAT(ask(&ProxyTarget::getCurrentRules),
                ElementsAre(rule("Motion", "R1").preset("P1").active("true").text(),
                            rule("Motion", "R1").preset("P2").active("true").text()));
    EXPECT_THAT(takeAll(),
                ElementsAre("#1 getFullConfig", "#2 getFullConfig", "log 6 \"getCurrentBehaviors: " + first + "\"",
                            "log 6 \"getCurrentBehaviors: " + second + "\""));
}

TEST_F(ProxyQueriesTest, listsTheSameRuleOncePerPreset)
{
    stored({{"MotionP1", configuration("Motion")}, {"MotionP2", configuration("Motion")}});
    startMovable({motion});

    const std::string same = rule("Motion", "R1").active("true");
    EXPECT_THAT(ask(&ProxyTarget::getCurrentRules), ElementsAre(same, same));
}

TEST_F(ProxyQueriesTest, listsTheModulesOfEveryLiveKey)
{
    stored({{"Line", configuration("Line")}, {"Motion", configuration("Motion")}});
    startFixed({motion, line});

    EXPECT_THAT(ask(&ProxyTarget::getCurrentEngines),
                ElementsAre(module("Line", "M1").item("Sensitivity", "50").text(),
                            module("Motion", "M1").item("Sensitivity", "50").text()));
}

TEST_F(ProxyQueriesTest, chosesRulesOrModulesByTheFlag)
{
    stored({{"Motion", configuration("Motion")}});
    startFixed({motion});
    char** rules = nullptr;
    char** modules = nullptr;

    EXPECT_EQ(proxy->getCurrentBehaviors(true, &rules), 0);
    EXPECT_EQ(proxy->getCurrentBehaviors(false, &modules), 0);

    EXPECT_THAT(takeList(rules), ElementsAre(rule("Motion", "R1").active("true").text()));
    EXPECT_THAT(takeList(modules), ElementsAre(module("Motion", "M1").item("Sensitivity", "50").text()));
}

TEST_F(ProxyQueriesTest, listsNothingOfATextThatIsNoDocument)
{
    stored({{"Motion", "plain"}, {"MotionP1", ""}});
    startFixed({motion});

    EXPECT_THAT(ask(&ProxyTarget::getCurrentRules), IsEmpty());
    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"getCurrentBehaviors: plain\"", "log 6 \"getCurrentBehaviors: \""));
}

TEST_F(ProxyQueriesTest, sortsTheUsedPresetsByTheirBytes)
{
    startMovable({motion});
    for (const char* preset : {"b", "B", "A", "a", "B"}) {
        given(configuration("Motion").preset(preset));
    }

    EXPECT_THAT(usedPresets(), ElementsAre("A", "B", "a", "b"));
}

TEST_F(ProxyQueriesTest, stillListsAPresetWhoseConfigurationIsGone)
{
    startMovable({motion});
    given(configuration("Motion").preset("P1"));

    proxy->handlePresetModifiedEvent("P1");
    EXPECT_EQ(proxy->restoreDefaultSettings(), 0);

    EXPECT_THAT(usedPresets(), ElementsAre("P1"));
}

TEST_F(ProxyQueriesTest, mergesNothingToTheHeadersAndFootersAlone)
{
    startFixed({});

    EXPECT_EQ(currentConfiguration(),
              "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\">"
              "<tt:AnalyticsEngineConfiguration ></tt:AnalyticsEngineConfiguration >"
              "<tt:RuleEngineConfiguration ></tt:RuleEngineConfiguration ></tt:VideoAnalyticsConfiguration >");
    EXPECT_EQ(presetConfiguration("P1"), kit::merged(document({}, {})));
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyQueriesTest, mergesTheStoredConfigurationsOfAllEnginesModulesFirst)
{
    const std::string ofMotion = configuration("Motion").add(rule("Motion", "R2")).add(module("Motion", "M2"));
    const std::string ofLine = configuration("Line").add(rule("Line", "R1")).add(module("Line", "M1"));
    stored({{"Line", ofLine}, {"Motion", ofMotion}});
    startFixed({motion, line});

    EXPECT_EQ(currentConfiguration(), kit::merged(document({module("Motion", "M2"), module("Line", "M1")},
                                                           {rule("Motion", "R2"), rule("Line", "R1")})));
    EXPECT_THAT(takeAll(),
                ElementsAre(activeKeyLine("Motion"),
                            "log 6 \"mergeConfigurations Key Motion: config " + ofMotion + "\"", activeKeyLine("Line"),
                            "log 6 \"mergeConfigurations Key Line: config " + ofLine + "\""));
}

TEST_F(ProxyQueriesTest, mergesTheConfigurationsOfANamedPreset)
{
    stored({{"Motion", configuration("Motion")}, {"MotionP1", configuration("Motion").preset("P1")}});
    startFixed({motion, line});

    EXPECT_EQ(presetConfiguration("P1"), kit::merged(configuration("Motion").preset("P1")));
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"mergeConfigurations Key MotionP1: config " +
                                           configuration("Motion").preset("P1").text() + "\"",
                                       "log 7 \"Could not find setting LineP1\"",
                                       "log 6 \"mergeConfigurations Key LineP1: config \""));
}

TEST_F(ProxyQueriesTest, namesThePresetAlsoForTheEngineNamedSimple)
{
    stored({{"Simple", configuration("Simple")}, {"SimpleP1", configuration("Simple").preset("P1")}});
    startMovable({simple});
    arriveAt("P1");

    EXPECT_EQ(presetConfiguration("P1"), kit::merged(configuration("Simple").preset("P1")));
    EXPECT_EQ(currentConfiguration(), kit::merged(configuration("Simple")));
}

TEST_F(ProxyQueriesTest, takesAnEmptyPresetForTheCurrentPosition)
{
    stored({{"Motion", configuration("Motion")}, {"MotionP1", configuration("Motion").preset("P1")}});
    startMovable({motion});
    arriveAt("P1");

    EXPECT_EQ(presetConfiguration(""), kit::merged(configuration("Motion").preset("P1")));
    EXPECT_EQ(presetConfiguration(""), currentConfiguration());
}

TEST_F(ProxyQueriesTest, mergesWhatIsStoredUnderTheEmptyKeyForEveryEngineWhileTheCameraMoves)
{
    stored({{"", configuration("Odd")}, {"Motion", configuration("Motion")}});
    startFixed({motion, line});
    proxy->handlePositioningMotionStateEvent(true);

    EXPECT_EQ(currentConfiguration(), kit::merged(document({}, {})));

    EXPECT_THAT(takeLogs(),
                ElementsAre(activeKeyLine(""), "log 7 \"Could not find setting \"",
                            "log 6 \"mergeConfigurations Key : config \"", activeKeyLine(""),
                            "log 7 \"Could not find setting \"", "log 6 \"mergeConfigurations Key : config \""));
}

TEST_F(ProxyQueriesTest, mergesOnlyWhatIsStored)
{
    startFixed({motion});
    given(configuration("Motion"));
    motion->ruleSet(2)->setContent(configuration("Motion").add(rule("Motion", "R9")));

    EXPECT_EQ(currentConfiguration(), kit::merged(configuration("Motion")));
}

TEST_F(ProxyQueriesTest, mergesThroughTheOperationThatBothQueriesUse)
{
    stored({{"MotionP1", configuration("Motion").preset("P1")}});
    startFixed({motion});

    EXPECT_EQ(takeText(proxy->mergeConfigurations("P1")), kit::merged(configuration("Motion").preset("P1")));
}

TEST_F(ProxyQueriesTest, takesTheFirstListOfADocument)
{
    startFixed({motion});
    const std::string first = rule("Motion", "R1");
    const std::string second = rule("Motion", "R2");
    const std::string lists = "<tt:RuleEngineConfiguration>" + first + "</tt:RuleEngineConfiguration>" +
                              "<tt:RuleEngineConfiguration>" + second + "</tt:RuleEngineConfiguration>";
    given("<tt:VideoAnalyticsConfiguration>" + lists + "</tt:VideoAnalyticsConfiguration>");
    EXPECT_THAT(currentRules(), ElementsAre(first));
    given("<more/><tt:VideoAnalyticsConfiguration>" + lists + "</tt:VideoAnalyticsConfiguration>");
    EXPECT_THAT(currentRules(), ElementsAre(first)) << "behind another top element";
    given("<more>" + lists + "</more>");
    EXPECT_THAT(currentRules(), IsEmpty());
}

} // namespace

} // namespace korva::meridan::tests
