#pragma once

#include "camera/pipeline/FrameResult.h"
#include "camera/pipeline/RunReport.h"
#include "camera/ptz/Position.h"
#include "camera/video/Drawing.h"
#include "camera/video/FramePool.h"
#include "camera/video/View.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace camera::pipeline {

/// Where the camera looks, and how much it sees.
struct ViewDirection {
    ptz::Position position;
    unsigned int angleOfView = 0; ///< horizontal, in thousandths of a degree
};

/**
 * The way of the frames of one run through the camera. Each is read, waited for, and delivered as the camera sees it at
 * the frame's time; then what the engines wrote for it is drawn.
 *
 * A live run delivers a frame no earlier than it is due, and a clock moves the camera, also while no frame comes. At
 * full speed nothing is waited for, and each frame moves the camera by the time since the one before.
 *
 * Thread: run() on the frame thread.
 */
class FrameLoop {
public:
    using Clock = std::chrono::steady_clock;

    /// What the loop calls, on the thread of run(). An exception of any of them ends the run.
    struct Steps {
        std::function<bool()>
            mayContinue; ///< false: the run was stopped; asked before a frame is read and after it is due
        std::function<std::optional<video::Frame>()> read;          ///< nothing: the input has ended
        std::function<void(std::int64_t nanoseconds)> waitUntilDue; ///< in a live run only

        // At full speed only. What the camera announces when it moves is told on the control thread.
        std::function<void(std::chrono::nanoseconds)> advanceCamera;
        std::function<void()> drainControl; ///< returns when it is told

        std::function<ViewDirection()> direction; ///< asked where there is a view
        std::function<int()> orientation;         ///< how the camera is mounted, in degrees
        std::function<FrameResult(const video::Frame&)> deliver;

        /// @param upright the frame as the engines saw it; empty: nothing is drawn.
        std::function<void(const video::Frame& upright, const video::Drawing&)> draw;
        std::function<void()> showStatus;                       ///< five times a second at most
        std::function<void(std::int64_t nanoseconds)> keepTime; ///< the last frame's, every five seconds
        std::function<Clock::time_point()> now = [] { return Clock::now(); };
    };

    struct Options {
        bool live = true;
        long long frames = 0; ///< ends after so many; 0: with the input
    };

    /// @param view what the plug-in gets of each frame; without: the whole.
    /// @param report borrowed; told about each frame.
    FrameLoop(Options options, std::optional<video::View> view, Steps steps, RunReport& report);

    /// Returns when the run was stopped, the input has ended or the frames asked for are delivered.
    /// @throws what a step throws.
    void run();

    /// Of the last frame that was delivered, nanoseconds since 1970; 0: there was none.
    std::int64_t lastFrameTime() const { return _lastFrameTime; }

private:
    void process(const video::Frame& frame);
    void moveCamera(std::int64_t frameTime);
    video::Frame seenByCamera(const video::Frame& frame);
    void callRegularSteps();

    const Options _options;
    std::optional<video::View> _view;
    const Steps _steps;
    RunReport& _report;
    video::FramePool _turnedFrames;
    std::int64_t _lastFrameTime = 0;
    Clock::time_point _lastStatus;
    Clock::time_point _lastKeptTime;
};

} // namespace camera::pipeline
