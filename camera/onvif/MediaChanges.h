#pragma once

#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/MediaSettings.h"

#include <pugixml.hpp>

namespace camera::onvif {

// What clients set of configurations, each read of an element of the ONVIF type. What the element leaves out stays,
// but metadata has only what the element names. Each throws a Fault and may then leave settings half changed:
// ter:NoConfig for another token, ter:ConfigModify for a value that the options do not have.

void setVideoSource(MediaSettings& settings, const pugi::xml_node& configuration, const PictureFacts& picture);
void setEncoder(MediaSettings& settings, const pugi::xml_node& configuration, const PictureFacts& picture);
void setMetadata(MediaSettings& settings, const pugi::xml_node& configuration, bool moves);
void setPtz(MediaSettings& settings, const pugi::xml_node& configuration);

} // namespace camera::onvif
