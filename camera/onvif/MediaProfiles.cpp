#include "camera/onvif/MediaProfiles.h"

#include "camera/base/Utf8.h"
#include "camera/onvif/Fault.h"

#include <algorithm>

namespace camera::onvif {

namespace {

constexpr std::size_t kLongestProfileText = 64;
constexpr const char* kDigits = "0123456789";
constexpr const char* kTokenCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-._";

Fault profileConflict(const std::string& reason)
{
    return Fault::receiver({"ter:Action", "ter:ConfigurationConflict"}, reason);
}

Fault noConfiguration(const std::string& reason)
{
    return Fault::invalid("ter:NoConfig", reason);
}

bool hasProfile(const MediaSettings& settings, const std::string& token)
{
    return std::any_of(settings.profiles.begin(), settings.profiles.end(),
                       [&token](const MediaProfile& profile) { return profile.token == token; });
}

std::size_t indexOf(const MediaSettings& settings, const std::string& token)
{
    for (std::size_t i = 0; i < settings.profiles.size(); ++i) {
        if (settings.profiles[i].token == token) {
            return i;
        }
    }
    throw Fault::invalid("ter:NoProfile", "there is no profile '" + token + "'");
}

std::string freeToken(const MediaSettings& settings)
{
    std::string token;
    int number = 1;
    do {
        token = "Profile_" + std::to_string(number++);
    } while (hasProfile(settings, token));
    return token;
}

std::string checkedToken(const std::string& token)
{
    if (token.empty() || token.size() > kLongestProfileText ||
        token.find_first_not_of(kTokenCharacters) != std::string::npos) {
        throw Fault::sender({"ter:InvalidArgVal"},
                            "a token has 1 to 64 letters, digits, points, hyphens and underscores");
    }
    return token.find_first_not_of(kDigits) == std::string::npos ? "Profile_" + token : token;
}

const MediaKindNames* kindNamed(const std::string& media2)
{
    const auto found = std::find_if(kMediaKinds.begin(), kMediaKinds.end(),
                                    [&media2](const MediaKindNames& each) { return media2 == each.media2; });
    return found == kMediaKinds.end() ? nullptr : &*found;
}

void checkComplete(const MediaProfile& profile)
{
    for (const auto& [kind, token] : profile.configurations) {
        if (!fits(profile, kind)) {
            throw profileConflict("the profile '" + profile.token + "' has '" + token +
                                  "', which needs a video source configuration");
        }
    }
}

} // namespace

MediaProfile& profileOf(MediaSettings& settings, const std::string& token)
{
    return settings.profiles[indexOf(settings, token)];
}

const MediaProfile& profileOf(const MediaSettings& settings, const std::string& token)
{
    return settings.profiles[indexOf(settings, token)];
}

bool isFixed(const MediaSettings& settings, const MediaProfile& profile)
{
    return indexOf(settings, profile.token) < MediaSettings::kFixedProfiles;
}

std::string checkedName(const std::string& name)
{
    if (name.empty() || base::codePoints(name).size() > kLongestProfileText) {
        throw Fault::sender({"ter:InvalidArgVal"}, "a name has 1 to 64 characters");
    }
    return name;
}

std::string createProfile(MediaSettings& settings, const std::string& name, const std::optional<std::string>& token)
{
    const std::string given = token ? checkedToken(*token) : freeToken(settings);
    if (hasProfile(settings, given)) {
        throw Fault::invalid("ter:ProfileExists", "there is a profile '" + given + "'");
    }
    if (settings.profiles.size() >= MediaSettings::kMostProfiles) {
        throw Fault::receiver({"ter:Action", "ter:MaxNVTProfiles"},
                              "there are " + std::to_string(MediaSettings::kMostProfiles) + " profiles; no more fit");
    }
    settings.profiles.push_back({given, checkedName(name), {}});
    return given;
}

void deleteProfile(MediaSettings& settings, const std::string& token)
{
    const std::size_t index = indexOf(settings, token);
    if (index < MediaSettings::kFixedProfiles) {
        throw Fault::sender({"ter:Action", "ter:DeletionOfFixedProfile"}, "the profile '" + token + "' is fixed");
    }
    settings.profiles.erase(settings.profiles.begin() + static_cast<std::ptrdiff_t>(index));
}

void addConfigurations(MediaSettings& settings, const std::string& profile,
                       const std::vector<ConfigurationReference>& added, bool moves)
{
    MediaProfile& changed = profileOf(settings, profile);
    for (const ConfigurationReference& each : added) {
        const MediaKindNames* const names = kindNamed(each.type);
        if (names == nullptr) {
            throw noConfiguration("there is no configuration of the type '" + each.type + "'");
        }
        // A client that does not say which one takes the first.
        changed.configurations[names->kind] = existingConfigurations(names->kind, each.token, moves).front();
    }
    checkComplete(changed);
}

void removeConfigurations(MediaSettings& settings, const std::string& profile,
                          const std::vector<ConfigurationReference>& removed)
{
    MediaProfile& changed = profileOf(settings, profile);
    for (const ConfigurationReference& each : removed) {
        const MediaKindNames* const names = kindNamed(each.type);
        if (each.type == "All") {
            changed.configurations.clear();
        } else if (names != nullptr) {
            changed.configurations.erase(names->kind);
        }
    }
    checkComplete(changed);
}

std::vector<std::string> existingConfigurations(MediaKind kind, const std::optional<std::string>& token, bool moves)
{
    std::vector<std::string> tokens;
    for (const std::string& each : configurationTokens(kind)) {
        if ((moves || kind != MediaKind::ptz) && each == token.value_or(each)) {
            tokens.push_back(each);
        }
    }
    if (tokens.empty()) {
        throw noConfiguration("there is no such configuration '" + token.value_or("") + "'");
    }
    return tokens;
}

bool fits(const MediaProfile& profile, MediaKind kind)
{
    const bool needsPicture = kind == MediaKind::videoEncoder || kind == MediaKind::analytics;
    return !needsPicture || profile.configurations.count(MediaKind::videoSource) > 0;
}

std::vector<std::string> fittingConfigurations(const MediaSettings& settings, MediaKind kind,
                                               const std::string& profile)
{
    return fits(profileOf(settings, profile), kind) ? configurationTokens(kind) : std::vector<std::string>();
}

} // namespace camera::onvif
