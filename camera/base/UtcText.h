#pragma once

#include <cstdint>
#include <string>

namespace camera::base {

/// A time in UTC, given in seconds since 1970, in a format of std::strftime: "2024-06-30 12:00:00 UTC" for instance.
std::string utcText(std::int64_t seconds, const char* format = "%Y-%m-%d %H:%M:%S UTC");

} // namespace camera::base
