#pragma once

#include <string>
#include <vector>

namespace camera::base {

/// Whether a text may stand in a message: UTF-8 (no surrogates, nothing overlong, at most U+10FFFF),
/// no code point that is not a character (such as U+FFFF), and no NUL byte.
bool isSendable(const std::string& text);

/// text, with U+FFFD in place of each byte that cannot be sent. The library refuses a whole message for one such byte.
std::string sendable(std::string text);
std::vector<std::string> sendable(std::vector<std::string> texts);

/// The characters of a text; U+FFFD for each byte that cannot be sent.
std::u32string codePoints(const std::string& text);

} // namespace camera::base
