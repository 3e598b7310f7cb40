#include "integration/camera_services/ServicesFixture.h"

#include <limits>

namespace {

using namespace services_test;
using namespace testing;

class ServicesTest : public ServicesFixture {
protected:
    std::string refusedFault(const std::string& name, const std::string& fault, double seconds)
    {
        return client.refusal(service::kServices, "setFault", name, fault, seconds);
    }
};

TEST_F(ServicesTest, startsWithTheDefaults)
{
    EXPECT_FALSE(client.moving());
    EXPECT_EQ(client.color(), Color(128, 128, 128));
    EXPECT_EQ(client.enabled(), 0);
    EXPECT_EQ(client.angle(), 0U);
    EXPECT_THAT(client.values(), ElementsAre(Pair("default_analytics_rotation", 0)));
}

TEST_F(ServicesTest, eachBeginAndEndOfAMovementIsAnEvent)
{
    for (const char* method : {"begin", "begin", "end", "end"}) {
        client.ask<>(service::kDayNight, method);
        EXPECT_EQ(client.moving(), std::string(method) == "begin");
    }
    EXPECT_THAT(client.journal.lines(4),
                ElementsAre("movementChange 1", "movementChange 1", "movementChange 0", "movementChange 0"));
}

TEST_F(ServicesTest, aMovementEndsWithTheProcess)
{
    client.ask<>(service::kDayNight, "begin");
    restart();
    EXPECT_FALSE(client.moving());
}

TEST_F(ServicesTest, eachBlankingSettingIsAnEventThatComesWhenItHolds)
{
    client.ask<>(service::kWindowBlanking, "setRegionColor", std::uint8_t{255}, std::uint8_t{0}, std::uint8_t{1});
    client.setEnabled(true);
    client.setEnabled(true);
    client.setEnabled(false);
    EXPECT_THAT(client.journal.lines(4),
                ElementsAre("settingsChanged 0", "settingsChanged 1", "settingsChanged 1", "settingsChanged 0"));
    EXPECT_EQ(client.color(), Color(255, 0, 1));
    EXPECT_EQ(client.enabled(), 0);
}

TEST_F(ServicesTest, eachAngleSetIsAnEvent)
{
    for (const std::uint32_t degrees : {90U, 90U, 180U, 270U, 0U}) {
        client.setAngle(degrees);
        EXPECT_EQ(client.angle(), degrees);
    }
    EXPECT_THAT(client.journal.lines(5),
                ElementsAre("orientationChanged 90", "orientationChanged 90", "orientationChanged 180",
                            "orientationChanged 270", "orientationChanged 0"));
}

TEST_F(ServicesTest, anAngleThatIsNoQuarterTurnIsRefusedWithoutAnEvent)
{
    client.setAngle(90);
    for (const std::uint32_t degrees : {1U, 89U, 360U, std::numeric_limits<std::uint32_t>::max()}) {
        EXPECT_EQ(client.refusal(service::kRotate, "setAngle", degrees),
                  "ravel.Error.Refused|the angle is 0, 90, 180 or 270 degrees, not " + std::to_string(degrees));
    }
    EXPECT_EQ(client.angle(), 90U);
    client.setAngle(0);
    EXPECT_THAT(client.journal.lines(2), ElementsAre("orientationChanged 90", "orientationChanged 0"));
}

TEST_F(ServicesTest, configurationValuesAreSetReadListedAndRemoved)
{
    client.setValue("low", std::numeric_limits<std::int32_t>::min());
    client.setValue("high", std::numeric_limits<std::int32_t>::max());
    client.setValue("low", -1);
    EXPECT_EQ(client.value("low"), -1);
    EXPECT_EQ(client.value("high"), std::numeric_limits<std::int32_t>::max());
    client.ask<>(service::kConfiguration, "removeValue", std::string("high"));
    EXPECT_THAT(client.values(), ElementsAre(Pair("default_analytics_rotation", 0), Pair("low", -1)));
}

TEST_F(ServicesTest, keysThatCannotBeAreRefused)
{
    const std::string tooLong(257, 'k');
    EXPECT_EQ(client.refusal(service::kConfiguration, "setIntValue", std::string(), 1),
              "ravel.Error.Refused|the key of a configuration value is not empty");
    EXPECT_EQ(client.refusal(service::kConfiguration, "setIntValue", tooLong, 1),
              "ravel.Error.Refused|the key of a configuration value has at most 256 bytes, not 257");
    EXPECT_EQ(client.refusal(service::kConfiguration, "getIntValue", tooLong),
              "ravel.Error.Refused|the key of a configuration value has at most 256 bytes, not 257");
    EXPECT_EQ(client.refusal(service::kConfiguration, "getIntValue", std::string("no such")),
              "ravel.Error.Refused|there is no configuration value 'no such'");
    EXPECT_EQ(client.refusal(service::kConfiguration, "removeValue", std::string("no such")),
              "ravel.Error.Refused|there is no configuration value 'no such'");
    client.setValue(std::string(256, 'k'), 1);
    EXPECT_EQ(client.values().size(), 2U);
}

TEST_F(ServicesTest, thereIsALimitToHowManyValues)
{
    // Stored beforehand: a thousand durable writes would take their time.
    process.reset();
    {
        camera::store::SettingsStore store(folder / "services");
        camera::services::Values many;
        for (std::size_t i = 0; i < camera::services::kMostValues; ++i) {
            many["key" + std::to_string(i)] = static_cast<std::int32_t>(i);
        }
        store.write(service::kConfiguration, camera::services::format(many));
    }
    start();
    EXPECT_EQ(client.refusal(service::kConfiguration, "setIntValue", std::string("one more"), 1),
              "ravel.Error.Refused|there are 1000 configuration values already; remove one first");
    client.setValue("key7", 70);
    EXPECT_EQ(client.value("key7"), 70);
    EXPECT_EQ(client.values().size(), camera::services::kMostValues);
}

TEST_F(ServicesTest, everythingStoredSurvivesARestart)
{
    client.ask<>(service::kWindowBlanking, "setRegionColor", std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3});
    client.setEnabled(true);
    client.setAngle(270);
    client.setValue("mine \xC3\xA4\"\\", 7);
    client.ask<>(service::kConfiguration, "removeValue", std::string("default_analytics_rotation"));
    restart();
    EXPECT_EQ(client.color(), Color(1, 2, 3));
    EXPECT_EQ(client.enabled(), 1);
    EXPECT_EQ(client.angle(), 270U);
    EXPECT_THAT(client.values(), ElementsAre(Pair("mine \xC3\xA4\"\\", 7)));
}

