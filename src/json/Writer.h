#pragma once

#include "json/Array.h"

#include <string>

namespace json {

/**
 * Writes a document on one line: a blank inside each bracket and after each comma, one on either
 * side of a colon, [] and {} when empty. Escapes as escapeCharacter says, so that every byte string
 * comes back unchanged from Reader.
 *
 * Reentrant.
 */
class Writer {
public:
    /// @throws Exception for what Reader would not take back: a number that is not finite, or
    ///         elements nested deeper than kMaxDepth.
    static std::string Write(const Array& document);
};

} // namespace json
