#pragma once

#include <pugixml.hpp>

#include <string>

namespace camera::onvif {

constexpr const char* kXmlDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

/// The element in an element, or a null node when there is none or several.
pugi::xml_node onlyElement(const pugi::xml_node& parent);

/// The text of a node, with nothing added between its parts.
std::string printed(const pugi::xml_node& node);

/// Appends it to a text. A null node adds nothing.
void print(const pugi::xml_node& node, std::string& text);

/// A document as it is sent, in one line.
std::string wholeText(const pugi::xml_document& document);

} // namespace camera::onvif
