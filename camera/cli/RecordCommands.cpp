// What a running camera sees, written to files.
#include "camera/base/FileDescriptor.h"
#include "camera/base/RunOptions.h"
#include "camera/base/Text.h"
#include "camera/base/Utf8.h"
#include "camera/cli/Command.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace camera::cli {

namespace {

using base::Command;
using Context = CommandContext;

constexpr std::chrono::seconds kFramePatience(10);

// The file is opened here, as the user of the command, who may be another one than the camera's.
int writeFile(Context& context, const std::string& path,
              const std::function<void(CameraClient&, const sdbus::UnixFd&, const std::string& name)>& ask)
{
    CameraClient& client = context.client();
    const base::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) {
        throw CameraError("cannot write '" + path + "': " + std::strerror(errno) +
                          "; name a file in a folder that can be written");
    }
    std::error_code ignored;
    try {
        ask(client, sdbus::UnixFd(file.get()), base::sendable(path));
    } catch (const CameraError&) {
        if (std::filesystem::is_regular_file(path, ignored) && std::filesystem::is_empty(path, ignored)) {
            std::filesystem::remove(path, ignored);
        }
        throw;
    }
    context.console.line("written   " + base::printable(path) + " (" +
                         base::sizeText(std::filesystem::file_size(path, ignored)) + ")");
    return 0;
}

int takePicture(Context& context)
{
    return writeFile(context, context.arguments.text(base::pictureValue().name),
                     [&context](CameraClient& client, const sdbus::UnixFd& file, const std::string& name) {
                         client.askWithin(context.patience(kFramePatience), &bus::PipelineClient::picture, file, name);
                     });
}

int recordVideo(Context& context)
{
    const double seconds = context.arguments.decimal("--seconds");
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw CameraError(std::string("cannot record: ") + std::strerror(errno));
    }
    const base::FileDescriptor reader(ends[0]);
    const base::FileDescriptor writer(ends[1]); // ends with this process, which ends the recording
    const auto patience =
        context.patience(kFramePatience) + std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    return writeFile(context, context.arguments.text(base::videoValue().name),
                     [&](CameraClient& client, const sdbus::UnixFd& file, const std::string& name) {
                         client.askWithin(patience, &bus::PipelineClient::record, file, name, seconds,
                                          sdbus::UnixFd(reader.get()));
                     });
}

} // namespace

std::vector<Command> recordCommands()
{
    return {
        Command("picture", "Writes the next frame with what the engines see as a picture.")
            .takes(base::pictureValue(), "the picture")
            .does(onCamera(takePicture)),
        Command("record", "Writes a video of what the engines see.")
            .takes(base::videoValue(), "the video; it plays at any moment up to the last frame")
            .option("--seconds", base::decimalValue("N", 0.1, 86400), "its length", base::Option::Count::required)
            .does(onCamera(recordVideo)),
    };
}

} // namespace camera::cli
