#pragma once

#include "camera/base/Console.h"
#include "camera/base/RunOptions.h"

namespace camera::pipeline {

/// The pipeline process, from its first frame to its last: returns the exit code, 0, 1 or 2, which the supervisor
/// has been told; a failure has been printed.
int runPipeline(base::PipelineOptions options, base::Console& console);

} // namespace camera::pipeline
