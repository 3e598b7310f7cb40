#include "camera/base/Text.h"
#include "camera/cli/JsonOutput.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>

namespace camera::cli {

namespace {

using base::Command;
using base::Offer;
using Context = CommandContext;
using Positioning = bus::PositioningClient;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;

constexpr const char* kStop = "PRESET[:SECONDS[:PERCENT]]";
constexpr std::uint32_t kFullTurn = 360000;
constexpr std::uint32_t kOperator = 100; // as the camera's operators have; a lower number is more important

std::uint32_t priorityOf(const Context& context)
{
    return static_cast<std::uint32_t>(context.arguments.whole("--priority", kOperator));
}

std::string placeText(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    return "pan " + base::decimals(pan / 1e3, 3) + "  tilt " + base::decimals(tilt / 1e3, 3) + "  zoom " +
           base::decimals(zoom / 1e2, 2);
}

// What a command without results does, and says when it was done.
template <class Method, class... In>
int command(Context& context, Method method, const std::string& done, const In&... arguments)
{
    context.client().ask(method, arguments...);
    context.console.line(done);
    return 0;
}

std::string quoted(const std::string& name)
{
    return "'" + base::printable(name) + "'";
}

int listPresets(Context& context)
{
    for (const auto& row : context.client().ask(&Positioning::listPresets)) {
        const auto& [name, pan, tilt, zoom] = columns(row);
        context.print(jsonObject({"preset", "pan", "tilt", "zoom"}, name, pan / 1e3, tilt / 1e3, zoom / 1e2),
                      base::printable(name) + "  " + placeText(pan, tilt, zoom));
    }
    return 0;
}

int goToPreset(Context& context)
{
    const std::string name = context.arguments.text("NAME");
    return command(context, &Positioning::goToPreset, "On its way to preset " + quoted(name) + ".", name,
                   priorityOf(context));
}

int listTours(Context& context)
{
    for (const auto& row : context.client().ask(&Positioning::listTours)) {
        const auto& [name, stops] = columns(row);
        std::string line = base::printable(name);
        for (std::size_t i = 0; i < stops.size(); ++i) {
            const auto& [preset, dwell, speed] = columns(stops[i]);
            if (context.json()) {
                context.print(jsonObject({"tour", "tourStop", "preset", "seconds", "speedPercent"}, name,
                                         Json::UInt64(i), preset, dwell / 1e3, speed));
            }
            line += "  " + base::printable(preset) + " " + base::decimals(dwell / 1e3, 1) + " s " +
                    std::to_string(speed) + " %";
        }
        if (!context.json()) {
            context.console.line(line);
        }
    }
    return 0;
}

// PRESET[:SECONDS[:PERCENT]]; of three colons and more the first belong to the name.
StopRow stopOf(const std::string& text)
{
    const std::size_t last = text.rfind(':');
    const std::size_t before = last == 0 || last == std::string::npos ? std::string::npos : text.rfind(':', last - 1);
    const std::size_t first = before == std::string::npos ? last : before;
    const std::string what = "camera tour create: the stop '" + base::printable(text) + "'";
    double dwell = 5;
    long long speed = 100;
    if (first == 0) {
        throw base::UsageError(what + " names no preset; a stop is PRESET, PRESET:SECONDS or PRESET:SECONDS:PERCENT.");
    }
    if (first != std::string::npos) {
        dwell = base::decimalNumber(
            what, text.substr(first + 1, before == std::string::npos ? before : last - first - 1), 0, 86400);
    }
    if (before != std::string::npos) {
        speed = base::wholeNumber(what, text.substr(last + 1), 1, 100);
    }
    return {text.substr(0, first), static_cast<std::uint32_t>(std::llround(dwell * 1e3)),
            static_cast<std::uint32_t>(speed)};
}

int createTour(Context& context)
{
    const std::string name = context.arguments.text("NAME");
    std::vector<StopRow> stops;
    for (const std::string& text : context.arguments.all(kStop)) {
        stops.push_back(stopOf(text));
    }
    return command(context, &Positioning::createTour,
                   "Tour " + quoted(name) + " has " + std::to_string(stops.size()) +
                       (stops.size() == 1 ? " stop." : " stops."),
                   name, stops);
}

// The stops of a tour whose presets have been removed, which the camera leaves out.
std::vector<std::string> removedPresets(CameraClient& client, const std::string& tour)
{
    std::set<std::string> presets;
    for (const auto& row : client.ask(&Positioning::listPresets)) {
        presets.insert(std::get<0>(row));
    }
    std::vector<std::string> removed;
    for (const auto& row : client.ask(&Positioning::listTours)) {
        const auto& [name, stops] = columns(row);
        for (const StopRow& stop : stops) {
            const std::string& preset = std::get<0>(stop);
            if (name == tour && presets.count(preset) == 0 &&
                std::find(removed.begin(), removed.end(), quoted(preset)) == removed.end()) {
                removed.push_back(quoted(preset));
            }
        }
    }
    return removed;
}

int startTour(Context& context)
{
    const std::string name = context.arguments.text("NAME");
    command(context, &Positioning::startTour, "Tour " + quoted(name) + " runs.", name, priorityOf(context));
    const std::vector<std::string> removed = removedPresets(context.client(), name);
    if (!removed.empty()) {
        context.console.line("It leaves out what is no preset any more: " + base::joined(removed, " and ") + ".");
    }
    return 0;
}

int moveTo(Context& context)
{
    const base::Arguments& arguments = context.arguments;
    const auto turn = (std::llround(arguments.decimal("PAN") * 1e3) + kFullTurn) % kFullTurn;
    const auto panUnits = static_cast<std::uint32_t>(turn);
    const auto tiltUnits = static_cast<std::int32_t>(std::llround(arguments.decimal("TILT") * 1e3));
    const auto zoomUnits = static_cast<std::uint32_t>(std::llround(arguments.decimal("ZOOM") * 1e2));
    command(context, &Positioning::moveTo, "On its way to " + placeText(panUnits, tiltUnits, zoomUnits) + ".", panUnits,
            tiltUnits, zoomUnits, priorityOf(context));
    if (context.client().ask(&bus::PipelineClient::showsElsewhere, panUnits, tiltUnits, zoomUnits)) {
        context.console.line("The picture of the input ends before that; the camera will show its edge.");
    }
    return 0;
}

int drive(Context& context)
{
    const auto speed = [&context](const char* axis) {
        return static_cast<std::int32_t>(context.arguments.whole(axis));
    };
    const auto time = static_cast<std::uint32_t>(context.arguments.whole("--for"));
    return command(context, &Positioning::drive,
                   time == 0 ? "Moving until camera stop." : "Moving for " + std::to_string(time) + " ms.", speed("VX"),
                   speed("VY"), speed("VZ"), time, priorityOf(context));
}

int renamePreset(Context& context)
{
    const std::string before = context.arguments.text("OLD");
    const std::string after = context.arguments.text("NEW");
    return command(context, &Positioning::renamePreset, "Preset " + quoted(before) + " is " + quoted(after) + " now.",
                   before, after);
}

// A function that calls a method without arguments.
base::Command::Perform calling(decltype(&Positioning::stopTour) method, const std::string& done)
{
    return onCamera([method, done](Context& context) { return command(context, method, done); });
}

// A function that calls a method with one name.
base::Command::Perform callingWithName(decltype(&Positioning::savePreset) method, const std::string& kind,
                                       const std::string& done)
{
    return onCamera([method, kind, done](Context& context) {
        const std::string name = context.arguments.text("NAME");
        return command(context, method, kind + quoted(name) + done, name);
    });
}

Command moving(const std::string& name, const std::string& summary)
{
    return Command(name, summary)
        .option("--priority", base::wholeValue("N", 0, 499),
                "the priority of this movement: 0 is the highest, 499 the lowest; without it 100");
}

base::Value stopValue()
{
    base::Value value = base::nameValue(kStop, Offer::presets);
    value.check = [check = value.check](const std::string& what, const std::string& text) {
        check(what, text);
        stopOf(text);
    };
    return value;
}

const base::Value kPresetName = base::nameValue("NAME", Offer::presets);
const base::Value kTourName = base::nameValue("NAME", Offer::tours);

} // namespace

std::vector<Command> positioningCommands()
{
    return {
        listing("preset list", "Lists the presets.", listPresets),
        Command("preset save", "Saves the position of the camera as a preset.")
            .takes(kPresetName, "the name of the preset")
            .does(callingWithName(&Positioning::savePreset, "Preset ", " is where the camera looks now.")),
        moving("preset go", "Moves the camera to a preset.")
            .takes(kPresetName, "the name of the preset")
            .does(onCamera(goToPreset)),
        Command("preset rename", "Gives a preset another name.")
            .takes(base::nameValue("OLD", Offer::presets), "the name that it has")
            .takes(base::nameValue("NEW"), "the name that it gets")
            .does(onCamera(renamePreset)),
        Command("preset remove", "Removes a preset.")
            .takes(kPresetName, "the name of the preset")
            .does(callingWithName(&Positioning::removePreset, "Preset ", " is removed.")),
        listing("tour list", "Lists the tours.", listTours),
        Command("tour create", "Creates a tour of presets.")
            .takes(base::nameValue("NAME"), "the name of the tour")
            .takes(stopValue(),
                   "a preset, how long the camera stays there (5), and the speed of the way to it (100); a name with a "
                   "colon needs both numbers",
                   base::Argument::Count::oneOrMore)
            .does(onCamera(createTour)),
        moving("tour start", "Starts a tour.").takes(kTourName, "the name of the tour").does(onCamera(startTour)),
        Command("tour stop", "Ends the tour.").does(calling(&Positioning::stopTour, "The tour has ended.")),
        Command("tour pause", "Keeps the camera at the next stop of the tour.")
            .does(calling(&Positioning::pauseTour, "The tour pauses.")),
        Command("tour resume", "Continues the tour after a pause.")
            .does(calling(&Positioning::resumeTour, "The tour goes on.")),
        Command("tour remove", "Removes a tour.")
            .takes(kTourName, "the name of the tour")
            .does(callingWithName(&Positioning::removeTour, "Tour ", " is removed.")),
        moving("move", "Moves the camera to a position.")
            .takes(base::decimalValue("PAN", -360, 360), "degrees")
            .takes(base::decimalValue("TILT", -90, 90), "degrees")
            .takes(base::decimalValue("ZOOM", 1, 1000), "magnification")
            .does(onCamera(moveTo)),
        moving("stop", "Stops the movement.").does(onCamera([](Context& context) {
            return command(context, &Positioning::stop, "Stopping.", priorityOf(context));
        })),
        moving("drive", "Moves the camera with a speed for each axis.")
            .takes(base::wholeValue("VX", -100, 100), "pan, percent of the full speed")
            .takes(base::wholeValue("VY", -100, 100), "tilt, percent of the full speed")
            .takes(base::wholeValue("VZ", -100, 100), "zoom, percent of the full speed")
            .option("--for", base::wholeValue("MS", 1, 3600000),
                    "stop after so many milliseconds; without it the camera moves until camera stop")
            .does(onCamera(drive)),
    };
}

} // namespace camera::cli
