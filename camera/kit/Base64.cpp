#include "camera/kit/Base64.h"

#include <algorithm>
#include <string_view>

namespace camera::kit {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::string base64Text(const std::vector<std::uint8_t>& bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            word = word << 8 | (k < count ? bytes[i + k] : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? kAlphabet[word >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> base64Bytes(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }),
               text.end());
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
        ++padding;
    }
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t value = i < text.size() - padding ? kAlphabet.find(text[i]) : 0;
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        word = word << 6 | static_cast<std::uint32_t>(value);
        if (i % 4 == 3) {
            for (unsigned shift : {16U, 8U, 0U}) {
                bytes.push_back(static_cast<std::uint8_t>(word >> shift));
            }
        }
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

} // namespace camera::kit
