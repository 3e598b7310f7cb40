#pragma once

#include <string_view>

namespace fuzz {

/// Ends the process with a line that says what does not hold; the fuzzer keeps the input.
void check(bool holds, std::string_view what);

/// As check, for what two texts must share; prints both.
void checkSame(std::string_view expected, std::string_view found, std::string_view what);

} // namespace fuzz
