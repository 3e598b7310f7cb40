// What each camera event does to the three facts that choose a key, and to the engines.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

/// Engines "Motion" and "Simple" on a movable camera, with a configuration for every position.
class ProxyFollowingTest : public ProxyTargetTest {
protected:
    ProxyFollowingTest()
    {
        stored({{std::string("Motion") + kAway, "<away/>"},
                {"MotionP1", "<p1/>"},
                {"MotionP2", "<p2/>"},
                {"Simple", "<simple/>"}});
        startMovable({motion, simple});
    }

    std::string motionKey()
    {
        const std::string key = proxy->getActiveSettingsKey(motion);
        journal().clear();
        return key;
    }

    std::string simpleKey()
    {
        const std::string key = proxy->getActiveSettingsKey(simple);
        journal().clear();
        return key;
    }

    /// The text of the configuration that the engine evaluates.
    static std::string active(const FakeEngine& engine)
    {
        const kit::FakeRuleSet* const ruleSet = engine.ruleSet(engine.activeRuleSet());
        return ruleSet == nullptr ? "nothing" : ruleSet->content();
    }

    static Lines stopped() { return kit::stopped({"Motion", "Simple"}); }
};

TEST_F(ProxyFollowingTest, beginsAwayFromEveryPreset)
{
    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
    EXPECT_EQ(simpleKey(), "Simple");
    EXPECT_EQ(active(*motion), "<away/>");
    EXPECT_EQ(active(*simple), "<simple/>");
}

TEST_F(ProxyFollowingTest, logsTheKeyThatItComputed)
{
    arriveAt("P1");

    proxy->getActiveSettingsKey(motion);
    proxy->getActiveSettingsKey(simple);
    proxy->handlePositioningMotionStateEvent(true);
    proxy->getActiveSettingsKey(simple);

    EXPECT_THAT(takeAll(), ElementsAre("log 7 \"getActiveSettingsKey: getSettingsKey :MotionP1:\"",
                                       "log 7 \"getActiveSettingsKey: getSettingsKey :Simple:\"",
                                       "log 7 \"getActiveSettingsKey: getSettingsKey ::\""));
}

TEST_F(ProxyFollowingTest, reconfiguresEveryEngineInOrder)
{
    proxy->reconfigure(false);

    EXPECT_THAT(takeAll(), ElementsAreArray(joined({activated("Motion", std::string("Motion") + kAway, 3),
                                                    activated("Simple", "Simple", 4)})));
}

TEST_F(ProxyFollowingTest, passesOtherEnginesWhenOnlySimpleIsMeantButStillNamesTheirKeys)
{
    proxy->reconfigure(true);

    EXPECT_THAT(takeAll(), ElementsAreArray(joined(
                               {{activeKeyLine(std::string("Motion") + kAway)}, activated("Simple", "Simple", 4)})));
}

TEST_F(ProxyFollowingTest, carriesOnWithTheNextEngineWhenOneRefuses)
{
    motion->activateAnswers = {false};

    proxy->reconfigure(false);

    EXPECT_EQ(journal().count("log 3 \"Failed to activate rule set for 'Motion' analytics lib\""), 1U);
    EXPECT_EQ(active(*simple), "<simple/>");
}

TEST_F(ProxyFollowingTest, takesOnlyTheExactNameForSimple)
{
    const auto lower = std::make_shared<FakeEngine>("simple");
    const auto longer = std::make_shared<FakeEngine>("SimpleFront");
    arriveAt("P1");

    EXPECT_EQ(proxy->getActiveSettingsKey(lower), "simpleP1");
    EXPECT_EQ(proxy->getActiveSettingsKey(longer), "SimpleFrontP1");
}

TEST_F(ProxyFollowingTest, suspendsWithoutAWordWhenTheCameraMoves)
{
    proxy->handlePositioningMotionStateEvent(true);

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(motionKey(), "");
    EXPECT_EQ(simpleKey(), "");
    EXPECT_EQ(active(*motion), "<away/>"); // the running rules are left alone
}

TEST_F(ProxyFollowingTest, resumesOnlySimpleWhenTheCameraStopsAwayFromAPreset)
{
    proxy->handlePositioningCommandPriorityEvent(100);
    journal().clear();

    proxy->handlePositioningMotionStateEvent(false);

    EXPECT_THAT(takeAll(),
                ElementsAreArray(joined({{"log 6 \"handlePositioningMotionStateEvent ---------->Start simple analytics "
                                          "on motion stop\"",
                                          activeKeyLine(std::string("Motion") + kAway)},
                                         activated("Simple", "Simple", 4)})));
    EXPECT_EQ(active(*motion), "nothing");
    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
}

