#pragma once

#include "camera/base/FileDescriptor.h"

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace camera::supervisor {

/// A camera that runs for this user, as its runtime folder tells.
struct RunningCamera {
    std::filesystem::path stateDir;
    std::string address; ///< of its bus
    std::string pid;     ///< of the process that runs it
    uid_t user = 0;
};

/// The folders below which users have theirs; tests name others.
struct RuntimeRoots {
    std::filesystem::path users = "/run/user";
    std::filesystem::path temporary = "/tmp";
    std::filesystem::path services = "/run/virtual-camera"; ///< below which each system service has its own
};

/**
 * Where a running camera's bus lives: <hash of the state folder> in the user's folder of running cameras, which is
 * $XDG_RUNTIME_DIR/virtual-camera, else /run/user/UID/virtual-camera, else /tmp/virtual-camera-UID. When that folder
 * can be used by others, <state folder>/run. The file "runtime" in the state folder names the place.
 *
 * It holds the files "bus" (the daemon's socket), "address", "state" (the state folder), "pid", "bus.conf",
 * "activity" and "counts". The object holds the lock on the file "supervisor.lock" and takes everything away with
 * itself; what a killed run left is taken away by the next one, which finds the lock free.
 */
class RuntimeFolder {
public:
    /// Makes state folder and runtime folder, the latter for this user only, and locks it.
    /// @throws std::runtime_error with one sentence: who holds the state folder, or what cannot be made.
    explicit RuntimeFolder(const std::filesystem::path& stateDir, const RuntimeRoots& roots = {});
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    const std::filesystem::path& stateDir() const { return _stateDir; }
    std::filesystem::path socket() const { return _path / "bus"; }
    std::filesystem::path configuration() const { return _path / "bus.conf"; }
    std::filesystem::path activity() const { return _path / "activity"; } ///< of the pipeline, see base::Activity
    std::filesystem::path counts() const { return _path / "counts"; }     ///< what its processes leave to each other

    /// The bus' address, as its clients take it.
    std::string address() const;

    /// One sentence when the camera is found by its state folder alone; else empty.
    const std::string& notice() const { return _notice; }

    /// Lets others find the camera. Call it when the bus listens.
    void announce() const;

    /// The address of the bus of the camera that runs on this state folder, if one does.
    static std::optional<std::string> find(const std::filesystem::path& stateDir, const RuntimeRoots& roots = {});

    /// Every camera that runs for this user, ordered by its state folder.
    static std::vector<RunningCamera> running(const RuntimeRoots& roots = {});

    /// Those of other users too, as far as this user may look.
    static std::vector<RunningCamera> runningOfAllUsers(const RuntimeRoots& roots = {});

private:
    [[noreturn]] void refuseInUse(const std::filesystem::path& place) const;
    void lock();
    void removeFiles() const;

    std::filesystem::path _stateDir;
    std::filesystem::path _path;
    std::string _notice;
    base::FileDescriptor _lock;
};

} // namespace camera::supervisor
