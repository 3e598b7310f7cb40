// The pipeline process: reads the arguments and runs; returns the exit code.

#include "camera/base/ProgramFrame.h"
#include "camera/pipeline/PipelineRun.h"
#include "camera/pipeline/RunOptions.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

int run(const std::vector<std::string>& arguments, camera::base::Console& console)
{
    const camera::pipeline::PipelineOptions options = camera::pipeline::parsePipeline(arguments);
    if (options.run.help) {
        std::fputs(camera::pipeline::pipelineHelp().c_str(), stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    return camera::pipeline::runPipeline(options, console);
}

} // namespace

int main(int argc, char** argv)
{
    return camera::base::runProgram(argc, argv, run);
}
