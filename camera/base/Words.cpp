#include "camera/base/Words.h"

#include <algorithm>

namespace camera::base {

std::vector<std::string> wordsIn(const std::string& text)
{
    constexpr const char* kParting = " \t\r\n";
    std::vector<std::string> words;
    std::size_t begin = text.find_first_not_of(kParting);
    while (begin != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(kParting, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(kParting, end);
    }
    return words;
}

std::string spaced(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

} // namespace camera::base
