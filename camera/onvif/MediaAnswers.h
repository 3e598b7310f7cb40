#pragma once

#include "camera/onvif/MediaSettings.h"

#include <pugixml.hpp>

#include <functional>
#include <string>
#include <vector>

namespace camera::onvif {

// What both media services tell of configurations, each as the ONVIF type of its name.

/// The pictures that the camera delivers.
struct PictureFacts {
    PictureSize size;
    double framesPerSecond = 0;
};

/// Fills tt:AnalyticsEngineConfiguration and tt:RuleEngineConfiguration of a tt:VideoAnalyticsConfiguration.
using AnalyticsContent = std::function<void(pugi::xml_node configuration)>;

/// What answers are made of.
struct MediaView {
    const MediaSettings& settings;
    bool moves = false;              ///< whether the camera can move
    PictureFacts picture = {};       ///< zero where an answer has nothing of it
    AnalyticsContent analytics = {}; ///< empty where an answer has nothing of it
};

/// The two services write encoders and names of profiles' configurations differently.
enum class MediaVersion { media1, media2 };

/// Adds a configuration as the element of that name.
void putConfiguration(pugi::xml_node parent, const std::string& name, MediaKind kind, const std::string& token,
                      const MediaView& view, MediaVersion version);

/// tt:Profile with all its configurations.
void putProfile(pugi::xml_node parent, const char* name, const MediaProfile& profile, const MediaView& view);

/// tr2:MediaProfile with the configurations of these types; "All": of each type; none: without.
void putProfile2(pugi::xml_node parent, const MediaProfile& profile, const std::vector<std::string>& types,
                 const MediaView& view);

/// tt:VideoSource
void putVideoSource(pugi::xml_node parent, const char* name, const MediaView& view);

// The options, each into an element that is there.
void fillVideoSourceOptions(pugi::xml_node options, const MediaView& view);
void fillMetadataOptions(pugi::xml_node options, const MediaView& view);
void fillEncoderOptions(pugi::xml_node options, const MediaView& view);
void fillEncoder2Options(pugi::xml_node options, const MediaView& view);

/// tt:VideoResolution
void putSize(pugi::xml_node parent, const char* name, const PictureSize& size);

/// The sizes in which pictures can be encoded, the whole one first.
std::vector<PictureSize> encodedSizes(const PictureFacts& picture);

/// Writes a flag or text as attribute.
void putAttribute(pugi::xml_node node, const char* name, bool value);
void putAttribute(pugi::xml_node node, const char* name, const std::string& value);
void putAttribute(pugi::xml_node node, const char* name, const char* value);

} // namespace camera::onvif
