// How the supervisor works.
//
// run() starts the bus, then camera-gateway and camera-services, then camera-pipeline. Each start waits until what it
// needs is ready: the daemon writes its address into a pipe, and camera-services takes its bus name (Phase, advance()).
// Nothing waits for the gateway, because its sockets take connections from the beginning.
//
// One thread does everything. It sleeps in poll() on the descriptors of the signals, of the running processes (pidfd),
// of the daemon's pipe and of _wakeUp, an eventfd that other threads write to. Whenever it wakes, it takes the signals,
// collects the processes that ended, and starts those whose pause is over. The bus thread only sets atomic flags and
// writes to _wakeUp.
//
// A process that ended is planned for a new start, unless its end is the end of the camera (ended()). shutDown() then
// ends the processes in the opposite order, each with a deadline, and kills those that are late.
//
// A renewal (restart(), factoryDefault()) ends the pipeline, then the services, changes the state folder while nobody
// works on it, and goes back to the phase that starts the services. Meanwhile the loop goes on.

#include "camera/supervisor/Supervisor.h"

#include "camera/bus/NameWatch.h"
#include "camera/bus/Names.h"
#include "camera/supervisor/FactoryDefault.h"
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

constexpr const char* kBusName = "dbus-daemon";
constexpr const char* kServicesName = "camera-services";
constexpr const char* kPipelineName = "camera-pipeline";
constexpr const char* kGatewayName = "camera-gateway";
constexpr int kInterrupted = 128 + SIGINT; // as shells report it

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

std::string endText(const SupervisedProcess& process, const Exit& exit)
{
    return process.name() + " ended " + (exit.code() ? "with " : "by ") + exit.text();
}

// By which name of the bus a process is asked whether it is there.
std::string busNameOf(const std::string& process)
{
    if (process == kBusName) {
        return "org.freedesktop.DBus";
    }
    return bus::busName(process == kPipelineName   ? bus::service::kPipeline
                        : process == kServicesName ? bus::service::kServices
                                                   : bus::service::kGateway);
}

} // namespace

Supervisor::Supervisor(SupervisorOptions options, Report report, Clock& clock)
    : _options(std::move(options)),
      _report(std::move(report)),
      _clock(clock),
      _wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      _watchdog(_options.watchdog),
      _bus(
          kBusName, [this] { return _daemon->start(); }, clock),
      _services(
          kServicesName,
          [this] { return std::make_unique<ChildProcess>(Program{_options.services(*_folder, !_servicesBegun)}); },
          clock),
      _pipeline(
          kPipelineName,
          [this] {
              _activity.clear();
              return std::make_unique<ChildProcess>(Program{_options.pipeline(*_folder, !_pipelineBegun)});
          },
          clock),
      _gateway(
          kGatewayName, [this] { return std::make_unique<ChildProcess>(_options.gateway(*_folder, !_gatewayAnswers)); },
          clock),
      _processes(_options.gateway ? std::vector{&_bus, &_services, &_pipeline, &_gateway}
                                  : std::vector{&_bus, &_services, &_pipeline})
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

void Supervisor::restart()
{
    request(Renewal::restart);
}

void Supervisor::factoryDefault(bool hard)
{
    request(hard ? Renewal::hardDefault : Renewal::softDefault);
}

void Supervisor::request(Renewal renewal)
{
    if (_options.readOnce) {
        throw bus::Refusal("the camera is not started again, because what it has read of its input is gone");
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (renewal != Renewal::restart && renewal >= std::max(_requested, _renewal)) {
        beginFactoryDefault(_folder->stateDir(), renewal == Renewal::hardDefault);
    }
    _requested = std::max(_requested, renewal);
    wake();
}

void Supervisor::wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(_wakeUp.get(), &one, sizeof one); // a full counter wakes as well
}

void Supervisor::pipelineEnds(pid_t pid, int code)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _lastWord = {pid, code};
}

SupervisorStatus Supervisor::status() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _published;
}

