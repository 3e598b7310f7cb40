#pragma once

#include "camera/base/FileDescriptor.h"

#include <filesystem>

namespace camera::store {

/// One process at a time works on a state folder: an advisory lock on the file "lock" in it, which
/// holds the owner's process id and is released when the process ends, also when it is killed. A process that it
/// forks does not keep it.
class StateLock {
public:
    /**
     * Creates the folder when it is absent. The folder is this user's own afterwards, see takeFolder().
     *
     * @throws std::runtime_error with one sentence: the folder cannot be created or written, belongs to
     *         another user, or another process, named by its id, holds it.
     */
    explicit StateLock(const std::filesystem::path& folder);
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    /// The file stays when it is closed: removing it would let two processes lock two files of one name.
    base::FileDescriptor _descriptor;
};

} // namespace camera::store
