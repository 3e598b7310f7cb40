#include "camera/pipeline/RunSummary.h"

#include "camera/base/Text.h"
#include "camera/pipeline/RunReport.h"

namespace camera::pipeline {

namespace {

constexpr std::size_t kMostActive = 8;

std::vector<std::string> activeLines(const std::vector<onvif::ComponentName>& active)
{
    if (active.empty()) {
        return {summaryLine("active", "none; --config FILE.xml gives rules")};
    }
    std::vector<std::string> lines;
    for (const onvif::ComponentName& component : active) {
        if (lines.size() == kMostActive) {
            lines.push_back(summaryLine("", "and " + std::to_string(active.size() - kMostActive) + " more"));
            break;
        }
        lines.push_back(summaryLine(lines.empty() ? "active" : "", base::printable(onvif::describe(component))));
    }
    return lines;
}

Json::Value partOf(const char* part)
{
    Json::Value object(Json::objectValue);
    object["part"] = part;
    return object;
}

Json::Value activeObject(const onvif::ComponentName& component)
{
    Json::Value object = onvif::componentObject(component);
    object["part"] = "active";
    return object;
}

bool isOfThisComputer(const std::string& address)
{
    return address.rfind("http://127.", 0) == 0 || address.rfind("http://[::1]", 0) == 0;
}

} // namespace

std::string RunStart::line() const
{
    std::string text = input + "  " + std::to_string(width) + "x" + std::to_string(height) + "  " +
                       base::shortNumber(framesPerSecond) + " frames/s  ";
    for (const ActiveRules& engine : engines) {
        text += engine.engine + ": " + onvif::describeActive(engine.preset(), engine.rules(), engine.modules()) + "  ";
    }
    text += "state folder " + stateFolder + "  ";
    text += runtimeFolder.empty() ? "" : "runtime folder " + runtimeFolder + "  ";
    for (const std::string& address : onvif) {
        text += "onvif " + address + "  ";
    }
    if (!onvif.empty() && isOfThisComputer(onvif.front())) {
        text += "(for this computer only, not found by discovery; --bind 0.0.0.0 opens it to the network)  ";
    }
    return base::printable(text + (silent.empty() ? "ready" : silent + " does not answer"));
}

std::vector<Json::Value> RunStart::objects() const
{
    std::vector<Json::Value> objects{partOf("camera")};
    Json::Value& camera = objects.back();
    camera["input"] = input;
    camera["width"] = width;
    camera["height"] = height;
    camera["framesPerSecond"] = framesPerSecond;
    camera["folder"] = stateFolder;
    camera["runtimeFolder"] = runtimeFolder;
    for (const std::string& address : onvif) {
        camera[address == onvif.front() ? "onvif" : "onvifTls"] = address;
    }
    for (const ActiveRules& engine : engines) {
        objects.push_back(partOf("engine"));
        objects.back()["engine"] = engine.engine;
        objects.back()["preset"] = engine.preset();
        for (const onvif::ComponentName& component : engine.components) {
            objects.push_back(activeObject(component));
            objects.back()["engine"] = engine.engine;
        }
    }
    objects.push_back(partOf("start"));
    objects.back()["ready"] = silent.empty();
    return objects;
}

std::vector<Json::Value> RunSummary::objects() const
{
    std::vector<Json::Value> objects{counted};
    Json::Value& all = objects.back();
    all["part"] = "summary";
    all["input"] = input;
    all["eventsDropped"] = Json::UInt64(eventsDropped);
    all["documents"] = Json::UInt64(documents);
    all["folder"] = settings;
    all["ended"] = ended;
    for (const onvif::ComponentName& component : active) {
        objects.push_back(activeObject(component));
    }
    for (const WrittenFile& file : files) {
        objects.push_back(partOf("file"));
        objects.back()["file"] = file.path;
        objects.back()["bytes"] = Json::UInt64(file.bytes);
        objects.back()["complete"] = file.complete;
    }
    return objects;
}

std::vector<std::string> RunSummary::lines() const
{
    std::vector<std::string> lines{"", summaryLine("input", base::printable(input))};
    lines.insert(lines.end(), report.begin(), report.end());
    if (eventsDropped != 0) {
        lines.push_back(summaryLine("", std::to_string(eventsDropped) + " were lost: the queue was full"));
    }
    lines.push_back(summaryLine("metadata", std::to_string(documents) + " documents"));
    const std::vector<std::string> ofActive = activeLines(active);
    lines.insert(lines.end(), ofActive.begin(), ofActive.end());
    lines.push_back(
        summaryLine("settings", settings.empty() ? "not kept; --state DIR keeps them" : base::printable(settings)));
    for (const WrittenFile& file : files) {
        lines.push_back(summaryLine(file.complete ? "written" : "incomplete",
                                    base::printable(file.path) + " (" + base::sizeText(file.bytes) + ")"));
    }
    if (!ended.empty()) {
        lines.push_back(summaryLine("ended", ended));
    }
    return lines;
}

} // namespace camera::pipeline
