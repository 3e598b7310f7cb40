#pragma once

#include "camera/kit/EngineModule.h"

#include <string>

namespace camera::framework {

/// What a loaded engine module exports. The module stays loaded until the process ends: its engines may outlive
/// everything else.
using EngineModule = const DetectionEngineModule*;

/**
 * Loads one engine module (see camera/kit/EngineModule.h). The calling program exports its symbols.
 *
 * @throws std::runtime_error with one sentence naming the file and the reason, when it is no shared library, exports no
 *         detectionEngineModule or was built for another version.
 */
EngineModule loadEngineModule(const std::string& path);

} // namespace camera::framework
