#pragma once

#include <pugixml.hpp>

#include <string>

namespace camera::onvif {

/// The element in an element, or a null node when there is none or several.
pugi::xml_node onlyElement(const pugi::xml_node& parent);

/// A document as it is sent, in one line.
std::string wholeText(const pugi::xml_document& document);

} // namespace camera::onvif
