#pragma once

#include <cstdint>
#include <string>

namespace camera::base {

/// How a moving object is outlined inside its box.
enum class SceneShape { person, ellipse, box };

/// What a generated scene shows. Same parameters, same pixels.
struct SceneParameters {
    int width = 1280;
    int height = 720;
    double framesPerSecond = 25;
    std::int64_t frames = 500; ///< 0: endless
    std::uint64_t seed = 1;

    int objects = 3;
    double areaPercent = 2; ///< of the picture, box of one object
    double aspect = 0.5;    ///< width / height of an object's box
    double speed = 0.12;    ///< picture widths per second
    double contrast = 70;   ///< luma levels between object and mean background
    SceneShape shape = SceneShape::person;
    std::int64_t enterFrame = 0; ///< first frame with objects
    std::int64_t leaveFrame = 0; ///< first frame without them again; 0: they stay

    double noise = 2; ///< standard deviation of the sensor noise, luma levels
    double light = 0; ///< amplitude of the slow light change, luma levels
    double lightPeriodSeconds = 60;
    std::int64_t switchFrame = 0; ///< the frame at which a light is switched; 0: never
    double switchLevels = -50;    ///< what the switch adds to the mean luma
    double swayPixels = 0;        ///< amplitude of the swaying texture in the upper right of the picture
    bool shadows = false;

    std::int64_t startSeconds = 0; ///< since 1970, time of the first frame; 0: the wall clock at construction
};

/**
 * Reads "scene:" or "scene:name=value,name=value,...". Names: size (WxH), fps, frames, seed, objects, area, aspect,
 * speed, contrast, shape, enter, leave, noise, light, lightperiod, switch, switchlevels, sway, shadows, start.
 * @throws std::runtime_error with one sentence that names the parameter and what it takes.
 */
SceneParameters parseSceneParameters(const std::string& url);

/// Whether the text names a generated scene at all.
bool isSceneUrl(const std::string& url);

/// One line per parameter, for the help screen.
std::string sceneHelp();

} // namespace camera::base
