#include "unit/camera_services/ServicesFixture.h"

#include <csignal>
#include <sys/resource.h>

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
    const auto orientation = parseOrientation(format(OrientationSetting{270, false}));
    ASSERT_TRUE(orientation);
    EXPECT_EQ(orientation->degrees, 270U);
    EXPECT_FALSE(orientation->served);
}

class StateTest : public ServicesFixture {};

TEST_F(StateTest, brokenDocumentsGiveTheDefaultsAndOneLineEach)
{
    process.reset();
    {
        camera::store::SettingsStore store(folder / "services");
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

/// As long as it lives no file of this process can grow: a disk that is full.
class NoRoom {
public:
    NoRoom() : _signal(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit none{0, _before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoRoom()
    {
        ::setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _signal);
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;

private:
    rlimit _before{};
    void (*_signal)(int);
};

TEST_F(StateTest, aChangeThatCannotBeStoredIsNoEventAndNoChange)
{
    client.ask<>(service::kRotate, "setAngle", 90U);
    std::string rotation;
    std::string blanking;
    std::string value;
    {
        const NoRoom full;
        rotation = client.refusal(service::kRotate, "setAngle", 180U);
        blanking = client.refusal(service::kWindowBlanking, "setEnable", true);
        value = client.refusal(service::kConfiguration, "setIntValue", std::string("key"), 1);
    }
    EXPECT_THAT(rotation, StartsWith("ravel.Error.Failed|the settings \"rotate\" could not be stored in "));
    EXPECT_THAT(blanking, StartsWith("ravel.Error.Failed|the settings \"window_blanking\" could not be stored in "));
    EXPECT_THAT(value, StartsWith("ravel.Error.Failed|the settings \"configuration\" could not be stored in "));
    EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 90U);
    EXPECT_EQ(client.one<std::uint8_t>(service::kWindowBlanking, "getEnable"), 0);
    EXPECT_EQ(client.one<Values>(service::kConfiguration, "list").size(), 1U);
    // When the disk has space again it goes on, and nothing was told in between.
    client.ask<>(service::kRotate, "setAngle", 270U);
    EXPECT_THAT(client.journal.lines(2), testing::ElementsAre("orientationChanged 90", "orientationChanged 270"));
    restart();
    EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 270U);
    EXPECT_EQ(client.one<std::uint8_t>(service::kWindowBlanking, "getEnable"), 0);
}

} // namespace