TEST_F(ProxyFollowingTest, resumesNothingWhenTheCameraStopsAtAPreset)
{
    arriveAt("P1");
    proxy->handlePositioningMotionStateEvent(true);
    proxy->reconfigure(false);
    journal().clear();

    proxy->handlePositioningMotionStateEvent(false);

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(motionKey(), "MotionP1");
    EXPECT_EQ(active(*motion), "nothing");
    EXPECT_EQ(active(*simple), "nothing");
}

TEST_F(ProxyFollowingTest, stopsAllAnalyticsForACommandBelowPriority500)
{
    for (const unsigned int priority : {0U, 1U, 499U}) {
        arriveAt("P1");

        proxy->handlePositioningCommandPriorityEvent(priority);

        EXPECT_THAT(takeAll(),
                    ElementsAreArray(joined(
                        {{"log 6 \"handlePositioningCommandPriorityEvent ---------->Stop Analytics\""}, stopped()})));
        EXPECT_EQ(motionKey(), "");
        EXPECT_EQ(active(*motion), "nothing");
    }
}

TEST_F(ProxyFollowingTest, leavesTheRulesRunningForACommandOfPriority500OrMoreAndYetSuspends)
{
    for (const unsigned int priority : {500U, 501U, 4294967295U}) {
        arriveAt("P1");

        proxy->handlePositioningCommandPriorityEvent(priority);

        EXPECT_THAT(takeAll(), IsEmpty());
        EXPECT_EQ(motionKey(), "");
        EXPECT_EQ(active(*motion), "<p1/>");
    }
}

TEST_F(ProxyFollowingTest, treatsAStopAfterAHighPriorityCommandAsAnyOther)
{
    proxy->handlePositioningCommandPriorityEvent(500);
    journal().clear();

    proxy->handlePositioningMotionStateEvent(false);

    EXPECT_EQ(journal().count("activateRuleSet Simple #4 -> true"), 1U);
    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
}

TEST_F(ProxyFollowingTest, leavesThePresetAloneWhenACommandComes)
{
    arriveAt("P1");
    proxy->handlePositioningCommandPriorityEvent(1);

    proxy->handlePositioningMotionStateEvent(false);

    EXPECT_EQ(motionKey(), "MotionP1");
}

TEST_F(ProxyFollowingTest, startsAnalyticsForThePresetThatIsReached)
{
    proxy->handlePositioningMotionStateEvent(true);

    proxy->handlePresetStateEvent(2, "P1");

    EXPECT_THAT(takeAll(), ElementsAreArray(joined(
                               {{"log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset P1\""},
                                activated("Motion", "MotionP1", 1),
                                activated("Simple", "Simple", 4)})));
    EXPECT_EQ(motionKey(), "MotionP1");
    EXPECT_EQ(simpleKey(), "Simple");
}

TEST_F(ProxyFollowingTest, changesFromOnePresetToAnother)
{
    arriveAt("P1");
    arriveAt("P2");

    EXPECT_EQ(active(*motion), "<p2/>");
}

TEST_F(ProxyFollowingTest, leavesAnEngineWithoutRulesAtAPresetThatHasNoConfiguration)
{
    arriveAt("P3");

    EXPECT_EQ(motionKey(), "MotionP3");
    EXPECT_EQ(active(*motion), "nothing");
    EXPECT_EQ(active(*simple), "<simple/>");
}

TEST_F(ProxyFollowingTest, takesAPresetWithoutNameForBeingAtNone)
{
    arriveAt("P1");

    proxy->handlePresetStateEvent(2, "");

    EXPECT_EQ(journal().logs().front(), "log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset \"");
    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
    EXPECT_EQ(active(*motion), "<away/>");
    // Not at a preset, so a stop resumes "Simple".
    proxy->handlePositioningMotionStateEvent(false);
    EXPECT_FALSE(takeAll().empty());
}

TEST_F(ProxyFollowingTest, forgetsPresetAndMovementInStateZeroWithoutReconfiguring)
{
    arriveAt("P1");
    proxy->handlePositioningMotionStateEvent(true);

    proxy->handlePresetStateEvent(0, "P2");

    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
    EXPECT_EQ(active(*motion), "<p1/>");
}

TEST_F(ProxyFollowingTest, stopsAnalyticsInEveryOtherPresetState)
{
    for (const int state : {1, 3, -1, 2147483647}) {
        arriveAt("P1");

        proxy->handlePresetStateEvent(state, "P2");

        EXPECT_THAT(takeAll(), ElementsAreArray(joined(
                                   {{"log 6 \"handlePresetStateEvent ---------->Stop Analytics\""}, stopped()})));
        EXPECT_EQ(motionKey(), "");
        proxy->handlePositioningMotionStateEvent(false);
        EXPECT_EQ(motionKey(), std::string("Motion") + kAway) << "no longer at a preset";
    }
}

