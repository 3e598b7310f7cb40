#include "camera/video/ContinuedSource.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace camera::video {

namespace {

constexpr std::chrono::seconds kShortestPause(1);
constexpr std::chrono::seconds kLongestPause(30);
constexpr std::int64_t kSecond = 1000000000;

} // namespace

ContinuedSource::ContinuedSource(std::string name, Open open, std::function<std::int64_t()> clockStep,
                                 SourceOptions options)
    : _name(std::move(name)),
      _open(std::move(open)),
      _options(std::move(options)),
      _clockStep(std::move(clockStep)),
      _lastTime(_options.notBefore)
{
    try {
        tryToOpen();
    } catch (const std::runtime_error& error) {
        if (!_options.wait || stopped()) {
            throw;
        }
        _reason = error.what();
        waitAndOpen();
    }
    if (!_source) {
        throw std::runtime_error("the run was stopped while it waited for '" + _name + "'.");
    }
    _live = _source->live();
    _size = {_source->width(), _source->height()};
    _framesPerSecond = _source->framesPerSecond();
}

bool ContinuedSource::stopped() const
{
    return _options.stop != nullptr && _options.stop->load();
}

void ContinuedSource::tryToOpen()
{
    _source = _open(_size);
    _shiftKnown = false;
}

std::optional<Frame> ContinuedSource::next()
{
    while (!stopped()) {
        std::optional<Frame> frame = read();
        if (frame) {
            stampLater(*frame);
            return frame;
        }
        if (!_live || !_options.loop || stopped()) {
            return std::nullopt;
        }
        _source.reset();
        waitAndOpen();
    }
    return std::nullopt;
}

// Nothing at the end; of a live source that is waited for also when it fails.
std::optional<Frame> ContinuedSource::read()
{
    try {
        _reason = "'" + _name + "' has ended";
        return _source->next();
    } catch (const std::runtime_error& error) {
        if (!_live || !_options.loop) {
            throw;
        }
        _reason = error.what();
        return std::nullopt;
    }
}

void ContinuedSource::waitAndOpen()
{
    const std::int64_t goneAt = _options.clock.steady();
    _options.tell("waiting for the source: " + _reason);
    _options.gone(true);
    for (auto length = kShortestPause; !_source && !stopped(); length = std::min(2 * length, kLongestPause)) {
        pause(length);
        if (stopped()) {
            return;
        }
        try {
            tryToOpen();
        } catch (const std::runtime_error&) {
            // told once
        }
    }
    if (_source) {
        _beganAgain = true;
        _options.gone(false);
        _options.tell("the source '" + _name + "' is there after " +
                      std::to_string((_options.clock.steady() - goneAt) / kSecond) + " s");
    }
}

// A second at a time, so that who watches sees that time goes on.
void ContinuedSource::pause(std::chrono::seconds length)
{
    for (std::chrono::seconds waited(0); waited < length && !stopped(); ++waited) {
        if (_lastSteady != 0) {
            _options.whileGone(timeByTheClock());
        }
        _options.clock.wait(std::chrono::seconds(1));
    }
}

std::int64_t ContinuedSource::timeByTheClock() const
{
    return _lastTime + (_lastSteady == 0 ? 0 : _options.clock.steady() - _lastSteady);
}

void ContinuedSource::stampLater(Frame& frame)
{
    const std::int64_t time = nanosecondsOf(frame);
    if (!_shiftKnown) {
        _shiftKnown = true;
        std::int64_t earliest = _lastTime == 0 ? 0 : _lastTime + std::llround(kSecond / _framesPerSecond);
        if (_beganAgain && _lastSteady != 0) {
            earliest = std::max(earliest, timeByTheClock()) + _clockStep();
            _shift = earliest - time;
        } else {
            _shift = std::max<std::int64_t>(earliest - time, 0);
        }
    }
    _lastTime = time + _shift;
    _lastSteady = _options.clock.steady();
    stamp(frame, _lastTime);
}

} // namespace camera::video
