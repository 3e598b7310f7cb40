#include "camera/engines/XmlText.h"

#include <charconv>

namespace camera::engines {

std::string escaped(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\t':
        case '\n':
        case '\r': // a raw one would be read back as a blank
            out += "&#" + std::to_string(static_cast<int>(c)) + ";";
            break;
        default:
            // No document can hold the other control characters, not even written as numbers.
            out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
        }
    }
    return out;
}

void appendNumber(std::string& out, const char* name, double value)
{
    out += ' ';
    out += name;
    out += "=\"";
    char digits[32];
    const double small = value > -1e6 && value < 1e6 ? value : 0;
    const auto [end, error] = std::to_chars(digits, digits + sizeof(digits), small, std::chars_format::fixed, 4);
    out.append(digits, end);
    out += '"';
    static_cast<void>(error); // seven digits, a point and four more always fit
}

} // namespace camera::engines
