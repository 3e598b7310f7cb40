// The process that answers ONVIF clients.

#include "camera/base/AtomicFile.h"
#include "camera/base/ListeningSocket.h"
#include "camera/base/Log.h"
#include "camera/base/ProgramFrame.h"
#include "camera/base/RunOptions.h"
#include "camera/base/StopSignal.h"
#include "camera/gateway/Gateway.h"
#include "camera/gateway/LogTail.h"

#include <chrono>
#include <optional>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

using namespace camera;

constexpr const char* kInherited = "fd:";

/// A port, or a listening socket that the process inherits.
base::Value listenerValue()
{
    return {"PORT|fd:N", base::Offer::nothing, {}, [](const std::string& what, const std::string& text) {
                const bool inherited = text.rfind(kInherited, 0) == 0;
                base::wholeNumber(what, inherited ? text.substr(3) : text, 0, inherited ? 1000000 : 65535);
            }};
}

base::FileDescriptor listener(const base::Arguments& arguments, const std::string& option)
{
    const std::string text = arguments.text(option);
    if (text.empty()) {
        return {};
    }
    if (text.rfind(kInherited, 0) == 0) {
        return base::FileDescriptor(std::stoi(text.substr(3)));
    }
    return base::listeningSocket(arguments.text("--bind", "127.0.0.1"), static_cast<std::uint16_t>(std::stoi(text)));
}

std::optional<onvif::Users> users(const base::Arguments& arguments)
{
    if (!arguments.has("--users")) {
        return std::nullopt;
    }
    const std::string file = arguments.text("--users");
    const std::optional<std::string> text = base::readFile(file);
    if (!text) {
        throw base::UsageError("camera-gateway: the users in '" + file + "' cannot be read.");
    }
    try {
        return onvif::readUsers(*text);
    } catch (const std::runtime_error& refusal) {
        throw base::UsageError("camera-gateway: the users in '" + file + "': " + refusal.what() + ".");
    }
}

int serve(const base::Arguments& arguments, base::Console& console)
{
    if (!arguments.has("--http") && !arguments.has("--https")) {
        throw base::UsageError("camera-gateway: --http or --https is needed.");
    }
    base::setLog(arguments);
    gateway::LogTail tail;
    base::Log::instance().setWriter([&](const std::string& line) {
        tail.add(line);
        console.log(line);
    });
    const base::StopSignal stop;
    gateway::GatewayOptions options;
    options.bus = arguments.text("--bus");
    options.state = arguments.text("--state");
    options.wanted.users = users(arguments);
    options.http = listener(arguments, "--http");
    options.https = listener(arguments, "--https");
    options.check = arguments.text("--check");
    options.discovery = !arguments.has("--no-discovery");
    options.advertisedHost = arguments.text("--advertise-host");
    options.log = [&tail] { return tail.text(); };
    ::prctl(PR_SET_DUMPABLE, 0); // passwords are in its memory, and would be in a core file
    const gateway::Gateway gateway(std::move(options));
    if (arguments.has("--announce") && !arguments.has("--users")) {
        console.log(gateway.login(::isatty(STDERR_FILENO) != 0) + "\n");
    }
    stop.waitUntil(std::chrono::steady_clock::time_point::max());
    return 0;
}

base::Program program()
{
    base::Command command("", "Answers ONVIF clients of a virtual camera over HTTP.");
    command.details = "Ctrl-C ends the program.\n";
    constexpr auto kRequired = base::Option::Count::required;
    command.option("--bus", {"ADDRESS"}, "the camera's message bus; it may start later", kRequired)
        .option("--state", {"DIR", base::Offer::folders}, "keep users and settings here, in its folder gateway",
                kRequired)
        .option("--bind", {"ADDRESS"}, "listen on this address of the computer; 127.0.0.1 without it")
        .option("--http", listenerValue(),
                "listen on this port, 0: any that is free; or take connections of this socket, which listens")
        .option("--https", listenerValue(), "the same with TLS")
        .option("--users", {"FILE", base::Offer::files},
                "from now on these users may log in, lines NAME:LEVEL:PASSWORD; the level is administrator, operator "
                "or user")
        .option("--check", {"DIR", base::Offer::folders},
                "check each answer against the ONVIF schemas in this folder, and log what is wrong")
        .option("--advertise-host", base::hostValue(),
                "where discovery tells others to reach the camera; without it the address of their link")
        .flag("--no-discovery", "do not let others find the camera by themselves")
        .flag("--announce", "say how to log in, where the users are not given");
    base::withLogOptions(command);
    return {"camera-gateway", "ONVIF clients of a virtual camera", "", {command.does(serve)}};
}

} // namespace

int main(int argc, char** argv)
{
    return base::runProgram(argc, argv, program());
}
