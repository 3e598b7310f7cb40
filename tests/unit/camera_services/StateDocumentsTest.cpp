#include "camera/services/StateDocuments.h"

#include <gtest/gtest.h>

namespace {

using namespace camera::services;

std::string nested(std::size_t depth)
{
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += "{\"enabled\":";
    }
    return text + "1" + std::string(depth, '}');
}

// Neither blanking nor rotation.
const std::string kHostile[] = {"",
                                "null",
                                "[]",
                                "\"text\"",
                                "{",
                                "{}",
                                "{}x",
                                "{\"enabled\":true}",
                                "{\"angle\":90}",
                                nested(100000),
                                "\xFF\xFE",
                                std::string(1, '\0'),
                                "{\"angle\":45,\"served\":true}",
                                "{\"angle\":-90,\"served\":true}",
                                "{\"angle\":90,\"served\":1}",
                                "{\"angle\":\"90\",\"served\":true}",
                                "{\"angle\":90,\"served\":true}x",
                                "{\"enabled\":true,\"red\":256,\"green\":0,\"blue\":0}",
                                "{\"enabled\":true,\"red\":-1,\"green\":0,\"blue\":0}",
                                "{\"enabled\":true,\"red\":1,\"green\":0}",
                                "{\"enabled\":1,\"red\":1,\"green\":0,\"blue\":0}"};

const std::string kNoValues[] = {"",
                                 "null",
                                 "[1]",
                                 "\"text\"",
                                 "{",
                                 "{}x",
                                 nested(100000),
                                 "\xFF\xFE",
                                 std::string(1, '\0'),
                                 "{\"key\":4294967296}",
                                 "{\"key\":-2147483649}",
                                 "{\"key\":1.5}",
                                 "{\"key\":\"1\"}",
                                 "{\"key\":true}",
                                 "{\"key\":null}",
                                 "{\"key\":{}}",
                                 "{\"\":1}",
                                 "{\"good\":1,\"bad\":[]}"};

TEST(StateDocumentsTest, whatIsNotAStoredDocumentIsNotRead)
{
    for (const std::string& document : kHostile) {
        EXPECT_FALSE(parseBlanking(document)) << document.substr(0, 80);
        EXPECT_FALSE(parseOrientation(document)) << document.substr(0, 80);
    }
    for (const std::string& document : kNoValues) {
        EXPECT_FALSE(parseValues(document)) << document.substr(0, 80);
    }
}

TEST(StateDocumentsTest, tooManyOrTooLongKeysAreNotRead)
{
    Values many;
    for (std::size_t i = 0; i <= kMostValues; ++i) {
        many[std::to_string(i)] = 1;
    }
    EXPECT_FALSE(parseValues(format(many)));
    many.erase("0");
    EXPECT_TRUE(parseValues(format(many)));
    EXPECT_FALSE(parseValues(format(Values{{std::string(257, 'k'), 1}})));
    EXPECT_FALSE(parseValues("{\"a\\u0000b\":1}"));
}

TEST(StateDocumentsTest, whatIsStoredIsReadBack)
{
    const Values values{{"a\"\\\n", -5}, {"\xE2\x82\xAC", 2147483647}};
    EXPECT_EQ(parseValues(format(values)), values);
    EXPECT_EQ(parseValues("{}"), Values());
    const auto blanking = parseBlanking(format(Blanking{0, 255, 7, true}));
    ASSERT_TRUE(blanking);
    EXPECT_EQ(std::tie(blanking->red, blanking->green, blanking->blue), std::make_tuple(0, 255, 7));
    EXPECT_TRUE(blanking->enabled);
    const auto rotation = parseOrientation(format(OrientationSetting{270, false}));
    ASSERT_TRUE(rotation);
    EXPECT_EQ(rotation->degrees, 270U);
    EXPECT_FALSE(rotation->served);
}

} // namespace
