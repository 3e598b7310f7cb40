#include "camera/base/Utf8.h"

#include <gtest/gtest.h>

namespace {

using camera::base::isSendable;
using camera::base::sendable;

const std::string kReplacement = "\xEF\xBF\xBD";

TEST(TextTest, wellFormedTextStaysAsItIs)
{
    for (const std::string text :
         {"", "plain", "\x7f\x01\t", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBD", "\xEF\xB7\x8F", "\xEF\xB7\xB0", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBD", "\xF0\xA7\xBF\xBE"}) {
        EXPECT_TRUE(isSendable(text)) << text;
        EXPECT_EQ(sendable(text), text);
    }
}

TEST(TextTest, eachByteThatCannotBeSentIsReplaced)
{
    const std::pair<std::string, int> cases[] = {
        {"\x80", 1},
        {"\xC0\x80", 2},
        {"\xC1\xBF", 2},
        {"\xC0\x80\x80\x80", 4},
        {"\xC1\xBF\xBF\xBF", 4},
        {"\xC2", 1},
        {"\xE0\x9F\xBF", 3},
        {"\xED\xA0\x80", 3},
        {"\xE2\x82", 2},
        {"\xF0\x8F\xBF\xBD", 4},
        {"\xF4\x90\x80\x80", 4},
        {"\xF5\x80\x80\x80", 4},
        {"\xEF\xBF\xBE", 3},
        {"\xEF\xBF\xBF", 3},
        {"\xEF\xB7\x90", 3},
        {"\xEF\xB7\xAF", 3},
        {"\xF0\x9F\xBF\xBE", 4},
        {"\xF4\x8F\xBF\xBF", 4},
        {"\xFF", 1},
        {std::string(1, '\0'), 1},
    };
    for (const auto& [text, bytes] : cases) {
        EXPECT_FALSE(isSendable(text));
        std::string expected;
        for (int i = 0; i < bytes; ++i) {
            expected += kReplacement;
        }
        EXPECT_EQ(sendable(text), expected);
        EXPECT_EQ(sendable("a" + text + "z"), "a" + expected + "z");
    }
}

TEST(TextTest, whatWasReplacedCanBeSent)
{
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    EXPECT_TRUE(isSendable(sendable(every)));
    EXPECT_EQ(sendable(std::vector<std::string>{"a", "\xFF"}), (std::vector<std::string>{"a", kReplacement}));
}

TEST(TextTest, isReadAsItsCharactersWithOneReplacementForEachByteThatIsNone)
{
    using camera::base::codePoints;
    EXPECT_EQ(codePoints(""), U"");
    EXPECT_EQ(codePoints("aT\xC3\xBCr"), U"aT\u00FCr");
    EXPECT_EQ(codePoints("\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBD"), U"\u20AC\U0001F600\U0010FFFD");
    EXPECT_EQ(codePoints("\xE2\x82z\xED\xA0\x80"), U"\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD");
}

} // namespace
