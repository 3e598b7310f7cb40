#include "camera/services/StateDocuments.h"

#include "camera/base/JsonText.h"
#include "camera/base/Orientation.h"
#include "camera/base/Utf8.h"

#include <exception>

namespace camera::services {

namespace {

constexpr std::size_t kLargest = 4 * 1024 * 1024;

// What take makes of the object; nothing when the document is not an object, or take cannot use it.
template <class T, class Take>
std::optional<T> parse(const std::string& document, Take&& take)
{
    try {
        const Json::Value object = base::readStrictJson(document, kLargest);
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
    return base::oneLineJson(object);
}

std::string format(const OrientationSetting& orientation)
{
    Json::Value object;
    object["angle"] = orientation.degrees;
    object["served"] = orientation.served;
    return base::oneLineJson(object);
}

std::string format(const Values& values)
{
    Json::Value object(Json::objectValue);
    for (const auto& [key, value] : values) {
        object[key] = value;
    }
    return base::oneLineJson(object);
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

std::optional<OrientationSetting> parseOrientation(const std::string& document)
{
    return parse<OrientationSetting>(document, [](const Json::Value& object) -> std::optional<OrientationSetting> {
        if (!object["angle"].isUInt() || !base::isOrientation(object["angle"].asUInt()) || !object["served"].isBool()) {
            return std::nullopt;
        }
        return OrientationSetting{object["angle"].asUInt(), object["served"].asBool()};
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
