// The device's services as the pipeline process sees them: who is there, what they say, what they answer.
#include "camera/pipeline/DeviceServicesClient.h"

#include "camera/serviceapi/Status.h"
#include "integration/camera_pipeline/FakeService.h"
#include "kit/LogLines.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <future>
#include <optional>

namespace pipeline_test {
namespace {

using camera::pipeline::DeviceServicesClient;
using camera::serviceapi::RegionColor;
using camera::serviceapi::Status;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Ids = std::optional<std::vector<std::string>>;
const Ids kMain = std::vector<std::string>{"main"};

struct Heard final : camera::serviceapi::DeviceServices::Listener {
    kit::LineJournal journal;
    void dayNightMoves(bool moving) override { journal.add(moving ? "begins" : "ends"); }
    void blankingChanged(bool enabled) override { journal.add(enabled ? "on" : "off"); }
    void orientationChanged(std::uint32_t angle) override { journal.add(std::to_string(angle)); }
};

class DeviceServicesClientTest : public testing::Test {
protected:
    void startServices()
    {
        for (FakeService* fake : {&dayNight, &blanking, &rotate, &streamer, &configuration}) {
            fake->start();
        }
    }

    void make(std::chrono::milliseconds patience = 60s)
    {
        services = std::make_unique<DeviceServicesClient>(bus.address(), patience);
    }

    void watch(std::chrono::milliseconds patience = 60s)
    {
        make(patience);
        services->start(heard);
    }

    Ids ids(const std::string& name) { return services->targetIds(name); }

    bool becomes(const std::string& name, const Ids& wanted)
    {
        return eventually([&] { return ids(name) == wanted; });
    }

    ravel_core_status askAngle()
    {
        std::uint32_t angle = 0;
        return services->orientation(angle);
    }

    void restartBus()
    {
        const auto before = services->sessions();
        bus.kill();
        bus.start();
        ASSERT_TRUE(eventually([&] { return services->sessions() > before && services->connected(); }));
    }

