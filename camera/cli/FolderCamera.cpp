#include "camera/cli/FolderCamera.h"

#include "camera/cli/SuperviseCommand.h"

#include <exception>
#include <stdexcept>

namespace camera::cli {

FolderCamera::FolderCamera(const std::filesystem::path& folder, FolderUse use, std::chrono::milliseconds patience,
                           base::Console& console)
    : _copy(use == FolderUse::look ? std::make_unique<store::FolderCopy>(folder) : nullptr),
      _stateDir(_copy ? _copy->path() : folder),
      _supervisor(
          plan(), [&console](const std::string& line) { console.error(line); }, _clock),
      _thread([this] { supervise(); })
{
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_for(lock, patience, [this] { return !_address.empty() || _ended; });
    if (!_address.empty()) {
        return;
    }
    const std::string reason = !_ended            ? "it does not answer in time; --timeout S waits longer"
                               : _failure.empty() ? "its process has told the reason above"
                                                  : _failure;
    lock.unlock();
    end();
    throw std::runtime_error("no camera can be started on the state folder '" + folder.string() + "': " + reason);
}

FolderCamera::~FolderCamera()
{
    end();
}

supervisor::SupervisorOptions FolderCamera::plan()
{
    supervisor::SupervisorOptions plan;
    plan.stateDir = _stateDir;
    plan.services = [](const supervisor::RuntimeFolder& runtime, bool /*first*/) { return servicesProgram(runtime); };
    plan.pipeline = [](const supervisor::RuntimeFolder& runtime, bool /*first*/) {
        std::vector<std::string> words = pipelineProgram(runtime);
        words.insert(words.end(), {"--state=" + runtime.stateDir().string(), "--no-factory", base::kNoInput});
        return words;
    };
    plan.ready = [this](const std::string& address) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _address = address;
        _changed.notify_all();
    };
    return plan;
}

void FolderCamera::supervise()
{
    std::string failure;
    try {
        _supervisor.run();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    _failure = failure;
    _ended = true;
    _changed.notify_all();
}

void FolderCamera::end()
{
    _supervisor.stop();
    if (_thread.joinable()) {
        _thread.join();
    }
}

} // namespace camera::cli
