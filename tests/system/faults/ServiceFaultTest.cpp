// Each device service absent, dying, slow or failing, and what the plug-in says and does about it.
#include "FaultTest.h"

namespace camera::fault_tests {
namespace {

const std::string kBlankingFailure =
    "error DETECTION: initializeWindowBlankingEvents: get window blanking service exception: Failed ravel api call: "
    "ravel_api_window_blanking_get_region_color_send( _windowBlankingIpcCookie, windowBlankingTargetIds[0].c_str(), "
    "&red, &green, &blue) ";
const std::string kRotationFailure =
    "error DETECTION: initializeRotationEvents: get rotation service exception: Failed ravel api call: "
    "ravel_api_rotate_get_angle_send( _rotationIpcCookie, rotationTargetIds[0].c_str(), &angle) ";
const std::string kConfigurationFailure = "error DETECTION: Failed to get default rotation position: ";
const std::string kUnavailable = "(service not available)";
const std::string kFailed = "(the service failed)";

// More than the pipeline waits for one answer.
constexpr double kTooSlow = 60;

class ServiceFaultTest : public FaultTest {
protected:
    // The plug-in looks for these at its start only; what comes later finds it without a handler.
    template <class Action>
    void expectUnheard(const char* line, const Action& action)
    {
        const std::size_t before = lines(line);
        ASSERT_TRUE(action());
        ASSERT_TRUE(dayNightOrRotation()); // comes behind it on the same way
        EXPECT_EQ(before, lines(line));
    }

    bool dayNightOrRotation() { return rotates ? rotationReachesThePlugin() : dayNightReachesThePlugin(); }

