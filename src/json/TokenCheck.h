#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace json {

/**
 * Refuses what the installed parser takes in its strictest mode although it is no JSON array: a
 * NUL that it reads as the end, bytes after the document, numbers such as 01, 1. and -, halves of
 * surrogate pairs. The order of the tokens is the parser's business. Finds the numbers that the
 * parser refuses although they are JSON.
 */
class TokenCheck {
public:
    /// text is borrowed.
    explicit TokenCheck(std::string_view text);

    /// @throws Reader::ParseException at the first token that cannot stand in a document.
    void Run();

    /// The document with an infinity in the place of each number that no double holds.
    std::string WithInfinities() const;
    bool HasInfinities() const { return !beyondDouble.empty(); }

private:
    void skipBlanks();
    void skipToken();
    void skipLiteral(std::string_view literal);
    void skipNumber();
    void skipDigits();
    void skipString();
    void skipEscape();
    bool readHalf(unsigned& unit);
    bool has(char byte) const;
    bool hasDigit() const;
    [[noreturn]] void fail(const std::string& reason) const;

    std::string_view text;
    std::size_t position = 0;
    std::size_t depth = 0;
    std::vector<std::string_view> beyondDouble; ///< in order, parts of text
};

} // namespace json
