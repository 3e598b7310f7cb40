#include "json/Writer.h"

#include "json/Exception.h"
#include "json/Limits.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

using namespace std::string_literals;

namespace {

std::string written(json::UnknownElement element)
{
    json::Array document;
    document.Append(std::move(element));
    return json::Writer::Write(document);
}

std::string writtenString(std::string text)
{
    return written(std::move(text));
}

json::Object setting(const std::string& key, const std::string& config)
{
    json::Object object;
    object.Append("key", key);
    object.Append("config", config);
    return object;
}

json::Array nested(std::size_t levels)
{
    json::Array array;
    if (levels > 1) {
        array.Append(nested(levels - 1));
    }
    return array;
}

} // namespace

TEST(Writer, writesAnEmptyArrayWithoutABlank)
{
    EXPECT_EQ(json::Writer::Write({}), "[]");
    EXPECT_EQ(written(json::Array()), "[ [] ]");
}

TEST(Writer, writesAnEmptyObjectWithoutABlank)
{
    EXPECT_EQ(written(json::Object()), "[ {} ]");
}

TEST(Writer, separatesElementsAndMembersOnOneLine)
{
    json::Array document;
    document.Append(setting("K1", "C1"));
    document.Append(setting("K2", "C2"));
    EXPECT_EQ(json::Writer::Write(document),
              R"([ { "key" : "K1", "config" : "C1" }, { "key" : "K2", "config" : "C2" } ])");
}

TEST(Writer, keepsTheOrderInWhichMembersCame)
{
    json::Object object;
    object.Append("z", json::Null());
    object.Append("a", true);
    object.Append("m", 1.0);
    EXPECT_EQ(written(object), R"([ { "z" : null, "a" : true, "m" : 1 } ])");
}

TEST(Writer, writesLiteralsAndNumbers)
{
    json::Array document;
    document.Append(json::Null());
    document.Append(true);
    document.Append(false);
    document.Append(-0.5);
    document.Append(1e300);
    document.Append(123456789.0);
    EXPECT_EQ(json::Writer::Write(document), "[ null, true, false, -0.5, 1e+300, 123456789 ]");
}

TEST(Writer, writesNumbersThatComeBackExactly)
{
    for (const double number : {0.1, 1.0 / 3, std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
                                -std::numeric_limits<double>::epsilon(), 9007199254740993.0}) {
        const json::Array read = json::Reader::Read(written(number));
        EXPECT_EQ(static_cast<json::Number>(read[0]), number);
    }
}

TEST(Writer, refusesNumbersThatAreNotFinite)
{
    EXPECT_THROW(written(std::numeric_limits<double>::infinity()), json::Exception);
    EXPECT_THROW(written(std::numeric_limits<double>::quiet_NaN()), json::Exception);
}

TEST(Writer, escapesSevenCharactersWithTwo)
{
    EXPECT_EQ(writtenString("\"\\\b\f\n\r\t"), R"([ "\"\\\b\f\n\r\t" ])");
}

TEST(Writer, leavesEveryOtherAsciiByteAsItIs)
{
    std::string text;
    for (int byte = 0; byte < 0x80; ++byte) {
        if (std::string("\"\\\b\f\n\r\t").find(static_cast<char>(byte)) == std::string::npos) {
            text += static_cast<char>(byte);
        }
    }
    EXPECT_EQ(text.size(), 121U);
    EXPECT_EQ(writtenString(text), "[ \"" + text + "\" ]");
}

TEST(Writer, writesSequencesOfTwoAndThreeBytesAsFourLowerCaseDigits)
{
    EXPECT_EQ(writtenString("\xc2\x80\xc3\xa9\xdf\xbf"), R"([ "\u0080\u00e9\u07ff" ])");
    EXPECT_EQ(writtenString("\xe0\xa0\x80\xe2\x82\xac\xef\xbf\xbf"), R"([ "\u0800\u20ac\uffff" ])");
    EXPECT_EQ(writtenString("\xed\x9f\xbf\xee\x80\x80\xea\xaf\x8d"), R"([ "\ud7ff\ue000\uabcd" ])");
}

