#include "camera/base/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <sstream>

namespace camera::base {

std::string printable(const std::string& text)
{
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
            line += escaped;
        } else {
            line += character;
        }
    }
    return line;
}

std::string sizeText(std::uintmax_t bytes)
{
    if (bytes < 1000) {
        return std::to_string(bytes) + " bytes";
    }
    if (bytes < 1000000) {
        return decimals(static_cast<double>(bytes) / 1e3, 1) + " kB";
    }
    return decimals(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

std::string decimals(double number, int places)
{
    std::array<char, 400> text{}; // the largest double has 309 digits
    std::snprintf(text.data(), text.size(), "%.*f", places, number);
    return text.data();
}

std::string shortNumber(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

std::string joined(const std::vector<std::string>& words, const std::string& last)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? last : ", ") + words[i];
    }
    return text;
}

std::string trimmed(const std::string& text)
{
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string inSmallLetters(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

bool endsIn(const std::string& path, const std::vector<std::string>& endings)
{
    const std::string ending = inSmallLetters(std::filesystem::path(path).extension().string());
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

std::string utcText(std::int64_t seconds, const char* format)
{
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

} // namespace camera::base
