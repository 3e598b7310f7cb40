#include "camera/base/PrintableText.h"

#include <cstdio>

namespace camera::base {

std::string printable(const std::string& text)
{
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
            line += escaped;
        } else {
            line += character;
        }
    }
    return line;
}

} // namespace camera::base
