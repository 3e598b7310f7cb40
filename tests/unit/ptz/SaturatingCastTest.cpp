#include "ptz/SaturatingCast.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using korva::meridan::toUnsigned;

TEST(SaturatingCast, cutsTheFraction)
{
    EXPECT_EQ(toUnsigned(0.0), 0U);
    EXPECT_EQ(toUnsigned(0.999), 0U);
    EXPECT_EQ(toUnsigned(1.0), 1U);
    EXPECT_EQ(toUnsigned(1.999), 1U);
    EXPECT_EQ(toUnsigned(4294967294.5), 4294967294U);
}

TEST(SaturatingCast, yieldsZeroBelowTheRangeAndForWhatIsNoNumber)
{
    EXPECT_EQ(toUnsigned(-0.0), 0U);
    EXPECT_EQ(toUnsigned(-0.5), 0U);
    EXPECT_EQ(toUnsigned(-1.0), 0U);
    EXPECT_EQ(toUnsigned(-1e300), 0U);
    EXPECT_EQ(toUnsigned(-std::numeric_limits<double>::infinity()), 0U);
    EXPECT_EQ(toUnsigned(std::numeric_limits<double>::quiet_NaN()), 0U);
}

TEST(SaturatingCast, yieldsTheLargestValueFromThereOn)
{
    EXPECT_EQ(toUnsigned(4294967295.0), 4294967295U);
    EXPECT_EQ(toUnsigned(4294967295.5), 4294967295U);
    EXPECT_EQ(toUnsigned(4294967296.0), 4294967295U);
    EXPECT_EQ(toUnsigned(1e300), 4294967295U);
    EXPECT_EQ(toUnsigned(std::numeric_limits<double>::infinity()), 4294967295U);
}

} // namespace
