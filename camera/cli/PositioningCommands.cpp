#include "camera/base/OptionTable.h"
#include "camera/cli/Command.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <json/value.h>

namespace camera::cli {

namespace {

using Context = CommandContext;
using PresetRow = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
using TourRow = sdbus::Struct<std::string, std::vector<StopRow>>;

constexpr const char* kPositioning = bus::service::kPositioning;
constexpr std::uint32_t kFullTurn = 360000;
constexpr std::uint32_t kOperator = 100; // as the camera's operators have; a lower number is more important
const CommandOption kPriority = {"--priority", "N", "who moves: 0 the most important, 499 the least; 100 without it"};

std::uint32_t priorityOf(const Context& context)
{
    const std::string text = context.arguments.option("--priority");
    return text.empty() ? kOperator : static_cast<std::uint32_t>(base::wholeNumber("--priority", text, 0, 499));
}

std::string decimals(double number, int places)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, number);
    return text.data();
}

std::string placeText(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    return "pan " + decimals(pan / 1e3, 3) + "  tilt " + decimals(tilt / 1e3, 3) + "  zoom " + decimals(zoom / 1e2, 2);
}

// What a command without results does, and says when it was done.
template <class... In>
int command(Context& context, const std::string& method, const std::string& done, const In&... arguments)
{
    context.client().call<>(kPositioning, method, arguments...);
    context.console.line(done);
    return 0;
}

std::string quoted(const std::string& name)
{
    return "'" + base::printable(name) + "'";
}

int listPresets(Context& context)
{
    const auto rows = std::get<0>(context.client().call<std::vector<PresetRow>>(kPositioning, "listPresets"));
    Json::Value list(Json::arrayValue);
    for (const PresetRow& row : rows) {
        Json::Value preset;
        preset["name"] = row.get<0>();
        preset["pan"] = row.get<1>() / 1e3;
        preset["tilt"] = row.get<2>() / 1e3;
        preset["zoom"] = row.get<3>() / 1e2;
        list.append(preset);
        if (!context.arguments.json) {
            context.console.line(base::printable(row.get<0>()) + "  " +
                                 placeText(row.get<1>(), row.get<2>(), row.get<3>()));
        }
    }
    if (context.arguments.json) {
        context.print(list);
    }
    return 0;
}

int goToPreset(Context& context)
{
    const std::string& name = context.arguments.words[0];
    const std::uint32_t priority = priorityOf(context);
    return command(context, "goToPreset", "On its way to preset " + quoted(name) + ".", name, priority);
}

int listTours(Context& context)
{
    const auto rows = std::get<0>(context.client().call<std::vector<TourRow>>(kPositioning, "listTours"));
    Json::Value list(Json::arrayValue);
    for (const TourRow& row : rows) {
        Json::Value tour;
        std::string line = base::printable(row.get<0>());
        tour["name"] = row.get<0>();
        tour["stops"] = Json::arrayValue;
        for (const StopRow& stop : row.get<1>()) {
            Json::Value item;
            item["preset"] = stop.get<0>();
            item["dwell"] = stop.get<1>() / 1e3;
            item["speed"] = stop.get<2>();
            tour["stops"].append(item);
            line += "  " + base::printable(stop.get<0>()) + " " + decimals(stop.get<1>() / 1e3, 1) + " s " +
                    std::to_string(stop.get<2>()) + " %";
        }
        list.append(tour);
        if (!context.arguments.json) {
            context.console.line(line);
        }
    }
    if (context.arguments.json) {
        context.print(list);
    }
    return 0;
}

// PRESET[:DWELL_S[:SPEED]]
StopRow stopOf(const std::string& text)
{
    const std::size_t first = text.find(':');
    const std::size_t second = first == std::string::npos ? first : text.find(':', first + 1);
    const std::string what = "camera tour create: the stop '" + base::printable(text) + "'";
    double dwell = 5;
    long long speed = 100;
    if (first == 0) {
        throw base::UsageError(what + " names no preset; a stop is PRESET, PRESET:SECONDS or PRESET:SECONDS:PERCENT.");
    }
    if (first != std::string::npos) {
        dwell = decimalNumber(what, text.substr(first + 1, second - first - 1), 0, 86400);
    }
    if (second != std::string::npos) {
        speed = base::wholeNumber(what, text.substr(second + 1), 1, 100);
    }
    return {text.substr(0, first), static_cast<std::uint32_t>(std::llround(dwell * 1e3)),
            static_cast<std::uint32_t>(speed)};
}

