// Three engines that do nothing, with and without monitors, and the clock that a monitor reads.
#include "camera/framework/EngineMonitor.h"
#include "kit/Heap.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <memory>

namespace {

using analytics_lib::IOnvifAnalytics;

class EmptyEngine final : public IOnvifAnalytics {
public:
    std::string getName() const override { return "Empty"; }
    bool isEngineConfiguration(const std::string& /*config*/) override { return false; }
    void setEventHandler(analytics_lib::IEventHandler* /*handler*/) override {}
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& /*outputs*/) override
    {
        benchmark::DoNotOptimize(frame.data);
        return true;
    }
    std::vector<std::string> getEventTopics() override { return {}; }
    std::vector<std::string> getSupportedEngines() override { return {}; }
    std::vector<std::string> getSupportedRules() override { return {}; }
    bool readFramesFromFile(const char* /*path*/, bool /*flag*/) override { return false; }
    bool writeFramesToFile(const char* /*path*/, unsigned int /*count*/) override { return false; }
    analytics_lib::IRuleSet* createRuleSet() override { return nullptr; }
    void releaseRuleSet(analytics_lib::IRuleSet* /*ruleSet*/) override {}
    bool activateRuleSet(analytics_lib::IRuleSet* /*ruleSet*/) override { return false; }
    void clearAllRules() override {}
};

using Engines = std::array<std::shared_ptr<IOnvifAnalytics>, 3>;

Engines engines(bool watched)
{
    Engines all;
    for (auto& engine : all) {
        engine = std::make_shared<EmptyEngine>();
        if (watched) {
            engine = std::make_shared<camera::framework::EngineMonitor>(
                engine, std::make_shared<camera::framework::EngineRecord>("Empty", nullptr));
        }
    }
    return all;
}

void show(const Engines& all, const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    for (const auto& engine : all) {
        benchmark::DoNotOptimize(engine->onFrame(frame, outputs));
    }
}

void frameWithMonitors(benchmark::State& state)
{
    const Engines all = engines(true);
    const analytics_lib::YuvFrame frame;
    MetadataBuffers outputs;
    const std::size_t before = kit::allocationsOfThisThread();
    for (auto _ : state) {
        show(all, frame, outputs);
    }
    if (kit::allocationsOfThisThread() != before) {
        state.SkipWithError("a frame allocates");
    }
}
BENCHMARK(frameWithMonitors);

// The most that a frame with monitors may take.
void frameAndEightReadings(benchmark::State& state)
{
    const Engines all = engines(false);
    const analytics_lib::YuvFrame frame;
    MetadataBuffers outputs;
    for (auto _ : state) {
        show(all, frame, outputs);
        for (int reading = 0; reading < 8; ++reading) {
            benchmark::DoNotOptimize(std::chrono::steady_clock::now());
        }
    }
}
BENCHMARK(frameAndEightReadings);

} // namespace
