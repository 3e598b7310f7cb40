#pragma once

#include <cctype>
#include <cstddef>
#include <string>

namespace kit {

/// The name of one row of a table of tests: its number, and the letters and digits of its text.
inline std::string rowName(std::size_t number, const std::string& text)
{
    constexpr std::size_t kLongest = 60;
    std::string name = std::to_string(number) + '_';
    for (const char character : text.substr(0, kLongest)) {
        const bool plain = static_cast<unsigned char>(character) < 0x80 && std::isalnum(character) != 0;
        if (plain || name.back() != '_') {
            name += plain ? character : '_';
        }
    }
    return name;
}

} // namespace kit