    bool rotates = true;
};

TEST_F(ServiceFaultTest, aCameraWithoutAnyServiceRunsAndFindsTheStreamerOnceItIsThere)
{
    startPipeline();
    EXPECT_TRUE(framesGoOn());
    EXPECT_EQ(1U, lines(kNoDayNight)) << log();
    EXPECT_EQ(1U, lines(kNoBlanking));
    EXPECT_EQ(1U, lines(kNoRotation));
    EXPECT_EQ(1U, lines(kConfigurationFailure + "service not available"));
    startServices();
    EXPECT_TRUE(documentsArrive()) << log();
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, saysThatDayAndNightAreAbsentAndDoesNotHearThemLater)
{
    startServices();
    setFault(service::kDayNight, "absent");
    startPipeline();
    EXPECT_EQ(1U, lines(kNoDayNight)) << log();
    setFault(service::kDayNight, "off");
    ASSERT_TRUE(eventually([this] { return client.isServed(service::kDayNight); }));
    expectUnheard(kNight, [this] { return client.tell(service::kDayNight, "begin"); });
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, saysThatTheWindowBlankingIsAbsentAndDoesNotHearItLater)
{
    startServices();
    setFault(service::kWindowBlanking, "absent");
    startPipeline();
    EXPECT_EQ(1U, lines(kNoBlanking)) << log();
    setFault(service::kWindowBlanking, "off");
    ASSERT_TRUE(eventually([this] { return client.isServed(service::kWindowBlanking); }));
    expectUnheard(kBlanked, [this] { return client.tell(service::kWindowBlanking, "setEnable", true); });
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, takesTheConfiguredAngleWhenTheRotationIsAbsent)
{
    startServices();
    ASSERT_TRUE(client.tell(service::kConfiguration, "setIntValue", "default_analytics_rotation", 270));
    setFault(service::kRotate, "absent");
    startPipeline();
    EXPECT_EQ(1U, lines(kNoRotation)) << log();
    EXPECT_EQ(270, client.status()["orientation"].asInt());
    EXPECT_FALSE(logs(kConfigurationFailure));
    setFault(service::kRotate, "off");
    ASSERT_TRUE(eventually([this] { return client.isServed(service::kRotate); }));
    rotates = false;
    expectUnheard(kTurned, [this] { return client.tell(service::kRotate, "setAngle", std::uint32_t{90}); });
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, takesNoAngleWhenRotationAndConfigurationAreAbsent)
{
    startServices();
    setFault(service::kRotate, "absent");
    setFault(service::kConfiguration, "absent");
    startPipeline();
    EXPECT_EQ(1U, lines(kConfigurationFailure + "service not available")) << log();
    EXPECT_EQ(0, client.status()["orientation"].asInt());
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, opensTheMetadataStreamWhenTheAbsentStreamerComes)
{
    startServices();
    setFault(service::kOnvifMetadataStreamer, "absent");
    startPipeline();
    EXPECT_TRUE(framesGoOn());
    EXPECT_EQ(0U, client.status()["documents"].asUInt64()) << "no stream is open, so nothing is sent";
    setFault(service::kOnvifMetadataStreamer, "off");
    EXPECT_TRUE(documentsArrive()) << log();
    EXPECT_FALSE(logs("failed to open metadata stream"));
}

TEST_F(ServiceFaultTest, hearsEachServiceAgainThatWasAwayDuringTheRun)
{
    startServices();
    startPipeline();
    ASSERT_TRUE(everythingReachesThePlugin()) << log();
    const std::vector<std::string> all = {service::kDayNight, service::kWindowBlanking, service::kRotate,
                                          service::kOnvifMetadataStreamer, service::kConfiguration};
    for (const std::string& name : all) {
        setFault(name, "absent");
        EXPECT_FALSE(client.isServed(name));
        EXPECT_TRUE(framesGoOn()) << name;
    }
    EXPECT_TRUE(documentsAreLost());
    for (const std::string& name : all) {
        setFault(name, "off");
        ASSERT_TRUE(eventually([&] { return client.isServed(name); }));
    }
    EXPECT_TRUE(everythingReachesThePlugin()) << log();
    EXPECT_FALSE(logs(" service not found"));
}

TEST_F(ServiceFaultTest, hearsEveryServiceAgainAfterTheirProcessWasKilled)
{
    startServices();
    startPipeline();
    ASSERT_TRUE(everythingReachesThePlugin()) << log();
    for (int round = 0; round < 3; ++round) {
        services->crash();
        EXPECT_TRUE(framesGoOn());
        EXPECT_TRUE(documentsAreLost());
        startServices();
        EXPECT_TRUE(everythingReachesThePlugin()) << round << "\n" << log();
    }
    EXPECT_EQ(0, client.status()["framesFailed"].asInt());
}

TEST_F(ServiceFaultTest, startsAlthoughWindowBlankingAndRotationDoNotAnswer)
{
    startServices();
    setFault(service::kWindowBlanking, "slow", kTooSlow);
    setFault(service::kRotate, "slow", kTooSlow);
    startPipeline();
    EXPECT_EQ(1U, lines(kBlankingFailure + kUnavailable)) << log();
    EXPECT_EQ(1U, lines(kRotationFailure + kUnavailable)) << log();
    EXPECT_TRUE(framesGoOn());
    EXPECT_TRUE(dayNightReachesThePlugin());
    setFault(service::kWindowBlanking, "off");
    setFault(service::kRotate, "off");
    EXPECT_TRUE(blankingReachesThePlugin()) << "a handler that was registered before the failure stays";
    EXPECT_TRUE(rotationReachesThePlugin());
}

TEST_F(ServiceFaultTest, startsAlthoughWindowBlankingAndRotationFail)
{
    startServices();
    setFault(service::kWindowBlanking, "fail");
    setFault(service::kRotate, "fail");
    startPipeline();
    EXPECT_EQ(1U, lines(kBlankingFailure + kFailed)) << log();
    EXPECT_EQ(1U, lines(kRotationFailure + kFailed)) << log();
    EXPECT_TRUE(framesGoOn());
    setFault(service::kWindowBlanking, "off");
    setFault(service::kRotate, "off");
    EXPECT_TRUE(blankingReachesThePlugin());
    EXPECT_TRUE(rotationReachesThePlugin());
}

TEST_F(ServiceFaultTest, takesNoAngleFromAConfigurationThatFailsOrIsSilent)
{
    startServices();
    setFault(service::kRotate, "absent");
    setFault(service::kConfiguration, "fail");
    startPipeline();
    EXPECT_EQ(1U, lines(kConfigurationFailure + "the service failed")) << log();
    ASSERT_EQ(0, pipeline->end());
    setFault(service::kConfiguration, "slow", kTooSlow);
    startPipeline();
    EXPECT_EQ(1U, lines(kConfigurationFailure + "service not available")) << log();
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, hearsASlowDayAndNightServiceAsSoonAsItMoves)
{
    startServices();
    setFault(service::kDayNight, "slow", 1);
    startPipeline();
    EXPECT_FALSE(logs(kNoDayNight)) << "it is there, and nothing is asked of it";
    EXPECT_TRUE(dayNightReachesThePlugin());
    EXPECT_TRUE(framesGoOn());
}

TEST_F(ServiceFaultTest, losesTheDocumentsThatASlowOrFailingStreamerDoesNotTake)
{
    startServices();
    startPipeline();
    ASSERT_TRUE(documentsArrive());
    for (const std::string fault : {"slow", "fail"}) {
        setFault(service::kOnvifMetadataStreamer, fault, kTooSlow);
        EXPECT_TRUE(framesGoOn()) << fault;
        EXPECT_TRUE(documentsAreLost()) << fault;
        EXPECT_TRUE(logs("a metadata document was lost: ")) << fault;
        setFault(service::kOnvifMetadataStreamer, "off");
        EXPECT_TRUE(documentsArrive()) << fault;
    }
    EXPECT_EQ(0, client.status()["framesFailed"].asInt());
}

TEST_F(ServiceFaultTest, startsWhileTheServicesAreStoppedAndFindsTheStreamerOnceTheyGoOn)
{
    startServices();
    services->stop();
    startPipeline();
    EXPECT_EQ(1U, lines(kNoDayNight)) << log();
    EXPECT_EQ(1U, lines(kNoBlanking));
    EXPECT_EQ(1U, lines(kNoRotation));
    EXPECT_TRUE(framesGoOn());
    services->signal(SIGCONT);
    EXPECT_TRUE(documentsArrive()) << log();
}

TEST_F(ServiceFaultTest, framesGoOnWhileTheServicesAreStopped)
{
    startServices();
    startPipeline();
    ASSERT_TRUE(documentsArrive());
    services->stop();
    EXPECT_TRUE(documentsAreLost());
    EXPECT_TRUE(framesGoOn(100));
    services->signal(SIGCONT);
    EXPECT_TRUE(documentsArrive());
    EXPECT_TRUE(everythingReachesThePlugin()) << log();
    EXPECT_EQ(0, client.status()["framesFailed"].asInt());
}

} // namespace
} // namespace camera::fault_tests