TEST(Writer, leavesWhatIsNotWellFormedAsItIs)
{
    for (const char* text : {"\x80", "\xbf", "\xc0\x80", "\xc1\xbf", "\xc2", "\xc2\x7f", "\xc3\xc0", "\xe0\x80\x80",
                             "\xe0\x9f\xbf", "\xe1\x80", "\xe1\x80\x7f", "\xe1\x7f\x80", "\xed\xa0\x80", "\xed\xbf\xbf",
                             "\xf5\x80\x80\x80", "\xfe", "\xff", "\xf8\x88\x80\x80\x80"}) {
        EXPECT_EQ(writtenString(text), "[ \""s + text + "\" ]");
    }
}

TEST(Writer, leavesSequencesOfFourBytesAsTheyAre)
{
    EXPECT_EQ(writtenString("\xf0\x9f\x93\xb7 \xf4\x8f\xbf\xbf"), "[ \"\xf0\x9f\x93\xb7 \xf4\x8f\xbf\xbf\" ]");
}

TEST(Writer, findsAWellFormedSequenceBehindAStrayByte)
{
    EXPECT_EQ(writtenString("\xe1\xc3\xa9\xf0\xe2\x82\xac\xc2"), "[ \"\xe1\\u00e9\xf0\\u20ac\xc2\" ]");
}

TEST(Writer, escapesMemberNamesToo)
{
    json::Object object;
    object.Append("a\"\n\xc3\xa9", json::Null());
    EXPECT_EQ(written(object), R"([ { "a\"\n\u00e9" : null } ])");
}

TEST(Writer, writesABorrowedStringAsOneThatItOwns)
{
    const std::string text = "a\"b\0c"s;
    EXPECT_EQ(written(json::BorrowedString{text}), writtenString(text));
    EXPECT_EQ(written(json::BorrowedString{}), R"([ "" ])");
}

TEST(Writer, goesAsDeepAsTheReaderAndNoDeeper)
{
    const std::string deepest = json::Writer::Write(nested(json::kMaxDepth));
    EXPECT_EQ(json::Writer::Write(json::Reader::Read(deepest)), deepest);
    EXPECT_THROW(json::Writer::Write(nested(json::kMaxDepth + 1)), json::Exception);
}

TEST(Writer, countsOnlyLevelsThatAreOpen)
{
    json::Array document;
    for (std::size_t i = 0; i < 2 * json::kMaxDepth; ++i) {
        document.Append(json::Array());
        document.Append(json::Object());
    }
    EXPECT_NO_THROW(json::Writer::Write(document));
}

// Longer than what is collected before it is handed on, at every offset of an escape to that border.
TEST(Writer, writesLongTextsWhereverTheirEscapesFall)
{
    for (std::size_t lead = 8150; lead < 8220; ++lead) {
        const std::string plain(lead, 'x');
        EXPECT_EQ(writtenString(plain + "\xe2\x82\xac\"" + plain), "[ \"" + plain + "\\u20ac\\\"" + plain + "\" ]");
    }
}

TEST(Writer, writesWhatFollowsALongTextWhereverThatEnds)
{
    for (std::size_t lead = 8150; lead < 8220; ++lead) {
        const std::string plain(lead, 'x');
        json::Object object;
        object.Append(plain + "\xe2\x82\xac", json::Null());
        object.Append("b", true);
        EXPECT_EQ(written(object), "[ { \"" + plain + "\\u20ac\" : null, \"b\" : true } ]");
    }
}

TEST(Writer, writesATextOfEscapesThatOutgrowsItsEstimate)
{
    std::string text;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        text += "\xc3\xa9";
        expected += "\\u00e9";
    }
    EXPECT_EQ(writtenString(text), "[ \"" + expected + "\" ]");
}
