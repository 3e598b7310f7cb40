// The process-wide service calls, over a fake of the device's services.
#include "camera/serviceapi/ServiceApi.h"

#include "camera/serviceapi/Status.h"
#include "kit/FakeDeviceServices.h"
#include "kit/LogLines.h"
#include "kit/TemporaryFolder.h"

#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"
#include "ravel/RavelApiException.h"
#include "ravel/configuration.h"
#include "ravel/day_night.h"
#include "ravel/onvif_metadata_streamer.h"
#include "ravel/rotate.h"
#include "ravel/settings.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using camera::base::Event;
using camera::serviceapi::CurrentServiceApi;
using camera::serviceapi::ServiceApi;
using namespace testing;

std::vector<std::string> calls;
std::optional<std::thread::id> calledOn;

void note(const std::string& text)
{
    calls.push_back(text);
    calledOn = std::this_thread::get_id();
}

void onDayNight(bool movement, const char* targetId, void* context)
{
    note(std::string("day/night ") + (movement ? "moves " : "rests ") + targetId + (context == &calls ? "" : "?"));
}

void onBlanking(bool enabled, const char* targetId, void* /*context*/)
{
    note(std::string("blanking ") + (enabled ? "on " : "off ") + targetId);
}

void onRotation(unsigned int orientation, const char* targetId, void* /*context*/)
{
    note("rotation " + std::to_string(orientation) + " " + targetId);
}

class ServiceApiTest : public testing::Test {
protected:
    void SetUp() override
    {
        calls.clear();
        options.stateDir = folder.path();
        options.services = services;
    }
    void TearDown() override { stop(); }

    void start()
    {
        api = std::make_shared<ServiceApi>(options);
        binding = std::make_unique<CurrentServiceApi::Binding>(api);
        api->startServices();
    }
    void stop()
    {
        binding.reset();
        api.reset();
    }
    static std::vector<std::string> idsOf(const char* service)
    {
        std::vector<std::string> ids;
        return ravel::core::getTargetIds(service, ids) ? ids : std::vector<std::string>{"unknown"};
    }

    const kit::LogLines lines;
    kit::TemporaryFolder folder;
    const std::shared_ptr<FakeDeviceServices> services = std::make_shared<FakeDeviceServices>();
    camera::serviceapi::ServiceApiOptions options;
    std::shared_ptr<ServiceApi> api;
    std::unique_ptr<CurrentServiceApi::Binding> binding;
};

TEST_F(ServiceApiTest, looksServicesUpWhereTheyAre)
{
    services->serve("day_night", std::vector<std::string>{"main", "left"});
    services->serve("window_blanking", std::vector<std::string>{});
    start();
    EXPECT_THAT(idsOf("day_night"), ElementsAre("main", "left"));
    EXPECT_THAT(idsOf("window_blanking"), IsEmpty());
    EXPECT_THAT(idsOf("rotate"), ElementsAre("unknown"));
    EXPECT_THAT(idsOf(nullptr), ElementsAre("unknown"));
}

