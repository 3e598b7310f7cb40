#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace camera::engines {

/**
 * One bit per cell, row by row from the upper left, the first cell in the highest bit: the form
 * of ActiveCells and of MotionInCells, which carry it packed (PackBits) and in base64.
 */
std::string encodeCells(const std::vector<std::uint8_t>& bits);

/// The bytes of such a text, or nothing when it is no base64, no PackBits or unpacks to more than mostBytes.
std::optional<std::vector<std::uint8_t>> decodeCells(const std::string& text, std::size_t mostBytes);

} // namespace camera::engines
