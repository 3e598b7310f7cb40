#include "camera/base/FileDescriptor.h"
#include "camera/base/StopSignal.h"
#include "camera/cli/Command.h"
#include "camera/onvif/EventText.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <json/value.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace camera::cli {

namespace {

using Context = CommandContext;

// How often to check whether the camera has ended.
constexpr std::chrono::milliseconds kPollInterval(100);

const CameraError kEnded("the camera has ended");

// False while the bus is being started again.
bool hasEnded(Context& context)
{
    return !context.client().connected() && !context.cameraRuns();
}

int followEvents(Context& context)
{
    const base::StopSignal stop;
    context.onEvent([&context](const base::Event& event, const std::string& preset) {
        context.print(onvif::eventObject(event, preset), onvif::describeEvent(event));
    });
    context.client();
    while (!stop.stopped() && context.console.writable()) {
        stop.waitUntil(std::chrono::steady_clock::now() + kPollInterval);
        if (hasEnded(context)) {
            throw kEnded;
        }
    }
    return 0;
}

base::FileDescriptor connectTo(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw CameraError("the camera names no usable metadata socket: '" + path + "'");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    base::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw CameraError("the metadata socket '" + path + "' cannot be used: " + std::strerror(errno));
    }
    return socket;
}

// Prints the whole lines and leaves the rest in text.
void printLines(std::string& text, Context& context)
{
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        const std::string document = text.substr(begin, end - begin);
        begin = end + 1;
        if (!context.json()) {
            context.console.line(document);
            continue;
        }
        for (const Json::Value& object : onvif::metadataObjects(document)) {
            context.print(object);
        }
    }
    text.erase(0, begin);
}

int followMetadata(Context& context)
{
    const base::StopSignal stop;
    const std::string path = context.client().ask(&bus::OnvifMetadataStreamerClient::getSocket);
    const base::FileDescriptor socket = connectTo(path);
    std::string text;
    std::array<char, 65536> part{};
    while (!stop.stopped() && context.console.writable()) {
        pollfd waiting{socket.get(), POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(kPollInterval.count())) <= 0) {
            continue;
        }
        const ssize_t length = ::read(socket.get(), part.data(), part.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            throw context.cameraRuns() ? CameraError("the camera's metadata streamer has ended; ask again when camera "
                                                     "status shows it")
                                       : kEnded;
        }
        text.append(part.data(), static_cast<std::size_t>(length));
        printLines(text, context);
    }
    return 0;
}

} // namespace

std::vector<base::Command> followCommands()
{
    return {
        listing("events", "Prints analytics events when they happen, until Ctrl-C.", followEvents),
        listing("metadata",
                "Prints the metadata documents of the frames, with --json what was seen in them, until Ctrl-C.",
                followMetadata),
    };
}

} // namespace camera::cli
