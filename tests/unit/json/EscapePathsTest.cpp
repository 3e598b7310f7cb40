// Looking for bytes to escape in blocks, beside a plain loop.
#include "json/Escape.h"
#include "json/PlainRun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

bool expectedPlain(unsigned char byte)
{
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

// Byte by byte, written for being right and not for being quick.
std::string expectedEscape(const std::string& text)
{
    const auto at = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned>(static_cast<unsigned char>(text[index])) : 0U;
    };
    const auto tail = [&](std::size_t index) { return at(index) >= 0x80 && at(index) < 0xc0; };
    const std::string special = "\"\\\b\f\n\r\t";
    const std::string letters = "\"\\bfnrt";
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        char digits[8];
        const unsigned two = ((at(i) & 0x1f) << 6) | (at(i + 1) & 0x3f);
        const unsigned three = ((at(i) & 0xf) << 12) | ((at(i + 1) & 0x3f) << 6) | (at(i + 2) & 0x3f);
        const bool surrogate = three >= 0xd800 && three < 0xe000;
        if (special.find(text[i]) != std::string::npos) {
            out += std::string("\\") + letters[special.find(text[i++])];
        } else if (at(i) >> 5 == 6 && two >= 0x80 && tail(i + 1)) {
            std::snprintf(digits, sizeof digits, "\\u%04x", two);
            out += digits;
            i += 2;
        } else if (at(i) >> 4 == 14 && three >= 0x800 && !surrogate && tail(i + 1) && tail(i + 2)) {
            std::snprintf(digits, sizeof digits, "\\u%04x", three);
            out += digits;
            i += 3;
        } else {
            out += text[i++];
        }
    }
    return out;
}

// In bites of a few bytes as well, so that every border between two bites is met.
std::string escaped(const std::string& text, std::size_t room)
{
    std::string out;
    std::vector<char> buffer(room);
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
        const char* const stop = json::escape(from, end, buffer.data(), room);
        if (stop == buffer.data()) {
            ADD_FAILURE() << "stands still";
            break;
        }
        out.append(buffer.data(), static_cast<std::size_t>(stop - buffer.data()));
    }
    return out;
}

std::string randomText(std::mt19937& random, std::size_t length, const std::string& alphabet)
{
    std::string text(length, '\0');
    for (char& byte : text) {
        byte = alphabet.empty() ? static_cast<char>(random()) : alphabet[random() % alphabet.size()];
    }
    return text;
}

std::size_t plainBytes(const std::string& block, char* copied)
{
    const std::uint64_t marks = json::copyBlock(block.data(), copied);
    return marks == 0 ? json::kBlockBytes : json::firstMark(marks);
}

} // namespace

TEST(EscapePath, judgesEveryByteAtEveryPlaceOfABlock)
{
    for (int value = 0; value < 256; ++value) {
        for (std::size_t place = 0; place < json::kBlockBytes; ++place) {
            std::string text(json::kBlockBytes, 'a');
            text[place] = static_cast<char>(value);
            char copied[json::kBlockBytes];
            const bool plain = expectedPlain(static_cast<unsigned char>(value));
            ASSERT_EQ(plainBytes(text, copied), plain ? json::kBlockBytes : place) << value << " at " << place;
            ASSERT_EQ(std::memcmp(text.data(), copied, json::kBlockBytes), 0);
        }
    }
}

TEST(EscapePath, findsTheFirstOfTwoBytes)
{
    for (const char* pair : {"\"\"", "\\a", "\x1f ", "\x80\x01", "\x7f\xff", "\x01\x20", "\"!", "\\]", "\x23\x22"}) {
        for (std::size_t place = 0; place + 1 < json::kBlockBytes; ++place) {
            std::string text(json::kBlockBytes, 'a');
            text[place] = pair[0];
            text[place + 1] = pair[1];
            std::size_t expected = 0;
            while (expected < text.size() && expectedPlain(static_cast<unsigned char>(text[expected]))) {
                ++expected;
            }
            char copied[json::kBlockBytes];
            ASSERT_EQ(plainBytes(text, copied), expected);
        }
    }
}

TEST(EscapePath, measuresARunOfAnyLength)
{
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string run(length, 'a');
        EXPECT_EQ(json::plainRun(run), length);
        EXPECT_EQ(json::plainRun(run + "\"" + run), length);
    }
}

TEST(EscapePath, countsBytesOneByOneUpToAnyLimit)
{
    const std::string run(70'000, 'a');
    EXPECT_EQ(json::countPlain(run.data(), run.size()), run.size());
    EXPECT_EQ(json::countPlain(run.data(), 0), 0U);
}

TEST(EscapePath, measuresARunOfEachByteBehindTheLastBlock)
{
    for (int value = 0; value < 256; ++value) {
        const bool plain = expectedPlain(static_cast<unsigned char>(value));
        const std::string block(json::kBlockBytes, 'a');
        EXPECT_EQ(json::plainRun(block + static_cast<char>(value)), block.size() + (plain ? 1 : 0)) << value;
    }
}

TEST(EscapePath, escapesAsThePlainLoopDoes)
{
    std::mt19937 random(20240607);
    const std::string alphabets[] = {"", "abcdefghijklmnop\"", "a\"\\\n\t\x01\x7f",
                                     "a\xc3\xa9\xc2\x80\xe2\x82\xac\xed\xa0\xf0\x9f"};
    for (int round = 0; round < 4000; ++round) {
        const std::string text = randomText(random, random() % 150, alphabets[random() % 4]);
        const std::string expected = expectedEscape(text);
        ASSERT_EQ(escaped(text, json::kLongestEscape), expected);
        ASSERT_EQ(escaped(text, json::kLongestEscape + random() % 100), expected);
        ASSERT_EQ(escaped(text, 1000), expected);
    }
}

TEST(EscapePath, escapesEveryPairOfBytesAsThePlainLoopDoes)
{
    for (unsigned first = 0; first < 256; ++first) {
        for (unsigned second = 0; second < 256; ++second) {
            for (const char* third : {"", "\x80", "\xbf", "\xc0", "a"}) {
                const std::string text = std::string{static_cast<char>(first), static_cast<char>(second)} + third;
                ASSERT_EQ(escaped(text, 100), expectedEscape(text)) << first << ' ' << second;
            }
        }
    }
}

TEST(EscapePath, writesNothingBehindItsRoom)
{
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        const std::string text = randomText(random, 60, "ab\"\xe2\x82\xac");
        const std::size_t room = json::kLongestEscape + random() % 100;
        std::vector<char> buffer(room + 64, '#');
        const char* from = text.data();
        const char* const stop = json::escape(from, from + text.size(), buffer.data(), room);
        ASSERT_LE(stop, buffer.data() + room);
        ASSERT_EQ(std::string(buffer.data() + room, 64), std::string(64, '#'));
    }
}
