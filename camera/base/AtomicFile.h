#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace camera::base {

/// The whole content of a file; nothing when it cannot be read, and of a folder.
std::optional<std::string> readFile(const std::filesystem::path& file);

/// The same of what is left in a file that is open, in a pipe for instance up to its end.
std::optional<std::string> readFile(int descriptor);

// Each replaces the content of a file: at any moment a reader finds the old or the new content, never a part. False
// when it could not be written; the file then has the old content. Only this user may read the new one.

/// A power cut may leave either content, or none.
bool replaceFile(const std::filesystem::path& file, const std::string& content);

/// When this has returned, a power cut does not lose the new content, unless the folder cannot be synced.
bool replaceFileDurably(const std::filesystem::path& file, const std::string& content);

/// Returns when the file's content, or the names in a folder, would survive a power cut.
/// @throws std::filesystem::filesystem_error
void syncToDisk(const std::filesystem::path& path);

/// Renames within one folder; durable when it returns.
/// @throws std::filesystem::filesystem_error
void renameDurably(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace camera::base
