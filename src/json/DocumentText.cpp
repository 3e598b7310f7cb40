#include "json/DocumentText.h"

#include "json/Escape.h"

#include <utility>

namespace json {

DocumentText::DocumentText(std::size_t expected)
{
    text.reserve(expected);
}

void DocumentText::Append(std::string_view token)
{
    if (bytesFree() < token.size()) {
        flush();
    }
    next += token.copy(next, bytesFree());
}

void DocumentText::AppendString(std::string_view string)
{
    Append("\"");
    const char* from = string.data();
    const char* const end = from + string.size();
    while (from != end) {
        next = escape(from, end, next, bytesFree());
        if (from != end) {
            flush();
        }
    }
    Append("\"");
}

std::string DocumentText::Take()
{
    flush();
    return std::exchange(text, std::string());
}

void DocumentText::flush()
{
    text.append(pending.data(), next);
    next = pending.data();
}

std::size_t DocumentText::bytesFree() const
{
    return static_cast<std::size_t>(pending.data() + pending.size() - next);
}

} // namespace json
