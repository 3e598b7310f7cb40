#include "target/BlankingColor.h"

#include "Digest.h"

#include <gtest/gtest.h>

namespace {

// The constant is the same in every build for every architecture: a build that fuses, reorders or rounds
// differently yields another one.
TEST(ColorDigest, isTheSameForEveryGreyAndColourOnEveryArchitecture)
{
    Digest digest;
    std::uint32_t colors = 0;
    for (unsigned int red = 0; red < 256; ++red) {
        for (unsigned int green = 0; green < 256; ++green) {
            for (unsigned int blue = 0; blue < 256; ++blue) {
                const analytics_lib::ColorYuv color = korva::meridan::toColorYuv(
                    static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green), static_cast<std::uint8_t>(blue));
                digest.add(std::uint32_t{color.y} << 16 | std::uint32_t{color.u} << 8 | color.v);
                ++colors;
            }
        }
    }
    EXPECT_EQ(colors, 16777216U);
    EXPECT_EQ(digest.value(), 11814133452168546238U);
}

} // namespace
