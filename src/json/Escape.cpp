#include "json/Escape.h"

namespace json {

namespace {

constexpr bool continues(unsigned char byte)
{
    return byte >= 0x80 && byte <= 0xbf;
}

char* writeHex(unsigned codePoint, char* to)
{
    constexpr char kDigits[] = "0123456789abcdef";
    *to++ = '\\';
    *to++ = 'u';
    for (int shift = 12; shift >= 0; shift -= 4) {
        *to++ = kDigits[(codePoint >> shift) & 0xfU];
    }
    return to;
}

// Two bytes name U+0080 to U+07FF; the leads C0 and C1 would be overlong.
bool readTwo(const unsigned char* bytes, std::size_t size, unsigned& codePoint)
{
    if (size < 2 || bytes[0] < 0xc2 || bytes[0] > 0xdf || !continues(bytes[1])) {
        return false;
    }
    codePoint = ((bytes[0] & 0x1fU) << 6) | (bytes[1] & 0x3fU);
    return true;
}

// Three bytes name U+0800 to U+FFFF without the surrogates: less is overlong.
bool readThree(const unsigned char* bytes, std::size_t size, unsigned& codePoint)
{
    if (size < 3 || bytes[0] < 0xe0 || bytes[0] > 0xef || !continues(bytes[1]) || !continues(bytes[2])) {
        return false;
    }
    codePoint = ((bytes[0] & 0x0fU) << 12) | ((bytes[1] & 0x3fU) << 6) | (bytes[2] & 0x3fU);
    return codePoint >= 0x800 && (codePoint < 0xd800 || codePoint > 0xdfff);
}

} // namespace

char* escapeCharacter(const char*& from, const char* end, char* to)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(from);
    const auto size = static_cast<std::size_t>(end - from);
    unsigned codePoint = 0;
    if (readTwo(bytes, size, codePoint)) {
        from += 2;
        return writeHex(codePoint, to);
    }
    if (readThree(bytes, size, codePoint)) {
        from += 3;
        return writeHex(codePoint, to);
    }
    const char byte = *from++;
    if (const char letter = shortEscape(byte)) {
        *to++ = '\\';
        *to++ = letter;
    } else {
        *to++ = byte;
    }
    return to;
}

} // namespace json
