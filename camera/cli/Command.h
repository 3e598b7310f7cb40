#pragma once

#include "camera/base/CommandLine.h"
#include "camera/cli/CameraClient.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Json {
class Value;
}

namespace camera::cli {

class FolderCamera;

/// What a command does with a state folder on which no camera runs.
enum class FolderUse {
    none,   ///< it needs a camera that runs
    look,   ///< it works on a copy
    change, ///< a camera without frames is started on it
};

/// The execution of one command: its arguments, its output, and the camera, which is connected on first use, so that
/// arguments are checked first.
class CommandContext {
public:
    CommandContext(const base::Arguments& arguments, base::Console& console, FolderUse use = FolderUse::none);
    ~CommandContext();

    const base::Arguments& arguments;
    base::Console& console;

    /// @throws CameraError when no camera runs, several do, or it does not answer; std::runtime_error when none can
    /// be started on the state folder.
    CameraClient& client();

    /// Whether the camera was started for this command. Once client() was called.
    bool startedForCommand() const { return _started != nullptr; }

    /// Where the camera keeps its state. @throws as client().
    const std::filesystem::path& stateDir();

    /// Set before the first use of client().
    void onEvent(CameraClient::Hear hear) { _hear = std::move(hear); }

    /// Whether the camera chosen still runs.
    bool cameraRuns() const;

    /// How long to wait for an answer: as --timeout says, else the usual time.
    std::chrono::milliseconds patience(std::chrono::seconds usual) const;

    /// Whether the output is for programs.
    bool json() const { return arguments.has("--json"); }

    /// Prints an object for programs.
    void print(const Json::Value& object);

    /// Prints one of several things: for programs the object, else the line, which is printable.
    void print(const Json::Value& object, const std::string& line);

private:
    void choose();

    const FolderUse _use;
    CameraClient::Hear _hear;
    std::filesystem::path _stateDir;
    std::string _address;
    std::unique_ptr<FolderCamera> _started;
    std::unique_ptr<CameraClient> _client;
};

/// The function of a command that uses a camera.
base::Command::Perform onCamera(std::function<int(CommandContext&)> perform, FolderUse use = FolderUse::none);

/// Adds --state to a command: it then also works on a state folder on which no camera runs.
base::Command onFolder(base::Command command, FolderUse use, std::function<int(CommandContext&)> perform);

/// A command that prints a list, for people or with --json for programs.
base::Command listing(const std::string& name, const std::string& summary, std::function<int(CommandContext&)> perform,
                      FolderUse use = FolderUse::none);

/// The program camera: the table of all its commands, in the order of the help.
const base::Program& cameraProgram();

/// Lists the cameras that run; it asks none of them.
base::Command listCommand();

// The commands by subject. Each gets --camera and --timeout besides its own options.
std::vector<base::Command> positioningCommands();
std::vector<base::Command> serviceCommands();
std::vector<base::Command> analyticsCommands();
std::vector<base::Command> configCommands();
std::vector<base::Command> followCommands();
std::vector<base::Command> recordCommands();
std::vector<base::Command> statusCommands();

} // namespace camera::cli
