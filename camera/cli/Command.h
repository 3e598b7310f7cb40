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

/// One command at work: what it was given, where it prints, and the camera, connected on first use, so that
/// arguments are refused before anything is asked.
class CommandContext {
public:
    CommandContext(const base::Arguments& arguments, base::Console& console);

    const base::Arguments& arguments;
    base::Console& console;

    /// @throws CameraError when no camera runs, several do, or it does not answer.
    CameraClient& client();

    /// Where the camera keeps its state. @throws as client().
    const std::filesystem::path& stateDir();

    /// Set before the first use of client().
    void onEvent(std::function<void(const base::Event&)> hear) { _hear = std::move(hear); }

    /// Whether the camera chosen still runs.
    bool cameraRuns() const;

    /// How long to wait for an answer: as --timeout says, else the usual time.
    std::chrono::milliseconds patience(std::chrono::seconds usual) const;

    /// Whether the output is for programs.
    bool json() const { return arguments.has("--json"); }

    /// Prints a JSON value as one line.
    void print(const Json::Value& value);

private:
    void choose();

    std::function<void(const base::Event&)> _hear;
    std::filesystem::path _stateDir;
    std::string _address;
    std::unique_ptr<CameraClient> _client;
};

/// What a row of the table does with a running camera.
base::Command::Perform onCamera(std::function<int(CommandContext&)> perform);

/// A row that prints a list, for people or with --json for programs.
base::Command listing(const std::string& name, const std::string& summary, std::function<int(CommandContext&)> perform);

/// The program camera: the table of all its commands, in the order of the help.
const base::Program& cameraProgram();

// The rows by subject. Each gets --camera and --timeout besides its own options.
std::vector<base::Command> positioningCommands();
std::vector<base::Command> serviceCommands();
std::vector<base::Command> analyticsCommands();
std::vector<base::Command> followCommands();
std::vector<base::Command> statusCommands();

} // namespace camera::cli
