#pragma once

#include "camera/base/Console.h"
#include "camera/cli/CameraClient.h"

#include <string>
#include <vector>

namespace camera::cli {

// What is done with the analytics of a running camera, by whichever command. Each refusal of the camera is a
// CameraError; files are read and checked before anything is asked.

using Patience = std::chrono::milliseconds;

/// Rules, or else modules: the elements themselves, or their types.
std::vector<std::string> componentsNow(CameraClient& client, bool rules);
std::vector<std::string> componentTypes(CameraClient& client, bool rules);

void setConfigurations(CameraClient& client, const std::vector<std::string>& files, Patience patience,
                       base::Console& console);
std::string configurationNow(CameraClient& client, const std::string& preset);
void storeComponents(CameraClient& client, bool rules, bool modify, const std::vector<std::string>& files,
                     Patience patience, base::Console& console);
void deleteComponents(CameraClient& client, bool rules, const std::vector<std::string>& names, Patience patience,
                      base::Console& console);
void restoreDefaults(CameraClient& client, Patience patience, base::Console& console);

} // namespace camera::cli
