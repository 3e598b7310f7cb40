#pragma once

#include "camera/onvif/MediaSettings.h"

#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

// What clients do with profiles. Each throws a Fault, and may then leave settings half changed.

/// @throws Fault ter:NoProfile
MediaProfile& profileOf(MediaSettings& settings, const std::string& token);
const MediaProfile& profileOf(const MediaSettings& settings, const std::string& token);

bool isFixed(const MediaSettings& settings, const MediaProfile& profile);

/// A name of at most 64 characters. @throws Fault ter:InvalidArgVal
std::string checkedName(const std::string& name);

/**
 * Adds a profile without configurations.
 *
 * @param token  wished; a token of digits alone gets letters before it, because common programs make a number of it.
 *               Nothing: the first that is free.
 * @return its token.
 */
std::string createProfile(MediaSettings& settings, const std::string& name, const std::optional<std::string>& token);
void deleteProfile(MediaSettings& settings, const std::string& token);

/// A configuration of a profile, as Media2 names it. Removing needs no token.
struct ConfigurationReference {
    std::string type; ///< one of kMediaKinds' names in Media2
    std::optional<std::string> token = {};
};

/// @param moves  whether there is a PTZ configuration.
void addConfigurations(MediaSettings& settings, const std::string& profile,
                       const std::vector<ConfigurationReference>& added, bool moves);

/// "All" removes them all; what the profile does not have is left out.
void removeConfigurations(MediaSettings& settings, const std::string& profile,
                          const std::vector<ConfigurationReference>& removed);

/// The configurations of a kind, or the one of that token. @throws Fault ter:NoConfig
std::vector<std::string> existingConfigurations(MediaKind kind, const std::optional<std::string>& token, bool moves);

/// Whether a configuration of a kind can be added now: the encoder and the analytics need the source of the picture.
bool fits(const MediaProfile& profile, MediaKind kind);

/// The configurations of a kind that can be added to a profile now.
std::vector<std::string> fittingConfigurations(const MediaSettings& settings, MediaKind kind,
                                               const std::string& profile);

} // namespace camera::onvif
