// The pipeline process: reads the arguments and runs; returns the exit code.

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

constexpr int kUsage = 2;

int run(const std::vector<std::string>& arguments, camera::cli::Console& console)
{
    const camera::cli::PipelineOptions options = camera::cli::parsePipeline(arguments);
    if (options.run.help) {
        std::fputs(camera::cli::pipelineHelp().c_str(), stdout);
        return 0;
    }
    return camera::pipeline::runPipeline(options, console);
}

} // namespace

int main(int argc, char** argv)
{
    // Writes that hit a limit or a closed pipe are reported where they happen.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    camera::cli::Console console(stdout, stderr);
    int code = 1;
    try {
        code = run({argv + 1, argv + argc}, console);
    } catch (const camera::cli::UsageError& error) {
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
