#pragma once

#include "camera/base/RunOptions.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <string>
#include <vector>

namespace camera::cli {

/// `camera run`: supervises the camera's processes, which are found beside this program, until they end.
/// @return the exit code. @throws base::UsageError, std::exception with one sentence.
int superviseCamera(const base::Arguments& arguments, base::Console& console);

/// The arguments for the pipeline, without those of its log. Once a start has taken them, a restart gets no
/// configurations, places and preset: the camera has stored these, and they may have changed since.
std::vector<std::string> pipelineArguments(const base::Arguments& arguments, bool first);

// The camera's programs, which are found beside this one, with the arguments that they always need.
std::vector<std::string> servicesProgram(const supervisor::RuntimeFolder& folder);
std::vector<std::string> pipelineProgram(const supervisor::RuntimeFolder& folder);

} // namespace camera::cli