int createTour(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    std::vector<StopRow> stops;
    for (std::size_t i = 1; i < words.size(); ++i) {
        stops.push_back(stopOf(words[i]));
    }
    return command(context, "createTour",
                   "Tour " + quoted(words[0]) + " has " + std::to_string(stops.size()) +
                       (stops.size() == 1 ? " stop." : " stops."),
                   words[0], stops);
}

int startTour(Context& context)
{
    const std::uint32_t priority = priorityOf(context);
    const std::string& name = context.arguments.words[0];
    return command(context, "startTour", "Tour " + quoted(name) + " runs.", name, priority);
}

int moveTo(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    const double pan = decimalNumber("camera move: PAN", words[0], -360, 360);
    const double tilt = decimalNumber("camera move: TILT", words[1], -90, 90);
    const double zoom = decimalNumber("camera move: ZOOM", words[2], 1, 1000);
    const auto turn = (std::llround(pan * 1e3) + kFullTurn) % kFullTurn;
    const auto panUnits = static_cast<std::uint32_t>(turn);
    const auto tiltUnits = static_cast<std::int32_t>(std::llround(tilt * 1e3));
    const auto zoomUnits = static_cast<std::uint32_t>(std::llround(zoom * 1e2));
    return command(context, "moveTo", "On its way to " + placeText(panUnits, tiltUnits, zoomUnits) + ".", panUnits,
                   tiltUnits, zoomUnits, priorityOf(context));
}

int drive(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    std::array<std::int32_t, 3> speeds{};
    for (std::size_t i = 0; i < speeds.size(); ++i) {
        speeds.at(i) = static_cast<std::int32_t>(base::wholeNumber("camera drive", words[i], -100, 100));
    }
    const std::string given = context.arguments.option("--for");
    const auto time = given.empty() ? 0U : static_cast<std::uint32_t>(base::wholeNumber("--for", given, 1, 3600000));
    return command(context, "drive", given.empty() ? "Moving until camera stop." : "Moving for " + given + " ms.",
                   speeds[0], speeds[1], speeds[2], time, priorityOf(context));
}

// A command about one name and nothing else.
Command named(const std::string& name, const std::string& help, const std::string& method, const std::string& done)
{
    return {name,
            "NAME",
            help,
            [method, done, what = name.substr(0, name.find(' '))](Context& context) {
                const std::string& word = context.arguments.words[0];
                const std::string kind = what == "preset" ? "Preset " : "Tour ";
                return command(context, method, kind + quoted(word) + done, word);
            },
            false,
            {},
            {}};
}

Command plain(const std::string& name, const std::string& help, const std::string& method, const std::string& done)
{
    return {name, "", help, [method, done](Context& context) { return command(context, method, done); }, false, {}, {}};
}

} // namespace

std::vector<Command> positioningCommands()
{
    return {
        {"preset list", "", "list the presets", listPresets, true, {}, {}},
        named("preset save", "keep the place where it looks as a preset", "savePreset",
              " is where the camera looks now."),
        {"preset go", "NAME", "move to a preset", goToPreset, false, {kPriority}, {}},
        {"preset rename",
         "OLD NEW",
         "give a preset another name",
         [](Context& context) {
             const std::vector<std::string>& words = context.arguments.words;
             return command(context, "renamePreset", "Preset " + quoted(words[0]) + " is " + quoted(words[1]) + " now.",
                            words[0], words[1]);
         },
         false,
         {},
         {}},
        named("preset remove", "forget a preset", "removePreset", " is removed."),
        {"tour list", "", "list the tours", listTours, true, {}, {}},
        {"tour create", "NAME PRESET[:DWELL_S[:SPEED]]...", "make a tour of presets", createTour, false, {}, {}},
        {"tour start", "NAME", "begin a tour", startTour, false, {kPriority}, {}},
        plain("tour stop", "end the tour", "stopTour", "The tour has ended."),
        plain("tour pause", "stay at the next stop", "pauseTour", "The tour pauses."),
        plain("tour resume", "go on", "resumeTour", "The tour goes on."),
        named("tour remove", "forget a tour", "removeTour", " is removed."),
        {"move", "PAN TILT ZOOM", "look there: degrees and magnification", moveTo, false, {kPriority}, {}},
        {"stop",
         "",
         "stop moving",
         [](Context& context) { return command(context, "stop", "Stopping.", priorityOf(context)); },
         false,
         {kPriority},
         {}},
        {"drive",
         "VX VY VZ",
         "move at speeds of -100 to 100 percent",
         drive,
         false,
         {{"--for", "MS", "stop after so many milliseconds; without it at camera stop"}, kPriority},
         {}},
    };
}

} // namespace camera::cli
