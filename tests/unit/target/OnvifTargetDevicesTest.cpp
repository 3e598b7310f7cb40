#include "OnvifTargetTest.h"

#include <stdexcept>

namespace {

using kit::journal;
using kit::platform;
using namespace testing;

constexpr char kNoDayNight[] = "log 3 \"initializeDayNightEvents: day_night service not found\"";
constexpr char kNoBlanking[] = "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"";
constexpr char kNoRotation[] = "log 6 \"initializeRotationEvents: rotation service not found\"";
constexpr char kNoDefaultRotation[] = "log 3 \"Failed to get default rotation position: status text 2\"";

class OnvifTargetDevicesTest : public OnvifTargetTest {
protected:
    /// The calls at services and positioning since the journal was emptied, with all log lines.
    static Lines deviceLines()
    {
        using kit::Part;
        return journal().of({Part::Log, Part::Service, Part::Positioning});
    }

    /// Only this service exists.
    static void offer(const char* service, const char* target)
    {
        platform().targetIds = {{service, {target, "second"}}};
    }

    static void throwAt(const char* call)
    {
        platform().before[call] = [] { throw std::runtime_error("broken"); };
    }

    static void throwOddlyAt(const char* call)
    {
        platform().before[call] = [] { throw 42; };
    }

    std::shared_ptr<kit::FakeEngine> motion = addEngine("Motion");
};

// Construction as a whole

TEST_F(OnvifTargetDevicesTest, buildsCoreEnginesAndSubscriptionsInOrder)
{
    platform().positioning.available = true;
    platform().positioning.journalAvailability = true;
    platform().offerAllServices();
    construct();
    EXPECT_THAT(
        journal().all(),
        ElementsAre("isAvailable -> true", "settingsSetDefault OnvifAnalytics [] -> 0",
                    "settingsGetJson OnvifAnalytics -> 0", "setEventHandler Motion",
                    "log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\"",
                    "log 6 \"reconfigure:clearing all rules for Motion\"", "clearAllRules Motion",
                    "isAvailable -> true", "isAvailable -> true", "getActivePreset false -> ",
                    "log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset \"",
                    "log 7 \"getActiveSettingsKey: getSettingsKey :MotionZintuInternalSimpleAnalyticsPreset:\"",
                    "log 6 \"reconfigure:clearing all rules for Motion\"", "clearAllRules Motion",
                    "registerMotionState", "registerCommandPriority", "registerPresetState", "registerPresetModified",
                    "registerTourState", "getTargetIds day_night -> true", "dayNightInit(null, log, 1, null) -> 0",
                    "dayNightRegister(cookie) -> 0", "getTargetIds window_blanking -> true",
                    "windowBlankingInit(null, log, 1, null) -> 0", "windowBlankingRegister(cookie) -> 0",
                    "windowBlankingGetColor(cookie, blanking0) -> 0", "windowBlankingGetEnable(cookie, blanking0) -> 0",
                    "log 6 \"Window blanking event enabled false\"", "onWindowBlankingChange Motion false 0 128 128",
                    "getTargetIds rotate -> true", "rotateInit(null, log, 1, null) -> 0", "rotateRegister(cookie) -> 0",
                    "rotateGetAngle(cookie, rotate0) -> 0", "log 6 \"rotation call back\"",
                    "onOrientationChanged Motion 0"));
}

TEST_F(OnvifTargetDevicesTest, keepsItsOwnCopyOfTheEngineList)
{
    construct();
    const std::weak_ptr<kit::FakeEngine> watched = motion;
    engines.clear();
    motion.reset();
    EXPECT_FALSE(watched.expired());
    target.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(OnvifTargetDevicesTest, sendsAnEventThatAnEngineRaisesWhileTheTargetIsBuilt)
{
    motion->before["onOrientationChanged"] = [this] { motion->raiseAlways("t", "s", "d"); };
    construct();
    EXPECT_EQ(journal().count("sendEvent(t, s, d) -> 0"), 1U);
}

TEST_F(OnvifTargetDevicesTest, relaysEventsBeforeTheEnginesAreConfigured)
{
    motion->before["clearAllRules"] = [this] { motion->raiseAlways("t", "s", "d"); };
    construct();
    EXPECT_EQ(journal().count("sendEvent(t, s, d) -> 0"), 1U);
    motion->before.clear();
}

TEST_F(OnvifTargetDevicesTest, leavesNothingToAFailingStore)
{
    platform().before["settingsGetJson"] = [] { throw std::runtime_error("store"); };
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_EQ(journal().all().back(), "target base destroyed");
}

// Positioning

TEST_F(OnvifTargetDevicesTest, registersNothingOnACameraThatCannotMove)
{
    platform().positioning.activePreset = "Gate";
    construct();
    EXPECT_THAT(journal().of({kit::Part::Positioning}), IsEmpty());
    EXPECT_THAT(journal().logs(), Not(Contains(::testing::HasSubstr("handlePresetStateEvent"))));
    target->initializePositioningEvents();
    EXPECT_THAT(journal().of({kit::Part::Positioning}), IsEmpty()) << "it asks for itself";
}

TEST_F(OnvifTargetDevicesTest, startsAsArrivedWhenTheCameraIsAtNoPreset)
{
    platform().positioning.available = true;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset \""));
}

