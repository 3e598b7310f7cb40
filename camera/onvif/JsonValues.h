#pragma once

#include <json/value.h>

#include <string>
#include <vector>

namespace camera::onvif {

// What reads a stored document throws std::invalid_argument where it is none of its kind: JsonCpp's own conversions
// take too much.

bool jsonBool(const Json::Value& value);
int jsonInt(const Json::Value& value);
double jsonNumber(const Json::Value& value);
std::string jsonText(const Json::Value& value);
const Json::Value& jsonArray(const Json::Value& value);
const Json::Value& jsonObject(const Json::Value& value);
std::vector<std::string> jsonTexts(const Json::Value& value);

} // namespace camera::onvif
