// Construction, the engine list, the event relay, restoring defaults and the end.

#include "ravel/RavelApiException.h"
#include "target/ConfigurationXml.h"
#include "unit/target/ProxyTargetFixture.h"

#include <algorithm>
#include <type_traits>

namespace korva::meridan {

/// Where the fields of a core lie, in the order of their destruction from the last to the first.
class ProxyTargetPeer {
public:
    static std::vector<const void*> fields(const ProxyTarget& core)
    {
        return {&core.logContext,
                &core.analyticLibs,
                &core.reservedOwner,
                &core.ruleSetMap,
                &core.settings,
                &core.defaultPresetKey,
                &core.atPreset,
                &core.currentPreset,
                &core.usedPtzPresets,
                &core.inMovement,
                &core.windowBlankingColor,
                &core.eventCallback,
                &core.eventCallbackContext,
                &core.frameOrientation};
    }

    static bool ownsNothingInReserve(const ProxyTarget& core) { return core.reservedOwner == nullptr; }
};

} // namespace korva::meridan

namespace korva::meridan::tests {

namespace {

static_assert(!std::is_copy_constructible_v<ProxyTarget> && !std::is_copy_assignable_v<ProxyTarget>);
static_assert(std::is_base_of_v<analytics_lib::IEventHandler, ProxyTarget>);

using ProxyCoreTest = ProxyTargetTest;

void* logHandle()
{
    return kit::Platform::logHandle();
}

TEST_F(ProxyCoreTest, namesTheElementsOfComponents)
{
    EXPECT_STREQ(kModuleElement, "tt:AnalyticsModule");
    EXPECT_STREQ(kModuleOpen, "<tt:AnalyticsModule>");
    EXPECT_STREQ(kModuleClose, "</tt:AnalyticsModule>");
    EXPECT_STREQ(kRuleElement, "tt:Rule");
    EXPECT_STREQ(kRuleOpen, "<tt:Rule");
    EXPECT_STREQ(kRuleClose, "</tt:Rule>");
}

TEST_F(ProxyCoreTest, hasItsFieldsInTheirOrder)
{
    startFixed({motion});
    const std::vector<const void*> fields = ProxyTargetPeer::fields(*proxy);

    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<const void*>()));
    EXPECT_TRUE(ProxyTargetPeer::ownsNothingInReserve(*proxy));
}

TEST_F(ProxyCoreTest, loadsTheStoredSettingsAtOnce)
{
    const ProxyTarget core(logHandle(), false);

    EXPECT_THAT(takeAll(),
                ElementsAre("settingsSetDefault OnvifAnalytics [] -> 0", "settingsGetJson OnvifAnalytics -> 0"));
}

TEST_F(ProxyCoreTest, knowsTheStatusOfAFailedCall)
{
    const ravel::core::RavelApiException failure("no store", 7);

    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, ravel::core::RavelApiException>));
    EXPECT_EQ(failure.status(), 7);
    EXPECT_STREQ(failure.what(), "no store (status text 7)");
}

TEST_F(ProxyCoreTest, letsAFailureOfTheStoreLeaveTheConstructor)
{
    platform().before["settingsGetJson"] = [] { throw ravel::core::RavelApiException("no store", 7); };

    EXPECT_THROW(ProxyTarget(logHandle(), false), ravel::core::RavelApiException);
}

TEST_F(ProxyCoreTest, beginsWithOrientationZeroAndNoPresetMet)
{
    startFixed({});

    EXPECT_EQ(proxy->getFrameOrientation(), 0U);
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyCoreTest, keysAnEngineByItsNameAloneOnAFixedCamera)
{
    startFixed({motion});

    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "Motion");
}

TEST_F(ProxyCoreTest, hasAKeyForBeingAtNoPresetOnAMovableCamera)
{
    startMovable({motion});

    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "MotionZintuInternalSimpleAnalyticsPreset");
}

