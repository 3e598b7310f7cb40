#include "camera/engines/CellMask.h"

#include <gmock/gmock.h>

#include <random>

namespace {

using camera::engines::decodeCells;
using camera::engines::encodeCells;
using Bytes = std::vector<std::uint8_t>;

TEST(CellMaskTest, packsTheCommonExample)
{
    const Bytes bits{0xff, 0xff, 0xff, 0xf0, 0xf0, 0xf0}; // 8 columns, 6 rows
    EXPECT_EQ(encodeCells(bits), "/v/+8A==");
    EXPECT_EQ(decodeCells("/v/+8A==", 6), bits);
}

TEST(CellMaskTest, readsBackWhatItPacked)
{
    std::mt19937 random(3);
    for (std::size_t size = 0; size < 700; ++size) {
        Bytes bits(size);
        std::uint8_t value = 0;
        for (std::uint8_t& byte : bits) {
            value = random() % 3 == 0 ? static_cast<std::uint8_t>(random()) : value;
            byte = value;
        }
        EXPECT_EQ(decodeCells(encodeCells(bits), size), bits);
    }
}

TEST(CellMaskTest, readsBlanksAndLiteralRunsThatOthersWrite)
{
    EXPECT_EQ(decodeCells(" BP///\nPD ", 10), std::nullopt) << "one group is short";
    EXPECT_EQ(decodeCells("Af/w", 2), (Bytes{0xff, 0xf0}));
    EXPECT_EQ(decodeCells(" Af/\n w ", 2), (Bytes{0xff, 0xf0}));
    EXPECT_EQ(decodeCells("gAH/8A==", 2), (Bytes{0xff, 0xf0})) << "a byte 128 says nothing";
}

TEST(CellMaskTest, refusesTextsThatAreNoMask)
{
    for (const char* text : {"A", "AA", "AAA", "====", "A===", "AA=A", "/v/+8A=", "/v?+8A==", "BQA=", "/g=="}) {
        EXPECT_EQ(decodeCells(text, 1000), std::nullopt) << text;
    }
    EXPECT_EQ(decodeCells("gf8=", 127), std::nullopt) << "unpacks to 128 bytes";
    EXPECT_EQ(decodeCells("gf8=", 128), Bytes(128, 0xff));
}

} // namespace
