#include "camera/supervisor/Supervisor.h"

#include "camera/bus/Names.h"
#include "camera/supervisor/SupervisorObject.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <utility>

namespace camera::supervisor {

namespace {

using std::chrono::steady_clock;

constexpr int kImpatient = 128 + SIGINT; // as shells call it

std::string pauseText(std::chrono::milliseconds pause)
{
    if (pause.count() == 0) {
        return "";
    }
    const auto milliseconds = pause.count();
    if (milliseconds < 1000) {
        return " in " + std::to_string(milliseconds) + " ms";
    }
    const std::string tenths = milliseconds % 1000 == 0 ? "" : "." + std::to_string(milliseconds % 1000 / 100);
    return " in " + std::to_string(milliseconds / 1000) + tenths + " s";
}

std::string endText(const Part& part, const Exit& exit)
{
    return part.name() + " ended " + (exit.code() ? "with " : "by ") + exit.text();
}

bool isOutcome(std::optional<int> code)
{
    return code && *code >= 0 && *code <= 2;
}

} // namespace

Supervisor::Supervisor(Options options, Report report, Clock& clock)
    : _options(std::move(options)),
      _report(std::move(report)),
      _clock(clock),
      _wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _bus(
          "dbus-daemon", [this](bool) { return _daemon->start(); }, clock),
      _services(
          "camera-services",
          [this](bool first) {
              return std::make_unique<ChildProcess>(Program{_options.services(*_folder, first), -1, -1});
          },
          clock),
      _pipeline(
          "camera-pipeline",
          [this](bool first) {
              return std::make_unique<ChildProcess>(Program{_options.pipeline(*_folder, first), -1, -1});
          },
          clock),
      _parts{&_bus, &_services, &_pipeline}
{
    if (!_wakeUp) {
        throw std::runtime_error(std::string("the supervisor cannot be woken: ") + std::strerror(errno));
    }
}

Supervisor::~Supervisor() = default;

void Supervisor::stop()
{
    _stopping = true;
    wake();
}

void Supervisor::restartPipeline()
{
    _restartPipeline = true;
    wake();
}

void Supervisor::wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(_wakeUp.get(), &one, sizeof one); // full: it wakes as well
}

SupervisorStatus Supervisor::status() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _published;
}

void Supervisor::publish()
{
    SupervisorStatus status{_folder->stateDir().string(), _folder->address(), {}};
    for (const Part* part : _parts) {
        status.processes.push_back(part->status());
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    _published = std::move(status);
}

int Supervisor::run()
{
    _signals.emplace(); // before any thread starts
    _folder.emplace(_options.stateDir);
    _daemon.emplace(*_folder, _options.busProgram);
    try {
        supervise();
    } catch (...) {
        shutDown();
        _folder.reset();
        _signals.reset();
        throw;
    }
    shutDown();
    _folder.reset();
    _signals.reset();
    return _outcome.value_or(_pipelineCode.value_or(0));
}

void Supervisor::supervise()
{
    startPart(_bus);
    _readyBy = steady_clock::now() + _options.readyWithin;
    while (!_outcome && !_stopping) {
        waitForNews();
        takeSignals();
        takeWakeUps();
        collect();
        if (!_outcome && !_stopping) {
            startDue();
            advance();
        }
    }
}

// Sleeps until a process ended, a signal came, somebody woke it or something is due.
void Supervisor::waitForNews()
{
    std::vector<pollfd> news = {{_signals->descriptor(), POLLIN, 0}, {_wakeUp.get(), POLLIN, 0}};
    for (const Part* part : _parts) {
        if (part->runs()) {
            news.push_back({part->descriptor(), POLLIN, 0});
        }
    }
    if (_phase == Phase::startingBus && _bus.runs()) {
        news.push_back({_daemon->readyDescriptor(), POLLIN, 0});
    }
    ::poll(news.data(), news.size(), pollTimeout(wakeUpTime()));
}

Supervisor::Time Supervisor::wakeUpTime() const
{
    Time wakeUp = _phase == Phase::running ? Time::max() : _readyBy;
    for (const Part* part : _parts) {
        if (part->due()) {
            const auto sleep = std::chrono::ceil<std::chrono::milliseconds>(_clock.sleepUntil(*part->due()));
            wakeUp = std::min<Time>(wakeUp, steady_clock::now() + sleep);
        }
    }
    return wakeUp;
}

void Supervisor::takeSignals()
{
    while (const std::optional<int> number = _signals->take()) {
        // Only Ctrl-C by hand says that somebody cannot wait; programs send SIGTERM more than once.
        _hurry = _hurry || (_stopping && *number == SIGINT);
        _stopping = true;
    }
}

void Supervisor::takeWakeUps()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t length = ::read(_wakeUp.get(), &count, sizeof count);
    if (_restartPipeline.exchange(false) && _pipeline.runs()) {
        _pipelineRestarts = true;
        _pipeline.signal(SIGTERM);
    }
}

void Supervisor::collect()
{
    for (Part* part : _parts) {
        if (const std::optional<Exit> exit = part->takeExit()) {
            publish();
            if (!_stopping) {
                ended(*part, *exit);
            }
        }
    }
}

