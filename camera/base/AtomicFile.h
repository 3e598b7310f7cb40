#pragma once

#include <filesystem>
#include <string>

namespace camera::base {

// Each replaces the content of a file: a reader finds the old or the new content at any moment, never a part. False
// when it could not be written; the old content is then still there.

/// A power cut may leave either content, or none.
bool replaceFile(const std::filesystem::path& file, const std::string& content);

/// The new content is there after a power cut too, once this has returned.
bool replaceFileDurably(const std::filesystem::path& file, const std::string& content);

} // namespace camera::base
