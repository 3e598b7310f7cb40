// What stands between the plug-in and an engine.
#include "camera/framework/EngineMonitor.h"

#include "camera/base/MessageLimit.h"
#include "kit/FakeEngine.h"
#include "kit/LogLines.h"
#include "plugin/analytics/IEventHandler.h"

#include <gmock/gmock.h>

#include <numeric>
#include <stdexcept>
#include <thread>

namespace {

using camera::framework::EngineMonitor;
using camera::framework::EngineRecord;
using camera::framework::FrameTimes;
using kit::journal;
using testing::ElementsAre;
using testing::HasSubstr;

class EngineMonitorTest : public testing::Test {
protected:
    EngineMonitorTest()
    {
        journal().clear();
        journal().record(true);
    }

    bool showFrame() const
    {
        MetadataBuffers outputs;
        return monitor->onFrame({}, outputs);
    }

    /// What came, if it is an int.
    static int thrown(const std::function<void()>& action)
    {
        try {
            action();
        } catch (int value) {
            return value;
        }
        return 0;
    }

    camera::framework::EngineListeners listeners()
    {
        camera::framework::EngineListeners all;
        all.activeChanged = [this] { ++changes; };
        all.raised = [this](const std::string& name, const camera::base::Event& event) {
            told.push_back(name + " raised " + event.topic + "|" + event.source + "|" + event.data);
        };
        all.cleared = [this](const std::string& name) { told.push_back(name + " is cleared"); };
        return all;
    }

