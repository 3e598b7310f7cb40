#pragma once

#include "json/Array.h"
#include "json/Exception.h"

#include <string_view>

namespace json {

/**
 * Reads a document whose root is an array.
 *
 * The text is JSON with two allowances: a string may hold any byte as it is, control bytes and
 * invalid UTF-8 included, and of members with the same name the last one counts. Two things that
 * JSON leaves open are decided: an escape that is one half of a surrogate pair is refused, and a
 * number that no double holds is infinite.
 *
 * Reentrant.
 */
class Reader {
public:
    /// The text is not such a document. The message is one line that says where and why.
    class ParseException : public Exception {
    public:
        using Exception::Exception;
    };

    /// @throws ParseException when text is anything else, or nested deeper than kMaxDepth.
    static Array Read(std::string_view text);
};

} // namespace json
