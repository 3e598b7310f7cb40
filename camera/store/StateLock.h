#pragma once

#include <filesystem>

namespace camera::store {

/// One process at a time works on a state folder: an advisory lock on the file "lock" in it, which
/// holds the owner's process id and is released with the process, however that ends.
class StateLock {
public:
    /**
     * Creates the folder when it is absent.
     *
     * @throws std::runtime_error with one sentence: the folder cannot be created or written, or another
     *         process, named by its id, holds it.
     */
    explicit StateLock(const std::filesystem::path& folder);
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    int _descriptor = -1;
};

} // namespace camera::store