    kit::PrivateBus bus;
    kit::LogLines log;
    Heard heard;
    FakeService dayNight{bus.address(), service::kDayNight};
    FakeService blanking{bus.address(), service::kWindowBlanking};
    FakeService rotate{bus.address(), service::kRotate};
    FakeService streamer{bus.address(), service::kOnvifMetadataStreamer};
    FakeService configuration{bus.address(), service::kConfiguration};
    std::unique_ptr<DeviceServicesClient> services; // ends before what hears it
};

TEST_F(DeviceServicesClientTest, thoseThatAreThereAtTheStartAreKnownAtOnce)
{
    startServices();
    rotate.state.value = 90;
    watch();
    for (const char* name : {service::kDayNight, service::kWindowBlanking, service::kRotate,
                             service::kOnvifMetadataStreamer, service::kConfiguration}) {
        EXPECT_EQ(ids(name), kMain) << name;
    }
    EXPECT_EQ(services->orientation(), 90u);
}

TEST_F(DeviceServicesClientTest, queriesAreAnswered)
{
    startServices();
    blanking.state.value = 1;
    rotate.state.value = 270;
    configuration.state.value = 17;
    watch();
    RegionColor color;
    EXPECT_EQ(services->regionColor(color), Status::kOk);
    EXPECT_EQ(color.red, 255);
    EXPECT_EQ(color.green, 0);
    EXPECT_EQ(color.blue, 0);
    bool enabled = false;
    EXPECT_EQ(services->blankingEnabled(enabled), Status::kOk);
    EXPECT_TRUE(enabled);
    std::uint32_t angle = 0;
    EXPECT_EQ(services->orientation(angle), Status::kOk);
    EXPECT_EQ(angle, 270u);
    int value = 0;
    EXPECT_EQ(services->configurationValue("any \xFF key", value), Status::kOk);
    EXPECT_EQ(value, 17);
}

TEST_F(DeviceServicesClientTest, withoutServicesEverythingIsUnavailableAndNothingIsWritten)
{
    watch();
    for (const char* name : {service::kDayNight, service::kWindowBlanking, service::kRotate,
                             service::kOnvifMetadataStreamer, service::kConfiguration}) {
        EXPECT_EQ(ids(name), std::nullopt) << name;
    }
    RegionColor color;
    color.red = 1;
    EXPECT_EQ(services->regionColor(color), Status::kUnavailable);
    EXPECT_EQ(color.red, 1);
    bool enabled = true;
    EXPECT_EQ(services->blankingEnabled(enabled), Status::kUnavailable);
    EXPECT_TRUE(enabled);
    std::uint32_t angle = 7;
    EXPECT_EQ(services->orientation(angle), Status::kUnavailable);
    EXPECT_EQ(angle, 7u);
    int value = 7;
    EXPECT_EQ(services->configurationValue("key", value), Status::kUnavailable);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(services->orientation(), 0u);
}

TEST_F(DeviceServicesClientTest, withoutABusTheWatchEndsAndEverythingIsUnavailable)
{
    bus.kill();
    watch(50ms);
    EXPECT_EQ(askAngle(), Status::kUnavailable);
    bus.start();
    rotate.start();
    EXPECT_TRUE(becomes(service::kRotate, kMain)) << "a bus that comes later is found";
}

TEST_F(DeviceServicesClientTest, errorsBecomeStatuses)
{
    startServices();
    watch();
    rotate.state.manner = Manner::fails;
    EXPECT_EQ(askAngle(), Status::kFailed);
    rotate.state.manner = Manner::refuses;
    EXPECT_EQ(askAngle(), Status::kNotFound);
    rotate.state.manner = Manner::answers;
    EXPECT_EQ(askAngle(), Status::kOk);
}

TEST_F(DeviceServicesClientTest, oneThatNeverAnswersIsUnavailableAndTheOthersAnswer)
{
    startServices();
    rotate.state.manner = Manner::never;
    watch(300ms);
    ASSERT_TRUE(becomes(service::kRotate, kMain));
    ASSERT_TRUE(becomes(service::kConfiguration, kMain));
    EXPECT_EQ(askAngle(), Status::kUnavailable);
    int value = 0;
    EXPECT_TRUE(eventually([&] { return services->configurationValue("key", value) == Status::kOk; }));
    rotate.state.manner = Manner::answers;
    EXPECT_TRUE(eventually([&] { return askAngle() == Status::kOk; })) << "late answers do not get in the way";
}

TEST_F(DeviceServicesClientTest, oneThatComesLaterIsFoundGoesAndComesBack)
{
    watch();
    for (int round = 0; round < 3; ++round) {
        dayNight.start();
        EXPECT_TRUE(becomes(service::kDayNight, kMain));
        dayNight.stop();
        EXPECT_TRUE(becomes(service::kDayNight, std::nullopt));
    }
}

TEST_F(DeviceServicesClientTest, oneWithoutTargetsIsThereWithNone)
{
    FakeService empty(bus.address(), service::kDayNight, {});
    empty.start();
    watch();
    EXPECT_EQ(ids(service::kDayNight), std::vector<std::string>());
}

TEST_F(DeviceServicesClientTest, oneWithSeveralTargetsIsThereWithAllOfThem)
{
    FakeService several(bus.address(), service::kDayNight, {"main", "left", "right"});
    several.start();
    watch();
    ASSERT_TRUE(ids(service::kDayNight).has_value());
    EXPECT_THAT(*ids(service::kDayNight), UnorderedElementsAre("main", "left", "right"));
    several.emit("movementChange", true);
    EXPECT_THAT(heard.journal.lines(1), ElementsAre("begins"));
}

/// A process that owns a name and has stopped to do anything.
class SleepingService {
public:
    SleepingService(const std::string& address, const std::string& name)
        : _name(camera::bus::busName(name)),
          _connection(sdbus::createSessionBusConnectionWithAddress(address)),
          _objects{sdbus::createObject(*_connection, camera::bus::objectPath(name)),
                   sdbus::createObject(*_connection, camera::bus::objectPath(service::kRotate))}
    {
        for (const auto& object : _objects) {
            object->registerMethod("nothing").onInterface("test.Nothing").implementedAs([] {});
            object->finishRegistration();
        }
        _connection->requestName(_name);
    }
    ~SleepingService()
    {
        if (_thread.joinable()) {
            _connection->leaveEventLoop();
            _thread.join();
        }
    }