TEST_F(OnvifTargetDevicesTest, startsAsLeftWhenTheCameraIsAtAPreset)
{
    platform().positioning.available = true;
    platform().positioning.activePreset = "Gate";
    construct();
    EXPECT_THAT(journal().logs(), Not(Contains(::testing::HasSubstr("handlePresetStateEvent"))));
    EXPECT_EQ(journal().count("clearAllRules Motion"), 1U) << "nothing is reconfigured for it";
    EXPECT_EQ(journal().count("getActivePreset false -> Gate"), 1U);
}

TEST_F(OnvifTargetDevicesTest, reportsThePresetBeforeItListens)
{
    platform().positioning.available = true;
    std::size_t registered = 9;
    platform().before["getActivePreset"] = [&] { registered = platform().positioning.motionState.size(); };
    construct();
    EXPECT_EQ(registered, 0U);
    EXPECT_THAT(platform().positioning.motionState, SizeIs(1));
}

TEST_F(OnvifTargetDevicesTest, isTheContextOfEveryPositioningCallback)
{
    platform().positioning.available = true;
    construct();
    const auto& unit = platform().positioning;
    EXPECT_EQ(unit.motionState.at(0).second, target.get());
    EXPECT_EQ(unit.commandPriority.at(0).second, target.get());
    EXPECT_EQ(unit.presetState.at(0).second, target.get());
    EXPECT_EQ(unit.presetModified.at(0).second, target.get());
    EXPECT_EQ(unit.tourState.at(0).second, target.get());
}

TEST_F(OnvifTargetDevicesTest, followsMotionStates)
{
    platform().positioning.available = true;
    build();
    platform().positioning.fireMotionState(true);
    EXPECT_THAT(takeAll(), IsEmpty());
    platform().positioning.fireMotionState(false);
    EXPECT_THAT(takeLogs(), Contains("log 6 \"handlePositioningMotionStateEvent ---------->Start simple analytics on "
                                     "motion stop\""));
}

TEST_F(OnvifTargetDevicesTest, followsCommandPriorities)
{
    platform().positioning.available = true;
    build();
    platform().positioning.fireCommandPriority(500);
    EXPECT_THAT(takeAll(), IsEmpty());
    platform().positioning.fireCommandPriority(499);
    EXPECT_THAT(takeLogs(), Contains("log 6 \"handlePositioningCommandPriorityEvent ---------->Stop Analytics\""));
}

TEST_F(OnvifTargetDevicesTest, followsPresetStates)
{
    platform().positioning.available = true;
    build();
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_THAT(takeLogs(), AllOf(Contains("log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset "
                                           "Gate\""),
                                  Contains("log 7 \"getActiveSettingsKey: getSettingsKey :MotionGate:\"")));
    platform().positioning.firePresetState(1, "Gate");
    EXPECT_THAT(takeLogs(), Contains("log 6 \"handlePresetStateEvent ---------->Stop Analytics\""));
}

TEST_F(OnvifTargetDevicesTest, followsTourStates)
{
    platform().positioning.available = true;
    build();
    platform().positioning.fireTourState(2, 7);
    EXPECT_THAT(takeLogs(),
                ElementsAre("log 6 \"====== handleTourStateEvent(tour tourState = 2, stop type = 7) ====\""));
}

TEST_F(OnvifTargetDevicesTest, hearsOfAModifiedPresetOnlyWhenItIsGone)
{
    platform().positioning.available = true;
    build();
    platform().positioning.firePresetModified("Gate", true, true, false);
    EXPECT_THAT(takeAll(), IsEmpty());
    platform().positioning.firePresetModified("Gate", false, false, true);
    EXPECT_THAT(takeLogs(),
                Contains("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionGate\""));
}

