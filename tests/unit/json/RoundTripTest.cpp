// Whatever bytes are stored come back: a setting is text of any client, not always valid UTF-8.
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <random>
#include <string>

namespace {

std::string randomBytes(std::mt19937& random)
{
    // Pieces that a parser may stumble over, between bytes of every value.
    const std::string pieces[] = {"\xc3\xa9",
                                  "\xe2\x82\xac",
                                  "\xf0\x9f\x93\xb7",
                                  "\xed\xa0\x80",
                                  "\xc0\x80",
                                  "\xef\xbb\xbf",
                                  "\\u0041",
                                  "\\",
                                  "\"",
                                  "\" : ",
                                  "/*",
                                  "*/",
                                  "//",
                                  "]",
                                  "}",
                                  "\n",
                                  "\r\n",
                                  std::string(1, '\0')};
    std::string text;
    for (std::size_t left = random() % 60; left > 0; --left) {
        if (random() % 3 == 0) {
            text += pieces[random() % std::size(pieces)];
        } else {
            text += static_cast<char>(random());
        }
    }
    return text;
}

void expectBack(const std::string& name, const std::string& text)
{
    json::Object object;
    object.Append(name, json::BorrowedString{text});
    json::Array document;
    document.Append(std::move(object));
    document.Append(text);
    const json::Array read = json::Reader::Read(json::Writer::Write(document));
    ASSERT_EQ(read.Size(), 2U);
    const json::Object& first = read[0];
    ASSERT_EQ(std::string_view(first[name]), text);
    ASSERT_EQ(std::string_view(read[1]), text);
}

} // namespace

TEST(RoundTrip, bringsEveryByteStringBack)
{
    std::mt19937 random(42);
    for (int round = 0; round < 20000; ++round) {
        ASSERT_NO_FATAL_FAILURE(expectBack(randomBytes(random), randomBytes(random))) << "round " << round;
    }
}

TEST(RoundTrip, bringsEveryPairOfBytesBack)
{
    for (int first = 0; first < 256; ++first) {
        std::string text;
        for (int second = 0; second < 256; ++second) {
            text += static_cast<char>(first);
            text += static_cast<char>(second);
        }
        ASSERT_NO_FATAL_FAILURE(expectBack("a", text)) << first;
    }
}

TEST(RoundTrip, bringsEveryCodePointBack)
{
    std::string text;
    for (unsigned codePoint = 0; codePoint < 0x10000; ++codePoint) {
        if (codePoint < 0x80) {
            text += static_cast<char>(codePoint);
        } else if (codePoint < 0x800) {
            text += {static_cast<char>(0xc0 | (codePoint >> 6)), static_cast<char>(0x80 | (codePoint & 0x3f))};
        } else {
            text += {static_cast<char>(0xe0 | (codePoint >> 12)), static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f)),
                     static_cast<char>(0x80 | (codePoint & 0x3f))};
        }
    }
    expectBack("a", text);
}

TEST(RoundTrip, bringsALargeTextBack)
{
    std::mt19937 random(3);
    std::string text;
    while (text.size() < 1000000) {
        text += randomBytes(random);
    }
    expectBack("large", text);
}

TEST(RoundTrip, keepsTheSignOfANumberTooSmallForADouble)
{
    for (const char* const text : {"[-1e-301615]", "[-0.0]"}) {
        const std::string written = json::Writer::Write(json::Reader::Read(text));
        EXPECT_EQ(written, "[ -0.0 ]") << text;
        const json::Array again = json::Reader::Read(written);
        EXPECT_TRUE(std::signbit(static_cast<json::Number>(again[0]))) << text;
        EXPECT_EQ(json::Writer::Write(again), written);
    }
}