TEST_F(ServicesTest, theRotationGivenAtTheStartSetsTheAngleAndTheDefault)
{
    client.setAngle(90);
    options.orientationDegrees = 180;
    restart();
    EXPECT_EQ(client.angle(), 180U);
    EXPECT_EQ(client.value("default_analytics_rotation"), 180);
    options.orientationDegrees.reset();
    restart();
    EXPECT_EQ(client.angle(), 180U);
    EXPECT_EQ(client.value("default_analytics_rotation"), 180);
}

TEST_F(ServicesTest, aCameraWithoutARotationServiceStaysOneUntilItIsToldOtherwise)
{
    options.rotationService = false;
    restart();
    EXPECT_FALSE(client.isServed(service::kRotate));
    EXPECT_TRUE(client.isServed(service::kConfiguration));
    client.setFault(service::kRotate, "off");
    EXPECT_FALSE(client.isServed(service::kRotate));
    options.rotationService.reset();
    restart();
    EXPECT_FALSE(client.isServed(service::kRotate));
    options.rotationService = true;
    restart();
    EXPECT_TRUE(client.isServed(service::kRotate));
}

TEST_F(ServicesTest, unknownServicesFaultsAndDelaysAreRefused)
{
    EXPECT_EQ(refusedFault("daynight", "off", 0),
              "ravel.Error.Refused|there is no service 'daynight', only day_night, window_blanking, rotate, "
              "onvif_metadata_streamer and configuration");
    EXPECT_EQ(refusedFault("services", "absent", 0).substr(0, 52),
              "ravel.Error.Refused|there is no service 'services', ");
    EXPECT_EQ(refusedFault("rotate", "broken", 0),
              "ravel.Error.Refused|there is no fault 'broken', only absent, fail, slow and off");
    for (const double seconds :
         {0.0, -1.0, 3600.1, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(refusedFault("rotate", "slow", seconds),
                  "ravel.Error.Refused|a slow service takes more than 0 and at most 3600 seconds for an answer");
    }
    for (const auto& [name, fault] : client.one<std::map<std::string, std::string>>(service::kServices, "faults")) {
        EXPECT_EQ(fault, "off") << name;
    }
}

TEST_F(ServicesTest, itsPropertiesSayWhatHolds)
{
    client.setAngle(90);
    client.setFault(service::kRotate, "slow", 0.1);
    const auto all = client.properties(service::kServices);
    EXPECT_EQ(all.at("Pid").get<std::uint32_t>(), static_cast<std::uint32_t>(getpid()));
    EXPECT_EQ(all.at("State").get<std::string>(), (folder / "services").string());
    EXPECT_EQ(all.at("Orientation").get<std::uint32_t>(), 90U);
    EXPECT_TRUE(all.at("RotationServed").get<bool>());
    EXPECT_FALSE(all.at("Moving").get<bool>());
    EXPECT_FALSE(all.at("Blanking").get<bool>());
    using Row = sdbus::Struct<std::string, std::string, double>;
    const auto faults = all.at("FaultSettings").get<std::vector<Row>>();
    EXPECT_THAT(faults, testing::Contains(Row("rotate", "slow", 0.1)));
    EXPECT_THAT(faults, testing::Contains(Row("day_night", "off", 0)));
}

TEST_F(ServicesTest, anotherProcessOnTheSameStateIsRefused)
{
    EXPECT_THAT(refusalOf([this] { camera::services::ServicesProcess second(options); }),
                HasSubstr("is in use by process " + std::to_string(getpid())));
    EXPECT_EQ(client.angle(), 0U);
}

} // namespace
