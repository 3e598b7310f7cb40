#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace camera::kit {

/// Bytes as base64 in one line, padded.
std::string base64Text(const std::vector<std::uint8_t>& bytes);

/// The bytes of such a text, in which blanks and line ends may stand anywhere; nothing when it is no base64.
std::optional<std::vector<std::uint8_t>> base64Bytes(std::string text);

} // namespace camera::kit
