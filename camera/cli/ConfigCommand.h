#pragma once

#include "camera/base/Console.h"
#include "camera/cli/ConfigOptions.h"

namespace camera::cli {

/// `camera config`: returns the exit code, 0 or 1; a failure has been printed.
int configureCamera(const ConfigOptions& options, base::Console& console);

} // namespace camera::cli
