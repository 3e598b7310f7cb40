#include "OnvifTargetTest.h"

#include <stdexcept>

namespace {

using namespace kit;
using namespace testing;

class OnvifTargetOperationsTest : public OnvifTargetTest {
protected:
    std::shared_ptr<kit::FakeEngine> motion = addEngine("Motion");

    using ListQuery = int (RavelApiAnalyticsTargetImplBase::*)(char***);

    Lines ask(ListQuery query)
    {
        char** list = nullptr;
        EXPECT_EQ((static_cast<RavelApiAnalyticsTargetImplBase&>(*target).*query)(&list), 0);
        return takeList(list);
    }

    using ListChange = int (RavelApiAnalyticsTargetImplBase::*)(char**, unsigned int*);

    /// The status word of a change.
    unsigned int change(ListChange operation, char** list)
    {
        unsigned int status = 99;
        EXPECT_EQ((static_cast<RavelApiAnalyticsTargetImplBase&>(*target).*operation)(list, &status), 0);
        return status;
    }

    unsigned int change(ListChange operation, const std::string& item)
    {
        InputList list{item};
        return change(operation, static_cast<char**>(list));
    }

    using Base = RavelApiAnalyticsTargetImplBase;
};

TEST_F(OnvifTargetOperationsTest, isRunnable)
{
    build();
    EXPECT_TRUE(target->isRunnable());
}

TEST_F(OnvifTargetOperationsTest, logsOnTheHandleThatItWasGiven)
{
    build();
    static_cast<Base&>(*target).log(RAVEL_CORE_LOG_INFO, "%s and %d", "text", 7);
    EXPECT_THAT(journal().all(), ElementsAre("log 6 \"text and 7\""));
}

TEST_F(OnvifTargetOperationsTest, listsWhatTheEnginesCanDo)
{
    motion->topics = {"topic/a"};
    motion->rules = {"tt:MotionRule"};
    motion->engines = {"tt:MotionModule"};
    const auto second = addEngine("Cell");
    second->topics = {"topic/a", "topic/b"};
    build();
    EXPECT_THAT(ask(&Base::getEventTopics), ElementsAre("topic/a", "topic/a", "topic/b"));
    EXPECT_THAT(ask(&Base::getSupportedRules), ElementsAre("tt:MotionRule"));
    EXPECT_THAT(ask(&Base::getSupportedEngines), ElementsAre("tt:MotionModule"));
}

TEST_F(OnvifTargetOperationsTest, asksTheEnginesForTheListThatIsWanted)
{
    build();
    ask(&Base::getEventTopics);
    ask(&Base::getSupportedRules);
    ask(&Base::getSupportedEngines);
    EXPECT_THAT(journal().all(),
                ElementsAre("getEventTopics Motion", "getSupportedRules Motion", "getSupportedEngines Motion"));
}

TEST_F(OnvifTargetOperationsTest, tellsRulesFromModulesInTheCurrentLists)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion").add(rule("Motion", "R")).add(module("Motion", "M"))));
    EXPECT_THAT(ask(&Base::getCurrentRules), ElementsAre(rule("Motion", "R").text()));
    EXPECT_THAT(ask(&Base::getCurrentEngines), ElementsAre(module("Motion", "M").text()));
}

TEST_F(OnvifTargetOperationsTest, createsAndModifiesRulesByOneOperation)
{
    build();
    EXPECT_EQ(change(&Base::createRules, rule("Motion", "R").item("Size", "1")), 0U);
    const Lines created = takeEngineCalls();
    EXPECT_THAT(rulesNow(), ElementsAre(rule("Motion", "R").item("Size", "1").text()));
    EXPECT_EQ(change(&Base::modifyRules, rule("Motion", "R").item("Size", "2")), 0U);
    EXPECT_THAT(rulesNow(), ElementsAre(rule("Motion", "R").item("Size", "2").text()));
    EXPECT_EQ(change(&Base::modifyRules, rule("Motion", "New")), 0U) << "modifying creates";
    EXPECT_EQ(change(&Base::createRules, rule("Motion", "R").item("Size", "3")), 0U) << "creating modifies";
    EXPECT_THAT(rulesNow(), ElementsAre(rule("Motion", "New").text(), rule("Motion", "R").item("Size", "3").text()));
}

