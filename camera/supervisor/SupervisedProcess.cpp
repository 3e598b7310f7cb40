#include "camera/supervisor/SupervisedProcess.h"

#include <csignal>
#include <ctime>
#include <utility>

namespace camera::supervisor {

SupervisedProcess::SupervisedProcess(std::string name, Start start, Clock& clock)
    : _start(std::move(start)), _clock(clock)
{
    _status.name = std::move(name);
}

void SupervisedProcess::start()
{
    _due.reset();
    _startedAt = _clock.now();
    ++_starts;
    _toldToEnd = false;
    _status.restarts = _starts - 1;
    _process = _start();
    _status.pid = _process->pid();
    _lastPid = _status.pid;
    _status.since = std::time(nullptr);
}

void SupervisedProcess::signal(int number)
{
    if (_process) {
        _process->signal(number);
    }
}

void SupervisedProcess::tellToEnd()
{
    if (!std::exchange(_toldToEnd, true)) {
        signal(SIGTERM);
    }
}

std::optional<Exit> SupervisedProcess::takeExit()
{
    const std::optional<Exit> exit = _process ? _process->exit() : std::nullopt;
    if (exit) {
        _process.reset();
        _status.pid = 0;
        _status.lastExit = exit->text();
    }
    return exit;
}

std::chrono::milliseconds SupervisedProcess::planStart()
{
    const Clock::TimePoint now = _clock.now();
    const std::chrono::milliseconds pause = _backOff.pauseAfter(now - _startedAt);
    _due = now + pause;
    return pause;
}

} // namespace camera::supervisor
