#pragma once

#include "camera/bus/Connection.h"
#include "camera/supervisor/BusDaemon.h"
#include "camera/supervisor/Clock.h"
#include "camera/supervisor/Part.h"
#include "camera/supervisor/RuntimeFolder.h"
#include "camera/supervisor/TerminationSignals.h"

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

/**
 * Runs one virtual camera: its bus, camera-services and camera-pipeline, in this order. What dies is
 * started again, at once and then after growing pauses; each such end is reported in one line.
 *
 * The run ends when the pipeline ends by itself (exit code 0, 1 or 2), when camera-services gives up at
 * its first start (1 or 2), on SIGINT, SIGTERM or SIGHUP, on stop(), or on the service's method "stop".
 * The processes are then ended in the opposite order within three seconds; what is left is killed, at
 * once when a second SIGINT comes. Nothing of it stays behind.
 */
class Supervisor {
public:
    /// The program and arguments of a process. @param first false for a restart.
    using Words = std::function<std::vector<std::string>(const RuntimeFolder& folder, bool first)>;
    using Report = std::function<void(const std::string& sentence)>;

    struct Options {
        std::filesystem::path stateDir;
        Words services;
        Words pipeline;
        /// Called with the bus' address whenever the pipeline begins to serve, on a thread of this object. Without
        /// it others find the camera by its state folder; with it only who is called knows the address.
        std::function<void(const std::string& address)> ready;
        std::string busProgram = "dbus-daemon";
        /// How long a bus that does not listen is waited for, and then services that do not answer.
        std::chrono::milliseconds readyWithin{5000};
        /// From the beginning of the end: when the services are told, when the bus, when all is killed.
        std::chrono::milliseconds servicesAfter{2000};
        std::chrono::milliseconds busAfter{2500};
        std::chrono::milliseconds killAfter{2900};
    };

    /// @param report  takes each line for people; called on the thread of run().
    /// @param clock   for pauses before restarts; borrowed.
    Supervisor(Options options, Report report, Clock& clock);
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    /**
     * Once per object; its thread must not have others that take the signals above.
     *
     * @return the exit code: the pipeline's, that of camera-services when it gave up, 1 when the pipeline
     *         had to be killed, 130 when somebody could not wait.
     * @throws std::runtime_error with one sentence: the state folder is in use, the bus cannot be started.
     */
    int run();

    /// Begins the end. Any thread.
    void stop();

    /// Ends the pipeline and starts it again, as after a crash. Any thread.
    void restartPipeline();

    /// Any thread.
    SupervisorStatus status() const;

private:
    using Time = std::chrono::steady_clock::time_point;

    enum class Phase { startingBus, startingServices, running };

    void supervise();
    void waitForNews();
    Time wakeUpTime() const;
    void takeSignals();
    void takeWakeUps();
    void wake();
    void collect();
    void ended(Part& part, const Exit& exit);
    void busEnded(const Exit& exit);
    void startAgain(Part& part, const std::string& what);
    void startDue();
    void startPart(Part& part);
    void advance();
    void busListens();
    void publish();

    void shutDown();
    void endPart(Part& part, Time until);
    void awaitPart(Part& part, Time until);

    const Options _options;
    const Report _report;
    Clock& _clock;
    base::FileDescriptor _wakeUp;
    std::atomic<bool> _stopping{false};
    std::atomic<bool> _servicesAnswer{false};
    std::atomic<bool> _restartPipeline{false};

    std::optional<TerminationSignals> _signals;
    std::optional<RuntimeFolder> _folder;
    std::optional<BusDaemon> _daemon;
    std::optional<bus::Connection> _connection;
    Part _bus;
    Part _services;
    Part _pipeline;
    const std::vector<Part*> _parts;
    Phase _phase = Phase::startingBus;
    Time _readyBy;
    std::optional<int> _outcome;
    std::optional<int> _pipelineCode; ///< of its own end after it was told to
    bool _pipelineRestarts = false;   ///< it was told to end for a new start
    bool _hurry = false;

    mutable std::mutex _mutex; ///< what status() needs
    SupervisorStatus _published;
};

} // namespace camera::supervisor
