#include "camera/cli/Command.h"

#include "camera/supervisor/RuntimeFolder.h"

#include <json/writer.h>

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
        std::string list;
        for (const RunningCamera& camera : running) {
            list += (list.empty() ? "'" : ", '") + camera.stateDir.string() + "'";
        }
        throw CameraError("several cameras run: " + list + "; choose one with --camera DIR");
    }
    return running.front();
}

} // namespace

std::string CommandArguments::option(const std::string& name) const
{
    const auto found = options.find(name);
    return found == options.end() ? "" : found->second;
}

CommandContext::CommandContext(const CommandArguments& arguments, base::Console& console)
    : arguments(arguments), console(console)
{
}

void CommandContext::choose()
{
    if (!_address.empty()) {
        return;
    }
    if (arguments.camera.empty()) {
        const RunningCamera camera = onlyOne();
        _stateDir = camera.stateDir;
        _address = camera.address;
        return;
    }
    const std::optional<std::string> address = RuntimeFolder::find(arguments.camera);
    if (!address) {
        throw CameraError("no camera runs on the state folder '" + arguments.camera +
                          "'; start one with camera run INPUT --state " + arguments.camera);
    }
    _stateDir = std::filesystem::canonical(arguments.camera);
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
    return arguments.patience.value_or(usual);
}

void CommandContext::print(const Json::Value& value)
{
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    console.line(Json::writeString(writer, value));
}

} // namespace camera::cli