TEST_F(OnvifTargetDevicesTest, ignoresEveryCallbackWithoutAContext)
{
    platform().positioning.available = true;
    platform().offerAllServices();
    build();
    const auto& unit = platform().positioning;
    unit.motionState.at(0).first(false, 1, 2, 3, nullptr);
    unit.commandPriority.at(0).first(true, true, 1, nullptr);
    unit.presetState.at(0).first(2, "Gate", true, "user", nullptr);
    unit.presetModified.at(0).first("Gate", true, true, true, nullptr);
    unit.tourState.at(0).first(1, "tour", 1, 1, nullptr);
    platform().dayNight.handlers.at(0).first(true, "id", nullptr);
    platform().windowBlanking.handlers.at(0).first(true, "id", nullptr);
    platform().rotation.handlers.at(0).first(90, "id", nullptr);
    EXPECT_THAT(journal().all(), IsEmpty());
    EXPECT_EQ(target->getFrameOrientation(), 0U);
}

TEST_F(OnvifTargetDevicesTest, acceptsNullForTheArgumentsThatItIgnores)
{
    platform().offerAllServices();
    build();
    const auto [handler, context] = platform().rotation.handlers.at(0);
    handler(90, nullptr, context);
    EXPECT_EQ(target->getFrameOrientation(), 90U);
}

// Day and night

TEST_F(OnvifTargetDevicesTest, followsDayAndNight)
{
    offer("day_night", "dn0");
    build();
    platform().dayNight.fire(true);
    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"day night change call back, movement: true\"",
                                        "log 7 \"getActiveSettingsKey: getSettingsKey ::\"",
                                        "log 6 \"reconfigure:clearing all rules for Motion\""));
    platform().dayNight.fire(false);
    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"day night change call back, movement: false\"",
                                        "log 7 \"getActiveSettingsKey: getSettingsKey :Motion:\"",
                                        "log 6 \"reconfigure:clearing all rules for Motion\""));
}

TEST_F(OnvifTargetDevicesTest, doesNotAskForTheDayNightState)
{
    offer("day_night", "dn0");
    construct();
    EXPECT_THAT(journal().startingWith("dayNight"),
                ElementsAre("dayNightInit(null, log, 1, null) -> 0", "dayNightRegister(cookie) -> 0"));
    EXPECT_THAT(journal().logs(), Not(Contains(kNoDayNight)));
}

TEST_F(OnvifTargetDevicesTest, treatsADayNightServiceWithoutTargetsAsMissing)
{
    platform().targetIds["day_night"] = {};
    construct();
    EXPECT_THAT(journal().logs(), Contains(kNoDayNight));
    EXPECT_THAT(journal().startingWith("dayNight"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, logsADayNightServiceThatCannotBeOpened)
{
    offer("day_night", "dn0");
    platform().dayNight.initStatus = 7;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeDayNightEvents: get day/night service exception: Failed ravel api call: "
                         "ravel_api_day_night_initiator_init(nullptr, _logCookie, &_dayNightIpcCookie, 1, nullptr) "
                         "(status text 7)\""));
    EXPECT_THAT(journal().startingWith("dayNight"), ElementsAre("dayNightInit(null, log, 1, null) -> 7"));
    journal().clear();
    target.reset();
    EXPECT_THAT(journal().startingWith("dayNight"), IsEmpty()) << "the handle that was left is forgotten";
}

