#include "integration/camera_pipeline/DeviceFixture.h"

#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ServiceApi.h"
#include "camera/store/StateLock.h"

#include <sqlite3.h>

#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace {

using camera::base::Event;
using camera::pipeline::Device;
using camera::pipeline::PtzOption;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using DeviceTest = DeviceFixture;

TEST_F(DeviceTest, buildsThePluginAndAnalysesFrames)
{
    hosted.names = {"Motion", "Simple"};
    std::vector<std::string> seen;
    hosted.onFrame = [&](const std::string& engine, const Hosted::Frame& frame, MetadataBuffers&) {
        seen.push_back(engine + " " + std::to_string(frame.timestamp[0]) + "." + std::to_string(frame.timestamp[1]) +
                       " " + std::to_string(frame.width) + "x" + std::to_string(frame.height) + "/" +
                       std::to_string(frame.bytesPerRow));
        return true;
    };
    start();
    EXPECT_TRUE(device->deliver(anyFrame(1700000001)));
    EXPECT_TRUE(device->deliver(anyFrame(1700000002)));
    EXPECT_THAT(seen, ElementsAre("Motion 1700000001.5 32x16/32", "Simple 1700000001.5 32x16/32",
                                  "Motion 1700000002.5 32x16/32", "Simple 1700000002.5 32x16/32"));
    EXPECT_EQ(device->statistics().frames, 2u);
    EXPECT_EQ(device->statistics().framesFailed, 0u);
}

TEST_F(DeviceTest, letsThePluginWorkOnTheFrameItselfAndKeepsItForOthers)
{
    const camera::video::Frame frame = anyFrame();
    const std::uint8_t* data = nullptr;
    hosted.onFrame = [&](const std::string&, const Hosted::Frame& seen, MetadataBuffers&) {
        data = seen.data;
        return true;
    };
    start();
    device->deliver(frame);
    EXPECT_EQ(data, frame.data.get());
    EXPECT_EQ(frame.data.use_count(), 1);
}

TEST_F(DeviceTest, goesOnAfterAFrameThatFailed)
{
    int frame = 0;
    hosted.onFrame = [&](const std::string&, const Hosted::Frame&, MetadataBuffers&) -> bool {
        if (++frame == 1) {
            throw std::runtime_error("engine broke");
        }
        if (frame == 2) {
            throw 7;
        }
        return true;
    };
    start();
    EXPECT_FALSE(device->deliver(anyFrame()));
    EXPECT_FALSE(device->deliver(anyFrame()));
    EXPECT_TRUE(device->deliver(anyFrame()));
    EXPECT_EQ(device->statistics().frames, 3u);
    EXPECT_EQ(device->statistics().framesFailed, 2u);
    EXPECT_THAT(lines(), Contains(HasSubstr("error device: a frame failed: engine broke")));
}

TEST_F(DeviceTest, returnsWhatTheEnginesWroteForAFrame)
{
    hosted.names = {"Motion", "Simple"};
    options.engineCount = 2;
    hosted.onFrame = [](const std::string& engine, const Hosted::Frame&, MetadataBuffers& outputs) {
        std::memcpy(outputs.drawingBuffer, engine.data(), engine.size());
        outputs.drawingBufferUsed = static_cast<std::uint32_t>(engine.size());
        outputs.motionBuffer[outputs.motionBufferUsed++] = static_cast<std::uint8_t>(engine[0]);
        return true;
    };
    start();
    const auto result = device->deliver(anyFrame());
    ASSERT_TRUE(result);
    const auto& outputs = result.outputs;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(outputs.drawing), outputs.drawingBytes), "MotionSimple");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(outputs.motion), outputs.motionBytes), "MS");
}

