#pragma once

#include <string>

namespace camera::base {

/// A text from files or the network in one line that changes nothing else on a terminal: each control byte is written
/// as an escape.
std::string printable(const std::string& text);

} // namespace camera::base