TEST_F(OnvifTargetDevicesTest, logsADayNightRegistrationThatThrows)
{
    offer("day_night", "dn0");
    throwAt("dayNightRegister");
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeDayNightEvents: get day/night service exception: broken\""));
    journal().clear();
    target.reset();
    EXPECT_THAT(journal().startingWith("dayNight"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, treatsServicesWhoseLookUpFailedAsMissing)
{
    platform().offerAllServices();
    platform().lookUpsFail = true;
    construct();
    EXPECT_THAT(journal().logs(), AllOf(Contains(kNoDayNight), Contains(kNoBlanking), Contains(kNoRotation)));
    EXPECT_THAT(journal().startingWith("dayNight"), IsEmpty());
    EXPECT_THAT(journal().startingWith("windowBlanking"), IsEmpty());
    EXPECT_THAT(journal().startingWith("rotate"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, takesEveryStatusOtherThanZeroAsAFailure)
{
    platform().offerAllServices();
    platform().dayNight.initStatus = -1;
    platform().windowBlanking.initStatus = -2147483647;
    platform().rotation.initStatus = 1;
    construct();
    EXPECT_THAT(journal().logs(), Contains(::testing::EndsWith("(status text -1)\"")));
    EXPECT_THAT(journal().logs(), Contains(::testing::EndsWith("(status text -2147483647)\"")));
    EXPECT_THAT(journal().logs(), Contains(::testing::EndsWith("(status text 1)\"")));
}

TEST_F(OnvifTargetDevicesTest, doesNotLookAtTheResultOfARegistration)
{
    platform().offerAllServices();
    platform().dayNight.registerStatus = 5;
    platform().windowBlanking.registerStatus = 5;
    platform().rotation.registerStatus = 5;
    platform().rotation.angle = 90;
    construct();
    EXPECT_THAT(journal().logs(), Not(Contains(::testing::HasSubstr("exception"))));
    EXPECT_EQ(target->getFrameOrientation(), 90U);
}

TEST_F(OnvifTargetDevicesTest, doesWithoutABlankingAndARotationService)
{
    offer("day_night", "dn0");
    construct();
    EXPECT_THAT(journal().logs(), AllOf(Contains(kNoBlanking), Contains(kNoRotation), Contains(kNoDefaultRotation)));
}

// Window blanking

TEST_F(OnvifTargetDevicesTest, tellsTheEnginesColorAndStateOfTheBlankingAtStart)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.red = 255;
    platform().windowBlanking.enable = 1;
    construct();
    EXPECT_THAT(journal().startingWith("windowBlanking"),
                ElementsAre("windowBlankingInit(null, log, 1, null) -> 0", "windowBlankingRegister(cookie) -> 0",
                            "windowBlankingGetColor(cookie, wb0) -> 0", "windowBlankingGetEnable(cookie, wb0) -> 0"));
    EXPECT_THAT(journal().startingWith("onWindowBlanking"),
                ElementsAre("onWindowBlankingChange Motion true 76 91 255"));
    EXPECT_THAT(journal().logs(), Contains("log 6 \"Window blanking event enabled true\""));
}

TEST_F(OnvifTargetDevicesTest, keepsRedGreenAndBlueApart)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.red = 200;
    platform().windowBlanking.green = 100;
    platform().windowBlanking.blue = 50;
    construct();
    EXPECT_THAT(journal().startingWith("onWindowBlanking"),
                ElementsAre("onWindowBlankingChange Motion false 124 92 195"));
}

TEST_F(OnvifTargetDevicesTest, takesEveryNonZeroFlagAsEnabled)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.enable = 128;
    construct();
    EXPECT_THAT(journal().startingWith("onWindowBlanking"),
                ElementsAre("onWindowBlankingChange Motion true 0 128 128"));
}

TEST_F(OnvifTargetDevicesTest, passesLaterBlankingEventsOnWithTheColorOfTheStart)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.green = 255;
    build();
    platform().windowBlanking.green = 0;
    platform().windowBlanking.fire(true);
    platform().windowBlanking.fire(false);
    EXPECT_THAT(journal().all(), ElementsAre("log 6 \"Window blanking event enabled true\"",
                                             "onWindowBlankingChange Motion true 150 54 0",
                                             "log 6 \"Window blanking event enabled false\"",
                                             "onWindowBlankingChange Motion false 150 54 0"));
}

TEST_F(OnvifTargetDevicesTest, treatsABlankingServiceWithoutTargetsAsMissing)
{
    platform().targetIds["window_blanking"] = {};
    construct();
    EXPECT_THAT(journal().logs(), Contains(kNoBlanking));
    EXPECT_THAT(journal().startingWith("windowBlanking"), IsEmpty());
    EXPECT_THAT(journal().startingWith("onWindowBlanking"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, logsABlankingServiceThatCannotBeOpened)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.initStatus = 7;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeWindowBlankingEvents: get window blanking service exception: Failed ravel "
                         "api call: ravel_api_window_blanking_initiator_init(NULL, _logCookie, "
                         "&_windowBlankingIpcCookie, 1, NULL) (status text 7)\""));
    EXPECT_THAT(journal().startingWith("windowBlanking"), ElementsAre("windowBlankingInit(null, log, 1, null) -> 7"));
    EXPECT_THAT(journal().startingWith("onWindowBlanking"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, logsABlankingColorThatCannotBeRead)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.queryStatus = 7;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeWindowBlankingEvents: get window blanking service exception: Failed ravel "
                         "api call: ravel_api_window_blanking_get_region_color_send( _windowBlankingIpcCookie, "
                         "windowBlankingTargetIds[0].c_str(), &red, &green, &blue) (status text 7)\""));
    EXPECT_THAT(journal().startingWith("windowBlankingGetEnable"), IsEmpty());
    EXPECT_THAT(journal().startingWith("onWindowBlanking"), IsEmpty());
    platform().windowBlanking.fire(true);
    EXPECT_EQ(journal().count("onWindowBlankingChange Motion true 0 0 0"), 1U) << "no colour was stored";
}

