#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace camera::services {

struct Blanking {
    std::uint8_t red = 128;
    std::uint8_t green = 128;
    std::uint8_t blue = 128;
    bool enabled = false;
};

struct OrientationSetting {
    std::uint32_t degrees = 0;
    bool served = true; ///< whether this camera has a rotation service at all
};

constexpr const char* kDefaultRotationKey = "default_analytics_rotation";

/// The integer configuration values by key.
using Values = std::map<std::string, std::int32_t>;

/// Whether a key may name a configuration value: not empty, not too long, fit to be sent.
bool isValueKey(const std::string& key);
constexpr std::size_t kLongestKeyBytes = 256;
constexpr std::size_t kMostValues = 1000;

/// The JSON documents that keep them. A document is checked as a remote call is; nothing when any of it is not valid.
std::string format(const Blanking& blanking);
std::string format(const OrientationSetting& orientation);
std::string format(const Values& values);
std::optional<Blanking> parseBlanking(const std::string& document);
std::optional<OrientationSetting> parseOrientation(const std::string& document);
std::optional<Values> parseValues(const std::string& document);

} // namespace camera::services