void Supervisor::publish()
{
    SupervisorStatus status{_folder->stateDir().string(), _folder->address(), _options.onvif, {}};
    for (const SupervisedProcess* process : _processes) {
        status.processes.push_back(process->status());
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    _published = std::move(status);
}

int Supervisor::run()
{
    _signals.emplace(); // before any thread starts
    _folder.emplace(_options.stateDir);
    _daemon.emplace(*_folder, _options.busProgram);
    _activity.create(_folder->activity());
    try {
        finishFactoryDefault(_folder->stateDir());
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
    startProcess(_bus);
    _readyBy = steady_clock::now() + _options.readyWithin;
    while (!_outcome && !_stopping) {
        waitForEvents();
        takeSignals();
        takeWakeUps();
        collect();
        if (!_outcome && !_stopping) {
            continueRenewal();
            startDue();
            advance();
            watch();
        }
    }
}

// Sleeps until a process ended, a signal came, another thread called wake(), or a start is due.
void Supervisor::waitForEvents()
{
    std::vector<pollfd> events = {{_signals->descriptor(), POLLIN, 0}, {_wakeUp.get(), POLLIN, 0}};
    for (const SupervisedProcess* process : _processes) {
        if (process->runs()) {
            events.push_back({process->descriptor(), POLLIN, 0});
        }
    }
    if (_phase == Phase::startingBus && _bus.runs()) {
        events.push_back({_daemon->readyDescriptor(), POLLIN, 0});
    }
    ::poll(events.data(), events.size(), pollTimeout(wakeUpTime()));
}

Supervisor::Time Supervisor::wakeUpTime() const
{
    Time wakeUp = _phase == Phase::running ? Time::max() : _readyBy;
    if (_renewal != Renewal::none) {
        wakeUp = _renewedBy;
    }
    if (_pings && _watchdog.watches()) {
        wakeUp = std::min(wakeUp, _nextLook);
    }
    for (const SupervisedProcess* process : _processes) {
        if (process->due()) {
            const auto sleep = std::chrono::ceil<std::chrono::milliseconds>(_clock.sleepUntil(*process->due()));
            wakeUp = std::min<Time>(wakeUp, steady_clock::now() + sleep);
        }
    }
    return wakeUp;
}

void Supervisor::takeSignals()
{
    while (const std::optional<int> number = _signals->take()) {
        // Only SIGINT, because programs send SIGTERM more than once.
        _killAtOnce = _killAtOnce || (_stopping && *number == SIGINT);
        _stopping = true;
    }
}

void Supervisor::takeWakeUps()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t length = ::read(_wakeUp.get(), &count, sizeof count);
    if (_restartPipeline.exchange(false) && _pipeline.runs() && _renewal == Renewal::none) {
        _pipelineRestarts = true;
        _pipeline.tellToEnd();
    }
    if (_renewal == Renewal::none) {
        beginRenewal();
    }
}

bool Supervisor::renews(const SupervisedProcess& process) const
{
    return _renewal != Renewal::none && (&process == &_pipeline || &process == &_services ||
                                         (&process == &_gateway && _renewal == Renewal::hardDefault));
}

void Supervisor::beginRenewal()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _renewal = std::exchange(_requested, Renewal::none);
    }
    if (_renewal == Renewal::none) {
        return;
    }
    const std::string presets = _renewal == Renewal::softDefault ? ", with its presets," : "";
    _report(_renewal == Renewal::restart
                ? "the camera is started again"
                : "the camera goes back to its factory settings" + presets + " and is started again");
    _renewedBy = steady_clock::now() + _options.busAfter;
    _pipelineRestarts = false;
    for (SupervisedProcess* process : _processes) {
        if (renews(*process)) {
            process->cancelStart();
        }
    }
    _pipeline.tellToEnd();
    if (!_pipeline.runs()) {
        endTheOthers();
    }
}

// After the pipeline, which tells the services its last.
void Supervisor::endTheOthers()
{
    for (SupervisedProcess* process : _processes) {
        if (renews(*process) && process != &_pipeline) {
            process->tellToEnd();
        }
    }
}

void Supervisor::continueRenewal()
{
    if (_renewal == Renewal::none) {
        return;
    }
    const bool late = steady_clock::now() >= _renewedBy;
    bool runs = false;
    for (SupervisedProcess* process : _processes) {
        if (renews(*process) && process->runs()) {
            runs = true;
            if (late && (process == &_pipeline || !_pipeline.runs())) {
                _report(process->name() + " does not end in time and is killed");
                process->signal(SIGKILL);
            }
        }
    }
    if (late) {
        _renewedBy = steady_clock::now() + _options.busAfter;
    }
    if (!runs) {
        startRenewed();
    }
}

void Supervisor::startRenewed()
{
    const bool newCamera = _renewal != Renewal::restart;
    try {
        if (newCamera) {
            beginFactoryDefault(_folder->stateDir(), _renewal == Renewal::hardDefault); // of another request, perhaps
            finishFactoryDefault(_folder->stateDir());
        }
    } catch (const std::exception& error) {
        _report(std::string(error.what()) + "; the next start of the camera tries it again");
    }
    const bool withGateway = renews(_gateway) && _options.gateway;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _renewal = Renewal::none;
    }
    _servicesAnswer = false;
    if (newCamera) {
        _servicesBegun = false;
        _pipelineBegun = false;
    }
    _phase = Phase::startingServices;
    _readyBy = steady_clock::now() + _options.readyWithin;
    if (withGateway) {
        _gatewayAnswers = false;
        tryToStart(_gateway);
    }
    tryToStart(_services);
    takeWakeUps(); // what was asked for meanwhile
}

