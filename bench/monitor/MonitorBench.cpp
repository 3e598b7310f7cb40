// Three engines that do nothing, with and without monitors, and the clock that a monitor reads.
#include "camera/framework/EngineMonitor.h"
#include "kit/FakeEngine.h"
#include "kit/Heap.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <memory>

namespace {

using analytics_lib::IOnvifAnalytics;

using Engines = std::array<std::shared_ptr<IOnvifAnalytics>, 3>;

Engines engines(bool watched)
{
    Engines all;
    for (auto& engine : all) {
        engine = std::make_shared<kit::FakeEngine>("Empty");
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