void Supervisor::ended(Part& part, const Exit& exit)
{
    if (&part == &_bus) {
        return busEnded(exit);
    }
    const bool restarts = &part == &_pipeline && std::exchange(_pipelineRestarts, false);
    if (&part == &_pipeline && isOutcome(exit.code()) && !restarts) {
        _outcome = exit.code(); // it has said itself why
        return;
    }
    const std::string what = endText(part, exit);
    const bool gaveUp = exit.code() == 1 || exit.code() == 2;
    if (&part == &_services && gaveUp && part.startedOnce() && !_servicesAnswer) {
        _report(what + "; the camera ends");
        _outcome = exit.code();
        return;
    }
    startAgain(part, what);
}

void Supervisor::busEnded(const Exit& exit)
{
    const std::string complaint = exit.code() && *exit.code() != 0 ? _daemon->complaint() : "";
    const std::string what = endText(_bus, exit) + (complaint.empty() ? "" : " ('" + complaint + "')");
    if (_phase == Phase::startingBus) {
        throw std::runtime_error(what + " before it listened; the camera needs a working dbus-daemon");
    }
    startAgain(_bus, what);
}

void Supervisor::startAgain(Part& part, const std::string& what)
{
    const std::chrono::milliseconds pause = part.planStart();
    _report(what + "; starting it again" + pauseText(pause));
}

void Supervisor::startDue()
{
    for (Part* part : _parts) {
        if (!part->due() || _clock.now() < *part->due()) {
            continue;
        }
        try {
            startPart(*part);
        } catch (const std::exception& error) {
            startAgain(*part, error.what());
        }
    }
}

void Supervisor::startPart(Part& part)
{
    part.start();
    publish();
}

// From one phase of the start to the next.
void Supervisor::advance()
{
    const bool late = steady_clock::now() >= _readyBy;
    if (_phase == Phase::startingBus) {
        if (_bus.runs() && _daemon->listens()) {
            busListens();
        } else if (late) {
            throw std::runtime_error("dbus-daemon does not listen on '" + _folder->socket().string() +
                                     "' in time; see whether the machine is overloaded");
        }
    } else if (_phase == Phase::startingServices && (_servicesAnswer || late)) {
        if (!_servicesAnswer) {
            _report("camera-services does not answer in time; the camera starts without it");
        }
        _phase = Phase::running;
        startPart(_pipeline);
    }
}

void Supervisor::busListens()
{
    _connection.emplace(_folder->address(), "camera");
    _connection->add<NameWatch>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<NameWatch>(session, bus::busName(bus::service::kServices), [this] {
            _servicesAnswer = true;
            wake();
        });
    });
    _connection->add<SupervisorObject>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<SupervisorObject>(session, SupervisorObject::Operations{[this] { return status(); },
                                                                                        [this] { stop(); },
                                                                                        [this] { restartPipeline(); }});
    });
    if (_options.ready) {
        _connection->add<NameWatch>([this](const std::shared_ptr<bus::Session>& session) {
            return std::make_shared<NameWatch>(session, bus::busName(bus::service::kPipeline),
                                               [this] { _options.ready(_folder->address()); });
        });
    } else {
        _folder->announce();
    }
    _connection->start();
    _phase = Phase::startingServices;
    _readyBy = steady_clock::now() + _options.readyWithin;
    startPart(_services);
}

// In the opposite order of the start, so that each part finds what it needs as long as it runs.
void Supervisor::shutDown()
{
    _stopping = true;
    const Time begin = steady_clock::now();
    const bool pipelineRan = _pipeline.runs();
    endPart(_pipeline, begin + _options.servicesAfter);
    endPart(_services, begin + _options.busAfter);
    if (_connection) {
        _connection->stop();
    }
    endPart(_bus, begin + _options.killAfter);
    for (Part* part : _parts) {
        awaitPart(*part, begin + _options.killAfter); // those that were late; a second signal would cut them short
    }
    for (Part* part : _parts) {
        if (part->runs() && !_hurry) {
            _report(part->name() + " does not end in time and is killed");
        }
        if (part->runs() && part == &_pipeline) {
            _pipelineCode = 1;
        }
        part->signal(SIGKILL);
        while (part->runs()) {
            pollfd news{part->descriptor(), POLLIN, 0};
            ::poll(&news, 1, -1);
            part->takeExit();
        }
    }
    if (_hurry && pipelineRan) {
        _outcome = kImpatient;
    }
}

void Supervisor::endPart(Part& part, Time until)
{
    part.signal(SIGTERM);
    awaitPart(part, until);
}

void Supervisor::awaitPart(Part& part, Time until)
{
    while (part.runs() && !_hurry && steady_clock::now() < until) {
        pollfd news[] = {{part.descriptor(), POLLIN, 0}, {_signals->descriptor(), POLLIN, 0}};
        ::poll(news, 2, pollTimeout(until));
        takeSignals();
        const std::optional<Exit> exit = part.takeExit();
        if (exit && &part == &_pipeline) {
            // One that ends by the signal itself had not come so far as to handle it.
            _pipelineCode = isOutcome(exit->code()) ? *exit->code() : exit->signal() == SIGTERM ? 0 : 1;
        }
    }
}

} // namespace camera::supervisor
