#include "camera/cli/Command.h"

#include "camera/base/PrintableText.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <json/value.h>
#include <utility>

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

Json::Value supervisor(Context& context)
{
    return part([&client = context.client()] {
        using Supervisor = bus::SupervisorClient;
        Json::Value value;
        value["state"] = client.ask(&Supervisor::State);
        value["address"] = client.ask(&Supervisor::Address);
        value["processes"] = Json::arrayValue;
        for (const auto& row : client.ask(&Supervisor::Processes)) {
            Json::Value process;
            process["name"] = row.get<0>();
            process["pid"] = row.get<1>();
            process["restarts"] = row.get<2>();
            process["since"] = Json::Int64(row.get<3>());
            process["lastExit"] = row.get<4>();
            value["processes"].append(process);
        }
        return value;
    });
}

Json::Value pipeline(Context& context)
{
    return part([&client = context.client()] {
        using Pipeline = bus::PipelineClient;
        Json::Value value;
        value["pid"] = client.ask(&Pipeline::Pid);
        value["input"] = client.ask(&Pipeline::Input);
        value["missingEngines"] = Json::arrayValue;
        for (const std::string& path : client.ask(&Pipeline::MissingEngines)) {
            value["missingEngines"].append(path);
        }
        const std::pair<const char*, std::uint64_t (ravel::pipeline_proxy::*)()> counters[] = {
            {"frames", &Pipeline::Frames},
            {"framesFailed", &Pipeline::FramesFailed},
            {"events", &Pipeline::Events},
            {"eventsDropped", &Pipeline::EventsDropped},
            {"documents", &Pipeline::Documents},
            {"documentsTaken", &Pipeline::DocumentsTaken},
            {"documentsDropped", &Pipeline::DocumentsDropped},
            {"controlFailures", &Pipeline::ControlFailures},
        };
        for (const auto& [name, counter] : counters) {
            value[name] = Json::UInt64(client.ask(counter));
        }
        value["framesPerSecond"] = client.ask(&Pipeline::FramesPerSecond);
        value["longestFrameMs"] = client.ask(&Pipeline::LongestFrameMs);
        value["orientation"] = client.ask(&Pipeline::Orientation);
        value["engines"] = Json::arrayValue;
        for (const auto& row : client.ask(&Pipeline::Engines)) {
            Json::Value engine;
            engine["name"] = row.get<0>();
            engine["active"] = row.get<1>();
            value["engines"].append(engine);
        }
        return value;
    });
}

Json::Value services(Context& context)
{
    return part([&client = context.client()] {
        using Services = bus::ServicesClient;
        Json::Value value;
        value["pid"] = client.ask(&Services::Pid);
        value["state"] = client.ask(&Services::State);
        value["moving"] = client.ask(&Services::Moving);
        value["orientation"] = client.ask(&Services::Orientation);
        value["rotationServed"] = client.ask(&Services::RotationServed);
        value["blanking"] = client.ask(&Services::Blanking);
        value["subscribers"] = Json::arrayValue;
        for (const auto& row : client.ask(&Services::Subscribers)) {
            Json::Value subscriber;
            subscriber["delivered"] = Json::UInt64(row.get<0>());
            subscriber["lost"] = Json::UInt64(row.get<1>());
            subscriber["queuedBytes"] = Json::UInt64(row.get<2>());
            value["subscribers"].append(subscriber);
        }
        return value;
    });
}

Json::Value position(Context& context)
{
    return part([&client = context.client()] {
        using Positioning = bus::PositioningClient;
        const auto [pan, tilt, zoom, angle, moving, preset] = client.ask(&Positioning::getPosition);
        const auto tour = client.ask(&Positioning::Tour);
        Json::Value value;
        value["available"] = client.ask(&Positioning::Available);
        value["pan"] = pan / 1e3;
        value["tilt"] = tilt / 1e3;
        value["zoom"] = zoom / 1e2;
        value["angleOfView"] = angle / 1e3;
        value["moving"] = moving;
        value["preset"] = preset;
        if (!tour.get<0>().empty()) {
            value["tour"] = tour.get<0>();
            value["tourStop"] = tour.get<1>();
        }
        return value;
    });
}

Json::Value counters(Context& context)
{
    return part([&client = context.client()] {
        const auto [received, delivered, lost, subscribers] =
            client.ask(&bus::OnvifMetadataStreamerClient::getCounters);
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
    return part([&client = context.client()] {
        Json::Value value(Json::objectValue);
        for (const auto& [service, fault] : client.ask(&bus::ServicesClient::faults)) {
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
                line(context, label, textOf(engine["name"]) + ": " + textOf(engine["active"]));
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
    all["supervisor"] = supervisor(context);
    all["pipeline"] = pipeline(context);
    all["position"] = position(context);
    all["services"] = services(context);
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
    context.client().ask(&bus::SupervisorClient::stop);
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
