#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/store/StateFolder.h"

#include <filesystem>

namespace camera::store {

/**
 * A copy of a state folder, in a temporary folder that goes with the object.
 *
 * Nothing in the folder itself changes, no time stamp either, so a folder that is read-only or in use can be looked at.
 * The copy is made under the folder's locks where they exist and are free. Where they are not, it is made again
 * as long as a file changes meanwhile.
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