TEST_F(ServiceApiTest, answersWithoutADeviceThatNothingIsAvailable)
{
    std::string value = "as it was";
    int number = 5;
    void* cookie = nullptr;
    std::uint64_t stream = 0;
    EXPECT_THAT(idsOf("day_night"), ElementsAre("unknown"));
    EXPECT_NE(ravel::core::settingsGetJson("A", value), 0);
    EXPECT_EQ(value, "as it was");
    EXPECT_THROW(ravel::core::settingsSetJson("A", "1"), ravel::core::RavelApiException);
    EXPECT_NE(ravel_core_settings_set_default_json_value("A", "[]"), 0);
    EXPECT_NE(ravel_core_configuration_get_int_value("default_analytics_rotation", &number), 0);
    EXPECT_EQ(number, 5);
    EXPECT_NE(ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    EXPECT_NE(ravel_api_window_blanking_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    EXPECT_NE(ravel_api_rotate_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    EXPECT_NE(ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &stream, 1, nullptr), 0);
    ravel_api_day_night_initiator_deinit(cookie);
    ravel_api_onvif_metadata_streamer_initiator_deinit(stream);
    EXPECT_EQ(cookie, nullptr);
    EXPECT_EQ(stream, 0u);
}

TEST_F(ServiceApiTest, refusesASecondDeviceInTheProcess)
{
    start();
    EXPECT_THROW(CurrentServiceApi::Binding another(api), std::runtime_error);
    EXPECT_EQ(CurrentServiceApi::get(), api) << "the first one stays";
}

TEST_F(ServiceApiTest, readsConfigurationValues)
{
    services->configure(270);
    start();
    int angle = 0;
    EXPECT_EQ(ravel_core_configuration_get_int_value("default_analytics_rotation", &angle), 0);
    EXPECT_EQ(angle, 270);
    angle = 7;
    EXPECT_EQ(ravel_core_configuration_get_int_value("unknown", &angle), camera::serviceapi::kNotFound);
    services->answer("configuration", camera::serviceapi::kFailed);
    EXPECT_EQ(ravel_core_configuration_get_int_value("default_analytics_rotation", &angle),
              camera::serviceapi::kFailed);
    EXPECT_EQ(angle, 7) << "a failed query writes nothing";
    EXPECT_EQ(ravel_core_configuration_get_int_value(nullptr, &angle), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_core_configuration_get_int_value("unknown", nullptr), camera::serviceapi::kInvalidArgument);
}

TEST_F(ServiceApiTest, storesSettingsAcrossARestart)
{
    start();
    std::string value = "untouched";
    EXPECT_EQ(ravel::core::settingsGetJson("OnvifAnalytics", value), camera::serviceapi::kNotFound);
    EXPECT_EQ(value, "untouched");
    EXPECT_EQ(ravel_core_settings_set_default_json_value("OnvifAnalytics", "[]"), 0);
    EXPECT_EQ(ravel::core::settingsGetJson("OnvifAnalytics", value), 0);
    EXPECT_EQ(value, "[]");
    EXPECT_EQ(ravel::core::settingsSetJson("OnvifAnalytics", "[ 1 ]"), 0);
    stop();
    start();
    EXPECT_EQ(ravel::core::settingsGetJson("OnvifAnalytics", value), 0);
    EXPECT_EQ(value, "[ 1 ]");
}

TEST_F(ServiceApiTest, postsDayNightEventsToTheControlThread)
{
    start();
    void* cookie = nullptr;
    ASSERT_EQ(ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    ASSERT_EQ(ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, &calls), 0);
    api->control.ask([&] {
        services->moveFilter(true);
        EXPECT_THAT(calls, IsEmpty()) << "called from inside a call";
    });
    services->moveFilter(false);
    api->control.drain();
    EXPECT_THAT(calls, ElementsAre("day/night moves main", "day/night rests main"));
    EXPECT_EQ(calledOn, api->control.ask([] { return std::this_thread::get_id(); }));
}

TEST_F(ServiceApiTest, callsNoHandlerThatWasUnregisteredBeforeItsTurn)
{
    start();
    void* cookie = nullptr;
    ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr);
    ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, &calls);
    api->control.ask([&] {
        services->moveFilter(true); // queued behind this task
        EXPECT_EQ(ravel_api_day_night_movement_change_unregister_event_handler(cookie, &onDayNight), 0);
        EXPECT_NE(ravel_api_day_night_movement_change_unregister_event_handler(cookie, &onDayNight), 0);
    });
    api->control.drain();
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(ServiceApiTest, callsNoHandlerThatAnEarlierOneUnregistered)
{
    start();
    static void* cookie = nullptr;
    ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr);
    const auto unregisters = [](bool, const char*, void*) {
        EXPECT_EQ(ravel_api_day_night_movement_change_unregister_event_handler(cookie, &onDayNight), 0);
    };
    ravel_api_day_night_movement_change_register_event_handler(cookie, unregisters, nullptr);
    ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, &calls);
    services->moveFilter(true);
    api->control.drain();
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(ServiceApiTest, forgetsTheHandlersOfAClosedConnection)
{
    start();
    void* cookie = nullptr;
    ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr);
    ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, &calls);
    ravel_api_day_night_initiator_deinit(cookie);
    EXPECT_NE(ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, &calls), 0);
    services->moveFilter(true);
    api->control.drain();
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(ServiceApiTest, answersWindowBlankingQueriesAndPostsItsEvents)
{
    start();
    void* cookie = nullptr;
    ASSERT_EQ(ravel_api_window_blanking_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    ASSERT_EQ(ravel_api_window_blanking_settings_changed_register_event_handler(cookie, &onBlanking, nullptr), 0);
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t enabled = 9;
    EXPECT_EQ(ravel_api_window_blanking_get_region_color_send(cookie, "main", &red, &green, &blue), 0);
    EXPECT_EQ(std::vector<int>({red, green, blue}), std::vector<int>({128, 128, 128})) << "grey at first";
    services->color({10, 20, 30});
    EXPECT_EQ(ravel_api_window_blanking_get_region_color_send(cookie, "main", &red, &green, &blue), 0);
    EXPECT_EQ(std::vector<int>({red, green, blue}), std::vector<int>({10, 20, 30}));
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(cookie, "main", &enabled), 0);
    EXPECT_EQ(enabled, 0);
    services->blank(true);
    api->control.drain();
    EXPECT_THAT(calls, ElementsAre("blanking on main"));
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(cookie, "main", &enabled), 0);
    EXPECT_EQ(enabled, 1);
    enabled = 9;
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(cookie, "elsewhere", &enabled), camera::serviceapi::kNotFound);
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(cookie, nullptr, &enabled),
              camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(nullptr, "main", &enabled),
              camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(enabled, 9) << "a failed query writes nothing";
}

