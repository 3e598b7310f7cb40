#pragma once

#include <string>
#include <vector>

namespace camera::base {

/// The words of a text, which blanks and line ends part; and the words as such a text.
std::vector<std::string> wordsIn(const std::string& text);
std::string spaced(const std::vector<std::string>& words);

} // namespace camera::base
