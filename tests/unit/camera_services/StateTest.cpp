#include "unit/camera_services/ServicesFixture.h"

namespace {

using namespace services_test;
using namespace camera::services;
using testing::HasSubstr;
using testing::StartsWith;

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
        EXPECT_FALSE(parseRotation(document)) << document.substr(0, 80);
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
    const auto rotation = parseRotation(format(Rotation{270, false}));
    ASSERT_TRUE(rotation);
    EXPECT_EQ(rotation->angleDegrees, 270U);
    EXPECT_FALSE(rotation->served);
}

class StateTest : public ServicesFixture {};

TEST_F(StateTest, brokenDocumentsGiveTheDefaultsAndOneLineEach)
{
    process.reset();
    {
        camera::ravel::SettingsStore store({folder / "services", 0});
        store.write(service::kWindowBlanking, "{\"enabled\":true,\"red\":256,\"green\":0,\"blue\":0}");
        store.write(service::kRotate, "{\"angle\":45,\"served\":false}");
        store.write(service::kConfiguration, "no JSON");
    }
    start();
    EXPECT_EQ(logged("is not what this service stores; the defaults hold"), 3U);
    EXPECT_EQ(client.one<std::uint8_t>(service::kWindowBlanking, "getEnable"), 0);
    EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 0U);
    EXPECT_EQ(
        client.one<std::int32_t>(service::kConfiguration, "getIntValue", std::string("default_analytics_rotation")), 0);
}

TEST_F(StateTest, aFullDiskIsAReadableFailureAndMemoryAndDiskAgree)
{
    options.maxStoreBytes = 64 * 1024;
    restart();
    Values acknowledged{{"default_analytics_rotation", 0}};
    std::string refused;
    for (int i = 0; i < 1000 && refused.empty(); ++i) {
        const std::string key = std::to_string(1000 + i) + std::string(240, 'k');
        const std::string outcome = client.refusal(service::kConfiguration, "setIntValue", key, i);
        if (outcome == "answered") {
            acknowledged[key] = i;
        } else {
            refused = outcome;
        }
    }
    EXPECT_THAT(refused, StartsWith("ravel.Error.Failed|the settings \"configuration\" could not be stored in "));
    EXPECT_GT(acknowledged.size(), 2U);
    EXPECT_EQ(client.one<Values>(service::kConfiguration, "list"), acknowledged);
    options.maxStoreBytes = 0;
    restart();
    EXPECT_EQ(client.one<Values>(service::kConfiguration, "list"), acknowledged);
}

TEST_F(StateTest, aChangeThatCannotBeStoredIsNoEvent)
{
    options.maxStoreBytes = 64 * 1024;
    restart();
    std::string outcome = "answered";
    for (int i = 0; i < 1000 && outcome == "answered"; ++i) {
        outcome =
            client.refusal(service::kConfiguration, "setIntValue", std::to_string(1000 + i) + std::string(240, 'k'), i);
    }
    ASSERT_NE(outcome, "answered");
    std::uint32_t angle = 0;
    std::size_t stored = 0;
    // Small documents may still fit for a while.
    for (std::uint32_t i = 1; i < 500; ++i) {
        if (client.refusal(service::kRotate, "setAngle", 90 * (i % 4)) != "answered") {
            EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), angle);
            break;
        }
        angle = 90 * (i % 4);
        ++stored;
    }
    client.ask<>(service::kDayNight, "begin");
    EXPECT_EQ(client.journal.lines(stored + 1).at(stored), "movementChange 1");
}

} // namespace
