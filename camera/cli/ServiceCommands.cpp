#include "camera/base/Text.h"
#include "camera/cli/JsonOutput.h"

#include <array>
#include <cctype>
#include <cstdint>

namespace camera::cli {

namespace {

using base::Command;
using Context = CommandContext;

constexpr const char* kColour = "COLOUR";

using Colour = std::array<std::uint8_t, 3>;

const std::map<std::string, Colour>& colourNames()
{
    static const std::map<std::string, Colour> names = {
        {"black", {0, 0, 0}},   {"white", {255, 255, 255}}, {"grey", {128, 128, 128}}, {"red", {255, 0, 0}},
        {"green", {0, 255, 0}}, {"blue", {0, 0, 255}},      {"yellow", {255, 255, 0}},
    };
    return names;
}

Colour colourOf(const std::string& what, const std::string& text)
{
    if (const auto named = colourNames().find(text); named != colourNames().end()) {
        return named->second;
    }
    const bool digits =
        text.size() == 7 && text[0] == '#' && text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (!digits) {
        std::string names;
        for (const auto& [name, colour] : colourNames()) {
            names += ", " + name;
        }
        throw base::UsageError(what + " takes #RRGGBB" + names + ", not '" + text + "'.");
    }
    Colour colour{};
    for (std::size_t i = 0; i < colour.size(); ++i) {
        colour.at(i) = static_cast<std::uint8_t>(std::stoul(text.substr(1 + 2 * i, 2), nullptr, 16));
    }
    return colour;
}

int dayNight(Context& context)
{
    const bool begin = context.arguments.text("MOVE") == "begin";
    context.client().ask(begin ? &bus::DayNightClient::begin : &bus::DayNightClient::end);
    context.console.line(begin ? "The day/night switch moves." : "The day/night switch stands.");
    return 0;
}

int blanking(Context& context)
{
    // The colour first, so that the region never shows the previous one.
    if (context.arguments.has(kColour)) {
        const auto [red, green, blue] = colourOf(kColour, context.arguments.text(kColour));
        context.client().ask(&bus::WindowBlankingClient::setRegionColor, red, green, blue);
    }
    const bool on = context.arguments.text("SWITCH") == "on";
    context.client().ask(&bus::WindowBlankingClient::setEnable, on);
    context.console.line(on ? "Window blanking is on." : "Window blanking is off.");
    return 0;
}

int rotate(Context& context)
{
    const std::string angle = context.arguments.text("DEGREES");
    context.client().ask(&bus::RotateClient::setAngle, static_cast<std::uint32_t>(std::stoul(angle)));
    context.console.line("The picture is turned by " + angle + " degrees.");
    return 0;
}

int setFault(Context& context)
{
    const std::string service = context.arguments.text("SERVICE");
    const std::string fault = context.arguments.text("FAULT");
    const std::string seconds = context.arguments.text("SECONDS");
    const bool slow = fault == "slow";
    if (slow && seconds.empty()) {
        throw base::UsageError("camera fault: SECONDS is missing after slow; see camera fault --help.");
    }
    if (!slow && !seconds.empty()) {
        throw base::UsageError("camera fault: '" + seconds + "' is too much; only slow takes seconds.");
    }
    context.client().ask(&bus::ServicesClient::setFault, service, fault, context.arguments.decimal("SECONDS"));
    const std::string done = slow                ? "is slow by " + seconds + " s."
                             : fault == "off"    ? "works again."
                             : fault == "absent" ? "is absent."
                                                 : "is failing.";
    context.console.line("Service '" + service + "' " + done);
    return 0;
}

int listFaults(Context& context)
{
    for (const auto& [service, fault] : context.client().ask(&bus::ServicesClient::faults)) {
        context.print(jsonObject({"service", "fault"}, service, fault), base::printable(service + "  " + fault));
    }
    return 0;
}

base::Value colourValue()
{
    base::Value value{kColour};
    value.check = [](const std::string& what, const std::string& text) { colourOf(what, text); };
    return value;
}

} // namespace

std::vector<Command> serviceCommands()
{
    return {
        Command("daynight", "Begins or ends a movement of the day/night switch.")
            .takes(base::choiceValue("MOVE", {"begin", "end"}), "the switch begins to move, or has moved")
            .does(onCamera(dayNight)),
        Command("blanking", "Turns window blanking on or off.")
            .takes(base::choiceValue("SWITCH", {"on", "off"}), "whether the window region is blanked")
            .takes(colourValue(), "the colour of the region, #RRGGBB or its name", base::Argument::Count::optional)
            .does(onCamera(blanking)),
        Command("rotate", "Rotates the picture.")
            .takes(base::choiceValue("DEGREES", {"0", "90", "180", "270"}), "degrees, clockwise")
            .does(onCamera(rotate)),
        Command("fault", "Makes a service fail, for tests of its clients.")
            .takes(base::nameValue("SERVICE", base::Offer::services), "the name of the service")
            .takes(base::choiceValue("FAULT", {"absent", "fail", "slow", "off"}), "what goes wrong; off: nothing")
            .takes(base::decimalValue("SECONDS", 0, 3600), "how late a slow service answers",
                   base::Argument::Count::optional)
            .does(onCamera(setFault)),
        listing("faults", "Lists the faults of the services.", listFaults),
    };
}

} // namespace camera::cli