TEST_F(OnvifTargetOperationsTest, createsAndModifiesModulesByOneOperation)
{
    build();
    EXPECT_EQ(change(&Base::createEngines, module("Motion", "M").item("Size", "1")), 0U);
    EXPECT_EQ(change(&Base::modifyEngines, module("Motion", "M").item("Size", "2")), 0U);
    EXPECT_THAT(ask(&Base::getCurrentEngines), ElementsAre(module("Motion", "M").item("Size", "2").text()));
}

TEST_F(OnvifTargetOperationsTest, looksForRulesInRuleOperationsAndForModulesInModuleOperations)
{
    build();
    for (const ListChange operation : {&Base::createRules, &Base::modifyRules}) {
        EXPECT_EQ(change(operation, module("Motion", "M")), 4U) << "a module reads as a rule without a name";
    }
    for (const ListChange operation : {&Base::createEngines, &Base::modifyEngines}) {
        EXPECT_EQ(change(operation, rule("Motion", "R")), 4U);
    }
    EXPECT_THAT(journal().logs(), Contains("log 3 \"not a valid component\"").Times(4));
}

TEST_F(OnvifTargetOperationsTest, deletesRulesAndModulesByOneOperation)
{
    build();
    const std::string both = configuration("Motion").add(rule("Motion", "R")).add(module("Motion", "M"));
    ASSERT_TRUE(configure(both));
    EXPECT_EQ(change(&Base::deleteRules, "M"), 0U);
    EXPECT_THAT(ask(&Base::getCurrentEngines), IsEmpty());
    EXPECT_EQ(change(&Base::deleteEngines, "R"), 0U);
    EXPECT_THAT(rulesNow(), IsEmpty());
    EXPECT_EQ(change(&Base::deleteRules, "R"), 5U);
    EXPECT_EQ(change(&Base::deleteEngines, "M"), 5U);
}

TEST_F(OnvifTargetOperationsTest, returnsTheCurrentConfiguration)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion")));
    char* xml = nullptr;
    EXPECT_EQ(target->getCurrentConfiguration(&xml), 0);
    EXPECT_EQ(takeText(xml), kit::merged(configuration("Motion")));
}

TEST_F(OnvifTargetOperationsTest, returnsTheConfigurationOfAPreset)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion").preset("Gate")));
    char* xml = nullptr;
    EXPECT_EQ(target->getPtzPresetConfiguration("Gate", &xml), 0);
    EXPECT_THAT(takeText(xml), HasSubstr("Value=\"Gate\""));
    EXPECT_EQ(target->getPtzPresetConfiguration("Door", &xml), 0);
    EXPECT_THAT(takeText(xml), Not(HasSubstr("tt:Rule ")));
    EXPECT_THAT(ask(&Base::getUsedPtzPresets), ElementsAre("Gate"));
}

TEST_F(OnvifTargetOperationsTest, passesTheResultOfARefusedConfigurationOn)
{
    motion->claims = [](const std::string&) { return true; };
    build();
    unsigned char failed = 9;
    EXPECT_EQ(target->setConfiguration("no xml", &failed), 1);
    EXPECT_EQ(failed, 1);
}

TEST_F(OnvifTargetOperationsTest, restoresDefaultsByTakingAllRules)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion")));
    takeAll();
    EXPECT_EQ(target->restoreDefaultSettings(), 0);
    EXPECT_THAT(takeEngineCalls(), ElementsAre("clearAllRules Motion", "releaseRuleSet Motion #2"));
    EXPECT_THAT(rulesNow(), IsEmpty());
}

