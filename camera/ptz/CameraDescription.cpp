#include "camera/ptz/CameraDescription.h"

#include "camera/base/JsonText.h"
#include "camera/base/PluginPath.h"
#include "camera/base/Text.h"
#include "camera/base/Utf8.h"
#include "camera/ptz/PositioningNames.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <stdexcept>

namespace camera::ptz {

namespace {

constexpr double kThousandths = 1000.0;

// What a number may be, in the unit in which people write it.
struct Range {
    double lowest;
    double highest;
};

// One object of the document.
class Section {
public:
    Section(const Json::Value& content, std::string origin, std::string path)
        : _content(content), _origin(std::move(origin)), _path(std::move(path))
    {
    }

    bool has(const char* key) const { return _content.isMember(key); }

    [[noreturn]] void refuse(const std::string& key, const std::string& allowed) const
    {
        throw std::invalid_argument(_origin + ": '" + (_path.empty() ? key : _path + "." + key) + "' " + allowed);
    }

    double number(const char* key, Range range, double otherwise) const
    {
        if (!has(key)) {
            return otherwise;
        }
        const Json::Value& value = _content[key];
        const double result = value.isNumeric() ? value.asDouble() : std::nan("");
        if (!(result >= range.lowest && result <= range.highest)) {
            refuse(key, "must be a number from " + base::shortNumber(range.lowest) + " to " +
                            base::shortNumber(range.highest));
        }
        return result;
    }

    std::chrono::milliseconds time(const char* key, Range range, std::chrono::milliseconds otherwise) const
    {
        const double milliseconds = number(key, range, static_cast<double>(otherwise.count()));
        return std::chrono::milliseconds(std::lround(milliseconds));
    }

    bool flag(const char* key, bool otherwise) const
    {
        if (has(key) && !_content[key].isBool()) {
            refuse(key, "must be true or false");
        }
        return has(key) ? _content[key].asBool() : otherwise;
    }

    // What may be the name of a preset may be the name of a model, if it is short.
    std::string text(const char* key, const std::string& otherwise) const
    {
        if (!has(key)) {
            return otherwise;
        }
        const Json::Value& value = _content[key];
        if (!value.isString() || value.asString().size() > 64 || !nameProblem(value.asString()).empty()) {
            refuse(key, "must be a text of 1 to 64 bytes without control characters");
        }
        return value.asString();
    }

    Section section(const char* key) const
    {
        static const Json::Value nothing(Json::objectValue);
        if (has(key) && !_content[key].isObject()) {
            refuse(key, "must be an object");
        }
        return {has(key) ? _content[key] : nothing, _origin, key};
    }

