#pragma once

#include "camera/base/Console.h"
#include "camera/cli/ConfigOptions.h"

namespace camera::cli {

/**
 * `camera config`: asks the camera that runs on the state folder, or the only one where none is named; without
 * one that runs, the named folder's settings are worked on in this process.
 *
 * @return the exit code; a failure has been printed.
 */
int performConfig(const base::Arguments& arguments, base::Console& console);

} // namespace camera::cli
