#pragma once

#include "camera/base/Console.h"
#include "camera/pipeline/RunOptions.h"

#include <string>
#include <vector>

namespace camera::cli {

/**
 * `camera run`: supervises the camera's processes, which are found beside this program, until they end.
 *
 * @param options    what arguments say: they were parsed before anything is started.
 * @param arguments  passed on to the pipeline as they are.
 * @return the exit code; a failure has been printed.
 */
int superviseCamera(const pipeline::RunOptions& options, const std::vector<std::string>& arguments,
                    base::Console& console);

/// The arguments for a pipeline that is started again: without what the camera was given for its first
/// start and has kept, or changed since (configurations, presets, the place where it stands).
std::vector<std::string> restartArguments(const std::vector<std::string>& arguments);

} // namespace camera::cli