TEST_F(ServiceApiTest, answersTheAngleAndPostsWhenItChanges)
{
    services->turn(180);
    services->serve("rotate");
    start();
    void* cookie = nullptr;
    ASSERT_EQ(ravel_api_rotate_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), 0);
    ASSERT_EQ(ravel_api_rotate_orientation_changed_register_event_handler(cookie, &onRotation, nullptr), 0);
    std::uint32_t angle = 0;
    EXPECT_EQ(ravel_api_rotate_get_angle_send(cookie, "main", &angle), 0);
    EXPECT_EQ(angle, 180u);
    services->turn(90);
    api->control.drain();
    EXPECT_THAT(calls, ElementsAre("rotation 90 main"));
    EXPECT_EQ(ravel_api_rotate_get_angle_send(cookie, "main", nullptr), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_api_rotate_orientation_changed_unregister_event_handler(cookie, &onRotation), 0);
    ravel_api_rotate_initiator_deinit(cookie);
    EXPECT_NE(ravel_api_rotate_get_angle_send(cookie, "main", &angle), 0);
}

TEST_F(ServiceApiTest, passesOnWhyAQueryFailedAndWritesNothing)
{
    services->serve("rotate");
    start();
    services->turn(90);
    services->blank(true);
    services->answer("rotate", camera::serviceapi::kFailed);
    services->answer("window_blanking", camera::serviceapi::kUnavailable);
    void* blanking = nullptr;
    void* rotation = nullptr;
    ASSERT_EQ(ravel_api_window_blanking_initiator_init(nullptr, nullptr, &blanking, 1, nullptr), 0);
    ASSERT_EQ(ravel_api_rotate_initiator_init(nullptr, nullptr, &rotation, 1, nullptr), 0);
    std::uint8_t byte = 9;
    std::uint32_t angle = 9;
    EXPECT_EQ(ravel_api_window_blanking_get_enable_send(blanking, "main", &byte), camera::serviceapi::kUnavailable);
    EXPECT_EQ(ravel_api_window_blanking_get_region_color_send(blanking, "main", &byte, &byte, &byte),
              camera::serviceapi::kUnavailable);
    EXPECT_EQ(ravel_api_rotate_get_angle_send(rotation, "main", &angle), camera::serviceapi::kFailed);
    EXPECT_EQ(byte, 9);
    EXPECT_EQ(angle, 9u);
}

