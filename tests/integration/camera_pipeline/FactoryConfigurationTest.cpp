// What a new camera begins with.
#include "camera/pipeline/FactoryConfiguration.h"

#include "camera/onvif/StoredConfigurations.h"
#include "camera/pipeline/RememberedCamera.h"
#include "camera/serviceapi/ServiceApi.h"
#include "integration/camera_pipeline/PositioningDevice.h"

#include <filesystem>

namespace {

using camera::onvif::kAnalyticsKey;
using camera::pipeline::giveFactoryConfiguration;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FactoryConfigurationTest : public PositioningDevice {
protected:
    void SetUp() override
    {
        PositioningDevice::SetUp();
        std::filesystem::create_directories(folder / "bin/factory");
        provide("Motion");
        provide("Simple");
    }

    std::string provide(const std::string& engine, const std::string& verdict = "valid")
    {
        return folder.write("bin/factory/" + engine + ".xml",
                            "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\" for=\"" +
                                engine + "\"><tt:AnalyticsEngineConfiguration><tt:AnalyticsModule Name=\"" + engine +
                                "\" Type=\"" + verdict + "\"><tt:Parameters/></tt:AnalyticsModule>" +
                                "</tt:AnalyticsEngineConfiguration></tt:VideoAnalyticsConfiguration>");
    }

    std::vector<std::string> give(bool moves = true)
    {
        return giveFactoryConfiguration(*device, moves, folder / "bin");
    }

    std::vector<std::string> storedKeys()
    {
        std::vector<std::string> keys;
        const std::string document = device->serviceApi().settings.read(kAnalyticsKey).value_or("");
        for (const auto& stored : camera::onvif::storedConfigurations(document)) {
            keys.push_back(stored.key);
        }
        return keys;
    }
};

TEST_F(FactoryConfigurationTest, givesEachEngineItsFile)
{
    std::filesystem::remove(folder / "bin/factory/Simple.xml");
    options.ptz.reset();
    start();
    EXPECT_THAT(give(false), IsEmpty());
    EXPECT_THAT(storedKeys(), ElementsAre("Motion"));
    EXPECT_THAT(device->target().currentConfiguration(), HasSubstr("Name=\"Motion\" Type=\"valid\""));
}

TEST_F(FactoryConfigurationTest, isForThePlaceWhereACameraThatMovesStands)
{
    start();
    EXPECT_THAT(give(), IsEmpty());
    EXPECT_THAT(storedKeys(), ElementsAre(std::string("Motion") + kAway, "Simple"));
    EXPECT_EQ(describe(device->activeRules()), "Motion away from presets, Simple");
    device.reset();
    options.stateDir = folder / "another";
    options.ptz->arriveAt = "Gate";
    start();
    EXPECT_THAT(give(), IsEmpty());
    EXPECT_THAT(storedKeys(), ElementsAre("MotionGate", "Simple"));
}

TEST_F(FactoryConfigurationTest, leavesAnEngineAloneThatHasAnythingStored)
{
    start();
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Yard")));
    EXPECT_THAT(give(), IsEmpty());
    EXPECT_THAT(storedKeys(), ElementsAre("MotionYard", "Simple"));
}

TEST_F(FactoryConfigurationTest, tellsWhatTheCameraRefusesAndGivesTheRest)
{
    const std::string file = provide("Motion", "invalid");
    start();
    EXPECT_THAT(give(), ElementsAre(HasSubstr("the camera refuses the configuration '" + file + "'")));
    EXPECT_THAT(storedKeys(), ElementsAre("Simple"));
}

TEST_F(FactoryConfigurationTest, isDueInANewFolderUntilItIsSaidToBeGiven)
{
    camera::base::Console console(stdout, stderr);
    const std::filesystem::path state = folder / "state";
    const auto due = [&](camera::base::CameraOptions wanted = {}) {
        return camera::pipeline::rememberedCamera(wanted, state, console).factory;
    };
    camera::base::CameraOptions given;
    given.factory = false;
    EXPECT_TRUE(due());
    EXPECT_FALSE(due(given));
    options.ptz->keepState = true;
    start(); // dies before it is remembered, but has a place of its own
    device->positioning().savePresetHere("Here");
    device.reset();
    EXPECT_TRUE(due());
    camera::pipeline::rememberCamera({}, state); // dies before all is given
    EXPECT_TRUE(due());
    camera::pipeline::rememberCamera(given, state);
    EXPECT_FALSE(due());
    folder.write("state/camera.json", "{");
    EXPECT_FALSE(due()) << "its record is damaged";
}

TEST_F(FactoryConfigurationTest, isNotDueWhereAnEarlierVersionStoredConfigurations)
{
    start();
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion")));
    device.reset();
    camera::base::Console console(stdout, stderr);
    EXPECT_FALSE(camera::pipeline::rememberedCamera({}, folder / "state", console).factory);
}

} // namespace
