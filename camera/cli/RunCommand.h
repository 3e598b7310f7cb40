#pragma once

#include "camera/cli/Console.h"
#include "camera/cli/RunOptions.h"

namespace camera::cli {

/// `camera run`: returns the exit code, 0 or 1; a failure has been printed.
int runCamera(const RunOptions& options, Console& console);

} // namespace camera::cli