TEST_F(ServiceApiTest, opensNoConnectionToAServiceThatIsAwayOrOfAnotherVersion)
{
    start();
    void* cookie = nullptr;
    std::uint64_t stream = 0;
    EXPECT_EQ(ravel_api_rotate_initiator_init(nullptr, nullptr, &cookie, 1, nullptr), camera::serviceapi::kUnavailable);
    EXPECT_EQ(ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 2, nullptr),
              camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_api_day_night_initiator_init(nullptr, nullptr, nullptr, 1, nullptr),
              camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &stream, 2, nullptr),
              camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, nullptr, 1, nullptr),
              camera::serviceapi::kInvalidArgument);
    services->serve("onvif_metadata_streamer", std::nullopt);
    EXPECT_EQ(ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &stream, 1, nullptr),
              camera::serviceapi::kUnavailable);
    EXPECT_EQ(cookie, nullptr);
    EXPECT_EQ(stream, 0u);
}

TEST_F(ServiceApiTest, handsMetadataDocumentsToTheStreamerWhileTheConnectionIsOpen)
{
    start();
    const auto send = [](std::uint64_t stream, const char* target, const char* xml) {
        return ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(stream, target, xml, 1);
    };
    std::uint64_t stream = 0;
    ASSERT_EQ(ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &stream, 1, nullptr), 0);
    EXPECT_EQ(send(stream, "main", "<a/>"), 0);
    EXPECT_EQ(send(stream, nullptr, "<a/>"), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(send(stream, "main", nullptr), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(send(0, "main", "<a/>"), camera::serviceapi::kInvalidArgument);
    ravel_api_onvif_metadata_streamer_initiator_deinit(stream);
    EXPECT_EQ(send(stream, "main", "<b/>"), camera::serviceapi::kInvalidArgument);
    api->metadataStreamer.drain();
    EXPECT_THAT(services->documents(), ElementsAre("<a/>"));
}

TEST_F(ServiceApiTest, discardsWhatAPluginLeftRegistered)
{
    services->serve("rotate");
    start();
    void* cookie = nullptr;
    ravel_api_rotate_initiator_init(nullptr, nullptr, &cookie, 1, nullptr);
    ravel_api_rotate_orientation_changed_register_event_handler(cookie, &onRotation, nullptr);
    void* dayNight = nullptr;
    ravel_api_day_night_initiator_init(nullptr, nullptr, &dayNight, 1, nullptr);
    ravel_api_day_night_movement_change_register_event_handler(dayNight, &onDayNight, nullptr);
    void* blanking = nullptr;
    ravel_api_window_blanking_initiator_init(nullptr, nullptr, &blanking, 1, nullptr);
    ravel_api_window_blanking_settings_changed_register_event_handler(blanking, &onBlanking, nullptr);
    const std::uintptr_t stream = api->metadataStreamer.open();
    const auto handlers = [this] {
        return std::vector<std::size_t>{api->rotation.handlers(), api->dayNight.handlers(),
                                        api->windowBlanking.handlers()};
    };
    EXPECT_THAT(handlers(), ElementsAre(1u, 1u, 1u));
    api->discardRegistrations();
    EXPECT_THAT(handlers(), ElementsAre(0u, 0u, 0u));
    EXPECT_NE(api->metadataStreamer.send(stream, "<a/>"), 0);
    services->turn(90);
    api->control.drain();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_NE(ravel_api_rotate_orientation_changed_register_event_handler(cookie, &onRotation, nullptr), 0);
}

TEST_F(ServiceApiTest, asksAndHearsTheServicesNoMoreOnceItEnds)
{
    start();
    EXPECT_TRUE(services->started());
    stop();
    EXPECT_FALSE(services->started());
}

TEST_F(ServiceApiTest, postsNothingOnceQuiet)
{
    start();
    void* cookie = nullptr;
    ravel_api_day_night_initiator_init(nullptr, nullptr, &cookie, 1, nullptr);
    ravel_api_day_night_movement_change_register_event_handler(cookie, &onDayNight, nullptr);
    api->quiesce();
    services->moveFilter(true);
    api->control.drain();
    EXPECT_THAT(calls, IsEmpty());
}

class SilentTarget : public RavelApiAnalyticsTargetImplBase {
public:
    explicit SilentTarget(void* log, bool runnable = true) : RavelApiAnalyticsTargetImplBase(log), _runnable(runnable)
    {
    }
    bool isRunnable() override { return _runnable && RavelApiAnalyticsTargetImplBase::isRunnable(); }
    int getEventTopics(char*** /*topics*/) override { return 0; }
    int getSupportedRules(char*** /*types*/) override { return 0; }
    int getCurrentRules(char*** /*rules*/) override { return 0; }
    int createRules(char** /*rules*/, unsigned int* /*status*/) override { return 0; }
    int modifyRules(char** /*rules*/, unsigned int* /*status*/) override { return 0; }
    int deleteRules(char** /*names*/, unsigned int* /*status*/) override { return 0; }
    int getSupportedEngines(char*** /*types*/) override { return 0; }
    int getCurrentEngines(char*** /*engines*/) override { return 0; }
    int createEngines(char** /*engines*/, unsigned int* /*status*/) override { return 0; }
    int modifyEngines(char** /*engines*/, unsigned int* /*status*/) override { return 0; }
    int deleteEngines(char** /*names*/, unsigned int* /*status*/) override { return 0; }
    int getCurrentConfiguration(char** /*xml*/) override { return 0; }
    int setConfiguration(const char* /*xml*/, unsigned char* /*failed*/) override { return 0; }
    int restoreDefaultSettings() override { return 0; }
    int getUsedPtzPresets(char*** /*presets*/) override { return 0; }
    int readFramesFromFile(const char* /*engine*/, const char* /*path*/, unsigned char /*flag*/) override { return 0; }
    int writeFramesToFile(const char* /*engine*/, const char* /*path*/, unsigned int /*count*/) override { return 0; }
    int getPtzPresetConfiguration(const char* /*preset*/, char** /*xml*/) override { return 0; }

private:
    bool _runnable;
};

TEST_F(ServiceApiTest, servesATargetForAsLongAsItsRunnerLives)
{
    start();
    const auto target = boost::make_shared<SilentTarget>(nullptr);
    {
        const RavelApiAnalyticsTargetRun runner("onvif_analytic_service", nullptr, target);
        EXPECT_EQ(api->analyticsTargets.find("onvif_analytic_service"), target);
        EXPECT_THAT(idsOf("onvif_analytic_service"), ElementsAre("main"));
        EXPECT_EQ(api->analyticsTargets.find("another"), nullptr);
    }
    EXPECT_EQ(api->analyticsTargets.find("onvif_analytic_service"), nullptr);
    EXPECT_THAT(idsOf("onvif_analytic_service"), ElementsAre("unknown"));
    EXPECT_EQ(target.use_count(), 1) << "the runner kept the target";
}

TEST_F(ServiceApiTest, passesEventsOnOnlyWhileSomebodyServesTheTarget)
{
    start();
    std::vector<std::string> events;
    const auto subscription = api->events.subscribe(
        [&](const Event& event) { events.push_back(event.topic + "|" + event.source + "|" + event.data); });
    const auto target = boost::make_shared<SilentTarget>(nullptr);
    const auto other = boost::make_shared<SilentTarget>(nullptr);
    EXPECT_NE(target->sendEventAnalyticsEvent("early", "", ""), 0);
    {
        const RavelApiAnalyticsTargetRun runner("onvif_analytic_service", nullptr, target);
        EXPECT_EQ(target->sendEventAnalyticsEvent("topic", "source", "data"), 0);
        EXPECT_EQ(target->sendEventAnalyticsEvent("topic", nullptr, nullptr), 0);
        EXPECT_NE(other->sendEventAnalyticsEvent("of a target that nobody serves", "", ""), 0);
    }
    EXPECT_NE(target->sendEventAnalyticsEvent("late", "", ""), 0);
    api->events.drain();
    EXPECT_THAT(events, ElementsAre("topic|source|data", "topic||"));
}

TEST_F(ServiceApiTest, keepsTheFirstTargetWhenASecondWantsItsName)
{
    start();
    void* log = nullptr;
    ravel_core_logging_init("RUNNER", &log);
    const auto first = boost::make_shared<SilentTarget>(nullptr);
    const auto second = boost::make_shared<SilentTarget>(nullptr);
    const RavelApiAnalyticsTargetRun runner("onvif_analytic_service", log, first);
    {
        const RavelApiAnalyticsTargetRun late("onvif_analytic_service", log, second);
    }
    EXPECT_EQ(api->analyticsTargets.find("onvif_analytic_service"), first);
    EXPECT_THAT(lines.lines(), ElementsAre(HasSubstr("another target is served under this name")));
}

TEST_F(ServiceApiTest, servesNoTargetThatIsNotRunnable)
{
    start();
    void* log = nullptr;
    ravel_core_logging_init("RUNNER", &log);
    const RavelApiAnalyticsTargetRun runner("onvif_analytic_service", log,
                                            boost::make_shared<SilentTarget>(nullptr, false));
    EXPECT_EQ(api->analyticsTargets.find("onvif_analytic_service"), nullptr);
    EXPECT_THAT(lines.lines(), ElementsAre(HasSubstr("the target cannot be served")));
}

TEST_F(ServiceApiTest, letsARunnerOutliveItsDevice)
{
    start();
    const auto target = boost::make_shared<SilentTarget>(nullptr);
    auto runner = std::make_unique<RavelApiAnalyticsTargetRun>("onvif_analytic_service", nullptr, target);
    stop();
    runner.reset();
    EXPECT_NE(target->sendEventAnalyticsEvent("late", "", ""), 0);
    EXPECT_EQ(target.use_count(), 1);
}

TEST_F(ServiceApiTest, writesTheTargetsLinesOnItsOwnHandle)
{
    void* log = nullptr;
    ravel_core_logging_init("TARGET", &log);
    const SilentTarget target(log);
    target.log(RAVEL_CORE_LOG_ERROR, "%d of %s", 2, "three");
    EXPECT_THAT(lines.lines(), ElementsAre(HasSubstr("error TARGET: 2 of three")));
    target.log(RAVEL_CORE_LOG_ERROR, "%ls", L"\x20ac");
    EXPECT_EQ(lines.count(""), 1U) << "what cannot be converted is left out";
    target.log(RAVEL_CORE_LOG_ERROR, "%s", std::string(70000, 'x').c_str());
    EXPECT_EQ(lines.count("xxx... (70000 bytes)"), 1U);
    EXPECT_EQ(ravel_core_logging_init(nullptr, &log), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(ravel_core_logging_init("TARGET", nullptr), camera::serviceapi::kInvalidArgument);
}

TEST(ServedTargetsTest, loseTheOneThatIsNamedOnly)
{
    const auto first = boost::make_shared<SilentTarget>(nullptr);
    const auto second = boost::make_shared<SilentTarget>(nullptr);
    camera::serviceapi::ServedTargets targets;
    EXPECT_TRUE(targets.add("a", first));
    targets.remove("a", second.get());
    EXPECT_EQ(targets.find("a"), first);
    EXPECT_TRUE(targets.serves(first.get()));
    EXPECT_FALSE(targets.serves(second.get()));
    targets.remove("a", first.get());
    EXPECT_EQ(targets.find("a"), nullptr);
}

TEST(StatusTest, hasATextForEveryStatus)
{
    EXPECT_STREQ(ravel_core_status_to_string(0), "success");
    EXPECT_STREQ(ravel_core_status_to_string(camera::serviceapi::kStorageFull), "no space left");
    EXPECT_STREQ(ravel_core_status_to_string(-77), "unknown status");
    EXPECT_EQ(ravel::core::statusToString(camera::serviceapi::kNotFound), "not found");
    EXPECT_EQ(std::string(ravel::core::RavelApiException("Failed", camera::serviceapi::kUnavailable).what()),
              "Failed (service not available)");
}

} // namespace
