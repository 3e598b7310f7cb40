#pragma once

#include "camera/base/Activity.h"
#include "camera/bus/Connection.h"
#include "camera/supervisor/BusDaemon.h"
#include "camera/supervisor/Clock.h"
#include "camera/supervisor/Pings.h"
#include "camera/supervisor/RuntimeFolder.h"
#include "camera/supervisor/SupervisedProcess.h"
#include "camera/supervisor/TerminationSignals.h"
#include "camera/supervisor/Watchdog.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::supervisor {

/// What a Supervisor is built with.
struct SupervisorOptions {
    /// The program and arguments of a process. @param first true until the process has taken what it is given only
    /// once.
    using Words = std::function<std::vector<std::string>(const RuntimeFolder& folder, bool first)>;

    std::filesystem::path stateDir;
    Words services;
    Words pipeline;
    /// As Words, with the descriptors that the process inherits; empty: the camera has no gateway. It gets what it is
    /// given only once until it has answered.
    std::function<Program(const RuntimeFolder& folder, bool first)> gateway;
    std::vector<std::string> onvif; ///< where its clients begin
    /// Called with the bus' address whenever the pipeline begins to serve, on a thread of the supervisor. Without
    /// it others find the camera by its state folder; with it only the caller knows the address.
    std::function<void(const std::string& address)> ready;
    /// With which plug-in it runs, for the report of a crash.
    std::string plugin;
    /// A run that is to end by itself: every crash of the pipeline counts, else those before the first frame.
    bool batch = false;
    /// What the pipeline has read of its input is gone after a crash, so it is not started again.
    bool readOnce = false;
    /// How often a pipeline is started again before the next crash that counts ends the run.
    unsigned int restarts = 2;
    Watchdog::Options watchdog;
    std::string busProgram = "dbus-daemon";
    /// How long to wait for the bus to listen, and then for the services to answer.
    std::chrono::milliseconds readyWithin{5000};
    /// Measured from the beginning of the end: when the services are told to end, when the bus, when all are killed.
    std::chrono::milliseconds servicesAfter{2000};
    std::chrono::milliseconds busAfter{2500};
    std::chrono::milliseconds killAfter{2900};
};

/**
 * Runs one virtual camera: its bus, camera-gateway, camera-services and camera-pipeline, in this order. A process that
 * dies is started again, first at once and then after growing pauses; each such end is reported in one line. One that
 * hangs is told, and killed as Watchdog says.
 *
 * The run ends when the pipeline has said its last word over the bus and ended, when it crashed too often, when
 * camera-gateway or camera-services gives up at its first start (1 or 2), on SIGINT, SIGTERM or SIGHUP, on stop(), or
 * on the service's method "stop". The processes are then ended in the opposite order within three seconds; a process
 * that still runs is killed, at once when a second SIGINT comes. No process and no file of the runtime folder is left.
 */
class Supervisor {
public:
    using Report = std::function<void(const std::string& sentence)>;

    /// @param report  gets each line for people; called on the thread of run().
    /// @param clock   for pauses before restarts; borrowed.
    Supervisor(SupervisorOptions options, Report report, Clock& clock);
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    /**
     * Once per object; its thread must not have others that take the signals above.
     *
     * @return the exit code: the pipeline's, that of a process that gave up, 1 when the pipeline
     *         had to be killed, 130 when a second SIGINT cut the end short.
     * @throws std::runtime_error with one sentence: the state folder is in use, the bus cannot be started.
     */
    int run();

    /// Begins the end. Any thread.
    void stop();

    /// Ends the pipeline and starts it again, as after a crash. Any thread.
    void restartPipeline();

    /// Ends pipeline and services and starts them again. Any thread.
    /// @throws bus::Refusal where what was read of the input is gone.
    void restart();

    /// As restart(); in between the state folder is brought back to what a camera begins with, see FactoryDefault.h,
    /// and they start as at first. A hard one takes the gateway, too. Returns when the folder will be brought back
    /// whatever happens. Any thread. @throws as restart(), and std::runtime_error with one sentence.
    void factoryDefault(bool hard);

    /// The pipeline has taken what only a first start is given. Any thread.
    void pipelineBegun() { _pipelineBegun = true; }

    /// The pipeline's last word before it ends: its exit code. Any thread.
    void pipelineEnds(pid_t pid, int code);

    /// Any thread.
    SupervisorStatus status() const;

private:
    using Time = std::chrono::steady_clock::time_point;

    enum class Phase { startingBus, startingServices, running };
    enum class Renewal { none, restart, softDefault, hardDefault }; ///< one includes what those before it do

    void supervise();
    void waitForEvents();
    Time wakeUpTime() const;
    void takeSignals();
    void takeWakeUps();
    void wake();
    void request(Renewal renewal);
    bool renews(const SupervisedProcess& process) const;
    void beginRenewal();
    void endTheOthers();
    void continueRenewal();
    void startRenewed();
    void collect();
    void ended(SupervisedProcess& process, const Exit& exit);
    bool gaveUp(const SupervisedProcess& process, const Exit& exit) const;
    void busEnded(const Exit& exit);
    void pipelineEnded(const Exit& exit);
    std::optional<int> outcomeOf(const Exit& exit);
    void startAgain(SupervisedProcess& process, const std::string& what);
    void startDue();
    void tryToStart(SupervisedProcess& process);
    void startProcess(SupervisedProcess& process);
    void advance();
    void watch();
    void busListens();
    void publish();

    void shutDown();
    void endProcess(SupervisedProcess& process, Time until);
    void awaitProcess(SupervisedProcess& process, Time until);

    const SupervisorOptions _options;
    const Report _report;
    Clock& _clock;
    base::FileDescriptor _wakeUp;
    std::atomic<bool> _stopping{false};
    std::atomic<bool> _servicesAnswer{false}; ///< since they were started with the pipeline
    std::atomic<bool> _servicesBegun{false};  ///< they have taken what only a first start is given
    std::atomic<bool> _gatewayAnswers{false};
    std::atomic<bool> _restartPipeline{false};
    std::atomic<bool> _pipelineBegun{false};

    std::optional<TerminationSignals> _signals;
    std::optional<RuntimeFolder> _folder;
    std::optional<BusDaemon> _daemon;
    base::Activity _activity; ///< of the pipeline
    std::optional<bus::Connection> _connection;
    std::shared_ptr<bus::CurrentObject<Pings>> _pings;
    Watchdog _watchdog;
    Time _nextLook{};
    SupervisedProcess _bus;
    SupervisedProcess _services;
    SupervisedProcess _pipeline;
    SupervisedProcess _gateway; ///< never started where the camera has none
    const std::vector<SupervisedProcess*> _processes;
    Phase _phase = Phase::startingBus;
    Time _readyBy;
    std::optional<int> _outcome;
    std::optional<int> _pipelineCode; ///< how it ended when it was told to end
    bool _anyFrame = false;           ///< one came through the pipeline
    unsigned int _crashes = 0;        ///< of the pipeline, those that count
    Time _renewedBy;                  ///< what has not ended until then is killed
    bool _pipelineRestarts = false;   ///< it was told to end so that it can be started again
    bool _killAtOnce = false;         ///< a second SIGINT came

    mutable std::mutex _mutex; ///< of what is below
    Renewal _requested = Renewal::none;
    Renewal _renewal =
        Renewal::none; ///< what is being done; only the thread of run() changes it, or reads it without the mutex
    SupervisorStatus _published;
    std::pair<pid_t, int> _lastWord; ///< of the pipeline: which process, and its exit code
};

} // namespace camera::supervisor
