#include "camera/video/TextPainter.h"

#include "kit/EnvironmentVariable.h"
#include "kit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace camera::video {
namespace {

constexpr int kPixels = 24;

RgbPicture black(int width, int height)
{
    RgbPicture picture;
    picture.width = width;
    picture.height = height;
    picture.pixels.assign(static_cast<std::size_t>(3 * width * height), 0);
    return picture;
}

std::vector<std::uint8_t> drawn(TextPainter& painter, const std::u32string& text)
{
    RgbPicture picture = black(60, 40);
    painter.draw(picture, text, kPixels, {5, 30}, {255, 255, 255});
    return picture.pixels;
}

bool isEmpty(const std::vector<std::uint8_t>& pixels)
{
    return std::all_of(pixels.begin(), pixels.end(), [](std::uint8_t value) { return value == 0; });
}

TEST(TextPainter, drawsLettersOfSeveralScriptsEachInItsOwnShape)
{
    TextPainter painter;
    std::set<std::vector<std::uint8_t>> shapes;
    const std::u32string letters = U"AößΩЖא";
    for (const char32_t letter : letters) {
        EXPECT_TRUE(shapes.insert(drawn(painter, {letter})).second) << static_cast<unsigned>(letter);
    }
    EXPECT_TRUE(isEmpty(drawn(painter, U" ")));
}

TEST(TextPainter, drawsOneBoxForACharacterThatNoFontHas)
{
    TextPainter painter;
    const std::vector<std::uint8_t> box = drawn(painter, {0x10FFFD});
    EXPECT_FALSE(isEmpty(box));
    EXPECT_EQ(box, drawn(painter, {0xFFFFD}));
    EXPECT_EQ(painter.width({0x10FFFD, 0x10FFFD}, kPixels), 2 * painter.width({0x10FFFD}, kPixels));
}

TEST(TextPainter, drawsBoxesWhereThereIsNoFontAtAll)
{
    const kit::TemporaryFolder folder;
    const kit::EnvironmentVariable fonts("FONTCONFIG_FILE", folder.write("fonts.conf", "<fontconfig/>"));
    TextPainter painter;
    EXPECT_FALSE(isEmpty(drawn(painter, U"A")));
    EXPECT_EQ(drawn(painter, U"A"), drawn(painter, U"B"));
}

TEST(TextPainter, standsOnItsLineAndTakesItsWidth)
{
    TextPainter painter;
    RgbPicture picture = black(200, 60);
    painter.draw(picture, U"HHH", kPixels, {20, 40}, {255, 255, 255});
    int left = picture.width;
    int right = 0;
    int top = picture.height;
    int bottom = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (*picture.at(x, y) > 128) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    EXPECT_GE(left, 20);
    EXPECT_LT(right, 20 + painter.width(U"HHH", kPixels));
    EXPECT_EQ(bottom, 39) << "the row above the line";
    EXPECT_GT(top, 40 - kPixels);
}

TEST(TextPainter, drawsInItsColourAndBlendsAtTheEdges)
{
    TextPainter painter;
    RgbPicture picture = black(60, 40);
    painter.draw(picture, U"O", kPixels, {5, 30}, {200, 100, 0});
    int most = 0;
    for (std::size_t i = 0; i < picture.pixels.size(); i += 3) {
        EXPECT_NEAR(picture.pixels[i], 2 * picture.pixels[i + 1], 2);
        EXPECT_EQ(picture.pixels[i + 2], 0);
        most = std::max<int>(most, picture.pixels[i]);
    }
    EXPECT_EQ(most, 200);
}

TEST(TextPainter, cutsWhatDoesNotFitAndEndsWithAnEllipsis)
{
    TextPainter painter;
    const std::u32string name = U"The gate at the end of the long way";
    const int whole = painter.width(name, kPixels);
    EXPECT_EQ(painter.cut(name, kPixels, whole), name);
    const std::u32string cut = painter.cut(name, kPixels, whole - 1);
    EXPECT_LE(painter.width(cut, kPixels), whole - 1);
    EXPECT_EQ(cut.back(), U'\u2026');
    EXPECT_EQ(name.compare(0, cut.size() - 1, cut, 0, cut.size() - 1), 0);
    EXPECT_GT(cut.size(), name.size() - 4);
    EXPECT_EQ(painter.cut(name, kPixels, 0), U"\u2026");
}

TEST(TextPainter, leavesOutWhatLiesOutsideOfThePicture)
{
    TextPainter painter;
    RgbPicture picture = black(20, 12);
    for (const cv::Point base : {cv::Point(-30, 6), cv::Point(15, -3), cv::Point(18, 40), cv::Point(-5, 5)}) {
        painter.draw(picture, U"Wide", kPixels, base, {255, 255, 255});
    }
    EXPECT_EQ(picture.pixels.size(), 3U * 20 * 12);
}

} // namespace
} // namespace camera::video
