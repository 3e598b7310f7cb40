#pragma once

#include <json/value.h>

#include <string>

namespace camera::base {

/// A JSON document in one line without blanks. Bytes of texts stay as they are, also where they are not UTF-8.
std::string oneLineJson(const Json::Value& value);

} // namespace camera::base