    int changes = 0;
    std::vector<std::string> told; ///< what the engine raised, and when it was cleared
    std::shared_ptr<kit::FakeEngine> engine = std::make_shared<kit::FakeEngine>("Motion");
    std::shared_ptr<EngineRecord> record = std::make_shared<EngineRecord>("Motion", listeners());
    std::shared_ptr<EngineMonitor> monitor = std::make_shared<EngineMonitor>(engine, record);
    analytics_lib::IRuleSet* first = engine->createRuleSet();
    analytics_lib::IRuleSet* second = engine->createRuleSet();
};

TEST_F(EngineMonitorTest, theRecordAsksTheEngineForItsTypesAsLongAsItExists)
{
    engine->engines = {"a module type"};
    engine->rules = {"a rule type", "another"};
    EXPECT_THAT(record->types().modules, ElementsAre("a module type"));
    EXPECT_THAT(record->types().rules, ElementsAre("a rule type", "another"));
    engine->before["getSupportedRules"] = [] { throw 7; };
    EXPECT_EQ(thrown([this] { record->types(); }), 7);
    EXPECT_EQ(record->exceptions(), 1u);
    monitor.reset();
    EXPECT_THAT(record->types().modules, testing::IsEmpty());
    EXPECT_THAT(record->types().rules, testing::IsEmpty());
}

TEST_F(EngineMonitorTest, forwardsEachOperationOnceWithItsArgumentsAndItsAnswer)
{
    engine->releaseRuleSet(first);
    engine->releaseRuleSet(second);
    engine = std::make_shared<kit::FakeEngine>("Motion"); // of no rule sets
    monitor = std::make_shared<EngineMonitor>(engine, record);
    kit::restartRuleSetIds();
    journal().clear();
    engine->topics = {"a topic"};
    engine->engines = {"a module type"};
    engine->rules = {"a rule type"};
    engine->claims = [](const std::string& config) { return config == "mine"; };
    engine->frameScript = kit::FakeEngine::writes(3, 5, "<xml/>", false);
    EXPECT_EQ(monitor->getName(), "Motion");
    EXPECT_TRUE(monitor->isEngineConfiguration("mine"));
    EXPECT_FALSE(monitor->isEngineConfiguration("other"));
    monitor->setEventHandler(nullptr);
    std::vector<std::uint8_t> memory(16);
    MetadataBuffers outputs;
    outputs.drawingBuffer = outputs.motionBuffer = memory.data();
    outputs.drawingBufferSize = outputs.motionBufferSize = 16;
    analytics_lib::YuvFrame frame;
    frame.width = 7;
    EXPECT_FALSE(monitor->onFrame(frame, outputs));
    EXPECT_EQ(engine->frames.at(0).width, 7u);
    EXPECT_EQ(outputs.drawingBufferUsed, 3u);
    EXPECT_EQ(outputs.metadataXml, "<xml/>");
    monitor->onWindowBlankingChange(true, {1, 2, 3});
    monitor->onOrientationChanged(90);
    EXPECT_THAT(monitor->getEventTopics(), ElementsAre("a topic"));
    EXPECT_THAT(monitor->getSupportedEngines(), ElementsAre("a module type"));
    EXPECT_THAT(monitor->getSupportedRules(), ElementsAre("a rule type"));
    EXPECT_TRUE(monitor->readFramesFromFile("in", true));
    engine->fileResult = false;
    EXPECT_FALSE(monitor->writeFramesToFile("out", 9));
    analytics_lib::IRuleSet* ruleSet = monitor->createRuleSet();
    EXPECT_EQ(ruleSet, engine->ruleSet(1)) << "the engine's own";
    EXPECT_TRUE(monitor->activateRuleSet(ruleSet));
    monitor->clearAllRules();
    monitor->releaseRuleSet(ruleSet);
    EXPECT_THAT(journal().all(),
                ElementsAre("isEngineConfiguration Motion -> true", "isEngineConfiguration Motion -> false",
                            "setEventHandler Motion", "onFrame Motion -> false",
                            "onWindowBlankingChange Motion true 1 2 3", "onOrientationChanged Motion 90",
                            "getEventTopics Motion", "getSupportedEngines Motion", "getSupportedRules Motion",
                            "readFramesFromFile Motion in true", "writeFramesToFile Motion out 9",
                            "createRuleSet Motion -> #1", "activateRuleSet Motion #1 -> true", "clearAllRules Motion",
                            "releaseRuleSet Motion #1"));
    EXPECT_EQ(record->calls(), journal().all().size() + 1) << "and the name";
    EXPECT_EQ(record->exceptions(), 0u);
}

TEST_F(EngineMonitorTest, aRuleSetIsActiveOnceTheEngineAcceptedIt)
{
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    engine->activateAnswers = {false, true, false, true};
    EXPECT_FALSE(monitor->activateRuleSet(first));
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    EXPECT_TRUE(monitor->activateRuleSet(first));
    EXPECT_EQ(record->activeRuleSet(), first);
    EXPECT_FALSE(monitor->activateRuleSet(second));
    EXPECT_EQ(record->activeRuleSet(), first) << "a refusal leaves what was active";
    EXPECT_TRUE(monitor->activateRuleSet(second));
    EXPECT_EQ(record->activeRuleSet(), second);
    EXPECT_EQ(changes, 2);
}

TEST_F(EngineMonitorTest, noneIsActiveAfterAResetAndAfterTheReleaseOfTheActiveOne)
{
    monitor->activateRuleSet(first);
    monitor->clearAllRules();
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    monitor->clearAllRules();
    EXPECT_EQ(changes, 2) << "nothing was active any more";
    monitor->activateRuleSet(first);
    monitor->releaseRuleSet(second);
    monitor->releaseRuleSet(nullptr);
    EXPECT_EQ(record->activeRuleSet(), first);
    monitor->releaseRuleSet(first);
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    EXPECT_EQ(changes, 4);
}

TEST_F(EngineMonitorTest, aRuleSetIsForgottenBeforeTheEngineDestroysIt)
{
    monitor->activateRuleSet(first);
    analytics_lib::IRuleSet* seen = first;
    engine->before["releaseRuleSet"] = [&] { seen = record->activeRuleSet(); };
    monitor->releaseRuleSet(first);
    EXPECT_EQ(seen, nullptr);
}

TEST_F(EngineMonitorTest, theSameRuleSetAgainIsAChange)
{
    monitor->activateRuleSet(first);
    monitor->activateRuleSet(first);
    EXPECT_EQ(changes, 2) << "its content may be another";
}

TEST_F(EngineMonitorTest, countsEveryExceptionAndPassesItOn)
{
    monitor->activateRuleSet(first);
    for (const char* call : {"onFrame", "activateRuleSet", "getEventTopics", "clearAllRules"}) {
        engine->before[call] = [] { throw 7; };
    }
    EXPECT_EQ(thrown([this] { showFrame(); }), 7);
    EXPECT_EQ(thrown([this] { monitor->getEventTopics(); }), 7);
    EXPECT_EQ(thrown([this] { monitor->activateRuleSet(second); }), 7);
    EXPECT_EQ(record->activeRuleSet(), first);
    EXPECT_EQ(thrown([this] { monitor->clearAllRules(); }), 7);
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    engine->before["onFrame"] = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(showFrame(), std::runtime_error);
    EXPECT_EQ(record->exceptions(), 5u);
    EXPECT_EQ(record->calls(), 6u);
    EXPECT_EQ(record->frameTimes().count, 2u) << "a frame that fails takes time too";
}

TEST_F(EngineMonitorTest, passesNoExceptionToAPluginThatIsDestroyed)
{
    const kit::LogLines log;
    for (const char* call : {"getName", "clearAllRules", "releaseRuleSet"}) {
        engine->before[call] = [] { throw 7; };
    }
    struct FailedStart {
        EngineMonitor& engine;
        ~FailedStart() { engine.clearAllRules(); }
    };
    EXPECT_EQ(thrown([this] {
                  const FailedStart start{*monitor};
                  throw 5;
              }),
              5);
    record->pluginEnds();
    EXPECT_NO_THROW(monitor->clearAllRules());
    EXPECT_NO_THROW(monitor->releaseRuleSet(first));
    EXPECT_EQ(monitor->getName(), record->name());
    EXPECT_EQ(record->exceptions(), 3u);
    EXPECT_THAT(log.lines(), testing::Contains(testing::HasSubstr("clearAllRules of engine '" + record->name() +
                                                                  "' failed: an exception of an unknown type")));
}

TEST_F(EngineMonitorTest, measuresTheFrames)
{
    for (int frame = 0; frame < 5; ++frame) {
        showFrame();
    }
    const auto bound = std::chrono::milliseconds(2);
    engine->before["onFrame"] = [&] {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (std::chrono::steady_clock::now() < end) {
        }
    };
    showFrame();
    const FrameTimes times = record->frameTimes();
    EXPECT_EQ(times.count, 6u);
    EXPECT_GE(times.longest, bound);
    EXPECT_GE(times.sum, times.longest);
    EXPECT_EQ(std::accumulate(times.histogram.begin(), times.histogram.end(), std::uint64_t{0}), 6u);
    // 2 ms and more: beyond the buckets below 1.024 ms.
    EXPECT_GE(std::accumulate(times.histogram.begin() + 10, times.histogram.end(), std::uint64_t{0}), 1u);
}

TEST_F(EngineMonitorTest, theRecordOutlivesTheEngine)
{
    monitor->activateRuleSet(first);
    showFrame();
    engine.reset();
    monitor.reset();
    EXPECT_EQ(journal().all().back(), "engine Motion destroyed");
    EXPECT_EQ(record->name(), "Motion");
    EXPECT_EQ(record->activeRuleSet(), nullptr);
    EXPECT_EQ(record->frameTimes().count, 1u);
}

TEST_F(EngineMonitorTest, mayBeAskedWhileFramesCome)
{
    journal().record(false);
    std::thread frames([this] {
        for (int frame = 0; frame < 2000; ++frame) {
            showFrame();
        }
    });
    std::uint64_t seen = 0;
    while (seen < 2000) {
        const std::uint64_t now = record->frameTimes().count;
        ASSERT_GE(now, seen);
        seen = now;
        EXPECT_EQ(record->exceptions(), 0u);
    }
    frames.join();
    EXPECT_EQ(record->calls(), 2000u);
}

TEST_F(EngineMonitorTest, tellsWhatTheEngineRaisesAndThenThatItIsCleared)
{
    struct Heard final : analytics_lib::IEventHandler {
        void OnEvent(const std::string& topic, const std::string& /*source*/, const std::string& /*data*/) override
        {
            told.push_back("the plug-in gets " + topic);
        }
        explicit Heard(std::vector<std::string>& told) : told(told) {}
        std::vector<std::string>& told;
    } heard(told);
    monitor->setEventHandler(&heard);
    monitor->activateRuleSet(first);
    engine->before["clearAllRules"] = [this] { engine->handler()->OnEvent("closed", "R", "<tt:Message/>"); };
    monitor->clearAllRules();
    EXPECT_THAT(told,
                ElementsAre("Motion raised closed|R|<tt:Message/>", "the plug-in gets closed", "Motion is cleared"));
    told.clear();
    monitor->activateRuleSet(first);
    monitor->releaseRuleSet(second);
    EXPECT_THAT(told, testing::IsEmpty()) << "that one is not active";
    engine->before["releaseRuleSet"] = [] { throw 7; };
    EXPECT_EQ(thrown([this] { monitor->releaseRuleSet(first); }), 7);
    EXPECT_THAT(told, ElementsAre("Motion is cleared")) << "also when it failed: it has no active rules any more";
}

TEST_F(EngineMonitorTest, refusesWhatNoMessageCanCarryWithTheEnginesName)
{
    struct Heard final : analytics_lib::IEventHandler {
        void OnEvent(const std::string& topic, const std::string& /*source*/, const std::string& /*data*/) override
        {
            topics.push_back(topic);
        }
        std::vector<std::string> topics;
    } heard;
    const kit::LogLines log;
    const std::string large(camera::base::kLargestMessage, 'x');
    monitor->setEventHandler(&heard);
    engine->handler()->OnEvent("larger", "", large);
    engine->handler()->OnEvent("", "", large);
    engine->frameScript = kit::FakeEngine::writes(0, 0, large + "x", true);
    MetadataBuffers outputs;
    EXPECT_TRUE(monitor->onFrame({}, outputs));
    EXPECT_EQ("", outputs.metadataXml);
    EXPECT_THAT(heard.topics, ElementsAre(""));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(HasSubstr("error engines: an event of engine 'Motion' has 16777222 bytes; a message has at most "
                              "16777216; it is refused"),
                    HasSubstr("error engines: the metadata of a frame of engine 'Motion' has 16777217 bytes;")));
}

} // namespace
