#include "camera/engines/CellMask.h"

#include <algorithm>
#include <string_view>

namespace camera::engines {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kLongestRun = 128;

using Bytes = std::vector<std::uint8_t>;

std::size_t runLength(const Bytes& bytes, std::size_t from)
{
    std::size_t end = from + 1;
    while (end < bytes.size() && end - from < kLongestRun && bytes[end] == bytes[from]) {
        ++end;
    }
    return end - from;
}

Bytes pack(const Bytes& bytes)
{
    Bytes packed;
    std::size_t position = 0;
    while (position < bytes.size()) {
        const std::size_t run = runLength(bytes, position);
        if (run > 1) {
            packed.push_back(static_cast<std::uint8_t>(257 - run));
            packed.push_back(bytes[position]);
            position += run;
            continue;
        }
        std::size_t end = position + 1;
        while (end < bytes.size() && end - position < kLongestRun && runLength(bytes, end) == 1) {
            ++end;
        }
        packed.push_back(static_cast<std::uint8_t>(end - position - 1));
        packed.insert(packed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position),
                      bytes.begin() + static_cast<std::ptrdiff_t>(end));
        position = end;
    }
    return packed;
}

std::optional<Bytes> unpack(const Bytes& packed, std::size_t mostBytes)
{
    Bytes bytes;
    for (std::size_t position = 0; position < packed.size();) {
        const unsigned count = packed[position++];
        if (count == 128) { // the format defines this count as "skip"
            continue;
        }
        const bool literal = count < 128;
        const std::size_t length = literal ? count + 1 : 257 - count;
        if (packed.size() - position < (literal ? length : 1) || length > mostBytes - bytes.size()) {
            return std::nullopt;
        }
        if (literal) {
            bytes.insert(bytes.end(), packed.begin() + static_cast<std::ptrdiff_t>(position),
                         packed.begin() + static_cast<std::ptrdiff_t>(position + length));
            position += length;
        } else {
            bytes.insert(bytes.end(), length, packed[position++]);
        }
    }
    return bytes;
}

std::string toBase64(const Bytes& bytes)
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

std::optional<Bytes> fromBase64(std::string text)
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
    Bytes bytes;
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

} // namespace

std::string encodeCells(const std::vector<std::uint8_t>& bits)
{
    return toBase64(pack(bits));
}

std::optional<std::vector<std::uint8_t>> decodeCells(const std::string& text, std::size_t mostBytes)
{
    const std::optional<Bytes> packed = fromBase64(text);
    return packed ? unpack(*packed, mostBytes) : std::nullopt;
}

} // namespace camera::engines
