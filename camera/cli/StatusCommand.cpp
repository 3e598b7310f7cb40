#include "camera/cli/Command.h"

#include "camera/base/PrintableText.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <json/reader.h>
#include <json/value.h>
#include <sstream>

namespace camera::cli {

namespace {

using Context = CommandContext;

// A part of the whole: its value, or the sentence that says why there is none, under "error".
template <class Ask>
Json::Value part(const Ask& ask)
{
    try {
        return ask();
    } catch (const std::exception& error) {
        Json::Value value(Json::objectValue);
        value["error"] = error.what();
        return value;
    }
}

Json::Value document(Context& context, const char* service)
{
    return part([&] {
        const auto [text] = context.client().call<std::string>(service, "status");
        Json::Value value;
        std::string problem;
        std::istringstream in(text);
        if (!Json::parseFromStream(Json::CharReaderBuilder(), in, &value, &problem) || !value.isObject()) {
            throw CameraError("the camera's " + std::string(service) + " answers no status that can be read");
        }
        return value;
    });
}

Json::Value position(Context& context)
{
    return part([&] {
        const auto [pan, tilt, zoom, angle, moving, preset] =
            context.client().call<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, bool, std::string>(
                bus::service::kPositioning, "getPosition");
        Json::Value value;
        value["pan"] = pan / 1e3;
        value["tilt"] = tilt / 1e3;
        value["zoom"] = zoom / 1e2;
        value["angleOfView"] = angle / 1e3;
        value["moving"] = moving;
        value["preset"] = preset;
        return value;
    });
}

Json::Value counters(Context& context)
{
    return part([&] {
        const auto [received, delivered, lost, subscribers] =
            context.client().call<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>(
                bus::service::kMetadataStreamer, "getCounters");
        Json::Value value;
        value["received"] = Json::UInt64(received);
        value["delivered"] = Json::UInt64(delivered);
        value["lost"] = Json::UInt64(lost);
        value["subscribers"] = subscribers;
        return value;
    });
}

Json::Value faults(Context& context)
{
    return part([&] {
        Json::Value value(Json::objectValue);
        const auto [all] = context.client().call<std::map<std::string, std::string>>(bus::service::kServices, "faults");
        for (const auto& [service, fault] : all) {
            value[service] = fault;
        }
        return value;
    });
}

std::string number(const Json::Value& value, int places)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, value.isNumeric() ? value.asDouble() : 0.0);
    return text.data();
}

// Any value as text; what another process answers may be of another kind than it should.
std::string textOf(const Json::Value& value)
{
    return value.isConvertibleTo(Json::stringValue) ? base::printable(value.asString()) : "";
}

void line(Context& context, const std::string& label, const std::string& text)
{
    std::string left = label;
    left.resize(12, ' ');
    context.console.line(left + text);
}

bool answers(Context& context, const std::string& label, const Json::Value& value)
{
    if (value.isMember("error")) {
        line(context, label, textOf(value["error"]));
        return false;
    }
    return true;
}

void showProcesses(Context& context, const Json::Value& supervisor)
{
    if (!answers(context, "processes", supervisor)) {
        return;
    }
    std::string label = "processes";
    for (const Json::Value& process : supervisor["processes"]) {
        std::string text = textOf(process["name"]);
        text.resize(std::max<std::size_t>(text.size(), 16), ' ');
        text += textOf(process["pid"]) == "0" ? "  does not run" : "  pid " + textOf(process["pid"]);
        if (textOf(process["restarts"]) != "0") {
            text += "  restarts " + textOf(process["restarts"]) + ", last by " + textOf(process["lastExit"]);
        }
        line(context, label, text);
        label.clear();
    }
    line(context, "bus", textOf(supervisor["address"]));
}

void showPosition(Context& context, const Json::Value& at)
{
    if (!answers(context, "position", at)) {
        return;
    }
    const std::string preset = textOf(at["preset"]);
    line(context, "position",
         "pan " + number(at["pan"], 3) + "  tilt " + number(at["tilt"], 3) + "  zoom " + number(at["zoom"], 2) +
             "  view " + number(at["angleOfView"], 1) + " degrees" + (at["moving"] == true ? "  moving" : "") +
             (preset.empty() ? "" : "  at preset '" + preset + "'"));
}

void showPipeline(Context& context, const Json::Value& pipeline)
{
    if (!answers(context, "frames", pipeline)) {
        return;
    }
    line(context, "input", textOf(pipeline["input"]));
    line(context, "frames",
         textOf(pipeline["frames"]) + "  " + number(pipeline["framesPerSecond"], 1) + "/s  failed " +
             textOf(pipeline["framesFailed"]) + "  longest " + number(pipeline["longestFrameMs"], 1) + " ms");
    line(context, "events", textOf(pipeline["events"]) + "  dropped " + textOf(pipeline["eventsDropped"]));
    line(context, "documents", textOf(pipeline["documents"]) + "  dropped " + textOf(pipeline["documentsDropped"]));
    std::string label = "active";
    if (pipeline["engines"].isArray()) {
        for (const Json::Value& engine : pipeline["engines"]) {
            if (engine.isObject()) {
                const std::string key = textOf(engine["key"]);
                line(context, label, textOf(engine["name"]) + ": " + (key.empty() ? "none" : "key '" + key + "'"));
                label.clear();
            }
        }
    }
    for (const Json::Value& path : pipeline["missingEngines"]) {
        line(context, "not loaded", "engine module '" + textOf(path) + "'");
    }
}

void showServices(Context& context, const Json::Value& metadata, const Json::Value& faults)
{
    if (answers(context, "metadata", metadata)) {
        line(context, "metadata",
             "received " + textOf(metadata["received"]) + "  delivered " + textOf(metadata["delivered"]) + "  lost " +
                 textOf(metadata["lost"]) + "  subscribers " + textOf(metadata["subscribers"]));
    }
    if (answers(context, "faults", faults)) {
        std::string text;
        for (const std::string& service : faults.getMemberNames()) {
            if (textOf(faults[service]) != "off") {
                text += (text.empty() ? "" : ", ") + base::printable(service) + " " + textOf(faults[service]);
            }
        }
        line(context, "faults", text.empty() ? "none" : text);
    }
}

int status(Context& context)
{
    context.client(); // a camera that does not run is a failure, not a part that does not answer
    Json::Value all;
    all["supervisor"] = document(context, bus::service::kSupervisor);
    all["pipeline"] = document(context, bus::service::kPipeline);
    all["position"] = position(context);
    all["services"] = document(context, bus::service::kServices);
    all["metadata"] = counters(context);
    all["faults"] = faults(context);
    if (context.json()) {
        context.print(all);
        return 0;
    }
    line(context, "camera", context.stateDir().string());
    showProcesses(context, all["supervisor"]);
    showPosition(context, all["position"]);
    showPipeline(context, all["pipeline"]);
    showServices(context, all["metadata"], all["faults"]);
    return 0;
}

int shutDown(Context& context)
{
    context.client().call<>(bus::service::kSupervisor, "stop");
    context.console.line("The camera ends.");
    return 0;
}

} // namespace

std::vector<base::Command> statusCommands()
{
    return {
        listing("status", "Shows the state of the camera on one screen.", status),
        base::Command("shutdown", "Ends the camera.").does(onCamera(shutDown)),
    };
}

} // namespace camera::cli
