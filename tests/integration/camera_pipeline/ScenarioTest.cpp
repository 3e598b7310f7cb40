// What a run begins with.
#include "camera/pipeline/Scenario.h"

#include "integration/camera_pipeline/PositioningDevice.h"

#include <filesystem>
#include <fstream>

namespace {

using camera::base::RunOptions;
using camera::pipeline::Scenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class ScenarioTest : public DeviceFixture {
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        hosted.reset({"Motion", "Simple"});
        options.engineCount = 2;
        run.input = "scene:";
        run.camera.ptz = true;
        run.places = {{"Gate", 10, 0, 1}, {"Yard", -20, -5.5, 2.5}};
    }

    std::string file(const std::string& name, const std::string& xml)
    {
        const std::filesystem::path path = folder / name;
        std::ofstream(path) << xml;
        return path.string();
    }

    /// A file whose rule the engine takes.
    std::string configuration(const std::string& engine, const std::string& verdict = "valid",
                              const std::string& preset = "")
    {
        std::string xml = documentFor(engine, preset, verdict);
        xml.insert(xml.find(' '), " xmlns:tt=\"http://www.onvif.org/ver10/schema\"");
        return file(engine + preset + verdict + ".xml", xml);
    }

    std::vector<std::string> begin()
    {
        const Scenario scenario(run);
        options.ptz = Scenario::positioning(run);
        start();
        auto notices = scenario.configure(*device);
        scenario.startTour(*device);
        device->drain();
        return notices;
    }

    std::string refused()
    {
        try {
            begin();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "not refused";
    }

    RunOptions run;
};

TEST_F(ScenarioTest, placesBecomePresets)
{
    run.places.push_back({"Back", 360, 90, 1});
    begin();
    const auto presets = device->positioning().presets();
    ASSERT_EQ(presets.size(), 3u);
    EXPECT_EQ(presets[0].name, "Gate");
    EXPECT_EQ(presets[0].position, (camera::ptz::Position{10000, 0, 100}));
    EXPECT_EQ(presets[1].position, (camera::ptz::Position{340000, -5500, 250}));
    EXPECT_EQ(presets[2].position, (camera::ptz::Position{0, 90000, 100}));
}

TEST_F(ScenarioTest, theModelIsTheOneThatIsNamed)
{
    run.camera.model = std::string(CAMERA_DESCRIPTIONS) + "/ptz-dome.json";
    EXPECT_EQ(Scenario::positioning(run).description.model, camera::ptz::readDescription(run.camera.model).model);
    run.camera.model = "no such model";
    EXPECT_THROW(Scenario::positioning(run), camera::base::UsageError);
}

TEST_F(ScenarioTest, saysWhichConfigurationIsForAnotherPlace)
{
    run.camera.preset = "Yard";
    run.configFiles = {configuration("Simple"), configuration("Motion", "valid", "Gate"),
                       configuration("Motion", "valid", "Yard")};
    EXPECT_THAT(begin(), ElementsAre("'" + run.configFiles[1] +
                                     "' is stored for another place than the one where the "
                                     "camera stands."));
    EXPECT_EQ(describe(device->activeRules()), "Motion at Yard, Simple");
    EXPECT_EQ(device->positioning().activePreset(), "Yard");
    for (const char* preset : {"Gate", "Yard"}) {
        EXPECT_THAT(device->target().presetConfiguration(preset), HasSubstr("Value=\"" + std::string(preset) + "\""));
    }
}

TEST_F(ScenarioTest, theTourStarts)
{
    run.tour = {{"Yard", 0.25}, {"Gate"}};
    begin();
    const auto tours = device->positioning().tours();
    ASSERT_EQ(tours.size(), 1u);
    ASSERT_EQ(tours[0].stops.size(), 2u);
    EXPECT_EQ(tours[0].stops[0].dwell, std::chrono::milliseconds(250));
    EXPECT_EQ(tours[0].stops[1].dwell, std::chrono::milliseconds(5000));
    const auto progress = device->positioning().tourProgress();
    ASSERT_TRUE(progress.has_value());
    EXPECT_EQ(progress->preset, "Yard");
}

TEST_F(ScenarioTest, refusesATourOfAPresetThatThereIsNot)
{
    run.tour = {{"Gate"}, {"Roof"}};
    EXPECT_EQ(refused(), "--tour: there is no preset 'Roof'");
}

TEST_F(ScenarioTest, refusesAFileBeforeAnythingStarts)
{
    run.configFiles = {(folder / "missing.xml").string()};
    EXPECT_THROW(Scenario{run}, std::runtime_error);
    run.configFiles = {file("broken.xml", "<tt:Video")};
    EXPECT_THROW(Scenario{run}, std::runtime_error);
}

TEST_F(ScenarioTest, refusesWhatTheCameraRefuses)
{
    const std::string xml = configuration("Motion", "invalid");
    run.configFiles = {xml};
    EXPECT_THAT(refused(), StartsWith("the camera refuses the configuration '" + xml + "': "));
}

} // namespace