TEST_F(OnvifTargetDevicesTest, logsABlankingStateThatCannotBeReadAndKeepsTheColor)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.enableStatus = 7;
    platform().windowBlanking.enable = 1;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeWindowBlankingEvents: get window blanking service exception: Failed ravel "
                         "api call: ravel_api_window_blanking_get_enable_send( _windowBlankingIpcCookie, "
                         "windowBlankingTargetIds[0].c_str(), &enable) (status text 7)\""));
    EXPECT_THAT(journal().startingWith("onWindowBlanking"), IsEmpty());
    platform().windowBlanking.fire(false);
    EXPECT_EQ(journal().count("onWindowBlankingChange Motion false 0 128 128"), 1U);
}

TEST_F(OnvifTargetDevicesTest, forgetsABlankingConnectionThatFailedWithoutClosingIt)
{
    offer("window_blanking", "wb0");
    platform().windowBlanking.queryStatus = 7;
    build();
    target.reset();
    EXPECT_THAT(journal().startingWith("windowBlanking"), IsEmpty());
    EXPECT_THAT(platform().windowBlanking.handlers, SizeIs(1));
    EXPECT_EQ(platform().windowBlanking.connections, 1);
}

TEST_F(OnvifTargetDevicesTest, logsWhatAnEngineThrowsAboutTheBlanking)
{
    offer("window_blanking", "wb0");
    motion->before["onWindowBlankingChange"] = [] { throw std::runtime_error("engine"); };
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeWindowBlankingEvents: get window blanking service exception: engine\""));
}

// Rotation

TEST_F(OnvifTargetDevicesTest, startsWithTheAngleOfTheRotationService)
{
    offer("rotate", "r0");
    platform().rotation.angle = 270;
    construct();
    EXPECT_THAT(journal().startingWith("rotate"),
                ElementsAre("rotateInit(null, log, 1, null) -> 0", "rotateRegister(cookie) -> 0",
                            "rotateGetAngle(cookie, r0) -> 0"));
    EXPECT_EQ(target->getFrameOrientation(), 270U);
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 270"));
    EXPECT_THAT(journal().startingWith("configurationGetInt"), IsEmpty());
    EXPECT_THAT(journal().logs(), Not(Contains(kNoRotation)));
}

TEST_F(OnvifTargetDevicesTest, keepsAllBitsOfTheAngle)
{
    offer("rotate", "r0");
    platform().rotation.angle = 4294967295U;
    construct();
    EXPECT_EQ(target->getFrameOrientation(), 4294967295U);
}

TEST_F(OnvifTargetDevicesTest, followsOrientationChanges)
{
    offer("rotate", "r0");
    build();
    platform().rotation.fire(180U);
    EXPECT_EQ(target->getFrameOrientation(), 180U);
    EXPECT_THAT(journal().all(), ElementsAre("log 6 \"rotation call back\"", "onOrientationChanged Motion 180"));
}

TEST_F(OnvifTargetDevicesTest, knowsTheOrientationBeforeTheEnginesHearOfIt)
{
    offer("rotate", "r0");
    build();
    unsigned int seen = 0;
    motion->before["onOrientationChanged"] = [&] { seen = target->getFrameOrientation(); };
    platform().rotation.fire(90U);
    EXPECT_EQ(seen, 90U);
}

TEST_F(OnvifTargetDevicesTest, takesTheConfiguredAngleWithoutARotationService)
{
    platform().settings.values["default_analytics_rotation"] = 180;
    construct();
    EXPECT_EQ(target->getFrameOrientation(), 180U);
    EXPECT_THAT(journal().logs(), AllOf(Contains(kNoRotation), Not(Contains(kNoDefaultRotation))));
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 180"));
}

TEST_F(OnvifTargetDevicesTest, startsUprightWithoutServiceAndConfiguredAngle)
{
    construct();
    EXPECT_EQ(target->getFrameOrientation(), 0U);
    EXPECT_THAT(journal().logs(), AllOf(Contains(kNoRotation), Contains(kNoDefaultRotation)));
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 0"));
}