TEST_F(DeviceTest, raisesEventsForWhoeverListens)
{
    start();
    std::vector<std::string> events;
    auto subscription = device->onEvent(
        [&](const Event& event) { events.push_back(event.topic + "|" + event.source + "|" + event.data); });
    std::thread engine([&] { hosted.events.load()->OnEvent("topic", "rule", "<tt:Message/>"); });
    engine.join();
    device->drain();
    EXPECT_THAT(events, ElementsAre("topic|rule|<tt:Message/>"));
    EXPECT_EQ(device->statistics().events, 1u);
    subscription.reset();
    hosted.events.load()->OnEvent("topic", "rule", "unheard");
    device->drain();
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(DeviceTest, writesMetadataDocumentsToTheFileAndHandsThemToTheStreamer)
{
    options.metadataFile = folder / "metadata.xml";
    hosted.onFrame = [](const std::string&, const Hosted::Frame& frame, MetadataBuffers& outputs) {
        outputs.metadataXml =
            frame.timestamp[0] % 2 == 0 ? "<frame n=\"" + std::to_string(frame.timestamp[0]) + "\"/>" : "";
        return true;
    };
    start();
    for (std::uint32_t second = 10; second < 15; ++second) {
        device->deliver(anyFrame(second));
    }
    device->drain();
    EXPECT_THAT(services->documents(), ElementsAre("<frame n=\"10\"/>", "<frame n=\"12\"/>", "<frame n=\"14\"/>"));
    EXPECT_EQ(device->statistics().documents, 3u);
    EXPECT_EQ(device->statistics().documentsWritten, 3u);
    device.reset();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), "<frame n=\"10\"/>\n<frame n=\"12\"/>\n<frame n=\"14\"/>\n");
}

TEST_F(DeviceTest, opensTheMetadataStreamOnceTheServiceAppears)
{
    services->serve("onvif_metadata_streamer", std::nullopt);
    hosted.onFrame = [](const std::string&, const Hosted::Frame&, MetadataBuffers& outputs) {
        outputs.metadataXml = "<frame/>";
        return true;
    };
    start();
    EXPECT_TRUE(device->deliver(anyFrame()));
    EXPECT_EQ(device->statistics().documents, 0u);
    services->serve("onvif_metadata_streamer");
    EXPECT_TRUE(device->deliver(anyFrame()));
    EXPECT_EQ(device->statistics().documents, 1u);
}

TEST_F(DeviceTest, keepsAConfigurationAcrossARestart)
{
    start();
    EXPECT_TRUE(device->target().setConfiguration(documentFor("Motion")));
    EXPECT_THAT(hosted.journal(), Contains("Motion activates " + documentFor("Motion")));
    hosted.reset({"Motion"});
    start();
    EXPECT_THAT(hosted.journal(), Contains("Motion activates " + documentFor("Motion")));
}

TEST_F(DeviceTest, standsAtThePresetOnceThePluginIsBuilt)
{
    options.ptz = PtzOption{{{"Gate", 10000, -5000, 200}}, "Gate"};
    std::string position;
    hosted.onFrame = [&](const std::string&, const Hosted::Frame& frame, MetadataBuffers&) {
        position = std::to_string(frame.pan) + "," + std::to_string(frame.tilt) + "," + std::to_string(frame.zoom);
        return true;
    };
    start();
    EXPECT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate")));
    EXPECT_THAT(hosted.journal(), Contains("Motion activates " + documentFor("Motion", "Gate")));
    EXPECT_THAT(device->target().usedPtzPresets(), ElementsAre("Gate"));
    device->deliver(anyFrame());
    EXPECT_EQ(position, "10000,-5000,200");
}

TEST_F(DeviceTest, givesAPresetThatNobodyDescribedAPlaceOfItsOwn)
{
    options.ptz = PtzOption{{{"Gate", 0, 0, 100}}, "Yard"};
    start();
    EXPECT_EQ(device->positioning().activePreset(), "Yard");
    EXPECT_NE(device->positioning().preset("Yard")->position.pan, device->positioning().preset("Gate")->position.pan);
    EXPECT_TRUE(goToPreset("Gate"));
    EXPECT_FALSE(goToPreset("Roof"));
}

TEST_F(DeviceTest, refusesToStandWhereItsModelCannotLook)
{
    options.ptz = PtzOption{{{"Sky", 0, 80000, 100}}, "Sky"};
    options.ptz->description.model = "dome";
    options.ptz->description.tilt.highest = 20000;
    EXPECT_EQ(refusal(), "preset 'Sky' is beyond what the camera 'dome' can reach");
}