void Supervisor::collect()
{
    for (SupervisedProcess* process : _processes) {
        if (const std::optional<Exit> exit = process->takeExit()) {
            publish();
            if (!_stopping) {
                ended(*process, *exit);
            }
        }
    }
}

void Supervisor::ended(SupervisedProcess& process, const Exit& exit)
{
    if (renews(process)) {
        if (&process == &_pipeline) {
            endTheOthers();
        }
        return;
    }
    if (&process == &_bus) {
        return busEnded(exit);
    }
    if (&process == &_pipeline) {
        return pipelineEnded(exit);
    }
    const std::string what = endText(process, exit);
    if (gaveUp(process, exit)) {
        _report(what + "; the camera ends");
        _outcome = exit.code();
        return;
    }
    startAgain(process, what);
}

// Its first start found what no other start would mend, and the process has printed that.
bool Supervisor::gaveUp(const SupervisedProcess& process, const Exit& exit) const
{
    const bool answered = &process == &_services ? _servicesBegun : _gatewayAnswers;
    return (exit.code() == 1 || exit.code() == 2) && process.startedOnce() && !answered;
}

void Supervisor::pipelineEnded(const Exit& exit)
{
    const std::optional<int> outcome = outcomeOf(exit);
    if (std::exchange(_pipelineRestarts, false)) {
        return startAgain(_pipeline, endText(_pipeline, exit));
    }
    if (outcome) {
        _outcome = outcome; // the pipeline has printed why
        return;
    }
    const std::string what = endText(_pipeline, exit) + _activity.text();
    _anyFrame = _anyFrame || _activity.frames() != 0;
    _crashes += _options.batch || !_anyFrame ? 1 : 0;
    if (_crashes <= _options.restarts || (_anyFrame && !_options.batch)) {
        return startAgain(_pipeline, what);
    }
    const std::string often = _options.batch ? "" : " before the first frame, " + std::to_string(_crashes) + " times";
    _report(what + often + "; the run with the plug-in '" + _options.plugin + "' ends (" +
            (_options.readOnce ? "what was read of the input is gone" : "--restarts N starts the pipeline again") +
            ")");
    _outcome = 1;
}

// The exit code when the pipeline has said that it ends. An exit code alone may be that of an engine which ended the
// process.
std::optional<int> Supervisor::outcomeOf(const Exit& exit)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_lastWord.first != _pipeline.lastPid()) {
        return std::nullopt;
    }
    if (!exit.code()) {
        _report(endText(_pipeline, exit) + " after its run was complete");
    }
    return std::max(_lastWord.second, exit.code().value_or(1));
}

void Supervisor::busEnded(const Exit& exit)
{
    const std::string reason = exit.code() && *exit.code() != 0 ? _daemon->errorText() : "";
    const std::string what = endText(_bus, exit) + (reason.empty() ? "" : " ('" + reason + "')");
    if (_phase == Phase::startingBus) {
        throw std::runtime_error(what + " before it listened; the camera needs a working dbus-daemon");
    }
    startAgain(_bus, what);
}

void Supervisor::startAgain(SupervisedProcess& process, const std::string& what)
{
    const std::chrono::milliseconds pause = process.planStart();
    _report(what + "; starting it again" + pauseText(pause));
}

void Supervisor::startDue()
{
    for (SupervisedProcess* process : _processes) {
        if (!process->due() || _clock.now() < *process->due()) {
            continue;
        }
        tryToStart(*process);
    }
}

void Supervisor::tryToStart(SupervisedProcess& process)
{
    try {
        startProcess(process);
    } catch (const std::exception& error) {
        startAgain(process, error.what());
    }
}

void Supervisor::startProcess(SupervisedProcess& process)
{
    process.start();
    publish();
}

// Goes from one phase of the start to the next.
void Supervisor::advance()
{
    if (_renewal != Renewal::none) {
        return;
    }
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
        startProcess(_pipeline);
    }
}

