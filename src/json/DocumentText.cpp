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
    if (room() < token.size()) {
        flush();
    }
    next += token.copy(next, room());
}

void DocumentText::AppendString(std::string_view string)
{
    Append("\"");
    const char* from = string.data();
    const char* const end = from + string.size();
    while (from != end) {
        next = escape(from, end, next, room());
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

std::size_t DocumentText::room() const
{
    return static_cast<std::size_t>(pending.data() + pending.size() - next);
}

} // namespace json
