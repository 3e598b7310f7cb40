#pragma once

#include <filesystem>

namespace camera::base {

/// Returns when the file's content, or the names in a folder, would survive a power cut.
/// @throws std::filesystem::filesystem_error
void syncToDisk(const std::filesystem::path& path);

/// Renames within one folder; durable when it returns.
/// @throws std::filesystem::filesystem_error
void renameDurably(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace camera::base
