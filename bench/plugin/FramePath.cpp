#include "bench/plugin/BenchHost.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

class Empty {
public:
    virtual ~Empty() = default;
    virtual void call() = 0;
};

class Quiet final : public Empty {
public:
    void call() override { benchmark::ClobberMemory(); }
};

class Other final : public Empty {
public:
    void call() override { benchmark::DoNotOptimize(this); }
};

// The class is chosen at run time, so the compiler cannot call directly.
std::unique_ptr<Empty> makeEmpty()
{
    if (std::getenv("BENCH_OTHER_CLASS") != nullptr) {
        return std::make_unique<Other>();
    }
    return std::make_unique<Quiet>();
}

// The yardstick: 100 empty virtual calls.
void hundredVirtualCalls(benchmark::State& state)
{
    const auto object = makeEmpty();
    Empty* target = object.get();
    for (auto _ : state) {
        for (int i = 0; i < 100; ++i) {
            benchmark::DoNotOptimize(target);
            target->call();
        }
    }
}
BENCHMARK(hundredVirtualCalls);

void frameThroughTheModule(benchmark::State& state)
{
    bench::storedDocument() = "[]";
    const auto plugin = bench::buildPlugin();
    for (auto _ : state) {
        bench::deliverFrame(*plugin);
    }
}
BENCHMARK(frameThroughTheModule);

} // namespace
