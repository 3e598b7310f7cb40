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

    /// Copies kBytes bytes and returns how many of them, from the first on, are plain.
    static std::size_t copy(const char* from, char* to)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, from, kBytes);
        std::memcpy(to, &word, kBytes);
        return holdsOnlyPlain(word) ? kBytes : countPlain(from, kBytes);
    }

private:
    static constexpr std::uint64_t kOnes = 0x0101010101010101U;
    static constexpr std::uint64_t kTops = 0x8080808080808080U;

    // Exact as an answer about the whole word: a borrow can only cross a byte that is itself found.
    static constexpr bool holdsOnlyPlain(std::uint64_t word)
    {
        const std::uint64_t below = word - kOnes * ' ';
        const std::uint64_t quotes = (word ^ (kOnes * '"')) - kOnes;
        const std::uint64_t backslashes = (word ^ (kOnes * '\\')) - kOnes;
        return ((word | below | quotes | backslashes) & kTops) == 0;
    }
};

#if defined(__SSE2__)

struct Sse2Block {
    static constexpr std::size_t kBytes = 16;

    static std::size_t copy(const char* from, char* to)
    {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        // Signed, so one comparison finds the control bytes and everything from 0x80 up.
        const __m128i outside = _mm_cmplt_epi8(bytes, _mm_set1_epi8(' '));
        const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
        const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
        const __m128i found = _mm_or_si128(outside, _mm_or_si128(quotes, backslashes));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        return mask == 0 ? kBytes : static_cast<std::size_t>(__builtin_ctz(mask));
    }
};

using NativeBlock = Sse2Block;

#elif defined(__aarch64__) && defined(__ARM_NEON)

struct NeonBlock {
    static constexpr std::size_t kBytes = 16;

    static std::size_t copy(const char* from, char* to)
    {
        const uint8x16_t bytes = vld1q_u8(reinterpret_cast<const std::uint8_t*>(from));
        vst1q_u8(reinterpret_cast<std::uint8_t*>(to), bytes);
        // Signed, so one comparison finds the control bytes and everything from 0x80 up.
        const uint8x16_t outside = vcltq_s8(vreinterpretq_s8_u8(bytes), vdupq_n_s8(' '));
        const uint8x16_t quotes = vceqq_u8(bytes, vdupq_n_u8('"'));
        const uint8x16_t backslashes = vceqq_u8(bytes, vdupq_n_u8('\\'));
        const uint8x16_t found = vorrq_u8(outside, vorrq_u8(quotes, backslashes));
        // Four bits for each byte, the first byte lowest.
        const uint8x8_t narrow = vshrn_n_u16(vreinterpretq_u16_u8(found), 4);
        const std::uint64_t mask = vget_lane_u64(vreinterpret_u64_u8(narrow), 0);
        return mask == 0 ? kBytes : static_cast<std::size_t>(__builtin_ctzll(mask)) / 4;
    }
};

using NativeBlock = NeonBlock;

#else

using NativeBlock = WordBlock;

#endif

/// The number of plain bytes that text begins with.
template <typename Block>
std::size_t plainRun(std::string_view text)
{
    char copied[Block::kBytes];
    std::size_t count = 0;
    while (text.size() - count >= Block::kBytes) {
        const std::size_t plain = Block::copy(text.data() + count, copied);
        count += plain;
        if (plain < Block::kBytes) {
            return count;
        }
    }
    return count + countPlain(text.data() + count, text.size() - count);
}

} // namespace json
