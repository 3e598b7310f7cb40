#include "kit/XmlText.h"

namespace kit {

namespace {

void appendEscaped(std::string& result, char character)
{
    switch (character) {
    case '&':
        result += "&amp;";
        break;
    case '<':
        result += "&lt;";
        break;
    case '"':
        result += "&quot;";
        break;
    default:
        result += character;
    }
}

} // namespace

std::string escapedAttribute(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        if (static_cast<unsigned char>(character) < ' ') {
            result += "&#" + std::to_string(static_cast<int>(character)) + ";";
        } else {
            appendEscaped(result, character);
        }
    }
    return result;
}

std::string plainAttribute(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        appendEscaped(result, character);
    }
    return result;
}

std::string normalised(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            ++i;
        }
        result += text[i] == '\r' || text[i] == '\n' || text[i] == '\t' ? ' ' : text[i];
    }
    return result;
}

} // namespace kit
