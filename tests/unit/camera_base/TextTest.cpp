#include "camera/base/Text.h"
#include "camera/base/MessageLimit.h"
#include "camera/base/Words.h"

#include <gtest/gtest.h>

namespace {

using camera::base::decimals;
using camera::base::inSmallLetters;
using camera::base::joined;
using camera::base::printable;
using camera::base::shortNumber;
using camera::base::sizeText;
using camera::base::utcText;

TEST(PrintableText, writesControlBytesAsEscapesAndNothingElse)
{
    EXPECT_EQ(printable(std::string("a\n\x1b[2J\0\x7f \xc3\xa9\xff", 12)), "a\\n\\x1b[2J\\x00\\x7f \xc3\xa9\xff");
    EXPECT_EQ(printable(""), "");
}

TEST(NumberTextTest, writesAsManyDecimalsAsAskedOrNeeded)
{
    EXPECT_EQ(decimals(1.25, 3), "1.250");
    EXPECT_EQ(decimals(-0.5, 0), "-0");
    EXPECT_EQ(decimals(1e300, 1).size(), 303U);
    EXPECT_EQ(shortNumber(0.1), "0.1");
    EXPECT_EQ(shortNumber(360), "360");
}

TEST(JoinedTextTest, putsTheLastSeparatorBetweenTheLastTwo)
{
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({"a"}, " or "), "a");
    EXPECT_EQ(joined({"a", "b"}, " or "), "a or b");
    EXPECT_EQ(joined({"a", "b", "c"}, " or "), "a, b or c");
    EXPECT_EQ(joined({"a", "b", "c"}), "a, b, c");
}

TEST(WordsTest, arePartedByBlanksAndLineEnds)
{
    using camera::base::spaced;
    using camera::base::wordsIn;
    using Words = std::vector<std::string>;
    EXPECT_EQ(wordsIn(""), Words());
    EXPECT_EQ(wordsIn(" \n"), Words());
    EXPECT_EQ(wordsIn("a"), Words{"a"});
    EXPECT_EQ(wordsIn("\ta b\r\n  c "), (Words{"a", "b", "c"}));
    EXPECT_EQ(spaced({}), "");
    EXPECT_EQ(spaced({"a", "b"}), "a b");
}

TEST(SmallLettersTest, changesAsciiLettersOnly)
{
    EXPECT_EQ(inSmallLetters("AZaz@[`{ 09\xc3\x84"), "azaz@[`{ 09\xc3\x84");
}

TEST(UtcText, writesATimeInUtc)
{
    EXPECT_EQ(utcText(0), "1970-01-01 00:00:00 UTC");
    EXPECT_EQ(utcText(1700000000, "%Y%m%dT%H%M%SZ"), "20231114T221320Z");
    EXPECT_EQ(utcText(-1), "1969-12-31 23:59:59 UTC");
}

TEST(SizeText, namesTheMostThatAMessageHolds)
{
    EXPECT_EQ(camera::base::tooLarge("an event", camera::base::kLargestMessage + 1),
              "an event has 16777217 bytes; a message has at most 16777216");
}

TEST(SizeText, isForPeople)
{
    EXPECT_EQ("999 bytes", sizeText(999));
    EXPECT_EQ("1.5 kB", sizeText(1500));
    EXPECT_EQ("2.0 MB", sizeText(2000000));
}

TEST(TrimmedTextTest, losesTheBlanksAroundIt)
{
    EXPECT_EQ("a b", camera::base::trimmed(" \t\r\na b\n "));
    EXPECT_EQ("a", camera::base::trimmed("a"));
    EXPECT_EQ("", camera::base::trimmed(" \n"));
    EXPECT_EQ("", camera::base::trimmed(""));
}

} // namespace
