#include "camera/kit/Base64.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using camera::kit::base64Bytes;
using camera::kit::base64Text;
using Bytes = std::vector<std::uint8_t>;

TEST(Base64Test, isWrittenAndReadBack)
{
    const std::pair<Bytes, const char*> texts[] = {{{}, ""},
                                                   {{'f'}, "Zg=="},
                                                   {{'f', 'o'}, "Zm8="},
                                                   {{'f', 'o', 'o'}, "Zm9v"},
                                                   {{0xff, 0xfe, 0xfb, 0x00}, "//77AA=="}};
    for (const auto& [bytes, text] : texts) {
        EXPECT_EQ(base64Text(bytes), text);
        EXPECT_EQ(base64Bytes(text), bytes);
    }
    Bytes many(100001);
    for (std::size_t i = 0; i < many.size(); ++i) {
        many[i] = static_cast<std::uint8_t>(i * 7);
    }
    EXPECT_EQ(base64Bytes(base64Text(many)), many);
}

TEST(Base64Test, mayHaveBlanksAndLineEndsAnywhere)
{
    EXPECT_EQ(base64Bytes(" Z\tm\r\n8 = "), (Bytes{'f', 'o'}));
}

TEST(Base64Test, isNothingElse)
{
    for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "Z===", "====", "Zg=a", "Z-8=", "Zm9v=", "Zm9vZg=", "Zm9vZ"}) {
        EXPECT_EQ(base64Bytes(text), std::nullopt) << text;
    }
}

} // namespace
