// One document of 10, 100 or 1000 settings of 4 KiB of configuration text.
#include "bench/Pairs.h"
#include "json/Array.h"
#include "json/Object.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <json/json.h>

#include <map>
#include <string>
#include <utility>

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

Settings settings(int count)
{
    Settings made;
    for (int number = 0; number < count; ++number) {
        made.emplace("SimplePreset" + std::to_string(number), configurationText(number));
    }
    return made;
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

// A new block each time, as every writer needs one.
std::string copyTexts(const Settings& all)
{
    std::string copy;
    copy.reserve(all.size() * kTextBytes);
    for (const auto& setting : all) {
        copy.append(setting.second);
    }
    return copy;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the quickest writer that JsonCpp has

std::string writeJsonCppFast(const Json::Value& document)
{
    return Json::FastWriter().write(document);
}

#pragma GCC diagnostic pop

} // namespace

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    Json::StreamWriterBuilder stream;
    stream["indentation"] = "";
    for (const int count : {10, 100, 1000}) {
        const Settings all = settings(count);
        const json::Array document = asDocument(all);
        const Json::Value peer = asJsonCpp(all);
        const auto writer = [&count](const std::string& whose) {
            return whose + " writer, " + std::to_string(count) + " keys of 4 KiB";
        };
        const auto writeOurs = bench::timed([&] { bench::keep(json::Writer::Write(document)); });
        pairs.compare(writer("settings"), writeOurs, "copying the texts",
                      bench::timed([&] { bench::keep(copyTexts(all)); }));
        pairs.compare(writer("JsonCpp's stream"), bench::timed([&] { bench::keep(Json::writeString(stream, peer)); }),
                      "our settings writer", writeOurs, bench::atLeast(4));
        pairs.compare(writer("JsonCpp's fast"), bench::timed([&] { bench::keep(writeJsonCppFast(peer)); }),
                      "our settings writer", writeOurs, bench::atLeast(4));
    }
}
