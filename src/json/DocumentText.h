#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace json {

/**
 * Collects a document's text. Everything goes through a buffer that stays in the nearest cache:
 * escapes are written there, and the text itself is touched once, in bulk.
 */
class DocumentText {
public:
    /// @param expected  About how many bytes will come; more only costs time.
    explicit DocumentText(std::size_t expected);

    DocumentText(const DocumentText&) = delete;
    DocumentText& operator=(const DocumentText&) = delete;

    /// Adds a few bytes as they are, at most kLongestToken.
    void Append(std::string_view token);

    /// Adds text as a quoted string.
    void AppendString(std::string_view text);

    /// Hands the whole text out and leaves nothing.
    std::string Take();

    static constexpr std::size_t kLongestToken = 64;

private:
    void flush();
    std::size_t bytesFree() const;

    std::string text;
    std::array<char, 8192> pending; // written before it is read: left unset for speed
    char* next = pending.data();
};

} // namespace json