TEST_F(OnvifTargetOperationsTest, handsFrameFilesToTheNamedEngine)
{
    addEngine("Other");
    build();
    EXPECT_EQ(target->readFramesFromFile("Motion", "/a", 2), 0);
    EXPECT_EQ(target->readFramesFromFile("Other", "/b", 0), 0);
    EXPECT_EQ(target->writeFramesToFile("Motion", "/c", 4294967295U), 0);
    EXPECT_EQ(target->writeFramesToFile("motion", "/d", 1), 0);
    EXPECT_THAT(journal().all(), ElementsAre("readFramesFromFile Motion /a true", "readFramesFromFile Other /b false",
                                             "writeFramesToFile Motion /c 4294967295"));
}

TEST_F(OnvifTargetOperationsTest, reportsSuccessForCurrentListsWhateverBecomesOfThem)
{
    build();
    char** list = nullptr;
    EXPECT_EQ(target->getCurrentRules(&list), 0);
    EXPECT_THAT(takeList(list), IsEmpty());
    EXPECT_EQ(target->getCurrentEngines(&list), 0);
    EXPECT_THAT(takeList(list), IsEmpty());
}

TEST_F(OnvifTargetOperationsTest, letsWhatAnEngineThrowsPass)
{
    build();
    motion->before["getEventTopics"] = [] { throw std::runtime_error("engine"); };
    char** list = nullptr;
    EXPECT_THROW(target->getEventTopics(&list), std::runtime_error);
}

TEST_F(OnvifTargetOperationsTest, sendsAnEnginesEventWithItsThreeTextsInOrder)
{
    build();
    motion->raiseAlways("topic", "source", "data");
    EXPECT_THAT(journal().all(),
                ElementsAre("log 6 \"Generating event for source\"", "sendEvent(topic, source, data) -> 0"));
}

TEST_F(OnvifTargetOperationsTest, relaysAnEventToItsContextAndNothingWithoutOne)
{
    build();
    korva::meridan::OnvifTarget::relayEvent(target.get(), "topic", "source", "data");
    korva::meridan::OnvifTarget::relayEvent(nullptr, "lost", "lost", "lost");
    EXPECT_THAT(journal().all(), ElementsAre("sendEvent(topic, source, data) -> 0"));
}

TEST_F(OnvifTargetOperationsTest, neverNoticesAnEventThatCannotBeSent)
{
    platform().framework.sendEventStatus = 3;
    build();
    motion->raiseAlways("topic", "source", "data");
    EXPECT_THAT(journal().all(),
                ElementsAre("log 6 \"Generating event for source\"", "sendEvent(topic, source, data) -> 3"));
}

TEST_F(OnvifTargetOperationsTest, forwardsTheHandlersToItsCore)
{
    build();
    target->handlePresetStateEvent(2, "Gate");
    EXPECT_THAT(takeLogs(),
                Contains("log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset Gate\""));
    target->handlePresetModifiedEvent("Gate");
    EXPECT_THAT(takeLogs(),
                Contains("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionGate\""));
    target->handleTourStateEvent(0, -4);
    EXPECT_THAT(takeLogs(),
                ElementsAre("log 6 \"====== handleTourStateEvent(tour tourState = 0, stop type = -4) ====\""));
    target->handlePositioningCommandPriorityEvent(499);
    EXPECT_THAT(takeLogs(), Contains("log 6 \"handlePositioningCommandPriorityEvent ---------->Stop Analytics\""));
    target->handlePresetStateEvent(0, "Gate");
    target->handlePositioningMotionStateEvent(false);
    EXPECT_THAT(
        takeLogs(),
        Contains("log 6 \"handlePositioningMotionStateEvent ---------->Start simple analytics on motion stop\""));
    target->handleDayNightChangeEvent(true);
    EXPECT_THAT(takeLogs(), Contains("log 6 \"day night change call back, movement: true\""));
    target->handleWindowBlankingEvent(true);
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Window blanking event enabled true\"",
                                       "onWindowBlankingChange Motion true 0 0 0"));
    target->handleOrientationChangeEvent(270);
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"rotation call back\"", "onOrientationChanged Motion 270"));
    EXPECT_EQ(target->getFrameOrientation(), 270U);
}

