#include "camera/ptz/CameraDescription.h"

#include "camera/ptz/Toml.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace camera::ptz {

namespace {

constexpr int kDeepestNesting = 32;
constexpr double kThousandths = 1000.0;

// What a number may be, in the unit in which people write it.
struct Range {
    double lowest;
    double highest;
};

std::string textOf(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

// One table of the document. What is read is noted, so that keys that nobody knows are found.
class Table {
public:
    Table(const toml::table& content, std::string origin, std::string path)
        : _content(content), _origin(std::move(origin)), _path(std::move(path))
    {
    }

    bool has(const char* key) const { return _content.count(key) != 0; }

    [[noreturn]] void refuse(const std::string& key, const std::string& allowed) const
    {
        throw std::invalid_argument(_origin + ": '" + (_path.empty() ? key : _path + "." + key) + "' " + allowed);
    }

    double number(const char* key, Range range, double otherwise) const
    {
        if (!has(key)) {
            return otherwise;
        }
        const toml::value& value = _content.at(key);
        double result = std::nan("");
        if (value.is_floating()) {
            result = value.as_floating();
        } else if (value.is_integer()) {
            result = static_cast<double>(value.as_integer());
        }
        if (!(result >= range.lowest && result <= range.highest)) {
            refuse(key, "must be a number from " + textOf(range.lowest) + " to " + textOf(range.highest));
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
        if (has(key) && !_content.at(key).is_boolean()) {
            refuse(key, "must be true or false");
        }
        return has(key) ? _content.at(key).as_boolean() : otherwise;
    }

    std::string text(const char* key, const std::string& otherwise) const
    {
        if (!has(key)) {
            return otherwise;
        }
        const toml::value& value = _content.at(key);
        if (!value.is_string() || value.as_string().str.empty() || value.as_string().str.size() > 64) {
            refuse(key, "must be a text of 1 to 64 bytes");
        }
        return value.as_string().str;
    }

    Table table(const char* key) const
    {
        static const toml::table nothing;
        if (has(key) && !_content.at(key).is_table()) {
            refuse(key, "must be a table");
        }
        return {has(key) ? _content.at(key).as_table() : nothing, _origin, key};
    }

    void allow(std::initializer_list<const char*> keys) const
    {
        for (const auto& entry : _content) {
            if (std::find(keys.begin(), keys.end(), entry.first) == keys.end()) {
                std::string known;
                for (const char* key : keys) {
                    known += std::string(known.empty() ? "" : ", ") + key;
                }
                refuse(entry.first, "is not known here; known: " + known);
            }
        }
    }

private:
    const toml::table& _content;
    std::string _origin;
    std::string _path;
};

// The parser goes one call deeper with each bracket: hostile nesting must not reach it. A bracket
// inside a text counts too, which no sensible description notices.
void checkNesting(std::string_view text, const std::string& origin)
{
    int depth = 0;
    for (const char character : text) {
        if (character == '[' || character == '{') {
            ++depth;
        } else if (character == ']' || character == '}') {
            depth = std::max(depth - 1, 0);
        }
        if (depth > kDeepestNesting) {
            throw std::invalid_argument(origin + ": brackets are nested more than " + std::to_string(kDeepestNesting) +
                                        " deep");
        }
    }
}

// A long dotted key makes the parser go deeper as well.
void checkDots(std::string_view text, const std::string& origin)
{
    int dots = 0;
    for (const char character : text) {
        dots = character == '\n' ? 0 : dots + (character == '.' ? 1 : 0);
        if (dots > kDeepestNesting) {
            throw std::invalid_argument(origin + ": a line has more than " + std::to_string(kDeepestNesting) + " dots");
        }
    }
}

// How many bytes the character at the beginning of text has; 0: none stands there.
std::size_t characterBytes(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const std::size_t length = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if ((byte(0) >= 0x80 && byte(0) < 0xC2) || byte(0) > 0xF4 || length > text.size()) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

// The parser reads outside of its memory when it reports a quoted text that is not UTF-8.
void checkCharacters(std::string_view text, const std::string& origin)
{
    while (!text.empty()) {
        const std::size_t length = characterBytes(text);
        const bool surrogate = length == 3 && text[0] == '\xED' && static_cast<unsigned char>(text[1]) > 0x9F;
        const bool overlong = (length == 3 && text[0] == '\xE0' && static_cast<unsigned char>(text[1]) < 0xA0) ||
                              (length == 4 && text[0] == '\xF0' && static_cast<unsigned char>(text[1]) < 0x90);
        const bool beyond = length == 4 && text[0] == '\xF4' && static_cast<unsigned char>(text[1]) > 0x8F;
        if (length == 0 || surrogate || overlong || beyond) {
            throw std::invalid_argument(origin + ": is not UTF-8");
        }
        text.remove_prefix(length);
    }
}

std::string firstLine(const std::string& message)
{
    std::string line = message.substr(0, message.find('\n'));
    if (line.size() > 200) {
        line.resize(200);
    }
    return line;
}

toml::value parsed(std::string_view text, const std::string& origin)
{
    if (text.size() > kLargestDescription) {
        throw std::invalid_argument(origin + ": a description has at most " + std::to_string(kLargestDescription) +
                                    " bytes");
    }
    checkCharacters(text, origin);
    checkNesting(text, origin);
    checkDots(text, origin);
    try {
        std::istringstream stream{std::string(text)};
        toml::value value = toml::parse(stream, origin);
        if (value.is_table()) {
            return value;
        }
    } catch (const std::exception& error) {
        throw std::invalid_argument(origin + ": is no TOML document: " + firstLine(error.what()));
    }
    throw std::invalid_argument(origin + ": is no TOML document");
}

void readSpeeds(const Table& table, AxisDescription& axis, double unit, double mostSpeed)
{
    axis.greatestSpeed = table.number("speed", {0.1, mostSpeed}, axis.greatestSpeed / unit) * unit;
    axis.acceleration = table.number("acceleration", {0.1, mostSpeed * 20}, axis.acceleration / unit) * unit;
}

void readTurn(const Table& table, AxisDescription& axis, Range range)
{
    axis.lowest = table.number("lowest", range, axis.lowest / kThousandths) * kThousandths;
    axis.highest = table.number("highest", range, axis.highest / kThousandths) * kThousandths;
    axis.tolerance = table.number("tolerance", {0.001, 5}, axis.tolerance / kThousandths) * kThousandths;
    if (!axis.endless && axis.lowest > 0) {
        table.refuse("lowest", "must be at most 0: straight ahead is home");
    }
    if (!axis.endless && axis.highest < 0) {
        table.refuse("highest", "must be at least 0: straight ahead is home");
    }
    readSpeeds(table, axis, kThousandths, 1000);
}

void readPan(const Table& table, AxisDescription& axis)
{
    table.allow({"endless", "lowest", "highest", "speed", "acceleration", "tolerance"});
    axis.endless = table.flag("endless", !table.has("lowest") && !table.has("highest"));
    for (const char* limit : {"lowest", "highest"}) {
        if (axis.endless && table.has(limit)) {
            table.refuse(limit, "must not be there: the axis is endless");
        }
        if (!axis.endless && !table.has(limit)) {
            table.refuse(limit, "must be there: the axis is not endless");
        }
    }
    readTurn(table, axis, {-180, 180});
}

void readTilt(const Table& table, AxisDescription& axis)
{
    table.allow({"lowest", "highest", "speed", "acceleration", "tolerance"});
    readTurn(table, axis, {-90, 90});
}

void readLens(const Table& table, CameraDescription& camera)
{
    table.allow({"focal_length", "sensor_width", "sensor_height"});
    Optics& optics = camera.optics;
    const auto length = [&](const char* key, Range range, unsigned int& value) {
        value = static_cast<unsigned int>(std::lround(table.number(key, range, value / kThousandths) * kThousandths));
    };
    length("focal_length", {0.5, 1000}, optics.shortestFocalLength);
    length("sensor_width", {0.5, 100}, optics.sensorWidth);
    length("sensor_height", {0.5, 100}, optics.sensorHeight);
}

void readZoom(const Table& table, CameraDescription& camera)
{
    constexpr double kHundredths = 100.0;
    table.allow({"largest", "speed", "acceleration", "tolerance"});
    AxisDescription& axis = camera.zoom;
    axis.highest = std::round(table.number("largest", {1, 100}, axis.highest / kHundredths) * kHundredths);
    axis.tolerance = table.number("tolerance", {0.01, 1}, axis.tolerance / kHundredths) * kHundredths;
    camera.optics.largestZoom = static_cast<unsigned int>(axis.highest);
    readSpeeds(table, axis, kHundredths, 100);
}

void readTiming(const Table& table, CameraDescription& camera)
{
    table.allow({"stable_ms", "arrival_margin_ms", "hold_ms", "drive_ms"});
    camera.stableFor = table.time("stable_ms", {10, 60000}, camera.stableFor);
    camera.arrivalMargin = table.time("arrival_margin_ms", {100, 600000}, camera.arrivalMargin);
    camera.holdFor = table.time("hold_ms", {0, 3600000}, camera.holdFor);
    camera.driveFor = table.time("drive_ms", {100, 3600000}, camera.driveFor);
}

} // namespace

CameraDescription parseDescription(std::string_view text, const std::string& origin)
{
    const toml::value document = parsed(text, origin);
    const Table root(document.as_table(), origin, std::string());
    root.allow({"model", "movable", "scene_angle", "lens", "pan", "tilt", "zoom", "timing"});
    CameraDescription camera;
    camera.model = root.text("model", camera.model);
    camera.movable = root.flag("movable", camera.movable);
    camera.sceneAngleDegrees = root.number("scene_angle", {10, 360}, camera.sceneAngleDegrees);
    readLens(root.table("lens"), camera);
    if (!camera.movable) {
        for (const char* key : {"pan", "tilt", "zoom", "timing"}) {
            if (root.has(key)) {
                root.refuse(key, "must not be there: the camera is fixed");
            }
        }
    }
    readPan(root.table("pan"), camera.pan);
    readTilt(root.table("tilt"), camera.tilt);
    readZoom(root.table("zoom"), camera);
    readTiming(root.table("timing"), camera);
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
    const bool isPath = nameOrPath.find('/') != std::string::npos ||
                        std::filesystem::path(nameOrPath).extension() == ".toml" || nameOrPath.empty();
    if (isPath) {
        return readDescription(nameOrPath);
    }
    const std::array<const char*, 3> places = {"cameras", "../share/detection/cameras", "../share/cameras"};
    for (const char* place : places) {
        const auto candidate = programFolder / place / (nameOrPath + ".toml");
        std::error_code ignored;
        if (std::filesystem::is_regular_file(candidate, ignored)) {
            return readDescription(candidate);
        }
    }
    throw std::invalid_argument("there is no camera description '" + nameOrPath + "' in '" +
                                (programFolder / "cameras").string() +
                                "' nor in ../share/detection/cameras beside it; name the path of a .toml file");
}

} // namespace camera::ptz
