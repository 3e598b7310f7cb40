// One frame thread beside one control thread, as the plug-in runs them.
#include "Stage.h"
#include "kit/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <thread>

namespace {

using namespace engine_test;

class EngineThreadTest : public testing::TestWithParam<const char*> {
protected:
    std::string quick() const
    {
        return std::string(GetParam()) == "Simple"
                   ? simpleConfig("", simpleItem("MinCount", "1") + simpleItem("AlarmOnDelay", "0") +
                                          simpleItem("AlarmOffDelay", "0"))
                   : motionConfig("", region("Sensitivity=\"1\"", ""));
    }
};

TEST_P(EngineThreadTest, everyOperationRunsBesideFrames)
{
    EngineBench bench(GetParam());
    analytics_lib::IOnvifAnalytics& engine = bench.engine();
    const std::string path = testing::TempDir() + "/threads" + GetParam();
    std::atomic<bool> stop{false};
    std::atomic<int> shown{0};
    std::thread frames([&] {
        Stage stage;
        while (!stop) {
            bench.show(stage.picture(shown * 3 % 200, 40, shown % 100 < 40 ? 0 : 60, 60));
            ++shown;
        }
    });
    for (int round = 0; round < 60; ++round) {
        analytics_lib::IRuleSet* ruleSet = engine.createRuleSet();
        EXPECT_TRUE(ruleSet->setFullConfig(quick()));
        EXPECT_TRUE(engine.activateRuleSet(ruleSet));
        engine.onWindowBlankingChange(round % 2 == 0, {});
        engine.onOrientationChanged(90);
        EXPECT_TRUE(engine.isEngineConfiguration(ruleSet->getFullConfig()));
        EXPECT_TRUE(engine.writeFramesToFile(path.c_str(), 5));
        engine.readFramesFromFile(path.c_str(), round % 3 == 0);
        engine.setEventHandler(round % 5 == 0 ? nullptr : &bench);
        if (round % 2 == 0) {
            engine.clearAllRules();
        }
        kit::eventually([&, before = shown.load()] { return shown > before; });
        engine.releaseRuleSet(ruleSet);
    }
    stop = true;
    frames.join();
    std::remove(path.c_str());
}

TEST_P(EngineThreadTest, noEventRunsOrFollowsOnceTheRulesAreCleared)
{
    EngineBench bench(GetParam());
    std::atomic<bool> allowed{true};
    std::atomic<int> late{0};
    std::atomic<int> raised{0};
    bench.onEvent = [&] {
        ++raised;
        late += allowed ? 0 : 1;
        std::this_thread::yield();
        late += allowed ? 0 : 1;
    };
    std::atomic<bool> stop{false};
    std::thread frames([&] {
        Stage stage;
        for (int i = 0; !stop; ++i) {
            bench.show(stage.picture(i / 50 * 83 % 260, 40, i % 50 < 35 ? 0 : 60, 60)); // somewhere else each time
        }
    });
    for (int round = 0; round < 8; ++round) {
        allowed = true;
        const int before = raised;
        analytics_lib::IRuleSet* ruleSet = bench.activate(quick());
        kit::eventually([&] { return raised > before; });
        bench.engine().clearAllRules();
        allowed = false;
        bench.engine().releaseRuleSet(ruleSet);
    }
    stop = true;
    frames.join();
    EXPECT_EQ(late, 0);
    EXPECT_GT(raised, 0);
    EXPECT_EQ(bench.states().size() % 2, 0U) << "every true is closed";
}

TEST_P(EngineThreadTest, aFrameGoesOnWhileTheControlThreadIsHeldUpInAnEvent)
{
    EngineBench bench(GetParam());
    Stage stage;
    bench.activate(quick());
    stage.learn(bench);
    stage.show(bench, 5, 100, 40, 40, 60);
    ASSERT_EQ(bench.states().size(), 1U);
    std::promise<void> inside;
    std::promise<void> go;
    bench.onEvent = [&] {
        inside.set_value();
        go.get_future().wait();
    };
    std::thread control([&] { bench.engine().clearAllRules(); });
    inside.get_future().wait();
    stage.show(bench, 3, 100, 40, 40, 60); // would never return if it waited for the control thread
    go.set_value();
    control.join();
    EXPECT_EQ(bench.states().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(, EngineThreadTest, testing::Values("Simple", "Motion"));

} // namespace
