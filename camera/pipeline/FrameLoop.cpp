#include "camera/pipeline/FrameLoop.h"

#include "camera/video/Timestamp.h"
#include "camera/video/TurnedFrame.h"

#include <utility>

namespace camera::pipeline {

namespace {

constexpr std::chrono::milliseconds kStatusInterval(200);
constexpr std::chrono::seconds kKeepTimeInterval(5);

} // namespace

FrameLoop::FrameLoop(Options options, std::optional<video::View> view, Steps steps, RunReport& report)
    : _options(options), _view(std::move(view)), _steps(std::move(steps)), _report(report), _lastKeptTime(_steps.now())
{
}

void FrameLoop::run()
{
    long long delivered = 0;
    while (_steps.mayContinue() && (_options.frames == 0 || delivered < _options.frames)) {
        const std::optional<video::Frame> frame = _steps.read();
        if (!frame) {
            return;
        }
        if (_options.live) {
            _steps.waitUntilDue(video::nanosecondsOf(*frame));
        }
        if (!_steps.mayContinue()) {
            return;
        }
        process(*frame);
        ++delivered;
        callRegularSteps();
    }
}

void FrameLoop::process(const video::Frame& frame)
{
    const std::int64_t time = video::nanosecondsOf(frame);
    moveCamera(time);
    _report.time(time);
    const video::Frame upright = seenByCamera(frame);
    const video::Frame turned = video::turnedForDelivery(upright, _steps.orientation(), _turnedFrames);
    const Clock::time_point begin = _steps.now();
    const FrameResult result = _steps.deliver(turned);
    _report.frame(result.analysed, _steps.now() - begin);
    _lastFrameTime = time;
    const video::Drawing drawing = video::readDrawing(result.outputs.drawing, result.outputs.drawingBytes);
    if (result) {
        _report.drawing(drawing);
    }
    if (_steps.draw) {
        _steps.draw(upright, drawing);
    }
}

// The first frame finds the camera where it was placed.
void FrameLoop::moveCamera(std::int64_t frameTime)
{
    if (!_options.live && _lastFrameTime != 0) {
        _steps.advanceCamera(std::chrono::nanoseconds(frameTime - _lastFrameTime));
        _steps.drainControl(); // what the camera announced is true for this frame
    }
}

video::Frame FrameLoop::seenByCamera(const video::Frame& frame)
{
    if (!_view) {
        return frame;
    }
    const ViewDirection direction = _steps.direction();
    return _view->of(frame, direction.position, direction.angleOfView);
}

void FrameLoop::callRegularSteps()
{
    const Clock::time_point now = _steps.now();
    if (now - _lastStatus >= kStatusInterval) {
        _lastStatus = now;
        _steps.showStatus();
    }
    if (now - _lastKeptTime >= kKeepTimeInterval) {
        _lastKeptTime = now;
        _steps.keepTime(_lastFrameTime);
    }
}

} // namespace camera::pipeline