TEST_F(OnvifTargetOperationsTest, replacesTheEnginesOfItsCore)
{
    build();
    const auto other = std::make_shared<kit::FakeEngine>("Other");
    target->setAnalyticLibs({other});
    EXPECT_THAT(takeEngineCalls(), ElementsAre("clearAllRules Motion", "setEventHandler Other", "clearAllRules Other"));
}

TEST_F(OnvifTargetOperationsTest, letsWhatAnEngineThrowsLeaveEveryRequest)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion")));
    for (const char* call : {"isEngineConfiguration", "clearAllRules", "ruleSet.deleteBehavior",
                             "ruleSet.getFullConfig", "getSupportedRules", "getSupportedEngines"}) {
        motion->before[call] = [] { throw std::runtime_error("engine"); };
    }
    char** list = nullptr;
    unsigned int status = 99;
    unsigned char failed = 9;
    InputList rules{rule("Motion", "R1")};
    InputList modules{module("Motion", "M1")};
    InputList names{"R1"};
    EXPECT_THROW(target->setConfiguration("<a/>", &failed), std::runtime_error);
    for (const ListChange operation : {&Base::createRules, &Base::modifyRules}) {
        EXPECT_THROW((static_cast<Base&>(*target).*operation)(rules, &status), std::runtime_error);
    }
    for (const ListChange operation : {&Base::createEngines, &Base::modifyEngines}) {
        EXPECT_THROW((static_cast<Base&>(*target).*operation)(modules, &status), std::runtime_error);
    }
    for (const ListChange operation : {&Base::deleteRules, &Base::deleteEngines}) {
        EXPECT_THROW((static_cast<Base&>(*target).*operation)(names, &status), std::runtime_error);
    }
    for (const ListQuery query :
         {&Base::getCurrentRules, &Base::getCurrentEngines, &Base::getSupportedRules, &Base::getSupportedEngines}) {
        EXPECT_THROW((static_cast<Base&>(*target).*query)(&list), std::runtime_error);
    }
    EXPECT_THROW(target->restoreDefaultSettings(), std::runtime_error);
    motion->before.clear();
}

TEST_F(OnvifTargetOperationsTest, takesRequestsInsideRequests)
{
    build();
    ASSERT_TRUE(configure(configuration("Motion").add(rule("Motion", "R1")).add(rule("Motion", "R2"))));
    const auto once = [this](const char* call, const std::function<void()>& action) {
        motion->before[call] = [this, call, action] {
            motion->before.erase(std::string(call));
            action();
        };
    };
    once("isEngineConfiguration", [this] { EXPECT_TRUE(configure(configuration("Motion"))); });
    EXPECT_TRUE(configure(configuration("Motion").add(rule("Motion", "R1")).add(rule("Motion", "R2"))));
    once("clearAllRules", [this] { EXPECT_EQ(change(&Base::createRules, rule("Motion", "R4")), 0U); });
    EXPECT_EQ(change(&Base::createRules, rule("Motion", "R3")), 0U);
    once("clearAllRules", [this] { EXPECT_EQ(change(&Base::deleteRules, "R1"), 0U); });
    EXPECT_EQ(change(&Base::deleteRules, "R2"), 0U);
    once("getSupportedRules", [this] { EXPECT_THAT(ask(&Base::getSupportedRules), IsEmpty()); });
    EXPECT_THAT(ask(&Base::getSupportedRules), IsEmpty());
    once("clearAllRules", [this] { EXPECT_EQ(change(&Base::deleteRules, "R3"), 0U); });
    EXPECT_EQ(change(&Base::createRules, rule("Motion", "R5")), 0U);
    EXPECT_THAT(rulesNow(), ElementsAre(rule("Motion", "R4").text(), rule("Motion", "R5").text()));
}

} // namespace
