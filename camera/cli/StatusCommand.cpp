#include "camera/base/Log.h"
#include "camera/base/RunOptions.h"
#include "camera/base/StopSignal.h"
#include "camera/base/Text.h"
#include "camera/cli/JsonOutput.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <utility>

namespace camera::cli {

namespace {

using Context = CommandContext;

constexpr const char* kWait = "--wait";
constexpr std::chrono::milliseconds kReadinessInterval(100);

// A part of the status: its value, or under "error" the sentence that says why there is none.
template <class Ask>
Json::Value part(const Ask& ask)
{
    try {
        return ask();
    } catch (const std::exception& error) {
        return jsonObject({"error"}, std::string(error.what()));
    }
}

// A JSON object of properties, each a pair of its name and its getter.
template <class... Property>
Json::Value properties(CameraClient& client, const Property&... property)
{
    Json::Value object(Json::objectValue);
    ((object[property.first] = client.ask(property.second)), ...);
    return object;
}

Json::Value supervisor(CameraClient& client)
{
    using Supervisor = bus::SupervisorClient;
    Json::Value value =
        properties(client, std::pair("folder", &Supervisor::State), std::pair("bus", &Supervisor::Address));
    for (const std::string& address : client.ask(&Supervisor::OnvifAddresses)) {
        value[value.isMember("onvif") ? "onvifTls" : "onvif"] = address;
    }
    for (const auto& row : client.ask(&Supervisor::Processes)) {
        const auto& [name, pid, restarts, since, lastExit] = columns(row);
        value["processes"].append(jsonObject({"process", "pid", "restarts", "started", "lastExit"}, name, pid, restarts,
                                             base::utcText(since, base::kIsoTime), lastExit));
    }
    return value;
}

template <class Value>
Json::Value jsonArray(const std::vector<Value>& values)
{
    Json::Value array(Json::arrayValue);
    for (const Value& value : values) {
        array.append(Json::Value(value));
    }
    return array;
}

// The camera answers this on the thread that calls its engines, so it can fail where the rest does not.
Json::Value engines(CameraClient& client)
{
    Json::Value all(Json::arrayValue);
    for (const auto& row : client.ask(&bus::PipelineClient::engines)) {
        const auto& [name, preset, rules, modules, calls, exceptions, frames, mean, longest, histogram] = columns(row);
        Json::Value engine =
            jsonObject({"engine", "preset", "calls", "exceptions", "frames", "meanFrameMs", "longestFrameMs"}, name,
                       preset, calls, exceptions, frames, mean, longest);
        engine["rules"] = jsonArray(rules);
        engine["modules"] = jsonArray(modules);
        engine["frameTimes"] = jsonArray(histogram);
        all.append(engine);
    }
    return all;
}

Json::Value pipeline(CameraClient& client)
{
    using Pipeline = bus::PipelineClient;
    Json::Value value = properties(
        client, std::pair("pid", &Pipeline::Pid), std::pair("input", &Pipeline::Input),
        std::pair("frames", &Pipeline::Frames), std::pair("framesFailed", &Pipeline::FramesFailed),
        std::pair("framesPerSecond", &Pipeline::FramesPerSecond),
        std::pair("longestFrameMs", &Pipeline::LongestFrameMs), std::pair("events", &Pipeline::Events),
        std::pair("eventsDropped", &Pipeline::EventsDropped), std::pair("documents", &Pipeline::Documents),
        std::pair("documentsTaken", &Pipeline::DocumentsTaken),
        std::pair("documentsDropped", &Pipeline::DocumentsDropped),
        std::pair("controlFailures", &Pipeline::ControlFailures), std::pair("orientation", &Pipeline::Orientation),
        std::pair("sourceGone", &Pipeline::SourceGone), std::pair("sourceLosses", &Pipeline::SourceLosses));
    value["engines"] = part([&] { return engines(client); });
    value["missingEngines"] = jsonArray(client.ask(&Pipeline::MissingEngines));
    return value;
}

Json::Value services(CameraClient& client)
{
    using Services = bus::ServicesClient;
    Json::Value value =
        properties(client, std::pair("pid", &Services::Pid), std::pair("folder", &Services::State),
                   std::pair("moving", &Services::Moving), std::pair("orientation", &Services::Orientation),
                   std::pair("rotationServed", &Services::RotationServed), std::pair("blanking", &Services::Blanking));
    value["subscribers"] = jsonRows({"delivered", "lost", "queuedBytes"}, client.ask(&Services::Subscribers));
    return value;
}

Json::Value faults(CameraClient& client)
{
    Json::Value all(Json::arrayValue);
    for (const auto& [service, fault] : client.ask(&bus::ServicesClient::faults)) {
        all.append(jsonObject({"service", "fault"}, service, fault));
    }
    return all;
}

Json::Value position(CameraClient& client)
{
    using Positioning = bus::PositioningClient;
    const auto [pan, tilt, zoom, angle, moving, preset] = client.ask(&Positioning::getPosition);
    const auto tour = client.ask(&Positioning::Tour);
    Json::Value value =
        jsonObject({"available", "pan", "tilt", "zoom", "angleOfView", "moving", "preset"},
                   client.ask(&Positioning::Available), pan / 1e3, tilt / 1e3, zoom / 1e2, angle / 1e3, moving, preset);
    if (!tour.get<0>().empty()) {
        value["tour"] = tour.get<0>();
        value["tourStop"] = tour.get<1>();
    }
    return value;
}

Json::Value metadata(CameraClient& client)
{
    return jsonRow({"received", "delivered", "lost", "subscribers"},
                   client.ask(&bus::OnvifMetadataStreamerClient::getCounters));
}

std::string number(const Json::Value& value, int places)
{
    return base::decimals(value.asDouble(), places);
}

std::string textOf(const Json::Value& value)
{
    return base::printable(value.asString());
}

void line(Context& context, const std::string& label, const std::string& text)
{
    std::string left = label;
    left.resize(12, ' ');
    context.console.line(left + text);
}

bool answers(Context& context, const std::string& label, const Json::Value& value)
{
    if (value.isObject() && value.isMember("error")) {
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
        std::string text = textOf(process["process"]);
        text.resize(std::max<std::size_t>(text.size(), 16), ' ');
        text += textOf(process["pid"]) == "0" ? "  does not run" : "  pid " + textOf(process["pid"]);
        if (textOf(process["restarts"]) != "0") {
            text += "  restarts " + textOf(process["restarts"]) + ", last by " + textOf(process["lastExit"]);
        }
        line(context, label, text);
        label.clear();
    }
    line(context, "bus", textOf(supervisor["bus"]));
    if (supervisor.isMember("onvif")) {
        line(context, "onvif",
             textOf(supervisor["onvif"]) +
                 (supervisor.isMember("onvifTls") ? "  " + textOf(supervisor["onvifTls"]) : ""));
    }
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

std::vector<std::string> namesOf(const Json::Value& list)
{
    std::vector<std::string> names;
    for (const Json::Value& name : list) {
        names.push_back(textOf(name));
    }
    return names;
}

std::string activeText(const Json::Value& engine)
{
    return onvif::describeActive(textOf(engine["preset"]), namesOf(engine["rules"]), namesOf(engine["modules"]));
}

void showEngines(Context& context, const Json::Value& engines)
{
    if (!answers(context, "active", engines)) {
        return;
    }
    std::string label = "active";
    for (const Json::Value& engine : engines) {
        line(context, label, textOf(engine["engine"]) + ": " + activeText(engine));
        label.clear();
    }
    label = "engines";
    for (const Json::Value& engine : engines) {
        line(context, label,
             textOf(engine["engine"]) + ": calls " + textOf(engine["calls"]) + "  exceptions " +
                 textOf(engine["exceptions"]) + "  frames " + textOf(engine["frames"]) + "  mean " +
                 number(engine["meanFrameMs"], 2) + " ms  longest " + number(engine["longestFrameMs"], 1) + " ms");
        label.clear();
    }
}

void showPipeline(Context& context, const Json::Value& pipeline)
{
    if (!answers(context, "frames", pipeline)) {
        return;
    }
    const std::string losses = textOf(pipeline["sourceLosses"]);
    line(context, "input",
         textOf(pipeline["input"]) + (losses == "0" ? "" : "  gone " + losses + " times") +
             (pipeline["sourceGone"] == true ? ", waiting for it" : ""));
    line(context, "frames",
         textOf(pipeline["frames"]) + "  " + number(pipeline["framesPerSecond"], 1) + "/s  failed " +
             textOf(pipeline["framesFailed"]) + "  longest " + number(pipeline["longestFrameMs"], 1) + " ms");
    line(context, "events", textOf(pipeline["events"]) + "  dropped " + textOf(pipeline["eventsDropped"]));
    line(context, "documents", textOf(pipeline["documents"]) + "  dropped " + textOf(pipeline["documentsDropped"]));
    showEngines(context, pipeline["engines"]);
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
        for (const Json::Value& each : faults) {
            if (textOf(each["fault"]) != "off") {
                text += (text.empty() ? "" : ", ") + textOf(each["service"]) + " " + textOf(each["fault"]);
            }
        }
        line(context, "faults", text.empty() ? "none" : text);
    }
}

// Prints a part for programs; what it has several of follows elsewhere.
void printPart(Context& context, const char* part, const Json::Value& value)
{
    Json::Value object(Json::objectValue);
    object["part"] = part;
    for (const std::string& name : value.getMemberNames()) {
        if (!value[name].isArray() && !value[name].isObject()) {
            object[name] = value[name];
        }
    }
    context.print(object);
}

// Several things of one kind, or why they cannot be told.
void printEach(Context& context, const char* part, const Json::Value& values)
{
    if (values.isObject()) {
        return printPart(context, part, values);
    }
    for (const Json::Value& value : values) {
        printPart(context, part, value);
    }
}

void printEngine(Context& context, const Json::Value& engine)
{
    printPart(context, "engine", engine);
    const auto of = [&engine](const char* field, const Json::Value& value) {
        Json::Value object = jsonObject({"engine"}, engine["engine"]);
        object[field] = value;
        return object;
    };
    for (const auto& [field, names] : {std::pair("rule", "rules"), std::pair("module", "modules")}) {
        for (const Json::Value& name : engine[names]) {
            Json::Value active = of(field, name);
            active["preset"] = engine["preset"];
            printPart(context, "active", active);
        }
    }
    const Json::Value& times = engine["frameTimes"]; // less than 2 us, and each following one twice as long
    for (Json::ArrayIndex i = 0; i < times.size(); ++i) {
        if (times[i] != 0) {
            Json::Value count = of("frames", times[i]);
            if (i + 1 < times.size()) {
                count["belowMs"] = 0.002 * static_cast<double>(std::uint64_t{1} << i);
            }
            printPart(context, "frameTimes", count);
        }
    }
}

void printParts(Context& context, const Json::Value& all)
{
    printPart(context, "supervisor", all["supervisor"]);
    printEach(context, "process", all["supervisor"]["processes"]);
    printPart(context, "position", all["position"]);
    const Json::Value& pipeline = all["pipeline"];
    printPart(context, "pipeline", pipeline);
    if (pipeline["engines"].isObject()) {
        printPart(context, "engine", pipeline["engines"]);
    } else {
        for (const Json::Value& engine : pipeline["engines"]) {
            printEngine(context, engine);
        }
    }
    for (const Json::Value& path : pipeline["missingEngines"]) {
        printPart(context, "missingEngine", jsonObject({"file"}, path));
    }
    printPart(context, "services", all["services"]);
    printEach(context, "subscriber", all["services"]["subscribers"]);
    printPart(context, "metadata", all["metadata"]);
    if (all.isMember("gateway")) {
        printPart(context, "gateway", all["gateway"]);
    }
    printEach(context, "fault", all["faults"]);
}

// All parts are asked at the same time: the whole takes no longer than its slowest part.
Json::Value statusOf(CameraClient& client)
{
    const auto begin = [&client](auto ask) {
        return std::async(std::launch::async, [&client, ask] { return part([&] { return ask(client); }); });
    };
    auto ofSupervisor = begin(supervisor);
    auto ofPipeline = begin(pipeline);
    auto ofPosition = begin(position);
    auto ofMetadata = begin(metadata);
    Json::Value all;
    all["services"] = part([&] { return services(client); });
    all["faults"] = part([&] { return faults(client); });
    all["supervisor"] = ofSupervisor.get();
    if (all["supervisor"].isMember("onvif")) {
        all["gateway"] = part([&] { return properties(client, std::pair("pid", &bus::GatewayClient::Pid)); });
    }
    all["pipeline"] = ofPipeline.get();
    all["position"] = ofPosition.get();
    all["metadata"] = ofMetadata.get();
    return all;
}

// Why a part of the status is missing; empty when each part has answered.
std::string silenceIn(const Json::Value& all)
{
    for (const Json::Value& each : all) {
        const Json::Value& engines = each.isObject() ? each["engines"] : each;
        for (const Json::Value* asked : {&each, &engines}) {
            if (asked->isObject() && asked->isMember("error")) {
                return (*asked)["error"].asString();
            }
        }
    }
    return "";
}

// Why the camera is not ready; empty when it is, which is when all parts answer and a frame has come.
std::string unreadinessOf(const Json::Value& all)
{
    const std::string silence = silenceIn(all);
    const Json::Value& pipeline = all["pipeline"];
    // The number of frames has the one that an engine has just now.
    const bool frames = pipeline["framesPerSecond"].asDouble() > 0 || pipeline["input"] == base::kNoInput;
    return !silence.empty() || frames ? silence : "no frame has come yet";
}

Json::Value readyStatus(Context& context)
{
    const base::StopSignal stop;
    const auto now = [] { return std::chrono::steady_clock::now(); };
    const auto end = now() + std::chrono::seconds(context.arguments.whole(kWait));
    std::string reason;
    do {
        try {
            Json::Value all = statusOf(context.client());
            reason = unreadinessOf(all);
            if (reason.empty()) {
                return all;
            }
        } catch (const CameraError& error) {
            reason = error.what();
        }
        stop.waitUntil(std::min(end, now() + kReadinessInterval));
    } while (now() < end && !stop.stopped());
    throw CameraError("the camera is not ready after " + context.arguments.text(kWait) + " s: " + reason);
}

int status(Context& context)
{
    const Json::Value all = context.arguments.has(kWait) ? readyStatus(context) : statusOf(context.client());
    const int code = silenceIn(all).empty() ? 0 : 1;
    if (context.json()) {
        printParts(context, all);
        return code;
    }
    line(context, "camera", base::printable(context.stateDir().string()));
    showProcesses(context, all["supervisor"]);
    showPosition(context, all["position"]);
    showPipeline(context, all["pipeline"]);
    showServices(context, all["metadata"], all["faults"]);
    answers(context, "gateway", all["gateway"]);
    return code;
}

int list(Context& context)
{
    using supervisor::RuntimeFolder;
    const bool all = context.arguments.has("--all");
    for (const supervisor::RunningCamera& camera :
         all ? RuntimeFolder::runningOfAllUsers() : RuntimeFolder::running()) {
        const std::string user = all ? "  user " + std::to_string(camera.user) : "";
        context.print(jsonObject({"folder", "pid", "user", "bus"}, camera.stateDir.string(),
                                 std::atoi(camera.pid.c_str()), camera.user, camera.address),
                      base::printable(camera.stateDir.string() + "  pid " + camera.pid + user));
    }
    return 0;
}

// The supervisor first: what it starts again from now on gets the new level.
int setLogLevel(Context& context)
{
    const std::string level = context.arguments.text("LEVEL");
    CameraClient& client = context.client();
    client.ask(&bus::SupervisorClient::setLogLevel, level);
    client.ask(&bus::ServicesClient::setLogLevel, level);
    client.ask(&bus::PipelineClient::setLogLevel, level);
    if (!client.ask(&bus::SupervisorClient::OnvifAddresses).empty()) {
        client.ask(&bus::GatewayClient::setLogLevel, level);
    }
    context.console.line("Every process of the camera logs " + std::string(level == "debug"  ? "everything."
                                                                           : level == "info" ? "more."
                                                                                             : "errors only."));
    return 0;
}

int shutDown(Context& context)
{
    context.client().ask(&bus::SupervisorClient::stop);
    context.console.line("The camera ends.");
    return 0;
}

} // namespace

base::Command listCommand()
{
    return base::Command("list", "Lists the cameras that run.")
        .flag("--all", "those of all users, as far as they can be seen")
        .flag("--json", base::kJsonHelp)
        .does(onCamera(list));
}

std::vector<base::Command> statusCommands()
{
    return {
        listing("status", "Shows the state of the camera on one screen; exit code 1 when a part does not answer.",
                status)
            .option(kWait, base::wholeValue("SECONDS", 1, 86400),
                    "wait until the camera runs, all its parts answer and a frame has come"),
        base::Command("log", "Changes what a running camera logs.")
            .takes(base::choiceValue("LEVEL", base::kLogLevels), "the least important lines that are written")
            .does(onCamera(setLogLevel)),
        base::Command("shutdown", "Ends the camera.").does(onCamera(shutDown)),
    };
}

} // namespace camera::cli
