#pragma once

#include "camera/onvif/PtzDefaults.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {

/// The kinds of configurations that a profile refers to, in the order in which its answers have them.
enum class MediaKind { videoSource, videoEncoder, analytics, ptz, metadata };

/// How one kind is called: "VideoAnalytics" in names of Media1, "Analytics" in those of Media2.
struct MediaKindNames {
    MediaKind kind;
    const char* media1;
    const char* media2;
};
inline constexpr std::array<MediaKindNames, 5> kMediaKinds = {{
    {MediaKind::videoSource, "VideoSource", "VideoSource"},
    {MediaKind::videoEncoder, "VideoEncoder", "VideoEncoder"},
    {MediaKind::analytics, "VideoAnalytics", "Analytics"},
    {MediaKind::ptz, "PTZ", "PTZ"},
    {MediaKind::metadata, "Metadata", "Metadata"},
}};

inline constexpr const char* kVideoSource = "VideoSource_1"; ///< also its configuration's token
inline constexpr const char* kAnalyticsConfiguration = "AnalyticsConfiguration_1";
inline constexpr const char* kMetadataConfiguration = "Metadata_1";
inline constexpr const char* kPtzConfiguration = "PTZ_1";
inline constexpr const char* kPtzNode = "PTZNode_1";

/// The tokens of the configurations of a kind, which are the same for ever.
std::vector<std::string> configurationTokens(MediaKind kind);

struct PictureSize {
    int width = 0;
    int height = 0;
};
bool operator==(const PictureSize& a, const PictureSize& b);
inline constexpr PictureSize kSmallPicture{640, 360};

/// How pictures are encoded for a stream. The encoding is H.264.
struct EncoderSettings {
    std::optional<PictureSize> size;       ///< nothing: that of the camera's pictures
    std::optional<double> framesPerSecond; ///< nothing: as many as the camera has
    int kilobitsPerSecond = 4096;
    int govLength = 50;
    std::string profile = "Main";
};

inline constexpr std::array<const char*, 3> kH264Profiles = {"Baseline", "Main", "High"};
inline constexpr int kMostGovLength = 300;
inline constexpr int kLeastKilobits = 64;
inline constexpr int kMostKilobits = 16384;

/// Whether all is within the limits that do not depend on the camera's pictures.
bool isPossible(const EncoderSettings& encoder);

/// What the metadata track of a stream has.
struct MetadataSettings {
    bool analytics = true;
    bool events = true;
    bool ptzStatus = false;
    bool ptzPosition = false;
    bool gzip = false;
};

struct MediaProfile {
    std::string token;
    std::string name;
    std::map<MediaKind, std::string> configurations; ///< their tokens
};

/// The profiles of the camera and what they refer to, for both media services.
struct MediaSettings {
    MediaSettings();

    static constexpr std::size_t kFixedProfiles = 2; ///< the first ones of all, which cannot be deleted
    static constexpr std::size_t kMostProfiles = 16;

    std::vector<MediaProfile> profiles;
    std::array<EncoderSettings, 2> encoders;
    MetadataSettings metadata;
    PtzDefaults ptz;
    std::map<std::string, std::string> names; ///< of all configurations, by their tokens
};

/// The settings of an encoder by its token. The token exists.
EncoderSettings& encoderOf(MediaSettings& settings, const std::string& token);
const EncoderSettings& encoderOf(const MediaSettings& settings, const std::string& token);

/// What is not the same.
struct MediaDifference {
    std::vector<std::string> profiles; ///< tokens of those that are new, gone or others
    std::vector<std::pair<std::string, MediaKind>> configurations;
};
MediaDifference differenceOf(const MediaSettings& before, const MediaSettings& after);

/// As a JSON document and back. Nothing when it is none of this kind.
std::string format(const MediaSettings& settings);
std::optional<MediaSettings> parseMediaSettings(const std::string& document);

} // namespace camera::onvif
