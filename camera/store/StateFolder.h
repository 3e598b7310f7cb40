#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace camera::store {

/// Where a camera keeps its settings: the folder named, or a temporary one that is removed with the object.
class StateFolder {
public:
    /// @param folder empty: a temporary folder. @throws std::runtime_error when that cannot be made.
    explicit StateFolder(const std::string& folder);
    ~StateFolder();
    StateFolder(const StateFolder&) = delete;
    StateFolder& operator=(const StateFolder&) = delete;

    const std::filesystem::path& path() const { return _folder; }
    bool kept() const { return !_temporary; }

    /// The time of the last frame of the previous run, in nanoseconds since 1970; 0: unknown. A run at full speed ends
    /// ahead of the wall clock; the next run continues from that time.
    std::int64_t lastFrameTime() const;

    /// @throws std::runtime_error with one sentence when it cannot be written.
    void keepLastFrameTime(std::int64_t nanoseconds) const;

private:
    std::filesystem::path _folder;
    bool _temporary;
};

} // namespace camera::store