TEST_F(DeviceTest, keepsPresetsToursAndThePlaceWhenItIsToldTo)
{
    options.ptz = PtzOption{{{"Gate", 10000, 0, 100}}, ""};
    options.ptz->keepState = true;
    start();
    ASSERT_TRUE(device->positioning().savePreset({"Yard", {20000, 0, 100}}));
    const auto stored = device->serviceApi().settings.read("camera.positioning");
    ASSERT_TRUE(stored.has_value()) << "stored when the command returns";
    EXPECT_THAT(*stored, HasSubstr("Yard"));
    ASSERT_TRUE(device->positioning().createTour({"Round", {{"Yard", std::chrono::milliseconds(1), 100}}}));
    ASSERT_TRUE(device->positioning().removePreset("Gate"));
    goToPreset("Yard");
    device->positioning().advance(std::chrono::seconds(60));
    device->drain();

    options.ptz = PtzOption();
    options.ptz->keepState = true;
    start();
    EXPECT_EQ(device->positioning().activePreset(), "Yard");
    EXPECT_EQ(device->positioning().presets().size(), 1u);
    EXPECT_EQ(device->positioning().tours().size(), 1u);
    goToPreset("Yard");
    device->positioning().drive({100, {}, {}, {}}, {"anna", 100});
    device->positioning().advance(std::chrono::seconds(1));
    const auto there = device->positioning().position();

    start();
    EXPECT_EQ(device->positioning().position(), there) << "ended on its way, it starts from there";
    EXPECT_EQ(device->positioning().activePreset(), "");

    options.ptz->keepState = false;
    start();
    EXPECT_TRUE(device->positioning().presets().empty());
}

TEST_F(DeviceTest, startsAtHomeWhenWhatItKeptCannotBeUsed)
{
    options.ptz = PtzOption{{{"Gate", 10000, 0, 100}}, ""};
    options.ptz->keepState = true;
    start();
    device->serviceApi().settings.write("camera.positioning", "{\"version\":1,\"position\":[[[");
    start();
    EXPECT_THAT(lines(), Contains(HasSubstr("error device: the stored positions cannot be used: ")));
    EXPECT_EQ(device->positioning().presets().size(), 1u);
    EXPECT_TRUE(goToPreset("Gate"));
}

TEST_F(DeviceTest, goesOnWhenThePositionsCannotBeStored)
{
    options.ptz = PtzOption{{{"Gate", 10000, 0, 100}}, ""};
    options.ptz->keepState = true;
    start();
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((options.stateDir / "settings.db").c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "DROP TABLE documents", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    const auto refused = device->positioning().savePresetHere("Yard");
    EXPECT_EQ(refused.status, camera::ptz::CommandStatus::notStored);
    EXPECT_THAT(refused.sentence, HasSubstr("the settings \"camera.positioning\" could not be stored in "));
    EXPECT_EQ(device->positioning().presets().size(), 1u);
    EXPECT_TRUE(goToPreset("Gate"));
    device->positioning().advance(std::chrono::seconds(60));
    device->drain();
    EXPECT_EQ(device->positioning().activePreset(), "Gate");
    EXPECT_THAT(lines(), Contains(HasSubstr("error device: the positions could not be stored: ")));
    EXPECT_EQ(device->statistics().controlFailures, 0u);
}

TEST_F(DeviceTest, isAFixedCameraWithoutPtz)
{
    start();
    EXPECT_FALSE(goToPreset("Gate"));
    ASSERT_NE(hosted.ptz, nullptr);
    EXPECT_FALSE(hosted.ptz->IsValid());
}

TEST_F(DeviceTest, turnsFramesAsConfiguredOrAsTheRotationServiceSays)
{
    services->configure(180);
    hosted.onFrame = [](const std::string&, const Hosted::Frame& frame, MetadataBuffers& outputs) {
        outputs.metadataXml = frame.data[0] == 9 ? "upright" : "turned";
        return true;
    };
    camera::video::Frame frame = anyFrame();
    frame.data.get()[0] = 9;
    const auto deliver = [&] {
        device->deliver(frame);
        device->drain();
    };
    start();
    deliver();
    EXPECT_THAT(hosted.journal(), Contains("Motion orientation 180"));
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("rotation"))));
    services->configure(0);
    start();
    deliver();
    services->serve("rotate");
    start();
    deliver();
    services->turn(180);
    device->drain();
    deliver();
    EXPECT_THAT(services->documents(), ElementsAre("turned", "upright", "upright", "turned"));
}

