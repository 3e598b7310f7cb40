#pragma once

#include "camera/base/FileDescriptor.h"

#include <filesystem>
#include <string>

namespace camera::store {

// What a camera keeps is its user's own: another user can neither read it nor prepare a place where it overwrites a
// file of this user. The modes do not depend on the umask.

/// Makes the folder with its parents where there is none; nobody else may enter it afterwards.
/// @throws std::runtime_error with the reason: it cannot be made, or it belongs to another user.
void takeFolder(const std::filesystem::path& folder);

/// Opens a file for reading and writing and makes it where there is none; nobody else may read it afterwards. No link
/// is followed. @throws std::runtime_error with the reason, also when it is no regular file of this user.
base::FileDescriptor takeFile(const std::filesystem::path& file);

/// Moves a file, and with it the other files of a database, to a name beside it that is not taken.
/// @return that name; empty when there was nothing to move.
std::filesystem::path setAside(const std::filesystem::path& file);

/// Removes a database with all its files.
void removeDatabase(const std::filesystem::path& file);

} // namespace camera::store