TEST_F(ProxyCoreTest, installsEnginesOneAfterTheOtherAndThenActivates)
{
    stored({{"Line", configuration("Line")}, {"Motion", configuration("Motion")}});
    ProxyTarget core(logHandle(), false);
    journal().clear();

    core.setAnalyticLibs({motion, line});

    EXPECT_THAT(takeAll(), ElementsAreArray(joined(
                               {{"setEventHandler Motion", "createRuleSet Motion -> #1", "#1 setFullConfig -> true",
                                 "setEventHandler Line", "createRuleSet Line -> #2", "#2 setFullConfig -> true"},
                                activated("Motion", "Motion", 1, {"log 6 \"    Rule: tt:MotionRule active true\""}),
                                activated("Line", "Line", 2, {"log 6 \"    Rule: tt:LineRule active true\""})})));
    EXPECT_EQ(motion->ruleSet(1)->lastFullConfig, configuration("Motion").text());
    EXPECT_EQ(motion->handler(), &core);
    EXPECT_EQ(line->handler(), &core);
}

TEST_F(ProxyCoreTest, restoresEveryKeyThatBeginsWithTheEnginesName)
{
    stored({{"Moti", "x"}, {"Motion", "a"}, {"MotionP1", "b"}, {"MotionP2", "c"}, {"motionP3", "d"}, {"xMotion", "e"}});
    startFixed({motion});

    EXPECT_EQ(motion->notReturned(), 3);
    EXPECT_EQ(motion->ruleSet(1)->content(), "a");
    EXPECT_EQ(motion->ruleSet(2)->content(), "b");
    EXPECT_EQ(motion->ruleSet(3)->content(), "c");
    EXPECT_EQ(motion->activeRuleSet(), 1);
}

TEST_F(ProxyCoreTest, restoresAKeyForEveryEngineWhoseNameItBeginsWith)
{
    const auto front = std::make_shared<FakeEngine>("SimpleFront");
    stored({{"SimpleFront", "text"}});
    startFixed({simple, front});

    // The second one takes the key over; the first engine's rule set stays with that engine.
    EXPECT_EQ(simple->ruleSet(1)->content(), "text");
    EXPECT_EQ(front->ruleSet(2)->content(), "text");
    EXPECT_EQ(front->activeRuleSet(), 2);
    EXPECT_EQ(simple->activeRuleSet(), 0);
    proxy.reset();
    EXPECT_EQ(simple->notReturned(), 1);
}

TEST_F(ProxyCoreTest, triesTheEmptyStringsAheadOfTheKeysForAnEngineWithoutName)
{
    const auto nameless = std::make_shared<FakeEngine>("");
    stored({{"A", "text"}});
    ProxyTarget core(logHandle(), false);
    journal().clear();

    core.setAnalyticLibs({nameless});

    EXPECT_THAT(takeAll(), ElementsAreArray(
                               joined({{"setEventHandler ", "log 7 \"Could not find setting \"", "createRuleSet  -> #1",
                                        "#1 setFullConfig -> true", "createRuleSet  -> #2", "#2 setFullConfig -> true"},
                                       activated("", "", 1, {"log 6 \"Failed to parse configuration\""})})));
    EXPECT_EQ(nameless->ruleSet(2)->content(), "text");
}

TEST_F(ProxyCoreTest, carriesOnWhenAStoredConfigurationIsNoLongerAccepted)
{
    stored({{"Motion", "old"}, {"MotionP1", "good"}});
    motion->setFullAnswers = {false};
    ProxyTarget core(logHandle(), false);
    journal().clear();

    core.setAnalyticLibs({motion});

    EXPECT_THAT(takeAll(), ElementsAreArray(joined(
                               {{"setEventHandler Motion", "createRuleSet Motion -> #1", "#1 setFullConfig -> false",
                                 "log 3 \"Failed to restore rule set config for saved setting 'Motion\"",
                                 "releaseRuleSet Motion #1", "createRuleSet Motion -> #2", "#2 setFullConfig -> true"},
                                cleared("Motion", "Motion")})));
}

