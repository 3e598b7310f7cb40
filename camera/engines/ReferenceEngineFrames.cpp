#include "camera/engines/ReferenceEngine.h"

#include <algorithm>

namespace camera::engines {

namespace {

std::int64_t nanoseconds(const analytics_lib::YuvFrame& frame)
{
    return std::int64_t{frame.timestamp[0]} * kNanosecondsPerSecond + frame.timestamp[1];
}

} // namespace

bool ReferenceEngine::onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    outputs.drawingBufferUsed = 0;
    try {
        Moment moment{frame, blankedNow(), nanoseconds(frame), {frame.timestamp[0], frame.timestamp[1]}};
        takeOrders();
        replay(moment);
        if (!ForegroundModel::usable(moment.frame)) {
            return false;
        }
        record(moment);
        analyse(moment, outputs);
        return true;
    } catch (const std::exception& error) {
        failed("a frame was not analysed: ", error.what());
    } catch (...) {
        failed("a frame was not analysed: ", "an event handler failed");
    }
    return false;
}

void ReferenceEngine::analyse(const Moment& moment, MetadataBuffers& outputs)
{
    const Program program = active();
    if (!program) {
        _model.forgetIfOlderThan(moment.time);
        return;
    }
    program->observe(_model.update(moment.frame, moment.time, program->sensitivity(), moment.blanked));
    judge(program, moment.utc);
    program->report(moment.utc, outputs);
}

void ReferenceEngine::judge(const Program& program, const UtcTime& time)
{
    const std::unique_lock gate(_gate, std::try_to_lock);
    if (gate.owns_lock() && active() == program) {
        _lastTime = time;
        program->judge(_handler, time);
    }
}

std::optional<analytics_lib::ColorYuv> ReferenceEngine::blankedNow() const
{
    const std::uint32_t packed = _blanking;
    if (packed == 0) {
        return std::nullopt;
    }
    analytics_lib::ColorYuv colour;
    colour.y = static_cast<std::uint8_t>(packed >> 16);
    colour.u = static_cast<std::uint8_t>(packed >> 8);
    colour.v = static_cast<std::uint8_t>(packed);
    return colour;
}

/// What the control thread asked for since the last frame.
void ReferenceEngine::takeOrders()
{
    if (_forget.exchange(false)) {
        _model.forget();
        forgetObjects();
    }
    const std::lock_guard hand(_hand);
    if (_endRecording) {
        _recording = std::move(_newRecording);
        _recordingBegun = false;
        _endRecording = false;
    }
    if (_newReplay) {
        _replay = std::move(_newReplay);
        _replayBegun = false;
    }
}

/// A recording and its replay start from the same state: no background, no alarm. False while the control
/// thread holds the gate; the next frame tries again.
bool ReferenceEngine::restart(const UtcTime& time, std::uint32_t nextId)
{
    const std::unique_lock gate(_gate, std::try_to_lock);
    if (!gate.owns_lock()) {
        return false;
    }
    if (const Program program = active()) {
        program->endAlarms(_handler, time);
    }
    _model.forget();
    forgetObjects();
    setNextObject(nextId);
    return true;
}

void ReferenceEngine::replay(Moment& moment)
{
    if (!_replay) {
        return;
    }
    try {
        if (!_replayBegun) {
            _objectAfterReplay = nextObject();
            if (_replay->fresh() && !restart(moment.utc, _replay->firstObject())) {
                return;
            }
        }
        if (const std::optional<kit::RecordedFrame> recorded = _replay->next()) {
            const std::int64_t recordedTime = nanoseconds(recorded->frame);
            // Recorded times are shifted so that they continue the live ones: only their differences count.
            _replayShift = _replayBegun ? _replayShift : moment.time - recordedTime;
            _replayBegun = true;
            moment.frame = recorded->frame;
            moment.blanked = recorded->blanked;
            moment.time = recordedTime + _replayShift;
            return;
        }
    } catch (const std::exception& error) {
        failed("", error.what());
    }
    _replay.reset();
    if (!restart(moment.utc, std::max(_objectAfterReplay, nextObject()))) {
        _forget = true;
    }
}

void ReferenceEngine::record(const Moment& moment)
{
    if (!_recording) {
        return;
    }
    try {
        if (!_recordingBegun) {
            if (!restart(moment.utc, nextObject())) {
                return;
            }
            _recording->begin(nextObject());
            _recordingBegun = true;
        }
        _recording->add(moment.frame, moment.blanked);
        if (!_recording->full()) {
            return;
        }
    } catch (const std::exception& error) {
        failed("", error.what());
    }
    _recording.reset();
}

/// One line about what went wrong on the frame thread; a log that fails too changes nothing.
void ReferenceEngine::failed(const char* what, const char* reason) noexcept
{
    try {
        _log.error(std::string(what) + reason);
    } catch (...) {
        return;
    }
}

} // namespace camera::engines
