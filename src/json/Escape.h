#pragma once

#include "json/PlainRun.h"

#include <cstddef>

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

/**
 * Escapes [from, end) until it is used up or the room may not do for the next step.
 *
 * @param from  Stepped over what was written.
 * @param end   The end of the whole text: a sequence is judged by all its bytes.
 * @param room  The bytes that may be written at to.
 * @return The end of what was written.
 */
template <typename Block>
char* escape(const char*& from, const char* end, char* to, std::size_t room)
{
    static_assert(Block::kBytes >= kLongestEscape);
    const char* const last = to + room;
    while (from != end && static_cast<std::size_t>(last - to) >= Block::kBytes) {
        if (static_cast<std::size_t>(end - from) >= Block::kBytes) {
            const std::size_t plain = Block::copy(from, to);
            from += plain;
            to += plain;
            if (plain == Block::kBytes || static_cast<std::size_t>(last - to) < kLongestEscape) {
                continue;
            }
        }
        to = escapeCharacter(from, end, to);
    }
    return to;
}

} // namespace json
