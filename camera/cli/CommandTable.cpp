#include "camera/base/Log.h"
#include "camera/cli/CameraNames.h"
#include "camera/cli/Command.h"
#include "camera/cli/ConfigOptions.h"
#include "camera/cli/RunningConfig.h"
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
    std::vector<Command> all = {run()};
    appendWithCamera(all, statusCommands());
    appendWithCamera(all, positioningCommands());
    appendWithCamera(all, analyticsCommands());
    appendWithCamera(all, {configCommand().does(performConfig)});
    appendWithCamera(all, followCommands());
    appendWithCamera(all, serviceCommands());
    all.push_back(completion());
    return all;
}

} // namespace

base::Command::Perform onCamera(std::function<int(CommandContext&)> perform)
{
    return [perform = std::move(perform)](const Arguments& arguments, Console& console) {
        // When the camera ends, one sentence tells it; the connection's own log lines would repeat it.
        base::Log::instance().setWriter([](const std::string&) {});
        CommandContext context(arguments, console);
        return perform(context);
    };
}

base::Command listing(const std::string& name, const std::string& summary, std::function<int(CommandContext&)> perform)
{
    return Command(name, summary).flag("--json", "print JSON, for programs").does(onCamera(std::move(perform)));
}

const base::Program& cameraProgram()
{
    static const base::Program program = {
        "camera", "A virtual camera: it loads the detection plug-in as a network camera does, on real video.",
        "All commands but run, config and completion ask a running camera: the only one, or the one with the state\n"
        "folder that --camera DIR names.\n",
        commands(), cameraNames};
    return program;
}

} // namespace camera::cli
