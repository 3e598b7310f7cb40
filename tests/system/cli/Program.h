#pragma once

#include "kit/ChildProcess.h"

#include <string>
#include <vector>

namespace camera::system_tests {

using kit::ChildProcess;
using kit::ChildSettings;
using kit::eventually;
using kit::Finished;
using Words = std::vector<std::string>;

/// Runs the camera's program to its end. A camera that it starts has only what a test gives it, and serves ONVIF
/// clients only on a port that the test names.
Finished camera(const Words& arguments, const ChildSettings& settings = {});

/// Runs any other program to its end.
Finished run(const Words& words);

Words cameraWords(const Words& arguments);

} // namespace camera::system_tests
