#pragma once

namespace camera::base {

/// The least important lines that are still written; the values are the priorities of the log calls.
enum class LogLevel { silent = -1, error = 3, info = 6, debug = 7 };

} // namespace camera::base
