#include "json/Reader.h"

#include "json/Limits.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>
#include <string_view>

using namespace std::string_literals;

namespace {

struct Sample {
    const char* name;
    std::string text;
    std::string written; ///< what the writer makes of an accepted text
};

void PrintTo(const Sample& sample, std::ostream* out)
{
    *out << sample.name;
}

std::string nameOf(const ::testing::TestParamInfo<Sample>& info)
{
    return info.param.name;
}

std::string nested(std::size_t levels)
{
    return std::string(levels, '[') + std::string(levels, ']');
}

std::string nestedObjects(std::size_t levels)
{
    std::string text = "[";
    for (std::size_t level = 1; level < levels; ++level) {
        text += "{\"a\":";
    }
    return text + "1" + std::string(levels - 1, '}') + "]";
}

std::string complaintAbout(std::string_view text)
{
    try {
        json::Reader::Read(text);
    } catch (const json::Reader::ParseException& error) {
        return error.what();
    }
    return "";
}

} // namespace

class AcceptedText : public ::testing::TestWithParam<Sample> {};

TEST_P(AcceptedText, isReadAsItStands)
{
    EXPECT_EQ(json::Writer::Write(json::Reader::Read(GetParam().text)), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    Reader, AcceptedText,
    ::testing::Values(Sample{"emptyArray", "[]", "[]"}, Sample{"blanksAround", " \t\r\n[ \n] \t\r\n", "[]"},
                      Sample{"emptyObject", "[{}]", "[ {} ]"},
                      Sample{"literals", "[true,false,null]", "[ true, false, null ]"},
                      Sample{"noBlanks", R"([{"key":"K1","config":"C1"}])", R"([ { "config" : "C1", "key" : "K1" } ])"},
                      Sample{"nestedKinds", R"([[],[[1]],{"a":[{}]}])", R"([ [], [ [ 1 ] ], { "a" : [ {} ] } ])"},
                      Sample{"laterMemberWins", R"([{"a":1,"a":"2"}])", R"([ { "a" : "2" } ])"},
                      Sample{"emptyMemberName", R"([{"":1}])", R"([ { "" : 1 } ])"},
                      Sample{"nulInMemberName", "[{\"a\0b\":1}]"s, "[ { \"a\0b\" : 1 } ]"s},
                      Sample{"zeros", "[0,-0,0.0,0e0]", "[ 0, 0, 0, 0 ]"},
                      Sample{"integers", "[1,-12,1234567]", "[ 1, -12, 1234567 ]"},
                      Sample{"fractions", "[1.5,-0.25]", "[ 1.5, -0.25 ]"},
                      Sample{"exponents", "[1e2,1E+2,5e-1]", "[ 100, 100, 0.5 ]"},
                      Sample{"moreThanSixtyFourBits", "[36893488147419103232]", "[ 36893488147419103232 ]"},
                      Sample{"vanishingNumber", "[1e-400]", "[ 0 ]"}, Sample{"emptyString", R"([""])", R"([ "" ])"},
                      Sample{"shortEscapes", R"(["\"\\\/\b\f\n\r\t"])", R"([ "\"\\/\b\f\n\r\t" ])"},
                      Sample{"unicodeEscapes", R"(["\u0041\u00E9\u20ac"])", R"([ "A\u00e9\u20ac" ])"},
                      Sample{"escapedNul", R"(["\u0000"])", "[ \"\0\" ]"s},
                      Sample{"rawNulInAString", "[\"a\0b\"]"s, "[ \"a\0b\" ]"s},
                      Sample{"rawControlBytes", "[\"\x01\x0b\x1f\x7f\"]", "[ \"\x01\x0b\x1f\x7f\" ]"},
                      Sample{"rawLineBreaks", "[\"a\nb\tc\"]", R"([ "a\nb\tc" ])"},
                      Sample{"loneBytes", "[\"\x80\xff\xc3\"]", "[ \"\x80\xff\xc3\" ]"},
                      Sample{"overlong", "[\"\xc0\x80\xe0\x80\x80\"]", "[ \"\xc0\x80\xe0\x80\x80\" ]"},
                      Sample{"surrogateBytes", "[\"\xed\xa0\x80\"]", "[ \"\xed\xa0\x80\" ]"},
                      Sample{"rawFourBytes", "[\"\xf0\x9f\x93\xb7\"]", "[ \"\xf0\x9f\x93\xb7\" ]"},
                      Sample{"surrogatePair", R"(["\ud83d\udcf7"])", "[ \"\xf0\x9f\x93\xb7\" ]"},
                      Sample{"outermostSurrogatePairs", R"(["\ud800\udc00\uDBFF\uDFFF"])",
                             "[ \"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\" ]"},
                      Sample{"besideTheSurrogates", R"(["\ud7ff\ue000"])", R"([ "\ud7ff\ue000" ])"},
                      Sample{"escapedBackslashBeforeU", R"(["\\ud800"])", R"([ "\\ud800" ])"},
                      Sample{"commentInAString", R"(["/*a*/ //b"])", R"([ "/*a*/ //b" ])"},
                      Sample{"byteOrderMarkInAString", "[\"\xef\xbb\xbf\"]", R"([ "\ufeff" ])"}),
    nameOf);

class RefusedText : public ::testing::TestWithParam<Sample> {};

TEST_P(RefusedText, isAParseException)
{
    EXPECT_THROW(json::Reader::Read(GetParam().text), json::Reader::ParseException);
}

TEST_P(RefusedText, isExplainedOnOneLine)
{
    const std::string complaint = complaintAbout(GetParam().text);
    EXPECT_FALSE(complaint.empty());
    EXPECT_EQ(complaint.find('\n'), std::string::npos) << complaint;
}

INSTANTIATE_TEST_SUITE_P(
    Structure, RefusedText,
    ::testing::Values(Sample{"empty", "", {}}, Sample{"blanksOnly", " \n", {}}, Sample{"rootObject", "{}", {}},
                      Sample{"rootString", "\"a\"", {}}, Sample{"rootNumber", "1", {}}, Sample{"rootNull", "null", {}},
                      Sample{"rootTrue", "true", {}}, Sample{"openArray", "[", {}},
                      Sample{"openArrayAfterAnElement", "[1", {}}, Sample{"openObject", "[{", {}},
                      Sample{"closedOnly", "]", {}}, Sample{"arrayClosedAsObject", "[1}", {}},
                      Sample{"objectClosedAsArray", "[{]]", {}}, Sample{"trailingComma", "[1,]", {}},
                      Sample{"trailingCommaInAnObject", "[{\"a\":1,}]", {}}, Sample{"leadingComma", "[,1]", {}},
                      Sample{"commaOnly", "[,]", {}}, Sample{"droppedElement", "[1,,2]", {}},
                      Sample{"missingComma", "[1 2]", {}}, Sample{"missingCommaInAnObject", "[{\"a\":1 \"b\":2}]", {}},
                      Sample{"missingColon", "[{\"a\" 1}]", {}}, Sample{"missingValue", "[{\"a\":}]", {}},
                      Sample{"nameOnly", "[{\"a\"}]", {}}, Sample{"colonInAnArray", "[\"a\":1]", {}},
                      Sample{"numberAsName", "[{1:2}]", {}}, Sample{"nullAsName", "[{null:2}]", {}},
                      Sample{"bareName", "[{a:2}]", {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Surroundings, RefusedText,
    ::testing::Values(Sample{"byteOrderMark", "\xef\xbb\xbf[]", {}}, Sample{"secondDocument", "[][]", {}},
                      Sample{"trailingWord", "[] x", {}}, Sample{"trailingBracket", "[]]", {}},
                      Sample{"trailingComma", "[],", {}}, Sample{"trailingNul", "[]\0"s, {}},
                      Sample{"nulThenMore", "[]\0[]"s, {}}, Sample{"leadingNul", "\0[]"s, {}},
                      Sample{"nulInTheArray", "[\0]"s, {}}, Sample{"nulBetweenElements", "[1\0,2]"s, {}},
                      Sample{"blockComment", "[/* a */]", {}}, Sample{"lineComment", "[] // a", {}},
                      Sample{"commentInFront", "/* a */[]", {}}, Sample{"hashComment", "[]\n# a", {}},
                      Sample{"formFeed", "[\f]", {}}, Sample{"leadingFormFeed", "\f[]", {}},
                      Sample{"trailingFormFeed", "[]\f", {}}, Sample{"verticalTab", "[\v]", {}},
                      Sample{"byteFromTheUpperHalf", "[\xa0]", {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Numbers, RefusedText,
    ::testing::Values(Sample{"leadingZero", "[01]", {}}, Sample{"twoZeros", "[00]", {}},
                      Sample{"negativeLeadingZero", "[-01]", {}}, Sample{"pointWithoutFraction", "[1.]", {}},
                      Sample{"pointThenExponent", "[1.e5]", {}}, Sample{"fractionWithoutInteger", "[.5]", {}},
                      Sample{"negativeFractionWithoutInteger", "[-.5]", {}}, Sample{"plus", "[+1]", {}},
                      Sample{"minusOnly", "[-]", {}}, Sample{"twoSigns", "[--1]", {}},
                      Sample{"emptyExponent", "[1e]", {}}, Sample{"signOnlyExponent", "[1e+]", {}},
                      Sample{"fractionInTheExponent", "[1e1.5]", {}}, Sample{"twoPoints", "[1.2.3]", {}},
                      Sample{"hexadecimal", "[0x10]", {}}, Sample{"suffix", "[1f]", {}},
                      Sample{"difference", "[1-2]", {}}, Sample{"notANumber", "[NaN]", {}},
                      Sample{"infinity", "[Infinity]", {}}, Sample{"negativeInfinity", "[-Infinity]", {}},
                      Sample{"shortInfinity", "[-inf]", {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Words, RefusedText,
                         ::testing::Values(Sample{"unknownWord", "[nil]", {}}, Sample{"upperCase", "[True]", {}},
                                           Sample{"cutWord", "[nul]", {}}, Sample{"cutTrue", "[tru]", {}},
                                           Sample{"longWord", "[nulll]", {}}, Sample{"gluedWords", "[truefalse]", {}},
                                           Sample{"wordCutByTheEnd", "[fals", {}}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    Strings, RefusedText,
    ::testing::Values(
        Sample{"withoutEnd", "[\"a", {}}, Sample{"withoutEndAfterABackslash", "[\"a\\", {}},
        Sample{"endEscaped", "[\"a\\\"]", {}}, Sample{"singleQuotes", "['a']", {}},
        Sample{"singleQuotedName", "[{'a':1}]", {}}, Sample{"unknownEscape", R"(["\x41"])", {}},
        Sample{"escapedSingleQuote", R"(["\'"])", {}}, Sample{"upperCaseU", R"(["\U0041"])", {}},
        Sample{"shortUnicodeEscape", R"(["\u12"])", {}}, Sample{"unicodeEscapeWithoutDigits", R"(["\u"])", {}},
        Sample{"unicodeEscapeCutByTheEnd", R"(["\ud8)", {}}, Sample{"wrongDigit", R"(["\u12g4"])", {}},
        Sample{"escapedLineFeed", "[\"\\\n\"]", {}}, Sample{"loneHighSurrogate", R"(["\ud800"])", {}},
        Sample{"loneLowSurrogate", R"(["\udc00"])", {}}, Sample{"twoLowSurrogates", R"(["\udc00\udc00"])", {}},
        Sample{"highSurrogateThenText", R"(["\ud800abcdef"])", {}},
        Sample{"highSurrogateThenAnotherEscape", R"(["\ud800\u0041"])", {}},
        Sample{"highSurrogateThenAShortEscape", R"(["\ud800\n"])", {}},
        Sample{"twoHighSurrogates", R"(["\ud800\ud800"])", {}},
        Sample{"surrogatesInTheWrongOrder", R"(["\udc00\ud800"])", {}},
        Sample{"lastHighSurrogateAlone", R"(["\udbff"])", {}}, Sample{"lastLowSurrogateAlone", R"(["\udfff"])", {}}),
    nameOf);

TEST(Reader, takesTheDeepestNestingAndNoMore)
{
    EXPECT_NO_THROW(json::Reader::Read(nested(json::kMaxDepth)));
    EXPECT_THROW(json::Reader::Read(nested(json::kMaxDepth + 1)), json::Reader::ParseException);
    EXPECT_NO_THROW(json::Reader::Read(nestedObjects(json::kMaxDepth - 1)));
    EXPECT_THROW(json::Reader::Read(nestedObjects(json::kMaxDepth + 2)), json::Reader::ParseException);
}

TEST(Reader, refusesAMillionLevelsInsteadOfRunningOutOfStack)
{
    EXPECT_THROW(json::Reader::Read(nested(1000000)), json::Reader::ParseException);
    EXPECT_THROW(json::Reader::Read(std::string(1000000, '[')), json::Reader::ParseException);
}

TEST(Reader, readsManyShallowArraysBesideEachOther)
{
    std::string text = "[";
    for (std::size_t i = 0; i < 2 * json::kMaxDepth; ++i) {
        text += "[],";
    }
    EXPECT_EQ(json::Reader::Read(text + "1]").Size(), 2 * json::kMaxDepth + 1);
}

TEST(Reader, saysWhereItStopped)
{
    EXPECT_EQ(complaintAbout("{}"), "Line 1, Column 1: The document is not an array");
    EXPECT_EQ(complaintAbout("[1,\n  2,\n  x]"), "Line 3, Column 3: Unexpected byte");
    EXPECT_EQ(complaintAbout("[]\n\n]"), "Line 3, Column 1: Something follows the document");
    EXPECT_EQ(complaintAbout("[007]"), "Line 1, Column 3: A number begins with a zero");
    EXPECT_EQ(complaintAbout("[1.]"), "Line 1, Column 4: A digit is missing");
    EXPECT_EQ(complaintAbout("[\"a"), "Line 1, Column 4: A string has no end");
    EXPECT_EQ(complaintAbout("[1,"), "Line 1, Column 4: The document ends too early");
    EXPECT_EQ(complaintAbout("[none]"), "Line 1, Column 2: Unknown word");
}

TEST(Reader, saysWhereALongTextIsWrong)
{
    const std::string text(70'000, 'a');
    EXPECT_EQ(complaintAbout("[\"" + text + "\" x]"), "Line 1, Column 70005: Unexpected byte");
    EXPECT_EQ(complaintAbout(std::string(70'000, '[') + "x"), "Line 1, Column 70001: Unexpected byte");
    EXPECT_EQ(complaintAbout(std::string(70'000, '\n') + "x"), "Line 70001, Column 1: The document is not an array");
}

TEST(Reader, looksAtNothingBehindTheEndOfItsText)
{
    const auto cut = [](std::string_view text, std::size_t length) { return complaintAbout(text.substr(0, length)); };
    EXPECT_EQ(cut("[-1]", 2), "Line 1, Column 3: Unexpected byte");
    EXPECT_EQ(cut("[1.5]", 2), "Line 1, Column 3: The document ends too early");
    EXPECT_EQ(cut("[1.5]", 3), "Line 1, Column 4: A digit is missing");
    EXPECT_EQ(cut("[true]", 3), "Line 1, Column 2: Unknown word");
    EXPECT_EQ(cut("[\"a\"]", 3), "Line 1, Column 4: A string has no end");
    EXPECT_EQ(cut("[\"\\n\"]", 3), "Line 1, Column 4: A string has no end");
    EXPECT_EQ(cut("[\"\\ud800\\udc00\"]", 9), "Line 1, Column 10: Half of a surrogate pair");
    EXPECT_EQ(cut("[]", 1), "Line 1, Column 2: The document ends too early");
}

TEST(Reader, passesOnlyTheFirstComplaintOfTheParserOn)
{
    EXPECT_EQ(complaintAbout("[true,[1 2],[true 3]]"), "Line 1, Column 10 Missing ',' or ']' in array declaration");
}

TEST(Reader, readsWhatNoDoubleHoldsAsInfinite)
{
    const std::string huge = "9" + std::string(400, '0');
    const json::Array numbers = json::Reader::Read("[1e400, 5 ,[-1e400],\"1e400\"," + huge + ",1e-400,-" + huge + "]");
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(double(numbers[0]), kInfinity);
    EXPECT_EQ(double(numbers[1]), 5);
    EXPECT_EQ(double(static_cast<const json::Array&>(numbers[2])[0]), -kInfinity);
    EXPECT_EQ(std::string_view(numbers[3]), "1e400");
    EXPECT_EQ(double(numbers[4]), kInfinity);
    EXPECT_EQ(double(numbers[5]), 0);
    EXPECT_EQ(double(numbers[6]), -kInfinity);
}

TEST(Reader, readsWhatNoDoubleHoldsBehindALongText)
{
    const std::string text(70'000, 'a');
    const json::Array document =
        json::Reader::Read("[\"" + text + "\",1e400,\"" + text + "\",-1e400,\"" + text + "\"]");
    ASSERT_EQ(document.Size(), 5U);
    EXPECT_EQ(std::string_view(document[0]), text);
    EXPECT_EQ(double(document[1]), std::numeric_limits<double>::infinity());
    EXPECT_EQ(std::string_view(document[2]), text);
    EXPECT_EQ(double(document[3]), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(std::string_view(document[4]), text);
}

TEST(Reader, throwsWhatIsAlsoAJsonException)
{
    EXPECT_THROW(json::Reader::Read(""), json::Exception);
}

TEST(Reader, findsTheEndOfAStringThatIsLongerThanAnyBlock)
{
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string text(length, 'a');
        const json::Array document = json::Reader::Read("[\"" + text + "\",\"" + text + "\\\"" + text + "\"]");
        ASSERT_EQ(std::string_view(document[0]), text);
        ASSERT_EQ(std::string_view(document[1]), text + "\"" + text);
    }
}