    void releaseName() { _connection->releaseName(_name); }
    void wake()
    {
        _thread = std::thread([this] { _connection->enterEventLoop(); });
    }
    void requestName(const std::string& name) { _connection->requestName(camera::bus::busName(name)); }

private:
    const std::string _name;
    std::unique_ptr<sdbus::IConnection> _connection;
    const std::array<std::unique_ptr<sdbus::IObject>, 2> _objects;
    std::thread _thread;
};

TEST_F(DeviceServicesClientTest, oneThatSleepsAtTheStartIsFoundWhenItWakes)
{
    SleepingService sleeping(bus.address(), service::kDayNight);
    rotate.state.manner = Manner::never;
    rotate.start();
    watch(50ms);
    ASSERT_TRUE(becomes(service::kRotate, kMain));
    EXPECT_EQ(askAngle(), Status::kUnavailable) << "given up later than the look-up";
    EXPECT_EQ(ids(service::kDayNight), std::nullopt);
    sleeping.wake();
    EXPECT_TRUE(becomes(service::kDayNight, kMain));
}

TEST_F(DeviceServicesClientTest, aLateAnswerOfAnOwnerThatHasGoneSaysNothingAboutTheNewOne)
{
    SleepingService sleeping(bus.address(), service::kDayNight);
    make();
    std::thread watching([this] { services->start(heard); });
    ASSERT_TRUE(eventually([this] { return services->connected(); })) << "the look-ups are under way";
    // Another one takes the name meanwhile.
    sleeping.releaseName();
    FakeService several(bus.address(), service::kDayNight, {"main", "left"});
    several.start();
    watching.join();
    ASSERT_TRUE(eventually([this] { return ids(service::kDayNight).has_value(); }));
    EXPECT_EQ(ids(service::kDayNight)->size(), 2u);
    // What it is asked next is answered after what it was asked first.
    sleeping.requestName(service::kRotate);
    sleeping.wake();
    ASSERT_TRUE(eventually([&] { return ids(service::kRotate).has_value(); }));
    EXPECT_EQ(ids(service::kDayNight)->size(), 2u);
}

TEST_F(DeviceServicesClientTest, eventsAreHeardInOrder)
{
    startServices();
    watch();
    dayNight.emit("movementChange", true);
    dayNight.emit("movementChange", false);
    ASSERT_EQ(heard.journal.lines(2).size(), 2u);
    blanking.emit("settingsChanged", true);
    blanking.emit("settingsChanged", false);
    ASSERT_EQ(heard.journal.lines(4).size(), 4u);
    for (const std::uint32_t angle : {90U, 180U, 270U, 0U}) {
        rotate.emit("orientationChanged", angle);
    }
    EXPECT_THAT(heard.journal.lines(8), ElementsAre("begins", "ends", "on", "off", "90", "180", "270", "0"));
}

TEST_F(DeviceServicesClientTest, aServiceThatCameBackIsHeard)
{
    startServices();
    watch();
    dayNight.stop();
    ASSERT_TRUE(becomes(service::kDayNight, std::nullopt));
    dayNight.start();
    ASSERT_TRUE(becomes(service::kDayNight, kMain));
    dayNight.emit("movementChange", true);
    EXPECT_THAT(heard.journal.lines(1), ElementsAre("begins"));
}

TEST_F(DeviceServicesClientTest, servicesAreHeardAfterTheBusCameBack)
{
    startServices();
    watch();
    for (std::size_t round = 1; round <= 3; ++round) {
        const auto served = rotate.sessions();
        restartBus();
        ASSERT_TRUE(eventually([&] { return rotate.sessions() > served && rotate.connected(); }));
        ASSERT_TRUE(becomes(service::kRotate, kMain));
        rotate.emit("orientationChanged", std::uint32_t{180});
        EXPECT_EQ(heard.journal.lines(round).size(), round);
        EXPECT_TRUE(eventually([&] { return askAngle() == Status::kOk; }));
    }
}

TEST_F(DeviceServicesClientTest, whileTheBusIsAwayNobodyIsThere)
{
    startServices();
    watch();
    bus.kill();
    EXPECT_TRUE(becomes(service::kDayNight, std::nullopt));
    EXPECT_TRUE(becomes(service::kConfiguration, std::nullopt));
    EXPECT_EQ(askAngle(), Status::kUnavailable);
}

TEST_F(DeviceServicesClientTest, aQueryThatIsUnderWayWhenTheBusDiesFails)
{
    startServices();
    watch();
    rotate.state.manner = Manner::never;
    const int asked = rotate.state.asked;
    auto status = std::async(std::launch::async, [this] { return askAngle(); });
    ASSERT_TRUE(eventually([&] { return rotate.state.asked > asked; }));
    restartBus();
    EXPECT_EQ(status.get(), Status::kUnavailable);
    rotate.state.manner = Manner::answers;
    EXPECT_TRUE(eventually([&] { return askAngle() == Status::kOk; }));
}

TEST_F(DeviceServicesClientTest, nothingIsHeardAfterwards)
{
    startServices();
    watch();
    services->stop();
    services->stop();
    dayNight.emit("movementChange", true);
    EXPECT_THAT(heard.journal.lines(), IsEmpty());
    EXPECT_EQ(askAngle(), Status::kUnavailable);
}

TEST_F(DeviceServicesClientTest, theOrientationFollowsTheRotationService)
{
    startServices();
    configuration.state.value = 180;
    rotate.state.value = 90;
    watch();
    EXPECT_EQ(services->orientation(), 90u);
    rotate.emit("orientationChanged", std::uint32_t{270});
    EXPECT_TRUE(eventually([this] { return services->orientation() == 270; }));
}

TEST_F(DeviceServicesClientTest, theOrientationIsTheConfigurationValueWithoutARotationService)
{
    configuration.state.value = 180;
    configuration.start();
    watch();
    EXPECT_EQ(services->orientation(), 180u);
}

TEST_F(DeviceServicesClientTest, anAngleAtWhichNoCameraIsMountedIsOnlyPassedOn)
{
    startServices();
    rotate.state.value = 45;
    watch();
    EXPECT_EQ(services->orientation(), 0u);
    for (const std::uint32_t angle : {180U, 360U, 77U, UINT32_MAX}) {
        rotate.emit("orientationChanged", angle);
    }
    EXPECT_THAT(heard.journal.lines(4), ElementsAre("180", "360", "77", "4294967295"));
    EXPECT_EQ(services->orientation(), 180u);
}

TEST_F(DeviceServicesClientTest, documentsAreHandedToTheStreamer)
{
    startServices();
    watch();
    services->sendMetadata("<one/>");
    services->sendMetadata("<\xFF/>");
    EXPECT_THAT(streamer.state.documents.lines(), ElementsAre("<one/> 1", "<\xEF\xBF\xBD/> 1"));
    EXPECT_EQ(services->documentsTaken(), 2u);
    EXPECT_EQ(services->documentsLost(), 0u);
}

TEST_F(DeviceServicesClientTest, documentsAreLostWithoutAStreamer)
{
    watch();
    services->sendMetadata("<one/>");
    EXPECT_EQ(services->documentsTaken(), 0u);
    EXPECT_EQ(services->documentsLost(), 1u);
    streamer.start();
    ASSERT_TRUE(becomes(service::kOnvifMetadataStreamer, kMain));
    services->sendMetadata("<two/>");
    EXPECT_EQ(services->documentsTaken(), 1u);
}

TEST_F(DeviceServicesClientTest, aStreamerThatDoesNotAnswerIsLeftAloneForAWhile)
{
    startServices();
    watch(500ms);
    ASSERT_TRUE(becomes(service::kOnvifMetadataStreamer, kMain));
    streamer.state.manner = Manner::never;
    services->sendMetadata("<one/>");
    services->sendMetadata("<two/>");
    services->sendMetadata("<three/>");
    EXPECT_EQ(streamer.state.asked, 1);
    EXPECT_EQ(services->documentsLost(), 3u);
    streamer.state.manner = Manner::answers;
    EXPECT_TRUE(eventually([this] {
        services->sendMetadata("<more/>");
        return services->documentsTaken() > 0;
    }));
}

TEST_F(DeviceServicesClientTest, documentsThatComeTooLateAreLost)
{
    startServices();
    watch();
    services->finishBy(std::chrono::steady_clock::now() + 1h);
    services->sendMetadata("<one/>");
    services->finishBy(std::chrono::steady_clock::now() - 1s);
    services->sendMetadata("<two/>");
    EXPECT_EQ(services->documentsTaken(), 1u);
    EXPECT_EQ(services->documentsLost(), 1u);
    EXPECT_EQ(streamer.state.asked, 1);
}

} // namespace
} // namespace pipeline_test
