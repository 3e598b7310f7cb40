// The pipeline process: reads the arguments and runs; returns the exit code.

#include "camera/cli/ProgramFrame.h"
#include "camera/cli/RunOptions.h"
#include "camera/pipeline/PipelineRun.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

int run(const std::vector<std::string>& arguments, camera::cli::Console& console)
{
    const camera::cli::PipelineOptions options = camera::cli::parsePipeline(arguments);
    if (options.run.help) {
        std::fputs(camera::cli::pipelineHelp().c_str(), stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    return camera::pipeline::runPipeline(options, console);
}

} // namespace

int main(int argc, char** argv)
{
    return camera::cli::runProgram(argc, argv, run);
}
