#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/// Cuts an input at every line that begins with a percent sign; the sign and the line end before it are in no
/// record. At most kMostRecords are made: the last one keeps the rest.
std::vector<std::string> splitRecords(const std::uint8_t* data, std::size_t size);

inline constexpr std::size_t kMostRecords = 24;

} // namespace fuzz
