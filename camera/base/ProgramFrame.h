#pragma once

#include "camera/base/CommandLine.h"

namespace camera::base {

/// What main() does in every program of the camera: performs what the arguments say, prints one sentence when it
/// failed, and returns the exit code: the command's own, 2 for wrong arguments, 1 for a failure or an output that could
/// not be written.
int runProgram(int argc, char** argv, const Program& program);

} // namespace camera::base
