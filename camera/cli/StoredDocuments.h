#pragma once

#include "camera/base/Console.h"

#include <filesystem>

namespace camera::cli {

/// Lists the stored analytics documents, newest first. @throws std::runtime_error with one sentence.
void printHistory(const std::filesystem::path& stateDir, base::Console& console);

/// Makes one of them the newest. @throws std::runtime_error with one sentence.
void restoreDocument(const std::filesystem::path& stateDir, long long sequence, base::Console& console);

} // namespace camera::cli
