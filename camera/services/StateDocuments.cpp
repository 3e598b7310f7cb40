#include "camera/services/StateDocuments.h"

#include "camera/base/Utf8.h"

#include <json/json.h>

#include <exception>
#include <memory>

namespace camera::services {

namespace {

constexpr int kDeepest = 8;

std::string write(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

// An object, else null. Throws on what is nested too deep.
Json::Value readObject(const std::string& document)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = kDeepest;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    const bool read = reader->parse(document.data(), document.data() + document.size(), &value, nullptr);
    return read && value.isObject() ? value : Json::Value();
}

// What take makes of the object; nothing when the document is none, or take cannot use it.
template <class T, class Take>
std::optional<T> parse(const std::string& document, Take&& take)
{
    try {
        const Json::Value object = readObject(document);
        return object.isObject() ? take(object) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool isByte(const Json::Value& value)
{
    return value.isUInt() && value.asUInt() <= 255;
}

std::uint8_t byteOf(const Json::Value& value)
{
    return static_cast<std::uint8_t>(value.asUInt());
}

} // namespace

bool isValueKey(const std::string& key)
{
    return !key.empty() && key.size() <= kLongestKeyBytes && base::isSendable(key);
}

std::string format(const Blanking& blanking)
{
    Json::Value object;
    object["enabled"] = blanking.enabled;
    object["red"] = blanking.red;
    object["green"] = blanking.green;
    object["blue"] = blanking.blue;
    return write(object);
}

std::string format(const Rotation& rotation)
{
    Json::Value object;
    object["angle"] = rotation.angleDegrees;
    object["served"] = rotation.served;
    return write(object);
}

std::string format(const Values& values)
{
    Json::Value object(Json::objectValue);
    for (const auto& [key, value] : values) {
        object[key] = value;
    }
    return write(object);
}

std::optional<Blanking> parseBlanking(const std::string& document)
{
    return parse<Blanking>(document, [](const Json::Value& object) -> std::optional<Blanking> {
        if (!object["enabled"].isBool() || !isByte(object["red"]) || !isByte(object["green"]) ||
            !isByte(object["blue"])) {
            return std::nullopt;
        }
        return Blanking{byteOf(object["red"]), byteOf(object["green"]), byteOf(object["blue"]),
                        object["enabled"].asBool()};
    });
}

std::optional<Rotation> parseRotation(const std::string& document)
{
    return parse<Rotation>(document, [](const Json::Value& object) -> std::optional<Rotation> {
        if (!object["angle"].isUInt() || !isAngle(object["angle"].asUInt()) || !object["served"].isBool()) {
            return std::nullopt;
        }
        return Rotation{object["angle"].asUInt(), object["served"].asBool()};
    });
}

std::optional<Values> parseValues(const std::string& document)
{
    return parse<Values>(document, [](const Json::Value& object) -> std::optional<Values> {
        Values values;
        for (const std::string& key : object.getMemberNames()) {
            if (!isValueKey(key) || !object[key].isInt() || values.size() == kMostValues) {
                return std::nullopt;
            }
            values[key] = object[key].asInt();
        }
        return values;
    });
}

} // namespace camera::services
