#pragma once

#include <cstdint>
#include <string>

namespace camera::base {

/// A number of bytes for people: "999 bytes", "1.5 kB".
std::string sizeText(std::uintmax_t bytes);

} // namespace camera::base
