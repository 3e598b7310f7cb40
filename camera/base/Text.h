#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace camera::base {

// Texts for people.

/// A text from files or the network in one line that changes nothing else on a terminal: each control byte is written
/// as an escape.
std::string printable(const std::string& text);

/// A number of bytes: "999 bytes", "1.5 kB".
std::string sizeText(std::uintmax_t bytes);

/// A number with that many decimals.
std::string decimals(double number, int places);

/// A number with as many digits as it needs, at most six: "0.1", "360".
std::string shortNumber(double number);

/// The words with commas between them; last stands between the last two: "a, b or c".
std::string joined(const std::vector<std::string>& words, const std::string& last = ", ");

/// The text without blanks and line ends around it.
std::string trimmed(const std::string& text);

/// The text with small ASCII letters in place of capitals.
std::string inSmallLetters(std::string text);

/// Whether the name of a file ends in one of these, ".jpg" for instance, in small letters or capitals.
bool endsIn(const std::string& path, const std::vector<std::string>& endings);

/// A time in UTC, given in seconds since 1970, in a format of std::strftime: "2024-06-30 12:00:00 UTC" for instance.
inline constexpr char kIsoTime[] = "%Y-%m-%dT%H:%M:%SZ";
std::string utcText(std::int64_t seconds, const char* format = "%Y-%m-%d %H:%M:%S UTC");

} // namespace camera::base
