#include "camera/cli/Command.h"

#include "camera/base/JsonText.h"
#include "camera/base/Text.h"
#include "camera/cli/FolderCamera.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <json/value.h>

namespace camera::cli {

namespace {

using supervisor::RunningCamera;
using supervisor::RuntimeFolder;

constexpr std::chrono::seconds kUsualPatience(10);

RunningCamera onlyOne()
{
    const std::vector<RunningCamera> running = RuntimeFolder::running();
    if (running.empty()) {
        throw CameraError("no camera runs that can be found; start one with camera run INPUT, or name its state "
                          "folder with --camera DIR");
    }
    if (running.size() > 1) {
        std::vector<std::string> folders;
        for (const RunningCamera& camera : running) {
            folders.push_back("'" + camera.stateDir.string() + "'");
        }
        throw CameraError("several cameras run: " + base::joined(folders) + "; choose one with --camera DIR");
    }
    return running.front();
}

} // namespace

CommandContext::CommandContext(const base::Arguments& arguments, base::Console& console, FolderUse use)
    : arguments(arguments), console(console), _use(use)
{
}

CommandContext::~CommandContext() = default;

void CommandContext::choose()
{
    if (!_address.empty()) {
        return;
    }
    const std::string folder = arguments.text("--camera", arguments.text("--state"));
    if (_use != FolderUse::none && arguments.has("--state") && !RuntimeFolder::find(folder)) {
        _started = std::make_unique<FolderCamera>(folder, _use, patience(kUsualPatience), console);
        _stateDir = _started->stateDir();
        _address = _started->address();
        return;
    }
    if (folder.empty()) {
        const RunningCamera camera = onlyOne();
        _stateDir = camera.stateDir;
        _address = camera.address;
        return;
    }
    const std::optional<std::string> address = RuntimeFolder::find(folder);
    if (!address) {
        throw CameraError("no camera runs on the state folder '" + folder +
                          "'; start one with camera run INPUT --state " + folder);
    }
    _stateDir = std::filesystem::canonical(folder);
    _address = *address;
}

CameraClient& CommandContext::client()
{
    if (!_client) {
        choose();
        auto client = std::make_unique<CameraClient>(_address, patience(kUsualPatience));
        if (_hear) {
            client->onEvent(_hear);
        }
        client->connect();
        _client = std::move(client);
    }
    return *_client;
}

const std::filesystem::path& CommandContext::stateDir()
{
    choose();
    return _stateDir;
}

bool CommandContext::cameraRuns() const
{
    return RuntimeFolder::find(_stateDir) == _address;
}

std::chrono::milliseconds CommandContext::patience(std::chrono::seconds usual) const
{
    return std::chrono::seconds(arguments.whole("--timeout", usual.count()));
}

void CommandContext::print(const Json::Value& object)
{
    console.line(base::jsonLine(object));
}

void CommandContext::print(const Json::Value& object, const std::string& line)
{
    console.line(json() ? base::jsonLine(object) : line);
}

} // namespace camera::cli
