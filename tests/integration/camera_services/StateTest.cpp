#include "integration/camera_services/ServicesFixture.h"
#include "kit/FileSizeLimit.h"

#include <optional>

namespace {

using namespace services_test;
using namespace camera::services;
using testing::HasSubstr;
using testing::StartsWith;

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
    EXPECT_EQ(log.count("is not what this service stores; the defaults hold"), 3U);
    EXPECT_EQ(client.enabled(), 0);
    EXPECT_EQ(client.angle(), 0U);
    EXPECT_EQ(client.value("default_analytics_rotation"), 0);
}

TEST_F(StateTest, aFullDiskIsAReadableFailureAndMemoryAndDiskAgree)
{
    Values acknowledged{{"default_analytics_rotation", 0}};
    std::string refused;
    auto full = std::make_optional<FileSizeLimit>(64 * 1024);
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
    EXPECT_EQ(client.values(), acknowledged);
    full.reset();
    restart();
    EXPECT_EQ(client.values(), acknowledged);
}

TEST_F(StateTest, aChangeThatCannotBeStoredIsNoEventAndNoChange)
{
    client.setAngle(90);
    std::string rotation;
    std::string blanking;
    std::string value;
    {
        const FileSizeLimit full(0);
        rotation = client.refusal(service::kRotate, "setAngle", 180U);
        blanking = client.refusal(service::kWindowBlanking, "setEnable", true);
        value = client.refusal(service::kConfiguration, "setIntValue", std::string("key"), 1);
    }
    EXPECT_THAT(rotation, StartsWith("ravel.Error.Failed|the settings \"rotate\" could not be stored in "));
    EXPECT_THAT(blanking, StartsWith("ravel.Error.Failed|the settings \"window_blanking\" could not be stored in "));
    EXPECT_THAT(value, StartsWith("ravel.Error.Failed|the settings \"configuration\" could not be stored in "));
    EXPECT_EQ(client.angle(), 90U);
    EXPECT_EQ(client.enabled(), 0);
    EXPECT_EQ(client.values().size(), 1U);
    // When the disk has space again it goes on, and nothing was told in between.
    client.setAngle(270);
    EXPECT_THAT(client.journal.lines(2), testing::ElementsAre("orientationChanged 90", "orientationChanged 270"));
    restart();
    EXPECT_EQ(client.angle(), 270U);
    EXPECT_EQ(client.enabled(), 0);
}

} // namespace
