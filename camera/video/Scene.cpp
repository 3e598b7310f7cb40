#include "camera/video/Scene.h"

#include "camera/video/SceneBackground.h"
#include "camera/video/SceneNoise.h"
#include "camera/video/SceneObject.h"
#include "camera/video/Timestamp.h"

#include <cmath>

namespace camera::video {

Scene::Scene(const base::SceneParameters& parameters)
    : _parameters(parameters),
      _background(std::make_unique<SceneBackground>(parameters)),
      _noise(std::make_unique<SceneNoise>(parameters.seed, parameters.noise, parameters.width))
{
    for (int id = 1; id <= _parameters.objects; ++id) {
        _objects.emplace_back(_parameters, id);
    }
    _startNanoseconds = _parameters.startSeconds != 0 ? _parameters.startSeconds * 1000000000 : wallClockNanoseconds();
}

Scene::Scene(const std::string& url) : Scene(base::parseSceneParameters(url))
{
}

Scene::~Scene() = default;

bool Scene::objectsVisible() const
{
    return _frameNumber >= _parameters.enterFrame &&
           (_parameters.leaveFrame == 0 || _frameNumber < _parameters.leaveFrame);
}

double Scene::lightGain() const
{
    const double seconds = static_cast<double>(_frameNumber) / _parameters.framesPerSecond;
    double levels = _parameters.light * std::sin(2 * M_PI * seconds / _parameters.lightPeriodSeconds);
    if (_parameters.switchFrame != 0 && _frameNumber >= _parameters.switchFrame) {
        levels += _parameters.switchLevels;
    }
    return 1 + levels / SceneBackground::kMeanLuma;
}

void Scene::paintObjects(Frame& frame)
{
    _boxes.clear();
    if (!objectsVisible()) {
        return;
    }
    const double seconds = static_cast<double>(_frameNumber) / _parameters.framesPerSecond;
    if (_parameters.shadows) {
        for (const SceneObject& object : _objects) {
            object.paintShadow(frame, seconds);
        }
    }
    for (const SceneObject& object : _objects) {
        _boxes.push_back(object.paint(frame, seconds));
    }
}

std::optional<Frame> Scene::next()
{
    if (_parameters.frames != 0 && _frameNumber >= _parameters.frames) {
        return std::nullopt;
    }
    const double seconds = static_cast<double>(_frameNumber) / _parameters.framesPerSecond;
    Frame frame = _pool.take(_parameters.width, _parameters.height);
    _background->paint(frame, seconds);
    paintObjects(frame);
    _noise->apply(frame, lightGain(), _frameNumber);
    stamp(frame, _startNanoseconds + std::llround(seconds * 1e9));
    ++_frameNumber;
    return frame;
}

} // namespace camera::video