TEST_F(ProxyCoreTest, takesTheOldEnginesRulesBeforeItInstallsNewOnes)
{
    stored({{"Line", "b"}, {"Motion", "a"}});
    startFixed({motion});

    proxy->setAnalyticLibs({line});

    EXPECT_THAT(takeEngineCalls(),
                ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #1", "setEventHandler Line",
                            "createRuleSet Line -> #2", "#2 setFullConfig -> true", "clearAllRules Line",
                            "#2 getFullConfig", "activateRuleSet Line #2 -> true"));
    EXPECT_EQ(motion->notReturned(), 0);
}

TEST_F(ProxyCoreTest, leavesNothingBehindWhenTheListBecomesEmpty)
{
    stored({{"Motion", "a"}});
    startFixed({motion});

    proxy->setAnalyticLibs({});

    EXPECT_THAT(takeAll(), ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #1"));
    EXPECT_THAT(currentRules(), IsEmpty());
}

TEST_F(ProxyCoreTest, sharesTheEnginesAndLetsGoOfThemAtTheEnd)
{
    startFixed({motion});
    EXPECT_EQ(motion.use_count(), 2);

    proxy.reset();

    EXPECT_EQ(motion.use_count(), 1);
}

struct Relay {
    void* context = nullptr;
    std::vector<std::string> texts;

    static void take(void* context, const std::string& a, const std::string& b, const std::string& c)
    {
        auto* const relay = static_cast<Relay*>(context);
        relay->context = context;
        relay->texts = {a, b, c};
        journal().add(kit::Part::Test, "event");
    }
};

TEST_F(ProxyCoreTest, passesAnEventOnWithItsSecondTextInTheLog)
{
    startFixed({motion});
    Relay relay;
    proxy->registerEventCallback(&Relay::take, &relay);

    motion->raiseAlways("the topic", "the %s source", "the data");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Generating event for the %s source\"", "event"));
    EXPECT_THAT(relay.texts, ElementsAre("the topic", "the %s source", "the data"));
    EXPECT_EQ(relay.context, &relay);
}

TEST_F(ProxyCoreTest, sendsEventsToTheLastRegisteredCallbackOnly)
{
    startFixed({motion});
    Relay first;
    Relay second;
    proxy->registerEventCallback([](void*, const std::string&, const std::string&,
                                    const std::string&) { journal().add(kit::Part::Test, "first callback"); },
                                 &first);
    proxy->registerEventCallback(&Relay::take, &second);

    proxy->OnEvent("a", "b", "c");

    EXPECT_THAT(takeCalls(), ElementsAre("event"));
    EXPECT_THAT(second.texts, ElementsAre("a", "b", "c"));
    EXPECT_EQ(second.context, &second);
}

TEST_F(ProxyCoreTest, passesAnEventOnWhileNothingIsActive)
{
    startMovable({motion});
    Relay relay;
    proxy->registerEventCallback(&Relay::take, &relay);
    proxy->handlePresetStateEvent(1, "");

    proxy->OnEvent("a", "b", "c");

    EXPECT_THAT(relay.texts, ElementsAre("a", "b", "c"));
}

TEST_F(ProxyCoreTest, takesEveryRuleFromTheEnginesWhenDefaultsAreRestored)
{
    stored({{"Line", "c"}, {"Motion", "a"}, {"MotionP1", "b"}});
    startFixed({motion, line});

    EXPECT_EQ(proxy->restoreDefaultSettings(), 0);

    EXPECT_THAT(takeAll(), ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #1", "releaseRuleSet Motion #2",
                                       "clearAllRules Line", "releaseRuleSet Line #3"));
    EXPECT_THAT(currentRules(), IsEmpty());
    EXPECT_EQ(storedNow(), storedDocument({{"Line", "c"}, {"Motion", "a"}, {"MotionP1", "b"}}));
}

TEST_F(ProxyCoreTest, stillMergesTheStoredConfigurationsAfterDefaultsWereRestored)
{
    stored({{"Motion", configuration("Motion")}});
    startFixed({motion});
    proxy->restoreDefaultSettings();

    EXPECT_EQ(currentConfiguration(), kit::merged(configuration("Motion")));
}

