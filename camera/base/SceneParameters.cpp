#include "camera/base/SceneParameters.h"

#include "camera/base/Text.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace camera::base {

namespace {

const std::string kScheme = "scene:";

struct Parameter {
    std::string name;
    std::string takes; ///< completes "<name> takes ..."
    std::string does;
    std::function<bool(SceneParameters&, const std::string&)> set;
};

template <typename T>
bool readNumber(const std::string& text, T lowest, T highest, T& out)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    // The comparison is written so that a NaN fails it.
    if (result.ec != std::errc() || result.ptr != end || !(value >= lowest && value <= highest)) {
        return false;
    }
    out = value;
    return true;
}

Parameter real(std::string name, double lowest, double highest, std::string does, double SceneParameters::*field)
{
    return {std::move(name), "a number from " + shortNumber(lowest) + " to " + shortNumber(highest), std::move(does),
            [=](SceneParameters& p, const std::string& text) { return readNumber(text, lowest, highest, p.*field); }};
}

template <typename T>
Parameter whole(std::string name, T lowest, T highest, std::string does, T SceneParameters::*field)
{
    return {std::move(name), "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest),
            std::move(does),
            [=](SceneParameters& p, const std::string& text) { return readNumber(text, lowest, highest, p.*field); }};
}

bool setSize(SceneParameters& parameters, const std::string& text)
{
    const std::size_t cross = text.find('x');
    if (cross == std::string::npos) {
        return false;
    }
    int width = 0;
    int height = 0;
    if (!readNumber(text.substr(0, cross), 64, 7680, width) || !readNumber(text.substr(cross + 1), 64, 4320, height)) {
        return false;
    }
    if (width % 2 != 0 || height % 2 != 0) {
        return false;
    }
    parameters.width = width;
    parameters.height = height;
    return true;
}

bool setShape(SceneParameters& parameters, const std::string& text)
{
    if (text == "person") {
        parameters.shape = SceneShape::person;
    } else if (text == "ellipse") {
        parameters.shape = SceneShape::ellipse;
    } else if (text == "box") {
        parameters.shape = SceneShape::box;
    } else {
        return false;
    }
    return true;
}

bool setShadows(SceneParameters& parameters, const std::string& text)
{
    parameters.shadows = text == "1";
    return text == "0" || text == "1";
}

const std::vector<Parameter>& table()
{
    using P = SceneParameters;
    constexpr std::int64_t kMostFrames = 1000000000;
    static const std::vector<Parameter> parameters = {
        {"size", "WIDTHxHEIGHT, both even, from 64x64 to 7680x4320", "picture size", setSize},
        real("fps", 0.1, 240, "frames per second", &P::framesPerSecond),
        whole<std::int64_t>("frames", 0, kMostFrames, "length, 0 is endless", &P::frames),
        whole<std::uint64_t>("seed", 0, UINT64_MAX, "same seed, same pixels", &P::seed),
        whole<int>("objects", 0, 32, "moving objects", &P::objects),
        real("area", 0.05, 25, "one object's box, percent of the picture", &P::areaPercent),
        real("aspect", 0.2, 5, "width / height of an object", &P::aspect),
        real("speed", 0, 2, "picture widths per second", &P::speed),
        real("contrast", 5, 110, "luma levels between object and background", &P::contrast),
        {"shape", "person, ellipse or box", "outline of the objects", setShape},
        whole<std::int64_t>("enter", 0, kMostFrames, "first frame with objects", &P::enterFrame),
        whole<std::int64_t>("leave", 0, kMostFrames, "first frame without them again, 0 is never", &P::leaveFrame),
        real("noise", 0, 30, "sensor noise, standard deviation in luma levels", &P::noise),
        real("light", 0, 60, "slow light change, luma levels", &P::light),
        real("lightperiod", 1, 86400, "its period in seconds", &P::lightPeriodSeconds),
        whole<std::int64_t>("switch", 0, kMostFrames, "frame of a light switch, 0 is never", &P::switchFrame),
        real("switchlevels", -100, 100, "luma levels the switch adds", &P::switchLevels),
        real("sway", 0, 16, "swaying texture, amplitude in pixels", &P::swayPixels),
        {"shadows", "0 or 1", "objects throw shadows", setShadows},
        whole<std::int64_t>("start", 0, UINT32_MAX, "time of the first frame, seconds since 1970, 0 is now",
                            &P::startSeconds),
    };
    return parameters;
}

void setOne(SceneParameters& parameters, const std::string& part)
{
    const std::size_t equals = part.find('=');
    const std::string name = part.substr(0, equals);
    for (const Parameter& parameter : table()) {
        if (parameter.name != name) {
            continue;
        }
        if (equals == std::string::npos || !parameter.set(parameters, part.substr(equals + 1))) {
            throw std::runtime_error("scene parameter '" + part + "' is refused: " + name + " takes " +
                                     parameter.takes + ".");
        }
        return;
    }
    std::vector<std::string> known;
    for (const Parameter& parameter : table()) {
        known.push_back(parameter.name);
    }
    throw std::runtime_error("scene parameter '" + part + "' is unknown: a scene has " + joined(known) + ".");
}

void checkTogether(const SceneParameters& p)
{
    const double boxHeight = p.height * std::sqrt(p.areaPercent / 100 * p.width / p.height / p.aspect);
    if (p.objects > 0 && (boxHeight > p.height * 0.95 || boxHeight * p.aspect > p.width * 0.95)) {
        throw std::runtime_error("scene parameters area=" + shortNumber(p.areaPercent) +
                                 ",aspect=" + shortNumber(p.aspect) + " are refused: the object does not fit into " +
                                 std::to_string(p.width) + "x" + std::to_string(p.height) + ".");
    }
    if (p.leaveFrame != 0 && p.leaveFrame < p.enterFrame) {
        throw std::runtime_error("scene parameter 'leave=" + std::to_string(p.leaveFrame) +
                                 "' is refused: objects cannot leave before enter=" + std::to_string(p.enterFrame) +
                                 ".");
    }
}

} // namespace

bool isSceneUrl(const std::string& url)
{
    return url.compare(0, kScheme.size(), kScheme) == 0;
}

SceneParameters parseSceneParameters(const std::string& url)
{
    if (!isSceneUrl(url)) {
        throw std::runtime_error("'" + url + "' is no scene: a generated scene is written scene:name=value,...");
    }
    SceneParameters parameters;
    std::istringstream rest(url.substr(kScheme.size()));
    for (std::string part; std::getline(rest, part, ',');) {
        setOne(parameters, part);
    }
    checkTogether(parameters);
    return parameters;
}

std::string sceneHelp()
{
    std::string help;
    for (const Parameter& parameter : table()) {
        std::string name = "  " + parameter.name;
        name.resize(16, ' ');
        help += name + parameter.does + " (" + parameter.takes + ")\n";
    }
    return help;
}

} // namespace camera::base
