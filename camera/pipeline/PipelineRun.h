#pragma once

#include "camera/cli/Console.h"
#include "camera/cli/RunOptions.h"

namespace camera::pipeline {

/// The pipeline process, from its first frame to its last: returns the exit code, 0 or 1; a failure has been
/// printed.
int runPipeline(const cli::PipelineOptions& options, cli::Console& console);

} // namespace camera::pipeline
