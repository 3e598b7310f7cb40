// One save or load of 10, 100 or 1000 settings of 4 KiB of configuration text.
#include "host-seam/Platform.h"
#include "settings/OnvifSettings.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <benchmark/benchmark.h>
#include <json/json.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Settings = std::map<std::string, std::string>;

constexpr std::size_t kTextBytes = 4096;

std::string configurationText(int number)
{
    std::string text = R"(<tt:VideoAnalyticsConfiguration token="1"><tt:RuleEngineConfiguration>)";
    for (int rule = 0; text.size() < kTextBytes; ++rule) {
        const std::string name = std::to_string(number) + "_" + std::to_string(rule);
        text += "<tt:Rule Name=\"Rule" + name + "\" Type=\"tt:CellMotionDetector\"><tt:Parameters>";
        text += R"(<tt:SimpleItem Name="MinCount" Value="5"/><tt:SimpleItem Name="AlarmOnDelay" Value="1000"/>)";
        text += R"(<tt:SimpleItem Name="ActiveCells" Value="0P8A8A=="/></tt:Parameters></tt:Rule>)";
    }
    text.resize(kTextBytes);
    return text;
}

const Settings& settings(benchmark::State& state)
{
    static std::map<std::int64_t, Settings> made;
    Settings& wanted = made[state.range(0)];
    for (int number = 0; wanted.size() < static_cast<std::size_t>(state.range(0)); ++number) {
        wanted.emplace("SimplePreset" + std::to_string(number), configurationText(number));
    }
    return wanted;
}

json::Array asDocument(const Settings& all)
{
    json::Array document;
    document.Reserve(all.size());
    for (const auto& [key, config] : all) {
        json::Object setting;
        setting.Append("key", json::BorrowedString{key});
        setting.Append("config", json::BorrowedString{config});
        document.Append(std::move(setting));
    }
    return document;
}

Json::Value asJsonCpp(const Settings& all)
{
    Json::Value document(Json::arrayValue);
    for (const auto& [key, config] : all) {
        Json::Value setting;
        setting["key"] = key;
        setting["config"] = config;
        document.append(std::move(setting));
    }
    return document;
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0) * static_cast<std::int64_t>(kTextBytes));
}

// A new block each time, as every writer needs one.
void copyTexts(benchmark::State& state)
{
    const Settings& all = settings(state);
    for (auto _ : state) {
        std::string copy;
        copy.reserve(all.size() * kTextBytes);
        for (const auto& setting : all) {
            copy.append(setting.second);
        }
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void copyDocumentIntoWarmMemory(benchmark::State& state)
{
    const std::string document = json::Writer::Write(asDocument(settings(state)));
    std::vector<char> copy(document.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), document.data(), document.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void writeOurs(benchmark::State& state)
{
    const json::Array document = asDocument(settings(state));
    for (auto _ : state) {
        benchmark::DoNotOptimize(json::Writer::Write(document));
    }
    countBytes(state);
}

void saveOurs(benchmark::State& state)
{
    host_seam::platform().settings.analytics() = json::Writer::Write(asDocument(settings(state)));
    korva::meridan::OnvifSettings stored(nullptr);
    host_seam::platform().settings.keepsDocuments = false; // what a store does with the text is its own time
    for (auto _ : state) {
        stored.Save();
    }
    countBytes(state);
}

void writeJsonCppStream(benchmark::State& state)
{
    const Json::Value document = asJsonCpp(settings(state));
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    for (auto _ : state) {
        benchmark::DoNotOptimize(Json::writeString(builder, document));
    }
    countBytes(state);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the quickest writer that JsonCpp has

void writeJsonCppFast(benchmark::State& state)
{
    const Json::Value document = asJsonCpp(settings(state));
    for (auto _ : state) {
        Json::FastWriter writer;
        benchmark::DoNotOptimize(writer.write(document));
    }
    countBytes(state);
}

#pragma GCC diagnostic pop

void loadOurs(benchmark::State& state)
{
    host_seam::platform().settings.analytics() = json::Writer::Write(asDocument(settings(state)));
    korva::meridan::OnvifSettings stored(nullptr);
    for (auto _ : state) {
        stored.Load();
    }
    countBytes(state);
}

void parseJsonCpp(benchmark::State& state)
{
    const std::string document = json::Writer::Write(asDocument(settings(state)));
    const Json::CharReaderBuilder builder;
    for (auto _ : state) {
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        Json::Value root;
        benchmark::DoNotOptimize(reader->parse(document.data(), document.data() + document.size(), &root, nullptr));
    }
    countBytes(state);
}

void forEachSize(benchmark::internal::Benchmark* family)
{
    family->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
}

} // namespace

BENCHMARK(copyDocumentIntoWarmMemory)->Apply(forEachSize);
BENCHMARK(copyTexts)->Apply(forEachSize);
BENCHMARK(writeOurs)->Apply(forEachSize);
BENCHMARK(saveOurs)->Apply(forEachSize);
BENCHMARK(writeJsonCppStream)->Apply(forEachSize);
BENCHMARK(writeJsonCppFast)->Apply(forEachSize);
BENCHMARK(loadOurs)->Apply(forEachSize);
BENCHMARK(parseJsonCpp)->Apply(forEachSize);
