#pragma once

#include "camera/base/Console.h"
#include "camera/cli/CameraClient.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Json {
class Value;
}

namespace camera::cli {

/// What the arguments of one command said.
struct CommandArguments {
    std::vector<std::string> words;             ///< as many as the command takes
    std::map<std::string, std::string> options; ///< the command's own, those that were given
    std::string camera;                         ///< the state folder given; empty: the only one that runs
    std::optional<std::chrono::milliseconds> patience;
    bool json = false;

    /// An own option's value; empty when it was not given.
    std::string option(const std::string& name) const;
};

/// One command at work: what it was given, where it prints, and the camera, connected on first use, so that
/// arguments are refused before anything is asked.
class CommandContext {
public:
    CommandContext(const CommandArguments& arguments, base::Console& console);

    const CommandArguments& arguments;
    base::Console& console;

    /// @throws CameraError when no camera runs, several do, or it does not answer.
    CameraClient& client();

    /// Where the camera keeps its state. @throws as client().
    const std::filesystem::path& stateDir();

    /// Set before the first use of client().
    void onEvent(std::function<void(const base::Event&)> hear) { _hear = std::move(hear); }

    /// Whether the camera chosen still runs.
    bool cameraRuns() const;

    std::chrono::milliseconds patience(std::chrono::seconds usual) const;

    /// Prints a JSON value as one line.
    void print(const Json::Value& value);

private:
    void choose();

    std::function<void(const base::Event&)> _hear;
    std::filesystem::path _stateDir;
    std::string _address;
    std::unique_ptr<CameraClient> _client;
};

struct CommandOption {
    std::string name;  ///< with its dashes
    std::string takes; ///< empty: a flag
    std::string help;
};

/**
 * One command of the program: dispatch, checks, help and completion come from this.
 *
 * What it takes is written as it stands in the help: "NAME" is one word, "NAME..." one or more, "[NAME]" may be
 * left out, "on|off" is one of these words.
 */
struct Command {
    std::string name; ///< its words, "preset go" for instance
    std::string takes;
    std::string help;
    std::function<int(CommandContext&)> perform; ///< returns the exit code
    bool listing = false;                        ///< has --json
    std::vector<CommandOption> options;

    /// A command that reads its arguments itself, without any of the above.
    std::function<int(const std::vector<std::string>&, base::Console&)> raw;
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

// The commands by subject.
std::vector<Command> positioningCommands();
std::vector<Command> serviceCommands();
std::vector<Command> analyticsCommands();
std::vector<Command> followCommands();
std::vector<Command> statusCommands();

/// Reads a command's arguments. Nothing when help was asked for. @throws base::UsageError
std::optional<CommandArguments> parseCommand(const Command& command, const std::vector<std::string>& words);

std::string commandHelp(const Command& command);

/// The help of the whole program.
std::string programHelp();

/// A completion script for "bash" or "zsh".
std::string completionScript(const std::string& shell);

/// Finds the command that the words begin with and performs it. @return the exit code
/// @throws base::UsageError, std::exception with one sentence.
int performCommand(const std::vector<std::string>& words, base::Console& console);

/// A number with decimals in a range. @throws base::UsageError naming what, range and text.
double decimalNumber(const std::string& what, const std::string& text, double lowest, double highest);

/// The text itself. @throws base::UsageError when it cannot be sent: no UTF-8, or a NUL byte.
const std::string& sendableWord(const std::string& what, const std::string& text);

} // namespace camera::cli