    void allow(std::initializer_list<const char*> keys) const
    {
        for (const std::string& name : _content.getMemberNames()) {
            if (std::find(keys.begin(), keys.end(), name) == keys.end()) {
                refuse(name, "is not known here; known: " + base::joined({keys.begin(), keys.end()}));
            }
        }
    }

private:
    const Json::Value& _content;
    std::string _origin;
    std::string _path;
};

Json::Value parsed(const std::string& text, const std::string& origin)
{
    if (!base::isSendable(text)) {
        throw std::invalid_argument(origin + ": is not UTF-8");
    }
    try {
        Json::Value value = base::readStrictJson(text, kLargestDescription);
        if (value.isObject()) {
            return value;
        }
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(origin + ": " + error.what());
    }
    throw std::invalid_argument(origin + ": it is no JSON object");
}

void readSpeeds(const Section& section, AxisDescription& axis, double unit, double mostSpeed)
{
    axis.greatestSpeed = section.number("speed", {0.1, mostSpeed}, axis.greatestSpeed / unit) * unit;
    axis.acceleration = section.number("acceleration", {0.1, mostSpeed * 20}, axis.acceleration / unit) * unit;
}

void readTurn(const Section& section, AxisDescription& axis, Range range)
{
    axis.lowest = section.number("lowest", range, axis.lowest / kThousandths) * kThousandths;
    axis.highest = section.number("highest", range, axis.highest / kThousandths) * kThousandths;
    axis.tolerance = section.number("tolerance", {0.001, 5}, axis.tolerance / kThousandths) * kThousandths;
    if (!axis.endless && axis.lowest > 0) {
        section.refuse("lowest", "must be at most 0: straight ahead is home");
    }
    if (!axis.endless && axis.highest < 0) {
        section.refuse("highest", "must be at least 0: straight ahead is home");
    }
    readSpeeds(section, axis, kThousandths, 1000);
}

void readPan(const Section& section, AxisDescription& axis)
{
    section.allow({"endless", "lowest", "highest", "speed", "acceleration", "tolerance"});
    axis.endless = section.flag("endless", !section.has("lowest") && !section.has("highest"));
    for (const char* limit : {"lowest", "highest"}) {
        if (axis.endless && section.has(limit)) {
            section.refuse(limit, "must not be there: the axis is endless");
        }
        if (!axis.endless && !section.has(limit)) {
            section.refuse(limit, "must be there: the axis is not endless");
        }
    }
    readTurn(section, axis, {-180, 180});
}

void readTilt(const Section& section, AxisDescription& axis)
{
    section.allow({"lowest", "highest", "speed", "acceleration", "tolerance"});
    readTurn(section, axis, {-90, 90});
}

void readLens(const Section& section, CameraDescription& camera)
{
    section.allow({"focal_length", "sensor_width", "sensor_height"});
    Optics& optics = camera.optics;
    const auto length = [&](const char* key, Range range, unsigned int& value) {
        value = static_cast<unsigned int>(std::lround(section.number(key, range, value / kThousandths) * kThousandths));
    };
    length("focal_length", {0.5, 1000}, optics.shortestFocalLength);
    length("sensor_width", {0.5, 100}, optics.sensorWidth);
    length("sensor_height", {0.5, 100}, optics.sensorHeight);
}

void readZoom(const Section& section, CameraDescription& camera)
{
    constexpr double kHundredths = 100.0;
    section.allow({"largest", "speed", "acceleration", "tolerance"});
    AxisDescription& axis = camera.zoom;
    axis.highest = std::round(section.number("largest", {1, 100}, axis.highest / kHundredths) * kHundredths);
    axis.tolerance = section.number("tolerance", {0.01, 1}, axis.tolerance / kHundredths) * kHundredths;
    camera.optics.largestZoom = static_cast<unsigned int>(axis.highest);
    readSpeeds(section, axis, kHundredths, 100);
}

void readTiming(const Section& section, CameraDescription& camera)
{
    section.allow({"stable_ms", "arrival_margin_ms", "hold_ms", "drive_ms"});
    camera.stableFor = section.time("stable_ms", {10, 60000}, camera.stableFor);
    camera.arrivalMargin = section.time("arrival_margin_ms", {100, 600000}, camera.arrivalMargin);
    camera.holdFor = section.time("hold_ms", {0, 3600000}, camera.holdFor);
    camera.driveFor = section.time("drive_ms", {100, 3600000}, camera.driveFor);
}

} // namespace

CameraDescription parseDescription(std::string_view text, const std::string& origin)
{
    const Json::Value document = parsed(std::string(text), origin);
    const Section root(document, origin, std::string());
    root.allow({"model", "movable", "scene_angle", "lens", "pan", "tilt", "zoom", "timing"});
    CameraDescription camera;
    camera.model = root.text("model", camera.model);
    camera.movable = root.flag("movable", camera.movable);
    camera.sceneAngleDegrees = root.number("scene_angle", {10, 360}, camera.sceneAngleDegrees);
    readLens(root.section("lens"), camera);
    if (!camera.movable) {
        for (const char* key : {"pan", "tilt", "zoom", "timing"}) {
            if (root.has(key)) {
                root.refuse(key, "must not be there: the camera is fixed");
            }
        }
    }
    readPan(root.section("pan"), camera.pan);
    readTilt(root.section("tilt"), camera.tilt);
    readZoom(root.section("zoom"), camera);
    readTiming(root.section("timing"), camera);
    return camera;
}

CameraDescription readDescription(const std::filesystem::path& file)
{
    std::error_code ignored;
    std::ifstream stream(file, std::ios::binary);
    if (!std::filesystem::is_regular_file(file, ignored) || !stream) {
        throw std::invalid_argument("the camera description '" + file.string() + "' is no file that can be read");
    }
    std::string text(kLargestDescription + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return parseDescription(text, file.string());
}

CameraDescription findDescription(const std::string& nameOrPath, const std::filesystem::path& programFolder)
{
    const std::filesystem::path extension = std::filesystem::path(nameOrPath).extension();
    if (extension == ".toml") {
        throw std::invalid_argument("the model '" + nameOrPath +
                                    "' is a TOML file; models are JSON files now: write the same keys to '" +
                                    std::filesystem::path(nameOrPath).replace_extension(".json").string() + "'");
    }
    const bool isPath = nameOrPath.find('/') != std::string::npos || extension == ".json" || nameOrPath.empty();
    if (isPath) {
        return readDescription(nameOrPath);
    }
    const auto file = base::sharedFile("cameras/" + nameOrPath + ".json", programFolder);
    if (!file.empty()) {
        return readDescription(file);
    }
    throw std::invalid_argument("there is no camera description '" + nameOrPath + "' in '" +
                                (programFolder / "cameras").string() +
                                "' nor in ../share/detection/cameras beside it; name the path of a .json file");
}

} // namespace camera::ptz
