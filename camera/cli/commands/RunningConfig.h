#pragma once

#include "camera/cli/ConfigOptions.h"
#include "camera/cli/Console.h"

namespace camera::cli {

/**
 * `camera config`: asks the camera that runs on the state folder, or the only one where none is named; without
 * one that runs, the named folder's settings are worked on in this process.
 *
 * @return the exit code; a failure has been printed.
 */
int performConfig(const ConfigOptions& options, Console& console);

} // namespace camera::cli
