// The real module over services on the bus: what it says and does when they are there, away, broken or silent.
#include "camera/pipeline/DeviceServicesClient.h"

#include "camera/serviceapi/ServiceApi.h"
#include "integration/camera_pipeline/DeviceFixture.h"
#include "integration/camera_pipeline/FakeService.h"
#include "kit/PrivateBus.h"

namespace pipeline_test {
namespace {

using camera::pipeline::DeviceServicesClient;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class DeviceWithServicesTest : public DeviceFixture {
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        camera::base::Log::instance().setLevel(camera::base::LogLevel::info);
    }

    void start()
    {
        client = std::make_shared<DeviceServicesClient>(bus.address(), patience);
        options.services = client;
        DeviceFixture::start();
    }

    void startServices()
    {
        for (FakeService* fake : {&dayNight, &blanking, &rotate, &streamer, &configuration}) {
            fake->start();
        }
    }

    bool told(const std::string& operation)
    {
        return eventually([&] { return hosted.count(operation) > 0; });
    }

    static testing::Matcher<std::vector<std::string>> hasLine(const std::string& text)
    {
        return Contains(EndsWith(": " + text + "\n"));
    }

    kit::PrivateBus bus;
    std::chrono::milliseconds patience = 60s;
    FakeService dayNight{bus.address(), service::kDayNight};
    FakeService blanking{bus.address(), service::kWindowBlanking};
    FakeService rotate{bus.address(), service::kRotate};
    FakeService streamer{bus.address(), service::kOnvifMetadataStreamer};
    FakeService configuration{bus.address(), service::kConfiguration};
    std::shared_ptr<DeviceServicesClient> client;
};

TEST_F(DeviceWithServicesTest, finishedServicesReachTheEngine)
{
    blanking.state.value = 1;
    rotate.state.value = 90;
    startServices();
    start();
    EXPECT_THAT(hosted.journal(), Contains(testing::StartsWith("Motion blanking on ")));
    EXPECT_EQ(hosted.count("Motion orientation 90"), 1u);
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("not found"))));
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("exception"))));
}

TEST_F(DeviceWithServicesTest, theirEventsReachTheEngineAlsoAfterTheyCameBack)
{
    startServices();
    start();
    rotate.emit("orientationChanged", std::uint32_t{180});
    EXPECT_TRUE(told("Motion orientation 180"));
    rotate.stop();
    ASSERT_TRUE(eventually([this] { return !client->targetIds("rotate"); }));
    rotate.start();
    ASSERT_TRUE(eventually([this] { return client->targetIds("rotate").has_value(); }));
    rotate.emit("orientationChanged", std::uint32_t{270});
    EXPECT_TRUE(told("Motion orientation 270"));
    const auto before = rotate.sessions();
    bus.kill();
    bus.start();
    ASSERT_TRUE(eventually([&] { return rotate.sessions() > before && rotate.connected(); }));
    ASSERT_TRUE(eventually([this] { return client->targetIds("rotate").has_value(); }));
    rotate.emit("orientationChanged", std::uint32_t{90});
    EXPECT_TRUE(told("Motion orientation 90"));
}

TEST_F(DeviceWithServicesTest, thoseThatAreAbsentAreSaidToBe)
{
    start();
    EXPECT_THAT(lines(), hasLine("initializeDayNightEvents: day_night service not found"));
    EXPECT_THAT(lines(), hasLine("initializeWindowBlankingEvents: window_blanking service not found"));
    EXPECT_THAT(lines(), hasLine("initializeRotationEvents: rotation service not found"));
    EXPECT_THAT(lines(), hasLine("Failed to get default rotation position: service not available"));
    EXPECT_EQ(hosted.count("Motion orientation 0"), 1u);
    EXPECT_TRUE(device->deliver(anyFrame()));
}