TEST_F(OnvifTargetDevicesTest, treatsARotationServiceWithoutTargetsAsMissing)
{
    platform().targetIds["rotate"] = {};
    platform().settings.values["default_analytics_rotation"] = 90;
    construct();
    EXPECT_THAT(journal().logs(), Contains(kNoRotation));
    EXPECT_EQ(target->getFrameOrientation(), 90U);
    EXPECT_THAT(journal().startingWith("rotate"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, logsARotationServiceThatCannotBeOpened)
{
    offer("rotate", "r0");
    platform().rotation.initStatus = 7;
    platform().settings.values["default_analytics_rotation"] = 90;
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeRotationEvents: get rotation service exception: Failed ravel api call: "
                         "ravel_api_rotate_initiator_init(nullptr, _logCookie, &_rotationIpcCookie, 1, nullptr) "
                         "(status text 7)\""));
    EXPECT_EQ(target->getFrameOrientation(), 0U) << "the configured angle is for a camera without the service";
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 0"));
    EXPECT_THAT(journal().startingWith("rotateRegister"), IsEmpty());
}

TEST_F(OnvifTargetDevicesTest, logsAnAngleThatCannotBeReadAndStaysUpright)
{
    offer("rotate", "r0");
    platform().rotation.queryStatus = 7;
    platform().rotation.angle = 90; // written all the same
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeRotationEvents: get rotation service exception: Failed ravel api call: "
                         "ravel_api_rotate_get_angle_send( _rotationIpcCookie, rotationTargetIds[0].c_str(), &angle) "
                         "(status text 7)\""));
    EXPECT_EQ(target->getFrameOrientation(), 0U);
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 0"));
    platform().rotation.fire(90U);
    EXPECT_EQ(target->getFrameOrientation(), 90U) << "the handler stays";
}

TEST_F(OnvifTargetDevicesTest, logsARotationRegistrationThatThrows)
{
    offer("rotate", "r0");
    throwAt("rotateRegister");
    construct();
    EXPECT_THAT(journal().logs(),
                Contains("log 3 \"initializeRotationEvents: get rotation service exception: broken\""));
    EXPECT_THAT(journal().startingWith("onOrientation"), ElementsAre("onOrientationChanged Motion 0"));
}

// What throws

TEST_F(OnvifTargetDevicesTest, letsALookUpThatThrowsLeaveTheConstructor)
{
    for (const char* call : {"getTargetIds day_night", "getTargetIds window_blanking", "getTargetIds rotate"}) {
        platform().before.clear();
        journal().clear();
        throwAt(call);
        EXPECT_THROW(construct(), std::runtime_error) << call;
        EXPECT_EQ(journal().all().back(), "target base destroyed") << call;
        EXPECT_EQ(journal().all().end()[-2], "clearAllRules Motion") << call;
        EXPECT_THAT(journal().logs(), Not(Contains(::testing::HasSubstr("exception")))) << call;
    }
}

TEST_F(OnvifTargetDevicesTest, letsWhatIsNoStandardExceptionLeaveTheConstructor)
{
    platform().offerAllServices();
    for (const char* call :
         {"dayNightInit", "dayNightRegister", "windowBlankingInit", "windowBlankingRegister", "windowBlankingGetColor",
          "windowBlankingGetEnable", "rotateInit", "rotateRegister", "rotateGetAngle"}) {
        platform().before.clear();
        throwOddlyAt(call);
        EXPECT_THROW(construct(), int) << call;
    }
}

TEST_F(OnvifTargetDevicesTest, catchesEveryStandardExceptionOfADeviceService)
{
    platform().offerAllServices();
    for (const char* call :
         {"dayNightInit", "dayNightRegister", "windowBlankingInit", "windowBlankingRegister", "windowBlankingGetColor",
          "windowBlankingGetEnable", "rotateInit", "rotateRegister", "rotateGetAngle"}) {
        platform().before.clear();
        journal().clear();
        throwAt(call);
        EXPECT_NO_THROW(construct()) << call;
        EXPECT_THAT(journal().logs(), Contains(::testing::EndsWith("exception: broken\""))) << call;
        EXPECT_EQ(journal().startingWith("onOrientationChanged").size(), 1U) << call;
        target.reset();
    }
}

