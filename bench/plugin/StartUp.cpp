#include "bench/plugin/BenchHost.h"
#include "bench/plugin/Documents.h"

#include "json/Array.h"
#include "json/Object.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

std::string document(std::int64_t keys)
{
    json::Array array;
    for (std::int64_t i = 0; i < keys; ++i) {
        json::Object object;
        object.Append("key", "StubP" + std::to_string(i));
        object.Append("config", bench::configuration(4096, "P" + std::to_string(i)));
        array.Append(std::move(object));
    }
    return json::Writer::Write(array);
}

/// Construction and destruction of the plug-in with this many stored configurations of 4 KiB.
void startAndStop(benchmark::State& state)
{
    bench::storedDocument() = document(state.range(0));
    for (auto _ : state) {
        bench::buildPlugin();
    }
    bench::storedDocument() = "[]";
}
BENCHMARK(startAndStop)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);

/// Reading the stored text alone.
void readDocument(benchmark::State& state)
{
    const std::string text = document(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(json::Reader::Read(text).Size());
    }
}
BENCHMARK(readDocument)->Arg(1000)->Unit(benchmark::kMillisecond);

/// Copying the stored text.
void copyDocument(benchmark::State& state)
{
    const std::string text = document(state.range(0));
    std::string copy(text.size(), ' ');
    for (auto _ : state) {
        std::memcpy(copy.data(), text.data(), text.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copyDocument)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace
