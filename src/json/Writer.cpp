#include "json/Writer.h"

#include "json/DocumentText.h"
#include "json/Exception.h"
#include "json/Limits.h"
#include "json/UnknownElement.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace json {

namespace {

/// Adds up the strings and the punctuation around them, without looking into a text.
class Measure {
public:
    void operator()(Null) { bytes += sizeof("null, "); }
    void operator()(Boolean) { bytes += sizeof("false, "); }
    void operator()(Number) { bytes += kNumber; }
    void operator()(const String& string) { bytes += string.size() + sizeof("\"\", "); }
    void operator()(BorrowedString string) { bytes += string.text.size() + sizeof("\"\", "); }

    void operator()(const Array& array)
    {
        enter();
        for (const UnknownElement& element : array) {
            element.Visit(*this);
        }
        --depth;
    }

    void operator()(const Object& object)
    {
        enter();
        for (const Member& member : object) {
            bytes += member.name.size() + sizeof("\"\" : ");
            member.element.Visit(*this);
        }
        --depth;
    }

    std::size_t bytes = 0;

private:
    static constexpr std::size_t kNumber = 24;

    void enter()
    {
        if (++depth > kMaxDepth) {
            throw Exception("The document is nested too deeply");
        }
        bytes += sizeof("[  ], ");
    }

    std::size_t depth = 0;
};

class Printer {
public:
    explicit Printer(DocumentText& destination) : text(destination) {}

    void operator()(Null) { text.Append("null"); }
    void operator()(Boolean value) { text.Append(value ? "true" : "false"); }
    void operator()(const String& string) { text.AppendString(string); }
    void operator()(BorrowedString string) { text.AppendString(string.text); }

    void operator()(Number value)
    {
        if (!std::isfinite(value)) {
            throw Exception("A number is not finite");
        }
        if (value == 0 && std::signbit(value)) {
            text.Append("-0.0"); // without the fraction it would read as an integer, which has no sign
            return;
        }
        std::array<char, DocumentText::kLongestToken> digits;
        const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
        text.Append(std::string_view(digits.data(), static_cast<std::size_t>(written.ptr - digits.data())));
    }

    void operator()(const Array& array)
    {
        std::string_view lead = "[ ";
        for (const UnknownElement& element : array) {
            text.Append(lead);
            element.Visit(*this);
            lead = ", ";
        }
        text.Append(array.Size() == 0 ? "[]" : " ]");
    }

    void operator()(const Object& object)
    {
        std::string_view lead = "{ ";
        for (const Member& member : object) {
            text.Append(lead);
            text.AppendString(member.name);
            text.Append(" : ");
            member.element.Visit(*this);
            lead = ", ";
        }
        text.Append(object.Size() == 0 ? "{}" : " }");
    }

private:
    DocumentText& text;
};

} // namespace

std::string Writer::Write(const Array& document)
{
    Measure measure;
    measure(document);
    // Configuration texts hold about one quotation mark in twelve bytes; memory that is reserved
    // and never reached costs nothing.
    DocumentText text(measure.bytes + measure.bytes / 4);
    Printer print(text);
    print(document);
    return text.Take();
}

} // namespace json
