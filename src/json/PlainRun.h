#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__) && defined(__ARM_NEON)
#include <arm_neon.h>
#endif

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

/// Eight bytes at a time in a general register, for every machine.
struct WordBlock {
    static constexpr std::size_t kBytes = 8;
    static constexpr int kBitsPerByte = 8;

    /// Copies kBytes bytes and marks those that are not plain: one bit for each byte, in bits
    /// kBitsPerByte apart, the first byte lowest.
    static std::uint64_t copy(const char* from, char* to)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, from, kBytes);
        std::memcpy(to, &word, kBytes);
        return marks(__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? __builtin_bswap64(word) : word);
    }

private:
    static constexpr std::uint64_t kOnes = 0x0101010101010101U;
    static constexpr std::uint64_t kTops = 0x8080808080808080U;

    // No sum reaches the next byte, because the top bits are left out of it.
    static constexpr std::uint64_t marks(std::uint64_t word)
    {
        const std::uint64_t low = word & ~kTops;
        const std::uint64_t fromBlank = low + kOnes * (0x80 - ' ');
        const std::uint64_t otherThanQuote = (low ^ (kOnes * '"')) + kOnes * 0x7f;
        const std::uint64_t otherThanBackslash = (low ^ (kOnes * '\\')) + kOnes * 0x7f;
        return (word | ~(fromBlank & otherThanQuote & otherThanBackslash)) & kTops;
    }
};

#if defined(__SSE2__)

struct Sse2Block {
    static constexpr std::size_t kBytes = 16;
    static constexpr int kBitsPerByte = 1;

    static std::uint64_t copy(const char* from, char* to)
    {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        // Signed, so one comparison finds the control bytes and everything from 0x80 up.
        const __m128i outside = _mm_cmplt_epi8(bytes, _mm_set1_epi8(' '));
        const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
        const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
        const __m128i found = _mm_or_si128(outside, _mm_or_si128(quotes, backslashes));
        return static_cast<unsigned>(_mm_movemask_epi8(found));
    }
};

using NativeBlock = Sse2Block;

#elif defined(__aarch64__) && defined(__ARM_NEON)

struct NeonBlock {
    static constexpr std::size_t kBytes = 16;
    static constexpr int kBitsPerByte = 4;

    static std::uint64_t copy(const char* from, char* to)
    {
        const uint8x16_t bytes = vld1q_u8(reinterpret_cast<const std::uint8_t*>(from));
        vst1q_u8(reinterpret_cast<std::uint8_t*>(to), bytes);
        // Signed, so one comparison finds the control bytes and everything from 0x80 up.
        const uint8x16_t outside = vcltq_s8(vreinterpretq_s8_u8(bytes), vdupq_n_s8(' '));
        const uint8x16_t quotes = vceqq_u8(bytes, vdupq_n_u8('"'));
        const uint8x16_t backslashes = vceqq_u8(bytes, vdupq_n_u8('\\'));
        const uint8x16_t found = vorrq_u8(outside, vorrq_u8(quotes, backslashes));
        // Narrowing leaves four bits of each byte; one of them is enough.
        const uint8x8_t narrow = vshrn_n_u16(vreinterpretq_u16_u8(found), 4);
        return vget_lane_u64(vreinterpret_u64_u8(narrow), 0) & 0x1111111111111111U;
    }
};

using NativeBlock = NeonBlock;

#else

using NativeBlock = WordBlock;

#endif

/// Where in its block the first marked byte stands; there is one.
template <typename Block>
std::size_t firstMark(std::uint64_t marks)
{
    return static_cast<std::size_t>(__builtin_ctzll(marks)) / Block::kBitsPerByte;
}

/// The number of plain bytes that text begins with.
template <typename Block>
std::size_t plainRun(std::string_view text)
{
    char copied[Block::kBytes];
    std::size_t count = 0;
    while (text.size() - count >= Block::kBytes) {
        if (const std::uint64_t marks = Block::copy(text.data() + count, copied)) {
            return count + firstMark<Block>(marks);
        }
        count += Block::kBytes;
    }
    return count + countPlain(text.data() + count, text.size() - count);
}

} // namespace json