TEST_F(DeviceWithServicesTest, aServiceWithoutTargetsCountsAsAbsent)
{
    FakeService empty(bus.address(), service::kDayNight, {});
    empty.start();
    start();
    EXPECT_THAT(lines(), hasLine("initializeDayNightEvents: day_night service not found"));
}

TEST_F(DeviceWithServicesTest, withoutARotationServiceTheConfigurationValueCounts)
{
    configuration.state.value = 270;
    configuration.start();
    start();
    EXPECT_EQ(hosted.count("Motion orientation 270"), 1u);
    EXPECT_EQ(client->orientation(), 270u);
}

TEST_F(DeviceWithServicesTest, thoseThatFailAreReportedAndTheirEventsAreHeard)
{
    startServices();
    rotate.state.manner = Manner::fails;
    blanking.state.manner = Manner::fails;
    start();
    EXPECT_THAT(lines(),
                Contains(HasSubstr("initializeWindowBlankingEvents: get window blanking service exception: "
                                   "Failed ravel api call: ravel_api_window_blanking_get_region_color_send(")));
    EXPECT_THAT(lines(),
                Contains(HasSubstr("initializeRotationEvents: get rotation service exception: Failed ravel api "
                                   "call: ravel_api_rotate_get_angle_send(")));
    EXPECT_EQ(hosted.count("Motion orientation 0"), 1u);
    rotate.emit("orientationChanged", std::uint32_t{180});
    EXPECT_TRUE(told("Motion orientation 180"));
}

TEST_F(DeviceWithServicesTest, thoseThatNeverAnswerAreGivenUp)
{
    startServices();
    patience = 200ms;
    rotate.state.manner = Manner::never;
    blanking.state.manner = Manner::never;
    // The services are looked up with the same patience. A busy machine may answer a look-up too late: then a service
    // counts as absent, and the start is repeated.
    ASSERT_TRUE(eventually([this] {
        log.clear();
        start();
        return log.count("service not found") == 0;
    }));
    EXPECT_THAT(lines(), Contains(HasSubstr("window_blanking did not answer getRegionColor: ")));
    EXPECT_THAT(lines(), Contains(HasSubstr("get window blanking service exception: ")));
    EXPECT_THAT(lines(), Contains(HasSubstr("get rotation service exception: ")));
    EXPECT_TRUE(device->deliver(anyFrame()));
}

TEST_F(DeviceWithServicesTest, documentsGoToTheStreamer)
{
    startServices();
    hosted.onFrame = [](const std::string&, const Hosted::Frame& frame, MetadataBuffers& outputs) {
        outputs.metadataXml = "<frame n=\"" + std::to_string(frame.timestamp[0]) + "\"/>";
        return true;
    };
    start();
    device->deliver(anyFrame(10));
    device->deliver(anyFrame(11));
    device->drain();
    EXPECT_THAT(streamer.state.documents.lines(), testing::ElementsAre("<frame n=\"10\"/> 1", "<frame n=\"11\"/> 1"));
}

TEST_F(DeviceWithServicesTest, framesDoNotWaitForAStreamerThatNeverAnswers)
{
    startServices();
    streamer.state.manner = Manner::never;
    hosted.onFrame = [](const std::string&, const Hosted::Frame&, MetadataBuffers& outputs) {
        outputs.metadataXml = "<frame/>";
        return true;
    };
    start();
    for (std::uint32_t second = 10; second < 30; ++second) {
        EXPECT_TRUE(device->deliver(anyFrame(second)));
    }
    ASSERT_TRUE(eventually([this] { return streamer.state.asked == 1; }));
    EXPECT_EQ(client->documentsTaken(), 0u);
    EXPECT_EQ(client->documentsLost(), 0u) << "the first one is still being handed over";
    client->finishBy(std::chrono::steady_clock::now());
    bus.kill(); // ends the call that waits
    device->drain();
    EXPECT_EQ(client->documentsLost(), 20u);
    EXPECT_EQ(streamer.state.asked, 1);
}

} // namespace
} // namespace pipeline_test
