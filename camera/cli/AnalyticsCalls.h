#pragma once

#include "camera/cli/Command.h"
#include "camera/onvif/AnalyticsState.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/onvif/StoredConfigurations.h"

#include <cstdint>
#include <string>
#include <vector>

namespace camera::cli {

// What several commands ask of a camera's analytics. Each refusal of the camera is a CameraError.

/// How long the camera may take to store something.
constexpr std::chrono::seconds kWritePatience(120);

/// Rules, or else modules: the elements themselves, or their types.
std::vector<std::string> componentsNow(CameraClient& client, bool rules);
std::vector<std::string> componentTypes(CameraClient& client, bool rules);

/// All rules and modules, each under its public name: several that have one name are told apart.
onvif::PlacedComponents publicComponents(CameraClient& client);

/// Deletes rules, or else modules, by their public names: all or none. @param what  "delete 2 rules", for a refusal.
void deleteComponents(CameraClient& client, bool rules, const std::vector<std::string>& names, const std::string& what,
                      std::chrono::milliseconds patience);

/// Number, time in seconds since 1970, size and whether it is undamaged; newest first.
using StoredVersion = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;
std::vector<StoredVersion> storedVersions(CameraClient& client);

/// Every rule and module that is stored: of engines that are loaded, or of others.
struct StoredComponents {
    std::vector<onvif::ComponentName> ofLoaded;
    std::vector<onvif::ComponentName> ofOthers;
};
StoredComponents storedComponents(CameraClient& client);

/// Why the camera refused components, one or several in each text. @param lines  what it logged meanwhile.
std::string refusalReason(CameraClient& client, const std::vector<std::string>& texts,
                          const std::vector<std::string>& lines);

/// The text of a file. @throws CameraError when the bus cannot carry it.
const std::string& sendableText(const std::string& text, const std::string& file);

/// Performs a change and prints what a restart will change again, also when the change failed.
int change(CommandContext& context, const std::function<void(CameraClient&)>& perform);

/// Prints a list, a text a line, or as JSON with the text in that field. @return the exit code 0.
int printTexts(CommandContext& context, const char* field, const std::vector<std::string>& texts);

} // namespace camera::cli
