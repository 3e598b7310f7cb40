#include "camera/base/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace camera::base {

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The character of so many bytes.
char32_t decoded(const unsigned char* text, std::size_t length)
{
    char32_t code = length == 1 ? text[0] : text[0] & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        code = code << 6U | (text[i] & 0x3FU);
    }
    return code;
}

// The length in bytes of the character at the beginning of the range; 0 when it is not a character.
std::size_t characterBytes(const unsigned char* text, std::size_t available)
{
    const unsigned char first = text[0];
    if (first < 0x80) {
        return first == 0 ? 0 : 1;
    }
    const std::size_t length = first >= 0xC2 && first <= 0xDF ? 2 : (first & 0xF0) == 0xE0 ? 3 : 4;
    if (first < 0xC2 || first > 0xF4 || length > available) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) {
            return 0;
        }
    }
    // The second byte's range excludes overlong forms, surrogates and code points above U+10FFFF.
    const unsigned char second = text[1];
    const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    // The bus also refuses code points that are not characters: U+FDD0 to U+FDEF, and the last two of each plane.
    const char32_t code = decoded(text, length);
    const bool noCharacter = (code >= 0xFDD0 && code <= 0xFDEF) || (code & 0xFFFEU) == 0xFFFE;
    return wrong || noCharacter ? 0 : length;
}

std::size_t firstUnsendable(const std::string& text, std::size_t from = 0)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    while (from < text.size()) {
        const std::size_t length = characterBytes(bytes + from, text.size() - from);
        if (length == 0) {
            return from;
        }
        from += length;
    }
    return std::string::npos;
}

} // namespace

bool isSendable(const std::string& text)
{
    return firstUnsendable(text) == std::string::npos;
}

std::string sendable(std::string text)
{
    std::size_t at = firstUnsendable(text);
    if (at == std::string::npos) {
        return text;
    }
    std::string result;
    result.reserve(text.size() + 16);
    std::size_t copied = 0;
    for (; at != std::string::npos; at = firstUnsendable(text, copied)) {
        result.append(text, copied, at - copied).append(kReplacement);
        copied = at + 1;
    }
    return result.append(text, copied, std::string::npos);
}

std::vector<std::string> sendable(std::vector<std::string> texts)
{
    for (std::string& text : texts) {
        text = sendable(std::move(text));
    }
    return texts;
}

std::u32string codePoints(const std::string& text)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::u32string characters;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterBytes(bytes + at, text.size() - at);
        characters += length == 0 ? U'\uFFFD' : decoded(bytes + at, length);
        at += std::max<std::size_t>(length, 1);
    }
    return characters;
}

} // namespace camera::base
