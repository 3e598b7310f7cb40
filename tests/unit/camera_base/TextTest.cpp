#include "camera/base/PrintableText.h"
#include "camera/base/UtcText.h"

#include <gtest/gtest.h>

namespace {

using camera::base::printable;
using camera::base::utcText;

TEST(PrintableText, writesControlBytesAsEscapesAndNothingElse)
{
    EXPECT_EQ(printable(std::string("a\n\x1b[2J\0\x7f \xc3\xa9\xff", 12)), "a\\n\\x1b[2J\\x00\\x7f \xc3\xa9\xff");
    EXPECT_EQ(printable(""), "");
}

TEST(UtcText, writesATimeInUtc)
{
    EXPECT_EQ(utcText(0), "1970-01-01 00:00:00 UTC");
    EXPECT_EQ(utcText(1700000000, "%Y%m%dT%H%M%SZ"), "20231114T221320Z");
    EXPECT_EQ(utcText(-1), "1969-12-31 23:59:59 UTC");
}

} // namespace