void Supervisor::watch()
{
    const Time now = steady_clock::now();
    const std::shared_ptr<Pings> pings = _pings ? _pings->get() : nullptr;
    if (!pings || !_watchdog.watches() || now < _nextLook) {
        return;
    }
    _nextLook = now + _watchdog.interval();
    std::vector<Watchdog::Seen> seen;
    for (SupervisedProcess* process : _processes) {
        const bool isPipeline = process == &_pipeline;
        seen.push_back({process->name(), process->status().pid, pings->askedAt(busNameOf(process->name())),
                        isPipeline ? &_activity : nullptr, process == &_bus});
    }
    for (const Watchdog::Finding& finding : _watchdog.look(now, seen)) {
        _report(finding.sentence);
        for (SupervisedProcess* process : _processes) {
            if (finding.kill && process->name() == finding.name) {
                process->signal(SIGKILL);
            }
        }
    }
    pings->ask();
}

void Supervisor::busListens()
{
    _connection.emplace(_folder->address(), "camera");
    const auto whenServed = [this](const char* service, std::function<void()> action) {
        _connection->add<bus::NameWatch>([service, action](const std::shared_ptr<bus::Session>& session) {
            return std::make_shared<bus::NameWatch>(session->connection(), std::vector{bus::busName(service)},
                                                    [action](const std::string& /*name*/, bool owned) {
                                                        if (owned) {
                                                            action();
                                                        }
                                                    });
        });
    };
    whenServed(bus::service::kServices, [this] {
        _servicesAnswer = true;
        _servicesBegun = true;
        wake();
    });
    whenServed(bus::service::kGateway, [this] { _gatewayAnswers = true; });
    _pings = _connection->add<Pings>([this](const std::shared_ptr<bus::Session>& session) {
        std::vector<std::string> names;
        for (const SupervisedProcess* process : _processes) {
            names.push_back(busNameOf(process->name()));
        }
        return std::make_shared<Pings>(session->connection(), names);
    });
    _connection->add<SupervisorObject>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<SupervisorObject>(
            session,
            SupervisorObject::Operations{[this] { return status(); },
                                         [this] {
                                             _activity.announceShutDown();
                                             stop();
                                         },
                                         [this] { restartPipeline(); }, [this] { restart(); },
                                         [this](bool hard) { factoryDefault(hard); }, [this] { pipelineBegun(); },
                                         [this](pid_t pid, int code) { pipelineEnds(pid, code); }});
    });
    if (_options.ready) {
        whenServed(bus::service::kPipeline, [this] { _options.ready(_folder->address()); });
    } else {
        _folder->announce();
        if (!_folder->notice().empty()) {
            _report(_folder->notice());
        }
    }
    _connection->start();
    _phase = Phase::startingServices;
    _readyBy = steady_clock::now() + _options.readyWithin;
    if (_options.gateway) {
        startProcess(_gateway);
    }
    startProcess(_services);
}

// In the opposite order of the start, so that each process finds what it needs as long as it runs.
void Supervisor::shutDown()
{
    _stopping = true;
    const Time begin = steady_clock::now();
    const bool pipelineRan = _pipeline.runs();
    endProcess(_pipeline, begin + _options.servicesAfter);
    _gateway.tellToEnd();
    endProcess(_services, begin + _options.busAfter);
    awaitProcess(_gateway, begin + _options.busAfter);
    if (_connection) {
        _connection->stop();
    }
    endProcess(_bus, begin + _options.killAfter);
    for (SupervisedProcess* process : _processes) {
        awaitProcess(*process, begin + _options.killAfter); // those that were late
    }
    for (SupervisedProcess* process : _processes) {
        if (process->runs() && !_killAtOnce) {
            _report(process->name() + " does not end in time and is killed");
        }
        if (process->runs() && process == &_pipeline) {
            _pipelineCode = 1;
        }
        process->signal(SIGKILL);
        while (process->runs()) {
            pollfd ended{process->descriptor(), POLLIN, 0};
            ::poll(&ended, 1, -1);
            process->takeExit();
        }
    }
    if (_killAtOnce && pipelineRan) {
        _outcome = kInterrupted;
    }
}

void Supervisor::endProcess(SupervisedProcess& process, Time until)
{
    process.tellToEnd();
    awaitProcess(process, until);
}

void Supervisor::awaitProcess(SupervisedProcess& process, Time until)
{
    while (process.runs() && !_killAtOnce && steady_clock::now() < until) {
        pollfd events[] = {{process.descriptor(), POLLIN, 0}, {_signals->descriptor(), POLLIN, 0}};
        ::poll(events, 2, pollTimeout(until));
        takeSignals();
        const std::optional<Exit> exit = process.takeExit();
        if (exit && &process == &_pipeline) {
            // A pipeline that SIGTERM itself ended had not yet begun to handle the signal.
            _pipelineCode = outcomeOf(*exit).value_or(exit->code().value_or(exit->signal() == SIGTERM ? 0 : 1));
        }
    }
}

} // namespace camera::supervisor