TEST_F(OnvifTargetDevicesTest, letsAPositioningUnitThatThrowsLeaveTheConstructor)
{
    platform().positioning.available = true;
    throwAt("getActivePreset");
    EXPECT_THROW(construct(), std::runtime_error);
}

// The end

TEST_F(OnvifTargetDevicesTest, takesItsSubscriptionsBackInOrder)
{
    platform().positioning.available = true;
    platform().positioning.journalAvailability = true;
    platform().offerAllServices();
    build();
    target.reset();
    EXPECT_THAT(journal().all(),
                ElementsAre("isAvailable -> true", "unregisterMotionState", "unregisterCommandPriority",
                            "unregisterPresetState", "unregisterPresetModified", "dayNightUnregister(cookie)",
                            "dayNightDeinit(cookie)", "windowBlankingUnregister(cookie)",
                            "windowBlankingDeinit(cookie)", "clearAllRules Motion", "target base destroyed"));
}

TEST_F(OnvifTargetDevicesTest, leavesTourStatesAndRotationRegistered)
{
    platform().positioning.available = true;
    platform().offerAllServices();
    construct();
    target.reset();
    EXPECT_THAT(platform().positioning.tourState, SizeIs(1));
    EXPECT_THAT(platform().positioning.motionState, IsEmpty());
    EXPECT_THAT(platform().positioning.commandPriority, IsEmpty());
    EXPECT_THAT(platform().positioning.presetState, IsEmpty());
    EXPECT_THAT(platform().positioning.presetModified, IsEmpty());
    EXPECT_THAT(platform().dayNight.handlers, IsEmpty());
    EXPECT_THAT(platform().windowBlanking.handlers, IsEmpty());
    EXPECT_THAT(platform().rotation.handlers, SizeIs(1));
    EXPECT_EQ(platform().dayNight.connections, 0);
    EXPECT_EQ(platform().windowBlanking.connections, 0);
    EXPECT_EQ(platform().rotation.connections, 1);
}

TEST_F(OnvifTargetDevicesTest, touchesNoPositioningCallbacksWhenPositioningIsGoneAtTheEnd)
{
    platform().positioning.available = true;
    build();
    platform().positioning.available = false;
    target.reset();
    EXPECT_THAT(journal().of({kit::Part::Positioning}), IsEmpty());
    EXPECT_THAT(platform().positioning.motionState, SizeIs(1));
}

TEST_F(OnvifTargetDevicesTest, unregistersWhatItNeverRegisteredWhenPositioningCameLater)
{
    build();
    platform().positioning.available = true;
    target.reset();
    EXPECT_THAT(journal().of({kit::Part::Positioning}),
                ElementsAre("unregisterMotionState (unknown)", "unregisterCommandPriority (unknown)",
                            "unregisterPresetState (unknown)", "unregisterPresetModified (unknown)"));
}

TEST_F(OnvifTargetDevicesTest, closesNothingThatWasNeverOpened)
{
    build();
    target.reset();
    EXPECT_THAT(deviceLines(), ElementsAre("target base destroyed"));
}

// What events carry beside their meaning, and what engines throw

TEST_F(OnvifTargetDevicesTest, takesEveryEventWhateverItCarriesBesides)
{
    platform().positioning.available = true;
    platform().offerAllServices();
    build();
    for (unsigned int variant = 0; variant < host_seam::Positioning::kVariants; ++variant) {
        platform().positioning.fireMotionState(false);
        platform().positioning.fireCommandPriority(1);
        platform().positioning.firePresetState(2, "Gate");
        platform().positioning.fireTourState(2, 7);
        platform().dayNight.fire(false);
        platform().windowBlanking.fire(true);
        platform().rotation.fire(90U);
        const Lines lines = takeLogs();
        for (const char* line : {"log 6 \"handlePositioningCommandPriorityEvent ---------->Stop Analytics\"",
                                 "log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset Gate\"",
                                 "log 6 \"====== handleTourStateEvent(tour tourState = 2, stop type = 7) ====\"",
                                 "log 6 \"day night change call back, movement: false\"",
                                 "log 6 \"Window blanking event enabled true\"", "log 6 \"rotation call back\""}) {
            EXPECT_THAT(lines, Contains(line)) << variant;
        }
        platform().positioning.firePresetState(0, "Gate");
    }
    for (unsigned int variant = 0; variant < host_seam::Positioning::kVariants; ++variant) {
        platform().positioning.fireMotionState(false);
        EXPECT_THAT(takeLogs(), SizeIs(2)) << variant;
    }
}

