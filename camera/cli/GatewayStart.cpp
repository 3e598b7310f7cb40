#include "camera/cli/GatewayStart.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/InputName.h"
#include "camera/base/ListeningSocket.h"
#include "camera/base/PluginPath.h"
#include "camera/base/RunOptions.h"
#include "camera/onvif/HttpExchange.h"
#include "camera/onvif/Users.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace camera::cli {

namespace {

using base::FileDescriptor;
using base::UsageError;

constexpr const char* kThisComputer = "127.0.0.1";
constexpr int kFirstPort = 8080;
constexpr int kLastPort = 8099;

FileDescriptor firstFreePort(const std::string& address)
{
    base::listeningSocket(address, 0); // an address that cannot be used is told as such
    for (int port = kFirstPort; port <= kLastPort; ++port) {
        try {
            return base::listeningSocket(address, static_cast<std::uint16_t>(port));
        } catch (const std::runtime_error&) { // the next one may be free
        }
    }
    throw std::runtime_error("no port from " + std::to_string(kFirstPort) + " to " + std::to_string(kLastPort) +
                             " is free on '" + address +
                             "'; name another one with --http PORT, or let --http 0 "
                             "choose");
}

FileDescriptor socketFor(const base::Arguments& arguments, const char* option, const std::string& address)
{
    return base::listeningSocket(address, static_cast<std::uint16_t>(arguments.whole(option)));
}

std::string serviceAddress(const char* scheme, const FileDescriptor& socket)
{
    return base::baseAddress(scheme, socket.get()) + onvif::kDeviceServicePath;
}

std::vector<onvif::User> usersOfFile(const std::string& file)
{
    const bool standardInput = file == "-";
    const std::string name = standardInput ? "the standard input" : "'" + file + "'";
    const std::optional<std::string> text = standardInput ? base::readFile(STDIN_FILENO) : base::readFile(file);
    if (!text) {
        throw std::runtime_error("the users cannot be read from " + name + "; name a file that can be read");
    }
    try {
        return onvif::readUsers(*text).all();
    } catch (const std::exception& error) {
        throw std::runtime_error("the users cannot be read from " + name + ": " + error.what() +
                                 "; write lines NAME:LEVEL:PASSWORD");
    }
}

std::optional<onvif::Users> usersOf(const base::Arguments& arguments)
{
    if (!arguments.has("--users") && !arguments.has("--user")) {
        return std::nullopt;
    }
    std::vector<onvif::User> users;
    if (arguments.has("--users")) {
        users = usersOfFile(arguments.text("--users"));
    }
    try {
        for (const std::string& user : arguments.all("--user")) {
            users.push_back(onvif::readUserArgument(user));
        }
        return onvif::Users(users);
    } catch (const std::exception& error) {
        throw UsageError(std::string("camera run: --user: ") + error.what() + ".");
    }
}

// A file without a name, which a process that inherits it can open.
FileDescriptor inMemory(const std::string& text)
{
    FileDescriptor memory(::memfd_create("users", MFD_CLOEXEC));
    if (!memory || ::write(memory.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error(std::string("there is no memory for the users: ") + std::strerror(errno));
    }
    return memory;
}

} // namespace

bool wantsGateway(const base::Arguments& arguments)
{
    const bool port = arguments.has("--http") || arguments.has("--https");
    const base::RunOptions run = base::runOptions(arguments);
    const bool limited = !run.realSpeed || run.oneshot || run.frames != 0;
    for (const char* option :
         {"--http", "--https", "--bind", "--users", "--user", "--advertise-host", "--no-discovery"}) {
        if (!arguments.has(option)) {
            continue;
        }
        if (arguments.has("--no-network")) {
            throw UsageError(std::string("camera run: --no-network and ") + option +
                             " exclude each other; keep one of them.");
        }
        if (limited && !port) {
            throw UsageError(std::string("camera run: ") + option +
                             " needs --http or --https in a run with --speed max, --oneshot or --frames, which "
                             "otherwise serves no ONVIF clients.");
        }
    }
    if (arguments.text("--users") == "-" && base::isStandardInput(run.input)) {
        throw UsageError("camera run: --users - and the input '" + run.input +
                         "' both read the standard input; write the users into a file.");
    }
    if (arguments.has("--advertise-host") && arguments.has("--no-discovery")) {
        throw UsageError("camera run: --no-discovery and --advertise-host exclude each other; keep one of them.");
    }
    if (arguments.has("--advertise-host") && base::isOfThisComputer(arguments.text("--bind", kThisComputer))) {
        throw UsageError("camera run: --advertise-host needs --bind with an address that others reach, 0.0.0.0 for "
                         "instance; without it there is no discovery.");
    }
    return !arguments.has("--no-network") && (port || !limited);
}

GatewayStart::GatewayStart(const base::Arguments& arguments) : _bind(arguments.text("--bind", kThisComputer))
{
    const std::optional<onvif::Users> users = usersOf(arguments);
    _http = arguments.has("--http") ? socketFor(arguments, "--http", _bind) : firstFreePort(_bind);
    _addresses.push_back(serviceAddress("http", _http));
    if (arguments.has("--https")) {
        _https = socketFor(arguments, "--https", _bind);
        _addresses.push_back(serviceAddress("https", _https));
    }
    if (arguments.has("--advertise-host")) {
        _discovery = {"--advertise-host", arguments.text("--advertise-host")};
    } else if (arguments.has("--no-discovery")) {
        _discovery = {"--no-discovery"};
    }
    if (users) {
        _users = inMemory(onvif::usersText(*users));
    }
}

supervisor::Program GatewayStart::program(const supervisor::RuntimeFolder& folder, bool first) const
{
    supervisor::Program program;
    program.words = {(base::programFolder() / "camera-gateway").string(),
                     "--bus",
                     folder.address(),
                     "--state",
                     folder.stateDir().string(),
                     "--bind",
                     _bind,
                     "--http",
                     "fd:" + std::to_string(_http.get())};
    program.passed = {_http.get()};
    const auto add = [&program](const std::vector<std::string>& words) {
        program.words.insert(program.words.end(), words.begin(), words.end());
    };
    if (_https) {
        add({"--https", "fd:" + std::to_string(_https.get())});
        program.passed.push_back(_https.get());
    }
    if (first && _users) {
        add({"--users", "/dev/fd/" + std::to_string(_users.get())});
        program.passed.push_back(_users.get());
    }
    add(_discovery);
    if (first) {
        add({"--announce"});
    }
    add(base::logWords());
    return program;
}

} // namespace camera::cli