TEST_F(DeviceTest, runsWithoutServices)
{
    services->serve("day_night", std::nullopt);
    services->serve("window_blanking", std::vector<std::string>{});
    services->serve("onvif_metadata_streamer", std::nullopt);
    services->answer("configuration", camera::serviceapi::kFailed);
    start();
    EXPECT_TRUE(device->deliver(anyFrame()));
    EXPECT_THAT(lines(), AllOf(Contains(HasSubstr("initializeDayNightEvents: day_night service not found")),
                               Contains(HasSubstr("initializeWindowBlankingEvents: window_blanking service not found")),
                               Contains(HasSubstr("Failed to get default rotation position: the service failed"))));
    EXPECT_THAT(hosted.journal(), Contains("Motion orientation 0"));
}

TEST_F(DeviceTest, runsWithServicesThatFail)
{
    services->serve("rotate");
    services->turn(90);
    services->answer("window_blanking", camera::serviceapi::kFailed);
    services->answer("rotate", camera::serviceapi::kFailed);
    start();
    EXPECT_TRUE(device->deliver(anyFrame()));
    EXPECT_THAT(lines(), AllOf(Contains(HasSubstr("get window blanking service exception: ")),
                               Contains(HasSubstr("get rotation service exception: "))));
    EXPECT_THAT(hosted.journal(), Contains("Motion orientation 0"));
}

TEST_F(DeviceTest, passesDeviceEventsToTheEngines)
{
    start();
    services->blank(true);
    services->moveFilter(true);
    device->drain();
    EXPECT_THAT(hosted.journal(), Contains("Motion blanking on 128,128,128"));
    EXPECT_EQ(hosted.journal().back(), "Motion clearAllRules");
}

TEST_F(DeviceTest, offersTheTargetsOperationsAsValues)
{
    hosted.names = {"Motion", "Simple"};
    start();
    auto& target = device->target();
    EXPECT_THAT(target.eventTopics(), ElementsAre("tns1:RuleEngine/Motion", "tns1:RuleEngine/Simple"));
    EXPECT_THAT(target.supportedRules(), ElementsAre("tt:MotionRule", "tt:Other", "tt:SimpleRule", "tt:Other"));
    EXPECT_THAT(target.supportedEngines(), ElementsAre("tt:MotionEngine", "tt:SimpleEngine"));
    EXPECT_THAT(target.currentRules(), IsEmpty());
    EXPECT_THAT(target.usedPtzPresets(), IsEmpty());
    EXPECT_TRUE(target.setConfiguration(documentFor("Simple")));
    EXPECT_FALSE(target.setConfiguration(documentFor("Nobody"))) << "no engine claims it";
    EXPECT_FALSE(target.setConfiguration(documentFor("Motion", "", "invalid")));
    EXPECT_THAT(target.currentConfiguration(), StartsWith("<tt:VideoAnalyticsConfiguration "));
    EXPECT_THAT(target.presetConfiguration("Gate"), StartsWith("<tt:VideoAnalyticsConfiguration "));
    target.writeFramesToFile("Motion", "/frames", 5);
    target.readFramesFromFile("Simple", "/frames", true);
    EXPECT_THAT(hosted.journal(), AllOf(Contains("Motion writes /frames 5"), Contains("Simple reads /frames flagged")));
    target.restoreDefaultSettings();
}

