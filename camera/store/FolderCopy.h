#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/store/StateFolder.h"

#include <filesystem>

namespace camera::store {

/**
 * A copy of a state folder, in a temporary folder that is removed with the object.
 *
 * Nothing in the folder itself changes, not even a time stamp, so the folder may be read-only or in use.
 * The copy is made under the folder's locks when they exist and are free. Otherwise it is repeated until no file has
 * changed while it was made.
 */
class FolderCopy {
public:
    /// @throws std::runtime_error with one sentence: there is no such folder, a file cannot be read, the disk is full.
    explicit FolderCopy(const std::filesystem::path& folder);

    const std::filesystem::path& path() const { return _copy.path(); }

private:
    const StateFolder _copy;
};

} // namespace camera::store