TEST_F(ProxyFollowingTest, suspendsWhenATourStarts)
{
    arriveAt("P1");

    proxy->handleTourStateEvent(1, 7);

    EXPECT_THAT(takeAll(),
                ElementsAreArray(joined(
                    {{"log 6 \"====== handleTourStateEvent(tour tourState = 1, stop type = 7) ====\""}, stopped()})));
    EXPECT_EQ(motionKey(), "");
    proxy->handlePositioningMotionStateEvent(false);
    EXPECT_EQ(motionKey(), "MotionP1");
}

TEST_F(ProxyFollowingTest, onlyLogsEveryOtherTourState)
{
    for (const int state : {0, 2, 3, -1}) {
        proxy->handleTourStateEvent(state, -2);

        EXPECT_THAT(takeAll(), ElementsAre("log 6 \"====== handleTourStateEvent(tour tourState = " +
                                           std::to_string(state) + ", stop type = -2) ====\""));
        EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
    }
}

TEST_F(ProxyFollowingTest, resumesNothingWhenATourEnds)
{
    proxy->handleTourStateEvent(1, 0);

    proxy->handleTourStateEvent(0, 0);

    EXPECT_EQ(motionKey(), "");
}

TEST_F(ProxyFollowingTest, letsAnEnginesExceptionReachTheCaller)
{
    motion->before["clearAllRules"] = [] { throw std::runtime_error("engine"); };

    EXPECT_THROW(proxy->handlePresetStateEvent(2, "P1"), std::runtime_error);

    motion->before.clear();
    EXPECT_EQ(motionKey(), "MotionP1"); // the state had changed before the engine was called
}

TEST_F(ProxyFollowingTest, takesEverythingBackEngineByEngine)
{
    proxy->returnAllRuleSets();

    EXPECT_THAT(takeAll(), ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #1", "releaseRuleSet Motion #2",
                                       "releaseRuleSet Motion #3", "clearAllRules Simple", "releaseRuleSet Simple #4"));
    EXPECT_EQ(motion->notReturned() + simple->notReturned(), 0);
}

TEST_F(ProxyFollowingTest, handsRuleSetsOfALongerNameToTheEngineOfTheShorterOne)
{
    const auto front = std::make_shared<FakeEngine>("SimpleFront");
    stored({{"SimpleFront", "text"}});
    restart(true, {front, simple});

    proxy->returnAllRuleSets();

    // "Simple" restored the key last, and the engine with the longer name comes first.
    EXPECT_THAT(takeEngineCalls(), ElementsAre("clearAllRules SimpleFront", "releaseRuleSet SimpleFront (not its own)",
                                               "clearAllRules Simple"));
}

TEST_F(ProxyFollowingTest, reconfiguresWithEveryEventAlsoWhenNothingChanges)
{
    const std::pair<const char*, std::function<void()>> events[] = {
        {"tour", [this] { proxy->handleTourStateEvent(1, 0); }},
        {"other preset state", [this] { proxy->handlePresetStateEvent(1, "P1"); }},
        {"command", [this] { proxy->handlePositioningCommandPriorityEvent(1); }},
        {"night", [this] { proxy->handleDayNightChangeEvent(true); }},
        {"day", [this] { proxy->handleDayNightChangeEvent(false); }},
        {"arrival", [this] { proxy->handlePresetStateEvent(2, "P1"); }},
        {"stop away", [this] {
             proxy->handlePresetStateEvent(0, "P1");
             proxy->handlePositioningMotionStateEvent(false);
         }}};
    for (const auto& [name, happens] : events) {
        happens();
        journal().clear();
        happens();
        EXPECT_EQ(journal().count("clearAllRules Simple"), 1U) << name;
    }
}

TEST_F(ProxyFollowingTest, resumesWithTheDayWhateverSuspended)
{
    proxy->handlePositioningMotionStateEvent(true);

    proxy->handleDayNightChangeEvent(false);

    EXPECT_EQ(motionKey(), std::string("Motion") + kAway);
    EXPECT_EQ(active(*motion), "<away/>");
}

TEST_F(ProxyFollowingTest, countsOnlyConfiguredPresetsAsUsed)
{
    arriveAt("P1");

    EXPECT_THAT(usedPresets(), IsEmpty());
}

} // namespace

} // namespace korva::meridan::tests
