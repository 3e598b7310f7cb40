#include "camera/base/OptionTable.h"
#include "camera/cli/Command.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <json/value.h>

namespace camera::cli {

namespace {

using Context = CommandContext;

using Colour = std::array<std::uint8_t, 3>;

const std::map<std::string, Colour>& colourNames()
{
    static const std::map<std::string, Colour> names = {
        {"black", {0, 0, 0}},   {"white", {255, 255, 255}}, {"grey", {128, 128, 128}}, {"red", {255, 0, 0}},
        {"green", {0, 255, 0}}, {"blue", {0, 0, 255}},      {"yellow", {255, 255, 0}},
    };
    return names;
}

Colour colourOf(const std::string& text)
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
        throw base::UsageError("camera blanking takes a colour as #RRGGBB" + names + ", not '" + text + "'.");
    }
    Colour colour{};
    for (std::size_t i = 0; i < colour.size(); ++i) {
        colour.at(i) = static_cast<std::uint8_t>(std::stoul(text.substr(1 + 2 * i, 2), nullptr, 16));
    }
    return colour;
}

int dayNight(Context& context)
{
    const bool begin = context.arguments.words[0] == "begin";
    context.client().call<>(bus::service::kDayNight, begin ? "begin" : "end");
    context.console.line(begin ? "The day/night switch moves." : "The day/night switch stands.");
    return 0;
}

int blanking(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    std::optional<Colour> colour;
    if (words.size() > 1) {
        colour = colourOf(words[1]);
    }
    // The colour first: nothing is shown in the old one.
    if (colour) {
        context.client().call<>(bus::service::kWindowBlanking, "setRegionColor", colour->at(0), colour->at(1),
                                colour->at(2));
    }
    const bool on = words[0] == "on";
    context.client().call<>(bus::service::kWindowBlanking, "setEnable", on);
    context.console.line(on ? "Window blanking is on." : "Window blanking is off.");
    return 0;
}

int rotate(Context& context)
{
    const std::string& angle = context.arguments.words[0];
    context.client().call<>(bus::service::kRotate, "setAngle", static_cast<std::uint32_t>(std::stoul(angle)));
    context.console.line("The picture is turned by " + angle + " degrees.");
    return 0;
}

int setFault(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    const bool slow = words[1] == "slow";
    if (slow != (words.size() == 3)) {
        throw base::UsageError(slow ? "camera fault: SECONDS is missing after slow; see camera fault --help."
                                    : "camera fault: '" + words[2] + "' is too much; only slow takes seconds.");
    }
    const double seconds = slow ? decimalNumber("camera fault: SECONDS", words[2], 0, 3600) : 0;
    context.client().call<>(bus::service::kServices, "setFault", words[0], words[1], seconds);
    context.console.line(words[1] == "off" ? "Service '" + words[0] + "' works again."
                                           : "Service '" + words[0] + "' is " +
                                                 (slow                   ? "slow by " + words[2] + " s."
                                                  : words[1] == "absent" ? std::string("absent.")
                                                                         : "failing."));
    return 0;
}

int listFaults(Context& context)
{
    const auto faults =
        std::get<0>(context.client().call<std::map<std::string, std::string>>(bus::service::kServices, "faults"));
    Json::Value all(Json::objectValue);
    for (const auto& [service, fault] : faults) {
        all[service] = fault;
        if (!context.arguments.json) {
            context.console.line(base::printable(service + "  " + fault));
        }
    }
    if (context.arguments.json) {
        context.print(all);
    }
    return 0;
}

} // namespace

std::vector<Command> serviceCommands()
{
    return {
        {"daynight", "begin|end", "move the day/night switch", dayNight, false, {}, {}},
        {"blanking", "on|off [COLOUR]", "blank the window region", blanking, false, {}, {}},
        {"rotate", "0|90|180|270", "turn the picture", rotate, false, {}, {}},
        {"fault", "SERVICE absent|fail|slow|off [SECONDS]", "make a service misbehave", setFault, false, {}, {}},
        {"faults", "", "list how services misbehave", listFaults, true, {}, {}},
    };
}

} // namespace camera::cli
