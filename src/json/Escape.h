#pragma once

#include "json/PlainRun.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace json {

/// The longest that one character becomes: a backslash, the u and four digits.
inline constexpr std::size_t kLongestEscape = 6;

/**
 * Writes the first character of [from, end) as it stands in a string of a document and steps over
 * it: a quotation mark, a backslash and five control bytes as two-character escapes, a well-formed
 * sequence of two or three bytes as a backslash, u and four digits, any other byte as it is.
 *
 * @return The end of what was written, at most kLongestEscape bytes after to.
 */
char* escapeCharacter(const char*& from, const char* end, char* to);

/// The letter of a byte's two-character escape, 0 for a byte that has none.
constexpr char shortEscape(char byte)
{
    switch (byte) {
    case '"':
    case '\\':
        return byte;
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

/**
 * Escapes one block, or its beginning up to a byte that has no two-character escape.
 *
 * The bytes between two escapes are moved as whole blocks whose ends the next escape overwrites, so
 * two blocks are read at from and three may be written at to.
 *
 * @return The end of what was written; from is stepped over what became of it.
 */
inline char* escapeBlock(const char*& from, const char* end, char* to)
{
    const char* const block = from;
    for (std::uint64_t marks = copyBlock(from, to); marks != 0; marks &= marks - 1) {
        const char* const marked = block + firstMark(marks);
        to += marked - from;
        from = marked;
        const char letter = shortEscape(*from);
        if (letter == 0) {
            return escapeCharacter(from, end, to);
        }
        *to++ = '\\';
        *to++ = letter;
        ++from;
        std::memcpy(to, from, kBlockBytes);
    }
    to += block + kBlockBytes - from;
    from = block + kBlockBytes;
    return to;
}

/**
 * Escapes [from, end) until it is used up or the space may be too small for the next step.
 *
 * @param from  Stepped over what was written.
 * @param end   The end of the whole text: a sequence is judged by all its bytes.
 * @param bytesFree  Behind to.
 * @return The end of what was written.
 */
inline char* escape(const char*& from, const char* end, char* to, std::size_t bytesFree)
{
    const char* const last = to + bytesFree;
    const auto has = [](const char* begin, const char* stop, std::size_t bytes) {
        return static_cast<std::size_t>(stop - begin) >= bytes;
    };
    while (has(from, end, 2 * kBlockBytes) && has(to, last, 3 * kBlockBytes)) {
        to = escapeBlock(from, end, to);
    }
    while (from != end && has(to, last, kLongestEscape)) {
        to = escapeCharacter(from, end, to);
    }
    return to;
}

} // namespace json
