#include "camera/video/Scene.h"

#include "camera/video/SceneBackground.h"
#include "camera/video/SceneNoise.h"
#include "camera/video/SceneObject.h"
#include "camera/video/Timestamp.h"

#include <cmath>

namespace camera::video {

Scene::Scene(const SceneParameters& given)
    : parameters(given),
      background(std::make_unique<SceneBackground>(given)),
      noise(std::make_unique<SceneNoise>(given.seed, given.noise, given.width))
{
    for (int id = 1; id <= parameters.objects; ++id) {
        objects.emplace_back(parameters, id);
    }
    startNanoseconds = parameters.startSeconds != 0 ? parameters.startSeconds * 1000000000 : wallClockNanoseconds();
}

Scene::Scene(const std::string& url) : Scene(parseSceneParameters(url))
{
}

Scene::~Scene() = default;

bool Scene::objectsVisible() const
{
    return frameNumber >= parameters.enterFrame && (parameters.leaveFrame == 0 || frameNumber < parameters.leaveFrame);
}

double Scene::lightGain() const
{
    const double seconds = static_cast<double>(frameNumber) / parameters.framesPerSecond;
    double levels = parameters.light * std::sin(2 * M_PI * seconds / parameters.lightPeriodSeconds);
    if (parameters.switchFrame != 0 && frameNumber >= parameters.switchFrame) {
        levels += parameters.switchLevels;
    }
    return 1 + levels / SceneBackground::kMeanLuma;
}

void Scene::paintObjects(Frame& frame)
{
    boxes.clear();
    if (!objectsVisible()) {
        return;
    }
    const double seconds = static_cast<double>(frameNumber) / parameters.framesPerSecond;
    if (parameters.shadows) {
        for (const SceneObject& object : objects) {
            object.paintShadow(frame, seconds);
        }
    }
    for (const SceneObject& object : objects) {
        boxes.push_back(object.paint(frame, seconds));
    }
}

std::optional<Frame> Scene::next()
{
    if (parameters.frames != 0 && frameNumber >= parameters.frames) {
        return std::nullopt;
    }
    const double seconds = static_cast<double>(frameNumber) / parameters.framesPerSecond;
    Frame frame = pool.lend(parameters.width, parameters.height);
    background->paint(frame, seconds);
    paintObjects(frame);
    noise->apply(frame, lightGain(), frameNumber);
    stamp(frame, startNanoseconds + std::llround(seconds * 1e9));
    ++frameNumber;
    return frame;
}

} // namespace camera::video
