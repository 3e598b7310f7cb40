#include "target/BlankingColor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

namespace {

struct Case {
    std::uint8_t rgb[3];
    std::uint8_t yuv[3];
};

std::ostream& operator<<(std::ostream& out, const Case& value)
{
    return out << int{value.rgb[0]} << ' ' << int{value.rgb[1]} << ' ' << int{value.rgb[2]};
}

class BlankingColorTest : public ::testing::TestWithParam<Case> {};

TEST_P(BlankingColorTest, becomesLumaAndTwoDifferences)
{
    const Case& wanted = GetParam();
    const analytics_lib::ColorYuv color = korva::meridan::toColorYuv(wanted.rgb[0], wanted.rgb[1], wanted.rgb[2]);
    EXPECT_EQ(color.y, wanted.yuv[0]);
    EXPECT_EQ(color.u, wanted.yuv[1]);
    EXPECT_EQ(color.v, wanted.yuv[2]);
}

INSTANTIATE_TEST_SUITE_P(Corners, BlankingColorTest,
                         ::testing::Values(Case{{0, 0, 0}, {0, 128, 128}}, Case{{255, 255, 255}, {255, 128, 128}},
                                           Case{{255, 0, 0}, {76, 91, 255}}, Case{{0, 255, 0}, {150, 54, 0}},
                                           Case{{0, 0, 255}, {29, 239, 103}}, Case{{255, 255, 0}, {226, 17, 153}},
                                           Case{{0, 255, 255}, {179, 165, 0}}, Case{{255, 0, 255}, {105, 202, 255}},
                                           Case{{128, 128, 128}, {128, 128, 128}}));

INSTANTIATE_TEST_SUITE_P(Between, BlankingColorTest,
                         ::testing::Values(Case{{1, 2, 3}, {2, 128, 127}}, Case{{200, 100, 50}, {124, 92, 195}},
                                           Case{{16, 32, 64}, {31, 144, 115}}, Case{{255, 1, 0}, {77, 90, 255}},
                                           Case{{10, 0, 255}, {32, 238, 109}}, Case{{0, 215, 1}, {126, 66, 17}}));

// The weighted sum lies half way between two integers: here the order of the fused operations decides.
INSTANTIATE_TEST_SUITE_P(Ties, BlankingColorTest,
                         ::testing::Values(Case{{0, 114, 163}, {85, 166, 53}}, Case{{0, 148, 216}, {111, 180, 31}},
                                           Case{{1, 57, 103}, {45, 157, 89}}, Case{{1, 63, 230}, {64, 210, 73}},
                                           Case{{1, 129, 127}, {90, 146, 50}}, Case{{1, 133, 45}, {83, 109, 56}},
                                           Case{{1, 163, 180}, {116, 159, 27}}, Case{{0, 36, 12}, {22, 123, 109}},
                                           Case{{0, 80, 110}, {59, 153, 76}}, Case{{0, 118, 81}, {78, 129, 60}}));

TEST(BlankingColor, hasTheSameSumOverTheWholeCubeEverywhere)
{
    // Every third red, fifth green and seventh blue, summed up in exact arithmetic beforehand.
    std::uint32_t hash = 0;
    const auto mix = [&hash](std::uint8_t component) { hash = hash * 31 + component; };
    for (unsigned int red = 0; red < 256; red += 3) {
        for (unsigned int green = 0; green < 256; green += 5) {
            for (unsigned int blue = 0; blue < 256; blue += 7) {
                const analytics_lib::ColorYuv color = korva::meridan::toColorYuv(
                    static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green), static_cast<std::uint8_t>(blue));
                mix(color.y);
                mix(color.u);
                mix(color.v);
            }
        }
    }
    EXPECT_EQ(hash, 941336533U);
}

TEST(BlankingColor, hasNoColorDifferenceInGreys)
{
    for (unsigned int grey = 0; grey < 256; ++grey) {
        const auto level = static_cast<std::uint8_t>(grey);
        const analytics_lib::ColorYuv color = korva::meridan::toColorYuv(level, level, level);
        EXPECT_EQ(color.y, level);
        EXPECT_EQ(color.u, 128) << grey;
        EXPECT_EQ(color.v, 128) << grey;
    }
}

} // namespace
