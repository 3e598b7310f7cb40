#pragma once

#include "camera/cli/ConfigOptions.h"
#include "camera/cli/Console.h"

namespace camera::cli {

/// `camera config`: returns the exit code, 0 or 1; a failure has been printed.
int configureCamera(const ConfigOptions& options, Console& console);

} // namespace camera::cli
