#pragma once

#include <string>

namespace camera::engines {

/**
 * Loads an engine module (see EngineModule.h) whose engines come before the reference engines, in
 * the order of the calls, from every later analytics_lib::GetSupportedAnalyticsLibs.
 *
 * A module stays loaded until the process ends. The calling program exports its symbols.
 *
 * @throws std::runtime_error with one sentence naming the file and the reason, when it is no shared
 *         library, exports no detectionEngineModule or was built for another version; nothing is added.
 *
 * Thread: before the plug-in is built, on the control thread.
 */
void addEngineModule(const std::string& path);

/// Forgets every module named so far, for tests; engines that exist live on.
void clearEngineModules();

} // namespace camera::engines
