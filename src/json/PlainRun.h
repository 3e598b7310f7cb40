#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace json {

/// A byte that stands in a written string as it is, whatever stands beside it: ASCII from the blank
/// up without the quotation mark and the backslash.
constexpr bool isPlain(char byte)
{
    return byte >= ' ' && static_cast<unsigned char>(byte) < 0x80 && byte != '"' && byte != '\\';
}

/// Counts the plain bytes at a place byte by byte.
inline std::size_t countPlain(const char* from, std::size_t limit)
{
    std::size_t count = 0;
    while (count < limit && isPlain(from[count])) {
        ++count;
    }
    return count;
}

/// The bytes that are judged at once.
inline constexpr std::size_t kBlockBytes = 16;

/**
 * Copies kBlockBytes bytes and marks those that are not plain: one bit for each byte, four bits apart, the first
 * byte lowest.
 *
 * Written in the compiler's vectors, which become the machine's own instructions on every architecture.
 */
inline std::uint64_t copyBlock(const char* from, char* to)
{
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte's mark would not be the lowest");
    using Bytes = signed char __attribute__((vector_size(kBlockBytes)));
    using Pairs = std::uint16_t __attribute__((vector_size(kBlockBytes)));
    using Halves = std::uint8_t __attribute__((vector_size(kBlockBytes / 2)));

    Bytes bytes;
    std::memcpy(&bytes, from, kBlockBytes);
    std::memcpy(to, &bytes, kBlockBytes);
    // Signed, so one comparison finds the control bytes and everything from 0x80 up.
    const Bytes found = (bytes < ' ') | (bytes == '"') | (bytes == '\\');
    // A pair of bytes becomes one byte with four bits of each; one bit of the four is enough.
    const Halves narrow = __builtin_convertvector(reinterpret_cast<Pairs>(found) >> 4, Halves);
    std::uint64_t marks = 0;
    std::memcpy(&marks, &narrow, sizeof marks);
    return marks & 0x1111111111111111U;
}

/// Where in its block the first marked byte stands; there is one.
inline std::size_t firstMark(std::uint64_t marks)
{
    return static_cast<std::size_t>(__builtin_ctzll(marks)) / 4;
}

/// The number of plain bytes that text begins with.
inline std::size_t plainRun(std::string_view text)
{
    char copied[kBlockBytes];
    std::size_t count = 0;
    while (text.size() - count >= kBlockBytes) {
        if (const std::uint64_t marks = copyBlock(text.data() + count, copied)) {
            return count + firstMark(marks);
        }
        count += kBlockBytes;
    }
    return count + countPlain(text.data() + count, text.size() - count);
}

} // namespace json
