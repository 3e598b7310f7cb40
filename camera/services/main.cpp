// The process of the device services: reads the arguments, serves until it is told to stop.

#include "camera/base/Console.h"
#include "camera/base/Log.h"
#include "camera/base/OptionTable.h"
#include "camera/base/ProgramFrame.h"
#include "camera/base/StopSignal.h"
#include "camera/services/ServicesOptions.h"
#include "camera/services/ServicesProcess.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace camera;
using base::UsageError;

const std::string kCommand = "camera-services";

struct Arguments {
    services::ServicesOptions options;
    std::string state;
    std::string runtime;
    int verbosity = 0;
    bool help = false;
};

void setAngle(Arguments& arguments, const std::string& text)
{
    if (text != "0" && text != "90" && text != "180" && text != "270") {
        throw UsageError(kCommand + ": --rotation takes 0, 90, 180 or 270, not '" + text + "'.");
    }
    arguments.options.angleDegrees = static_cast<std::uint32_t>(std::stoul(text));
}

void setRotationService(Arguments& arguments, bool served)
{
    if (arguments.options.rotationService.value_or(served) != served) {
        throw UsageError(kCommand + ": --rotation-service and --no-rotation-service are given both; one is meant.");
    }
    arguments.options.rotationService = served;
}

base::OptionTable makeTable(Arguments& arguments)
{
    base::OptionTable table(kCommand);
    table.text("--bus", "ADDRESS", "the camera's message bus; waited for when it is away", arguments.options.bus);
    table.text("--state", "DIR", "keep settings here, in its folder services", arguments.state);
    table.text("--runtime", "DIR", "put the metadata socket here, not into the state folder", arguments.runtime);
    table.value("--rotation", "0|90|180|270", "turn the picture, and the default, by this many degrees",
                [&arguments](const std::string& text) { setAngle(arguments, text); });
    table.flag("--no-rotation-service", "from now on a camera without one: the default decides",
               [&arguments] { setRotationService(arguments, false); });
    table.flag("--rotation-service", "from now on a camera with one, as it is at first",
               [&arguments] { setRotationService(arguments, true); });
    table.flag("-v", "say more, twice: everything", [&arguments] { ++arguments.verbosity; });
    table.flag("-h", "this text", [&arguments] { arguments.help = true; });
    table.flag("--help", "this text", [&arguments] { arguments.help = true; });
    return table;
}

std::string help()
{
    Arguments arguments;
    return "usage: camera-services --bus ADDRESS --state DIR [OPTION]...\n\n"
           "The device services of a virtual camera on its message bus: day and night, window blanking, rotation,\n"
           "metadata streamer, configuration values. Ctrl-C ends it.\n"
           "Exit codes: 0 done, 1 failed, 2 wrong arguments.\n\n" +
           makeTable(arguments).help();
}

void parse(const std::vector<std::string>& given, Arguments& arguments)
{
    const std::vector<std::string> rest = makeTable(arguments).parse(given);
    if (arguments.help) {
        return;
    }
    if (!rest.empty()) {
        throw UsageError(kCommand + ": it takes options only, not '" + rest[0] + "'.");
    }
    for (const auto& [value, option] :
         {std::pair(arguments.options.bus, "--bus ADDRESS"), std::pair(arguments.state, "--state DIR")}) {
        if (value.empty()) {
            throw UsageError(kCommand + ": " + option + " is missing; see " + kCommand + " --help.");
        }
    }
    arguments.options.state = arguments.state;
    arguments.options.runtime = arguments.runtime;
}

int serve(const Arguments& arguments)
{
    if (arguments.verbosity > 0) {
        base::Log::instance().setLevel(arguments.verbosity > 1 ? base::LogLevel::debug : base::LogLevel::info);
    }
    const base::StopSignal stop;
    const services::ServicesProcess process(arguments.options);
    while (!stop.stopped()) {
        stop.waitUntil(std::chrono::steady_clock::now() + std::chrono::hours(1));
    }
    return 0;
}

int run(const std::vector<std::string>& given)
{
    Arguments arguments;
    parse(given, arguments);
    if (arguments.help) {
        std::fputs(help().c_str(), stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    return serve(arguments);
}

} // namespace

int main(int argc, char** argv)
{
    return base::runProgram(
        argc, argv, [](const std::vector<std::string>& given, base::Console& /*console*/) { return run(given); });
}