TEST_F(DeviceTest, decodesTheStatusWords)
{
    using camera::pipeline::Outcome;
    start();
    auto& target = device->target();
    const std::string rule = "<tt:Rule Name=\"R\" Type=\"tt:Good\"><tt:Parameters/></tt:Rule>";
    const std::string bad = "<tt:Rule Name=\"R\" Type=\"invalid\"><tt:Parameters/></tt:Rule>";
    EXPECT_TRUE(target.createRules({rule}).ok());
    EXPECT_TRUE(target.modifyRules({}).ok());
    EXPECT_EQ(target.createRules({rule, bad}).outcome, Outcome::refused);
    EXPECT_EQ(target.createRules({"no xml"}).outcome, Outcome::refused);
    EXPECT_EQ(target.deleteRules({"unknown"}).outcome, Outcome::notFound);
    EXPECT_EQ(target.deleteEngines({"unknown"}).outcome, Outcome::notFound);
    const std::string module = "<tt:AnalyticsModule Name=\"M\" Type=\"invalid\"><tt:Parameters/></tt:AnalyticsModule>";
    EXPECT_EQ(target.createEngines({module}).outcome, Outcome::refused);
    EXPECT_EQ(target.modifyEngines({module}).outcome, Outcome::refused);
    EXPECT_TRUE(target.deleteRules({"R"}).ok());
}

TEST_F(DeviceTest, refusesTextsThatHoldANul)
{
    start();
    const std::string nul("a\0b", 3);
    EXPECT_THROW(device->target().setConfiguration(nul), std::invalid_argument);
    EXPECT_THROW(device->target().createRules({"fine", nul}), std::invalid_argument);
    EXPECT_THROW(device->target().presetConfiguration(nul), std::invalid_argument);
    EXPECT_THROW(device->target().writeFramesToFile(nul, "path", 1), std::invalid_argument);
}

TEST_F(DeviceTest, tellsTheClientReadablyThatSettingsCouldNotBeStored)
{
    start();
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((options.stateDir / "settings.db").c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "DROP TABLE documents", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    try {
        device->target().setConfiguration(documentFor("Motion"));
        FAIL() << "the store had no table left";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), StartsWith("the settings \"OnvifAnalytics\" could not be stored in " +
                                             (options.stateDir / "settings.db").string() + ": "));
    }
    EXPECT_TRUE(device->deliver(anyFrame())) << "the device lives on";
}

TEST_F(DeviceTest, refusesAStateFolderThatIsInUse)
{
    const camera::store::StateLock lock(options.stateDir);
    EXPECT_THAT(refusal(), HasSubstr("is in use by process " + std::to_string(getpid())));
}

TEST_F(DeviceTest, refusesASecondDeviceInOneProcess)
{
    start();
    camera::pipeline::DeviceOptions second = options;
    second.stateDir = folder / "second";
    try {
        const Device other(second);
        FAIL() << "two devices in one process";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "another device is running in this process; end it first");
    }
    EXPECT_TRUE(device->deliver(anyFrame()));
}

TEST_F(DeviceTest, refusesWhatItCannotUseWithOneSentence)
{
    options.pluginPath = "/nowhere/libdetection.so";
    EXPECT_EQ(refusal(), "the plug-in /nowhere/libdetection.so does not exist; build it, or name another one");
    options.pluginPath = DETECTION_MODULE;
    options.metadataFile = "/nowhere/metadata.xml";
    EXPECT_THAT(refusal(), StartsWith("the metadata file /nowhere/metadata.xml cannot be written: "));
    options.metadataFile.clear();
    options.engineCount = 0;
    EXPECT_EQ(refusal(), "a device needs at least one engine");
    options.engineCount = 1;
    options.metadataBytes = 65;
    EXPECT_THAT(refusal(), HasSubstr("a multiple of 64"));
    options.metadataBytes = 64;
    EXPECT_EQ(refusal(), "not refused");
}

TEST_F(DeviceTest, leavesNothingBehindWhenThePluginCannotBeBuilt)
{
    hosted.onCreate = [] { throw std::runtime_error("no licence for the engine"); };
    EXPECT_EQ(refusal(), std::string("the plug-in " DETECTION_MODULE " could not be built: no licence for the engine"));
    hosted.onCreate = nullptr;
    EXPECT_EQ(refusal(), "not refused");
    EXPECT_TRUE(device->deliver(anyFrame()));
}

TEST_F(DeviceTest, canBeBuiltAgainAndAgain)
{
    for (int time = 0; time < 5; ++time) {
        start();
        EXPECT_TRUE(device->deliver(anyFrame()));
        device->shutdown();
        device->shutdown();
    }
    EXPECT_EQ(hosted.count("Motion destroyed"), 5u);
}

} // namespace
