#include "camera/onvif/JsonValues.h"

#include <stdexcept>

namespace camera::onvif {

bool jsonBool(const Json::Value& value)
{
    return value.isBool() ? value.asBool() : throw std::invalid_argument("no bool");
}

int jsonInt(const Json::Value& value)
{
    return value.isInt() ? value.asInt() : throw std::invalid_argument("no whole number");
}

double jsonNumber(const Json::Value& value)
{
    return value.isNumeric() ? value.asDouble() : throw std::invalid_argument("no number");
}

std::string jsonText(const Json::Value& value)
{
    return value.isString() ? value.asString() : throw std::invalid_argument("no text");
}

const Json::Value& jsonArray(const Json::Value& value)
{
    return value.isArray() ? value : throw std::invalid_argument("no list");
}

const Json::Value& jsonObject(const Json::Value& value)
{
    return value.isObject() ? value : throw std::invalid_argument("no object");
}

std::vector<std::string> jsonTexts(const Json::Value& value)
{
    std::vector<std::string> texts;
    for (const Json::Value& text : jsonArray(value)) {
        texts.push_back(jsonText(text));
    }
    return texts;
}

} // namespace camera::onvif
