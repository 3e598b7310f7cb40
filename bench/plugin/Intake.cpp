// One accepted configuration through the served target, beside the passes over the same text that it
// cannot do without.

#include "bench/plugin/BenchHost.h"
#include "bench/plugin/Documents.h"

#include "target/ConfigurationXml.h"
#include "json/Array.h"
#include "json/Object.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <benchmark/benchmark.h>

#include <map>

namespace {

constexpr char kPresetItems[] = "//*[local-name()='SimpleItem' and @Name='PtzPreset']";

struct Case {
    std::string text;
    std::map<std::string, std::string> stored; ///< all keys, the accepted one among them
};

Case makeCase(const benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const bool active = state.range(2) != 0;
    Case made;
    made.text = bench::configuration(size, active ? bench::kCurrentPreset : "P0");
    pugi::xml_document document;
    for (int i = 1; i < state.range(1); ++i) {
        document.load_string(bench::configuration(size, "P" + std::to_string(i)).c_str());
        made.stored["StubP" + std::to_string(i)] = korva::meridan::printRaw(document);
    }
    document.load_string(made.text.c_str());
    made.stored[active ? std::string("Stub") + bench::kCurrentPreset : "StubP0"] = korva::meridan::printRaw(document);
    return made;
}

json::Array toArray(const std::map<std::string, std::string>& stored)
{
    json::Array array;
    for (const auto& entry : stored) {
        json::Object object;
        object.Append("key", entry.first);
        object.Append("config", entry.second);
        array.Append(std::move(object));
    }
    return array;
}

void acceptedConfiguration(benchmark::State& state)
{
    const Case given = makeCase(state);
    bench::storedDocument() = json::Writer::Write(toArray(given.stored));
    const auto plugin = bench::buildPlugin();
    RavelApiAnalyticsTargetImplBase& target = bench::servedTarget();
    unsigned char failed = 1;
    for (auto _ : state) {
        target.setConfiguration(given.text.c_str(), &failed);
        if (failed != 0) {
            state.SkipWithError("refused");
            break;
        }
    }
    target.restoreDefaultSettings();
}

void neededPasses(benchmark::State& state)
{
    const Case given = makeCase(state);
    const json::Array array = toArray(given.stored);
    const bool active = state.range(2) != 0;
    for (auto _ : state) {
        pugi::xml_document keyed;
        keyed.load_string(given.text.c_str());
        benchmark::DoNotOptimize(keyed.select_nodes(kPresetItems).size());

        pugi::xml_document stored;
        stored.load_string(given.text.c_str());
        benchmark::DoNotOptimize(korva::meridan::printRaw(stored, given.text.size()).size());

        bench::storedDocument() = json::Writer::Write(array);
        if (active) {
            pugi::xml_document logged;
            logged.load_string(given.text.c_str());
            benchmark::DoNotOptimize(logged.select_nodes("//tt:Rule").size());
            benchmark::DoNotOptimize(logged.select_nodes("//*[local-name() = 'SimpleItem']").size());
        }
    }
}

void sizesAndKeys(benchmark::internal::Benchmark* bench)
{
    for (const int size : {2 << 10, 50 << 10, 1 << 20}) {
        for (const int keys : {1, 100}) {
            for (const int active : {0, 1}) {
                bench->Args({size, keys, active});
            }
        }
    }
    bench->Unit(benchmark::kMicrosecond);
}
BENCHMARK(acceptedConfiguration)->Apply(sizesAndKeys);
BENCHMARK(neededPasses)->Apply(sizesAndKeys);

} // namespace
