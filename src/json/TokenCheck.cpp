#include "json/TokenCheck.h"

#include "json/PlainRun.h"
#include "json/Reader.h"

#include <algorithm>
#include <charconv>
#include <locale>
#include <sstream>

namespace json {

namespace {

constexpr unsigned kHighHalf = 0xd800;
constexpr unsigned kLowHalf = 0xdc00;
constexpr unsigned kHalfMask = 0xfc00;
constexpr std::size_t kUnitDigits = 4;

} // namespace

TokenCheck::TokenCheck(std::string_view document) : text(document)
{
}

void TokenCheck::Run()
{
    skipBlanks();
    if (!has('[')) {
        fail("The document is not an array");
    }
    do {
        skipToken();
        skipBlanks();
    } while (depth > 0);
    if (position != text.size()) {
        fail("Something follows the document");
    }
}

void TokenCheck::skipBlanks()
{
    position = std::min(text.find_first_not_of(" \t\r\n", position), text.size());
}

void TokenCheck::skipToken()
{
    if (position == text.size()) {
        fail("The document ends too early");
    }
    switch (text[position]) {
    case '[':
    case '{':
        ++depth;
        ++position;
        break;
    case ']':
    case '}':
        --depth;
        ++position;
        break;
    case ',':
    case ':':
        ++position;
        break;
    case '"':
        skipString();
        break;
    case 't':
        skipLiteral("true");
        break;
    case 'f':
        skipLiteral("false");
        break;
    case 'n':
        skipLiteral("null");
        break;
    default:
        skipNumber();
    }
}

void TokenCheck::skipLiteral(std::string_view literal)
{
    if (text.substr(position, literal.size()) != literal) {
        fail("Unknown word");
    }
    position += literal.size();
}

void TokenCheck::skipNumber()
{
    const std::size_t start = position;
    if (has('-')) {
        ++position;
    }
    if (!hasDigit()) {
        fail("Unexpected byte");
    }
    if (has('0')) {
        ++position;
        if (hasDigit()) {
            fail("A number begins with a zero");
        }
    } else {
        skipDigits();
    }
    if (has('.')) {
        ++position;
        skipDigits();
    }
    if (has('e') || has('E')) {
        ++position;
        if (has('+') || has('-')) {
            ++position;
        }
        skipDigits();
    }
    // As the parser reads it, which then refuses the whole document.
    const std::string_view number = text.substr(start, position - start);
    std::istringstream digits{std::string(number)};
    digits.imbue(std::locale::classic());
    double value = 0;
    if (!(digits >> value)) {
        beyondDouble.push_back(number);
    }
}

std::string TokenCheck::WithInfinities() const
{
    std::string patched;
    std::size_t done = 0;
    for (const std::string_view number : beyondDouble) {
        const auto start = static_cast<std::size_t>(number.data() - text.data());
        patched.append(text.substr(done, start - done)).append(number[0] == '-' ? "-Infinity" : "Infinity");
        done = start + number.size();
    }
    return patched.append(text.substr(done));
}

void TokenCheck::skipDigits()
{
    if (!hasDigit()) {
        fail("A digit is missing");
    }
    while (hasDigit()) {
        ++position;
    }
}

void TokenCheck::skipString()
{
    ++position;
    for (;;) {
        position += plainRun(text.substr(position));
        if (position == text.size()) {
            fail("A string has no end");
        }
        const char byte = text[position++];
        if (byte == '"') {
            return;
        }
        if (byte == '\\') {
            skipEscape();
        }
    }
}

// Bad escapes of any other kind are found by the parser.
void TokenCheck::skipEscape()
{
    if (position == text.size()) {
        fail("A string has no end");
    }
    unsigned unit = 0;
    if (!readHalf(unit)) {
        ++position;
        return;
    }
    unsigned second = 0;
    const bool paired = unit < kLowHalf && has('\\') && (++position, readHalf(second)) && second >= kLowHalf;
    if (!paired) {
        fail("Half of a surrogate pair");
    }
}

// Steps over the u and the digits when they name half of a surrogate pair, otherwise stays.
bool TokenCheck::readHalf(unsigned& unit)
{
    const std::string_view digits = text.substr(std::min(position + 1, text.size()), kUnitDigits);
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
    if (!has('u') || read.ptr != digits.data() + kUnitDigits) {
        return false;
    }
    if ((unit & kHalfMask) != kHighHalf && (unit & kHalfMask) != kLowHalf) {
        return false;
    }
    position += 1 + kUnitDigits;
    return true;
}

bool TokenCheck::has(char byte) const
{
    return position < text.size() && text[position] == byte;
}

bool TokenCheck::hasDigit() const
{
    return position < text.size() && text[position] >= '0' && text[position] <= '9';
}

void TokenCheck::fail(const std::string& reason) const
{
    const std::string_view before = text.substr(0, position);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    throw Reader::ParseException("Line " + std::to_string(line) + ", Column " + std::to_string(column) + ": " + reason);
}

} // namespace json
