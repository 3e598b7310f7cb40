// The pipeline process.

#include "camera/base/ProgramFrame.h"
#include "camera/base/RunOptions.h"
#include "camera/pipeline/PipelineRun.h"

int main(int argc, char** argv)
{
    using namespace camera;
    const auto run = [](const base::Arguments& arguments, base::Console& console) {
        base::setLog(arguments);
        return pipeline::runPipeline(base::pipelineOptions(arguments), console);
    };
    return base::runProgram(
        argc, argv,
        {"camera-pipeline", "the pipeline process of a virtual camera", "", {base::pipelineCommand().does(run)}});
}