TEST_F(OnvifTargetDevicesTest, hearsOfARemovedPresetWhateverElseBecameOfIt)
{
    platform().positioning.available = true;
    build();
    for (const bool created : {false, true}) {
        for (const bool changed : {false, true}) {
            platform().positioning.firePresetModified("Gate", created, changed, true);
            EXPECT_THAT(
                takeLogs(),
                Contains("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz preset MotionGate\""))
                << created << changed;
        }
    }
}

TEST_F(OnvifTargetDevicesTest, letsWhatAnEngineThrowsLeaveEveryCallback)
{
    const auto simple = addEngine("Simple");
    platform().positioning.available = true;
    platform().offerAllServices();
    build();
    ASSERT_TRUE(configure(kit::configuration("Motion").preset("Gate")));
    for (const auto& engine : {motion, simple}) {
        for (const char* call : {"clearAllRules", "releaseRuleSet", "onWindowBlankingChange", "onOrientationChanged"}) {
            engine->before[call] = [] { throw std::runtime_error("engine"); };
        }
    }
    EXPECT_THROW(platform().positioning.fireMotionState(false), std::runtime_error);
    EXPECT_THROW(platform().positioning.fireCommandPriority(1), std::runtime_error);
    EXPECT_THROW(platform().positioning.firePresetState(2, "Gate"), std::runtime_error);
    EXPECT_THROW(platform().positioning.firePresetModified("Gate", false, false, true), std::runtime_error);
    EXPECT_THROW(platform().positioning.fireTourState(1, 0), std::runtime_error);
    EXPECT_THROW(platform().dayNight.fire(true), std::runtime_error);
    EXPECT_THROW(platform().windowBlanking.fire(true), std::runtime_error);
    EXPECT_THROW(platform().rotation.fire(90U), std::runtime_error);
    motion->before.clear();
    simple->before.clear();
}

TEST_F(OnvifTargetDevicesTest, letsWhatAnEngineThrowsAboutTheFirstOrientationLeaveTheConstructor)
{
    motion->before["onOrientationChanged"] = [] { throw std::runtime_error("engine"); };
    EXPECT_THROW(construct(), std::runtime_error);
}

TEST_F(OnvifTargetDevicesTest, letsWhatAnEngineThrowsAboutTheFirstPresetStateLeaveTheConstructor)
{
    platform().positioning.available = true;
    platform().before["getActivePreset"] = [this] {
        motion->before["clearAllRules"] = [this] {
            motion->before.clear();
            throw std::runtime_error("engine");
        };
    };
    EXPECT_THROW(construct(), std::runtime_error);
}

TEST_F(OnvifTargetDevicesTest, takesANegativeStatusOfTheConfiguredAngleAsAFailure)
{
    platform().settings.missingValueStatus = -2;
    construct();
    EXPECT_EQ(target->getFrameOrientation(), 0U);
    EXPECT_THAT(journal().logs(), Contains("log 3 \"Failed to get default rotation position: status text -2\""));
}

TEST_F(OnvifTargetDevicesTest, asksForTheConfiguredAngleWithAZero)
{
    construct();
    EXPECT_THAT(journal().startingWith("configurationGetInt"),
                ElementsAre("configurationGetInt default_analytics_rotation -> 2"));
}

TEST_F(OnvifTargetDevicesTest, takesEventsInsideEvents)
{
    platform().positioning.available = true;
    platform().offerAllServices();
    build();
    const auto once = [this](const char* call, const std::function<void()>& action) {
        motion->before[call] = [this, call, action] {
            motion->before.erase(std::string(call));
            action();
        };
    };
    once("clearAllRules", [] { platform().dayNight.fire(false); });
    platform().dayNight.fire(true);
    EXPECT_EQ(journal().count("clearAllRules Motion"), 2U);
    once("onWindowBlankingChange", [] { platform().windowBlanking.fire(false); });
    platform().windowBlanking.fire(true);
    EXPECT_EQ(journal().startingWith("onWindowBlankingChange").size(), 2U);
    once("onOrientationChanged", [] { platform().rotation.fire(90U); });
    platform().rotation.fire(180U);
    EXPECT_EQ(journal().startingWith("onOrientationChanged").size(), 2U);
    once("onOrientationChanged", [] { platform().positioning.firePresetState(2, "Gate"); });
    platform().rotation.fire(0U);
    EXPECT_EQ(journal().count("clearAllRules Motion"), 3U);
}

} // namespace