TEST_F(ProxyCoreTest, restoresDefaultsWithoutEngines)
{
    startFixed({});

    EXPECT_EQ(proxy->restoreDefaultSettings(), 0);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyCoreTest, takesAllRulesFromTheEnginesWhenItIsDestroyed)
{
    stored({{"Line", "c"}, {"Motion", "a"}});
    startFixed({motion, line});

    proxy.reset();

    EXPECT_THAT(takeAll(), ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #1", "clearAllRules Line",
                                       "releaseRuleSet Line #2"));
    EXPECT_EQ(motion->notReturned() + line->notReturned(), 0);
}

TEST_F(ProxyCoreTest, writesNothingWhenItIsDestroyed)
{
    startFixed({motion});
    given(configuration("Motion"));
    platform().settings.written.clear();

    proxy.reset();

    EXPECT_THAT(platform().settings.written, IsEmpty());
}

using ProxyCoreDeathTest = ProxyTargetTest;

TEST_F(ProxyCoreDeathTest, endsTheProcessWhenAnEngineThrowsDuringDestruction)
{
    startFixed({motion});
    motion->before["clearAllRules"] = [] { throw 5; };

    EXPECT_DEATH(proxy.reset(), "");

    motion->before.clear();
}

TEST_F(ProxyCoreTest, keepsWhereTheCameraIsWhenDefaultsAreRestored)
{
    startMovable({motion});
    given(configuration("Motion").preset("P2"));
    arriveAt("P1");
    ASSERT_EQ(proxy->restoreDefaultSettings(), 0);
    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "MotionP1");
    EXPECT_THAT(usedPresets(), ElementsAre("P2"));

    proxy->handlePositioningMotionStateEvent(true);
    ASSERT_EQ(proxy->restoreDefaultSettings(), 0);
    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "");
}

TEST_F(ProxyCoreTest, letsWhatAnEngineThrowsLeaveWhenDefaultsAreRestored)
{
    startFixed({motion});
    motion->before["clearAllRules"] = [] { throw std::runtime_error("engine"); };

    EXPECT_THROW(proxy->restoreDefaultSettings(), std::runtime_error);
    EXPECT_THROW(proxy->setAnalyticLibs({}), std::runtime_error);

    motion->before.clear();
}

TEST_F(ProxyCoreTest, keepsAllElseWhenTheEnginesAreReplaced)
{
    startMovable({motion});
    given(configuration("Motion").preset("P2"));
    arriveAt("P1");
    proxy->setWindowBlankingColor({1, 2, 3});
    proxy->handleOrientationChangeEvent(270);

    proxy->setAnalyticLibs({line});

    EXPECT_THAT(usedPresets(), ElementsAre("P2"));
    EXPECT_EQ(proxy->getActiveSettingsKey(line), "LineP1");
    EXPECT_EQ(proxy->getFrameOrientation(), 270U);
    proxy->handleWindowBlankingEvent(true);
    EXPECT_EQ(journal().count("onWindowBlankingChange Line true 1 2 3"), 1U);
    proxy->handlePositioningMotionStateEvent(true);
    proxy->setAnalyticLibs({motion});
    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "");
    proxy->handlePositioningMotionStateEvent(false);
    EXPECT_EQ(proxy->getActiveSettingsKey(motion), "MotionP1");
    EXPECT_EQ(journal().startingWith("settingsGetJson").size(), 0U) << "the settings are those in memory";
}

TEST_F(ProxyCoreTest, replacesTheEnginesAlsoByTheSame)
{
    startFixed({motion});
    given(configuration("Motion"));

    proxy->setAnalyticLibs({motion});

    EXPECT_THAT(takeEngineCalls(),
                ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #2", "setEventHandler Motion",
                            "createRuleSet Motion -> #3", "#3 setFullConfig -> true", "clearAllRules Motion",
                            "#3 getFullConfig", "activateRuleSet Motion #3 -> true"));
}

} // namespace

} // namespace korva::meridan::tests
