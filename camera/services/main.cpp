// The process of the device services.

#include "camera/base/ProgramFrame.h"
#include "camera/base/RunOptions.h"
#include "camera/base/StopSignal.h"
#include "camera/services/ServicesProcess.h"

#include <chrono>

namespace {

using namespace camera;

services::ServicesOptions servicesOptions(const base::Arguments& arguments)
{
    services::ServicesOptions options;
    options.bus = arguments.text("--bus");
    options.state = arguments.text("--state");
    options.runtime = arguments.text("--runtime");
    if (arguments.has("--rotation")) {
        options.orientationDegrees = static_cast<std::uint32_t>(arguments.whole("--rotation"));
    }
    const bool served = arguments.has("--rotation-service");
    if (served && arguments.has("--no-rotation-service")) {
        throw base::UsageError("camera-services: --rotation-service and --no-rotation-service are given both; one is "
                               "meant.");
    }
    if (served || arguments.has("--no-rotation-service")) {
        options.rotationService = served;
    }
    return options;
}

int serve(const base::Arguments& arguments, base::Console& /*console*/)
{
    const services::ServicesOptions options = servicesOptions(arguments);
    base::setLog(arguments);
    const base::StopSignal stop;
    const services::ServicesProcess process(options);
    stop.waitUntil(std::chrono::steady_clock::time_point::max());
    return 0;
}

base::Program program()
{
    base::Command command("", "Serves the device services of a virtual camera on its message bus.");
    command.details = "The services are day and night, window blanking, rotation, metadata streamer and configuration "
                      "values.\nCtrl-C ends the program.\n";
    constexpr auto kRequired = base::Option::Count::required;
    command.option("--bus", {"ADDRESS"}, "the camera's message bus; it may start later", kRequired)
        .option("--state", {"DIR", base::Offer::folders}, "keep settings here, in its folder services", kRequired)
        .option("--runtime", {"DIR", base::Offer::folders}, "put the metadata socket here, not into the state folder")
        .option("--rotation", base::choiceValue("DEGREES", {"0", "90", "180", "270"}),
                "rotate the picture by this angle, which is also the default from now on")
        .flag("--no-rotation-service", "from now on a camera without a rotation service: the default decides")
        .flag("--rotation-service", "from now on a camera with a rotation service, as it is at first");
    base::withLogOptions(command);
    return {"camera-services", "the device services of a virtual camera", "", {command.does(serve)}};
}

} // namespace

int main(int argc, char** argv)
{
    return base::runProgram(argc, argv, program());
}
