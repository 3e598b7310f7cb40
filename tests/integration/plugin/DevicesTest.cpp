#include "ModuleTest.h"

#include <stdexcept>

namespace {

using integration::ModuleTest;
using kit::journal;
using kit::platform;
using namespace testing;

/// Device services that work, fail, or are not there.
class DevicesTest : public ModuleTest {
protected:
    /// A start with nothing stored whose services show these lines.
    static kit::StartStory startShowing(Lines devices)
    {
        return kit::fixedCamera().engines({"Simple", "Motion"}).devices(std::move(devices));
    }
};

TEST_F(DevicesTest, connectsToEveryService)
{
    platform().offerAllServices();
    platform().windowBlanking.blue = 255;
    platform().windowBlanking.enable = 1;
    platform().rotation.angle = 180;
    start();
    EXPECT_EQ(
        takeAll(),
        startShowing({"getTargetIds day_night -> true", "dayNightInit(null, log, 1, null) -> 0",
                      "dayNightRegister(cookie) -> 0", "getTargetIds window_blanking -> true",
                      "windowBlankingInit(null, log, 1, null) -> 0", "windowBlankingRegister(cookie) -> 0",
                      "windowBlankingGetColor(cookie, blanking0) -> 0",
                      "windowBlankingGetEnable(cookie, blanking0) -> 0", "log 6 \"Window blanking event enabled true\"",
                      "onWindowBlankingChange Simple true 29 239 103", "onWindowBlankingChange Motion true 29 239 103",
                      "getTargetIds rotate -> true", "rotateInit(null, log, 1, null) -> 0",
                      "rotateRegister(cookie) -> 0", "rotateGetAngle(cookie, rotate0) -> 0"})
            .orientation(180)
            .lines());
}

TEST_F(DevicesTest, isServedWithEveryServiceFailing)
{
    platform().offerAllServices();
    platform().dayNight.initStatus = 2;
    platform().windowBlanking.queryStatus = 3;
    platform().rotation.queryStatus = 4;
    start();
    EXPECT_EQ(takeAll(),
              startShowing(
                  {"getTargetIds day_night -> true", "dayNightInit(null, log, 1, null) -> 2",
                   "log 3 \"initializeDayNightEvents: get day/night service exception: Failed ravel api call: "
                   "ravel_api_day_night_initiator_init(nullptr, _logCookie, &_dayNightIpcCookie, 1, nullptr) (status "
                   "text 2)\"",
                   "getTargetIds window_blanking -> true", "windowBlankingInit(null, log, 1, null) -> 0",
                   "windowBlankingRegister(cookie) -> 0", "windowBlankingGetColor(cookie, blanking0) -> 3",
                   "log 3 \"initializeWindowBlankingEvents: get window blanking service exception: Failed ravel api "
                   "call: ravel_api_window_blanking_get_region_color_send( _windowBlankingIpcCookie, "
                   "windowBlankingTargetIds[0].c_str(), &red, &green, &blue) (status text 3)\"",
                   "getTargetIds rotate -> true", "rotateInit(null, log, 1, null) -> 0", "rotateRegister(cookie) -> 0",
                   "rotateGetAngle(cookie, rotate0) -> 4",
                   "log 3 \"initializeRotationEvents: get rotation service exception: Failed ravel api call: "
                   "ravel_api_rotate_get_angle_send( _rotationIpcCookie, rotationTargetIds[0].c_str(), &angle) "
                   "(status text 4)\""})
                  .lines());
    EXPECT_THAT(platform().framework.serving, SizeIs(1));
    journal().clear();
    stop();
    EXPECT_EQ(takeAll(), (Lines{"log 7 \"DetectionPlugin::~DetectionPlugin\"", "streamerDeinit(0)", "loggingDeinit",
                                "stopServing onvif_analytic_service", "clearAllRules Simple", "clearAllRules Motion",
                                "target base destroyed", "filterDestroyed"}));
}

TEST_F(DevicesTest, catchesAServiceExceptionThatTheHostThrew)
{
    platform().offerAllServices();
    platform().before["rotateInit"] = [] { throw std::runtime_error("bus"); };
    start();
    EXPECT_EQ(journal().count("log 3 \"initializeRotationEvents: get rotation service exception: bus\""), 1U);
}

TEST_F(DevicesTest, giveTheHostBackItsOwnExceptionFromALookUp)
{
    platform().before["getTargetIds rotate"] = [] { throw std::out_of_range("registry"); };
    EXPECT_THROW(start(), std::out_of_range);
    EXPECT_THAT(platform().framework.serving, IsEmpty());
    EXPECT_EQ(journal().all().back(), "filterDestroyed");
    EXPECT_THAT(platform().logging.closedHandles, IsEmpty());
}

TEST_F(DevicesTest, sendsEventsOfEveryEngine)
{
    startQuietly();
    simple->raiseAlways("topic1", "source1", "data1");
    motion->raiseAlways("topic2", "source2 %s", "data2");
    EXPECT_THAT(journal().all(),
                ElementsAre("log 6 \"Generating event for source1\"", "sendEvent(topic1, source1, data1) -> 0",
                            "log 6 \"Generating event for source2 %s\"", "sendEvent(topic2, source2 %s, data2) -> 0"));
}

TEST_F(DevicesTest, letsEnginesMoveTheCamera)
{
    platform().positioning.available = true;
    startQuietly();
    analytics_lib::IAnalyticsPtz& ptz = *platform().engineLibrary.ptz;
    EXPECT_TRUE(ptz.IsValid());
    EXPECT_TRUE(ptz.StartMovement(true, 5, false, 0, true, -5));
    ptz.GoToPreset("Gate", true);
    EXPECT_TRUE(ptz.CancelMovement(true, true, true));
    EXPECT_THAT(journal().all(), ElementsAre("startMovement true 5 false 0 true -5 -> true",
                                             "goToPreset Gate true -> true", "stopMovement true true true -> true"));
}

} // namespace
