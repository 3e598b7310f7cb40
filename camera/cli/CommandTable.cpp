#include "camera/base/Log.h"
#include "camera/cli/CameraNames.h"
#include "camera/cli/Command.h"
#include "camera/cli/SuperviseCommand.h"

#include <cstdio>

namespace camera::cli {

namespace {

using base::Arguments;
using base::Command;
using base::Console;

Command run()
{
    return base::runCommand().does(superviseCamera);
}

Command completion()
{
    return Command("completion", "Prints a script that completes the arguments of these programs.")
        .takes(base::choiceValue("SHELL", {"bash", "zsh"}), "the shell that is to complete")
        .does([](const Arguments& arguments, Console&) {
            std::fputs(base::completionScript(arguments.text("SHELL")).c_str(), stdout);
            return std::fflush(stdout) == 0 ? 0 : 1;
        });
}

void appendWithCamera(std::vector<Command>& all, const std::vector<Command>& some)
{
    for (Command command : some) {
        command
            .option("--camera", {"DIR", base::Offer::folders},
                    "the camera with this state folder; needed when several run")
            .option("--timeout", base::wholeValue("S", 1, 86400), "wait at most S seconds for an answer");
        all.push_back(std::move(command));
    }
}

std::vector<Command> commands()
{
    std::vector<Command> all = {run(), listCommand()};
    appendWithCamera(all, statusCommands());
    appendWithCamera(all, positioningCommands());
    appendWithCamera(all, analyticsCommands());
    appendWithCamera(all, configCommands());
    appendWithCamera(all, followCommands());
    appendWithCamera(all, recordCommands());
    appendWithCamera(all, serviceCommands());
    all.push_back(completion());
    return all;
}

} // namespace

base::Command::Perform onCamera(std::function<int(CommandContext&)> perform, FolderUse use)
{
    return [perform = std::move(perform), use](const Arguments& arguments, Console& console) {
        if (use != FolderUse::none && arguments.has("--state") && arguments.has("--camera")) {
            throw base::UsageError("--state and --camera are given both; one names the camera.");
        }
        // The command prints one sentence when the camera ends; the log lines of the connection would repeat it.
        base::Log::instance().setWriter([](const std::string&) {});
        CommandContext context(arguments, console, use);
        return perform(context);
    };
}

base::Command onFolder(base::Command command, FolderUse use, std::function<int(CommandContext&)> perform)
{
    return command.option("--state", {"DIR", base::Offer::folders}, "the camera with this state folder, running or not")
        .does(onCamera(std::move(perform), use));
}

base::Command listing(const std::string& name, const std::string& summary, std::function<int(CommandContext&)> perform,
                      FolderUse use)
{
    Command command = Command(name, summary).flag("--json", base::kJsonHelp);
    return use == FolderUse::none ? command.does(onCamera(std::move(perform)))
                                  : onFolder(std::move(command), use, std::move(perform));
}

const base::Program& cameraProgram()
{
    static const base::Program program = {
        "camera", "A virtual camera: it loads the detection plug-in as a network camera does, on real video.",
        "All commands but run, list and completion ask a running camera: the only one, or the one with the state "
        "folder\n"
        "that --camera DIR names. config, rules and modules with --state DIR work on a state folder also while no\n"
        "camera runs on it.\n",
        commands(), cameraNames};
    return program;
}

} // namespace camera::cli
