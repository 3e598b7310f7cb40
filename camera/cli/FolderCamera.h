#pragma once

#include "camera/base/Console.h"
#include "camera/cli/Command.h"
#include "camera/store/FolderCopy.h"
#include "camera/supervisor/Supervisor.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace camera::cli {

/**
 * A camera without frames that is started on a state folder for one command, and ends with the object. It has the
 * processes that camera run starts. A command that changes nothing gets a copy of the folder.
 *
 * While it exists, a signal that ends a program ends the camera first; the command then fails.
 */
class FolderCamera {
public:
    /// Returns when the camera answers. @throws std::runtime_error with one sentence: there is no such folder, or the
    /// camera does not start, of which its processes have printed the reason.
    FolderCamera(const std::filesystem::path& folder, FolderUse use, std::chrono::milliseconds patience,
                 base::Console& console);
    ~FolderCamera();
    FolderCamera(const FolderCamera&) = delete;
    FolderCamera& operator=(const FolderCamera&) = delete;

    const std::filesystem::path& stateDir() const { return _stateDir; }
    const std::string& address() const { return _address; }

private:
    supervisor::SupervisorOptions plan();
    void supervise();
    void end();

    const std::unique_ptr<store::FolderCopy> _copy;
    const std::filesystem::path _stateDir;
    const supervisor::TerminationSignals _signals; ///< no thread of the program gets them but the supervisor's
    supervisor::Clock _clock;
    supervisor::Supervisor _supervisor;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::string _address; ///< empty: the pipeline has not answered yet
    std::string _failure;
    bool _ended = false;
    std::thread _thread;
};

} // namespace camera::cli
