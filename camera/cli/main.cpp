// The virtual camera's command line: reads the arguments, hands them to a command, returns its exit code.

#include "camera/cli/ConfigCommand.h"
#include "camera/cli/ConfigOptions.h"
#include "camera/cli/Console.h"
#include "camera/cli/OptionTable.h"
#include "camera/cli/RunOptions.h"
#include "camera/pipeline/PipelineRun.h"
#include "camera/ravel/Log.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace camera::cli;

constexpr int kUsage = 2;

std::string help()
{
    return "usage: camera run INPUT [OPTION]...       run a camera on a video; camera run --help\n"
           "       camera config ACTION --state DIR   look at and change its analytics; camera config --help\n\n"
           "A virtual camera: it loads the detection plug-in as a network camera does, on real video.\n"
           "Exit codes: 0 done, 1 failed, 2 wrong arguments.\n";
}

int printHelp(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int run(const std::vector<std::string>& arguments, Console& console)
{
    const RunOptions options = parseRun(arguments);
    return options.help ? printHelp(runHelp()) : camera::pipeline::runPipeline({options, "", false}, console);
}

int config(const std::vector<std::string>& arguments, Console& console)
{
    const ConfigOptions options = parseConfig(arguments);
    return options.help ? printHelp(configHelp()) : configureCamera(options, console);
}

int dispatch(std::vector<std::string> arguments, Console& console)
{
    if (arguments.empty()) {
        throw UsageError("a command is missing: run or config; see camera --help.");
    }
    const std::string command = arguments.front();
    arguments.erase(arguments.begin());
    if (command == "--help" || command == "-h" || command == "help") {
        return printHelp(help());
    }
    if (command == "run") {
        return run(arguments, console);
    }
    if (command == "config") {
        return config(arguments, console);
    }
    throw UsageError("there is no command '" + command + "', only run and config; see camera --help.");
}

} // namespace

int main(int argc, char** argv)
{
    // Writes that hit a limit or a closed pipe are reported where they happen.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    Console console(stdout, stderr);
    int code = 1;
    try {
        code = dispatch({argv + 1, argv + argc}, console);
    } catch (const UsageError& error) {
        console.error(error.what());
        code = kUsage;
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    camera::ravel::Log::instance().setWriter({});
    if (code == 0 && !console.writable()) {
        console.error("the output could not be written; make room where it goes.");
        code = 1;
    }
    return code;
}
