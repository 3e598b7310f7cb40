#pragma once

#include <string>

namespace camera::system_tests {

/// A configuration of the engine "Simple" with one rule; preset empty: for every place.
std::string simpleConfiguration(const std::string& rule, const std::string& preset = "");

/// A configuration of the engine "Motion" with one rule over nearly the whole picture.
std::string motionConfiguration(const std::string& rule, const std::string& preset = "");

} // namespace camera::system_tests
