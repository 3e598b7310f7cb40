// What the gateway hears of the pipeline, and what it tells when the pipeline or the bus goes and comes back.
#include "camera/gateway/EventLink.h"

#include "kit/Eventually.h"
#include "kit/LineJournal.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace camera::gateway {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
namespace service = bus::service;
using Texts = std::vector<std::string>;
using PropertyRow = sdbus::Struct<std::string, std::string, std::string>;

const std::string kTopic = "tns1:RuleEngine/CellMotionDetector/Motion";

std::string motionMessage(const std::string& rule, const std::string& state, const std::string& second)
{
    return "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"2024-01-02T03:04:" + second +
           "Z\" PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem Name=\"Rule\" Value=\"" + rule +
           "\"/></tt:Source><tt:Data><tt:SimpleItem Name=\"State\" Value=\"" + state + "\"/></tt:Data></tt:Message>";
}

/// What the pipelines of a test answer.
struct PipelineScript {
    std::mutex mutex;
    std::vector<PropertyRow> properties;
    int refusals = 0; ///< how often it first does not answer that

    std::vector<PropertyRow> answer()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (refusals-- > 0) {
            throw sdbus::Error("ravel.Error.Failed", "not yet");
        }
        return properties;
    }
};

/// The pipeline, as far as its events go.
class FakePipeline {
public:
    FakePipeline(const std::shared_ptr<bus::Session>& session, PipelineScript& script)
    {
        sdbus::IConnection& connection = session->connection();
        using Text = std::string;
        add(connection, service::kOnvifAnalyticService, [](sdbus::IObject& object, const Text& interface) {
            object.registerSignal("analyticsEvent").onInterface(interface).withParameters<Text, Text, Text>();
        });
        add(connection, service::kAnalytics, [&](sdbus::IObject& object, const Text& interface) {
            object.registerSignal("configurationChanged").onInterface(interface);
            object.registerMethod("properties").onInterface(interface).implementedAs([&script] {
                return script.answer();
            });
        });
        add(connection, service::kPositioning, [](sdbus::IObject& object, const Text& interface) {
            object.registerProperty("Available").onInterface(interface).withGetter([] { return true; });
            object.registerSignal("presetState")
                .onInterface(interface)
                .withParameters<std::int32_t, Text, bool, Text>();
            object.registerSignal("presetModified").onInterface(interface).withParameters<Text, bool, bool, bool>();
            object.registerSignal("commandPriority").onInterface(interface).withParameters<bool, bool, std::uint32_t>();
            object.registerSignal("motionState")
                .onInterface(interface)
                .withParameters<bool, std::uint32_t, std::int32_t, std::uint32_t>();
        });
        add(connection, service::kPipeline, [](sdbus::IObject& object, const Text& interface) {
            object.registerProperty("StartTime").onInterface(interface).withGetter([] { return std::int64_t{60000}; });
        });
    }

    template <class... Values>
    void emit(const char* name, const char* signal, const Values&... values)
    {
        _objects.at(name)->emitSignal(signal).onInterface(bus::interfaceName(name)).withArguments(values...);
    }

private:
    template <class Register>
    void add(sdbus::IConnection& connection, const char* name, const Register& registerAll)
    {
        auto& object = _objects[name];
        object = sdbus::createObject(connection, bus::objectPath(name));
        registerAll(*object, bus::interfaceName(name));
        object->finishRegistration();
        connection.requestName(bus::busName(name));
    }

    std::map<std::string, std::unique_ptr<sdbus::IObject>> _objects;
};

std::string eventText(const onvif::Notification& event)
{
    constexpr const char* kOperations[] = {"", " Initialized", " Changed", " Deleted"};
    const bool ofRule = event.topic == kTopic;
    std::string text = ofRule ? event.source.at(0).value : event.topic.substr(event.topic.find_last_of('/') + 1);
    text += kOperations[static_cast<int>(event.operation)];
    for (const auto* items : {ofRule ? nullptr : &event.source, &event.data}) {
        for (const onvif::MessageItem& item : items != nullptr ? *items : std::vector<onvif::MessageItem>()) {
            text += " " + item.value;
        }
    }
    return text;
}

class EventLinkTest : public testing::Test {
protected:
    void SetUp() override
    {
        _gateway.start();
        _thread = std::thread([this] { _context.run(); });
        ASSERT_TRUE(_gateway.waitUntilConnected(::kit::soon()));
    }

    void TearDown() override
    {
        endPipeline();
        _gateway.stop();
        _work.reset();
        _context.stop();
        _thread.join();
    }

    void startPipeline()
    {
        _pipeline.emplace(bus.address(), "pipeline");
        _object = _pipeline->add<FakePipeline>(
            [this](const auto& session) { return std::make_shared<FakePipeline>(session, script); });
        _pipeline->start();
        ASSERT_TRUE(_pipeline->waitUntilConnected(::kit::soon()));
    }

    void endPipeline()
    {
        _object.reset();
        _pipeline.reset();
    }

    template <class... Values>
    void emit(const char* name, const char* signal, const Values&... values)
    {
        const auto object = _object->get();
        ASSERT_TRUE(object);
        object->emit(name, signal, values...);
    }

    void raise(const std::string& rule, const std::string& state, const std::string& second)
    {
        emit(service::kOnvifAnalyticService, "analyticsEvent", kTopic, rule, motionMessage(rule, state, second));
    }

    void has(std::vector<PropertyRow> properties, int refusals = 0)
    {
        const std::lock_guard<std::mutex> lock(script.mutex);
        script.properties = std::move(properties);
        script.refusals = refusals;
    }

    bool waitFor(const std::string& line)
    {
        return ::kit::eventually([&] { return told.count(line) > 0; });
    }

    Texts live()
    {
        std::promise<Texts> texts;
        boost::asio::post(_context, [&] {
            Texts all;
            for (const onvif::Notification& each : _events.live()) {
                all.push_back(eventText(each));
            }
            texts.set_value(all);
        });
        return texts.get_future().get();
    }

    ::kit::PrivateBus bus;
    PipelineScript script;
    ::kit::LineJournal told;
    const std::string kReboot = "LastReboot Initialized 1970-01-01T00:01:00Z";

private:
    boost::asio::io_context _context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    bus::Connection _gateway{bus.address(), "gateway"};
    CameraLink _link{_gateway, _context};
    EventLink _events{_gateway,
                      _link,
                      _context,
                      {[this](const onvif::Notification& event) { told.add(eventText(event)); },
                       [](const std::string& token) { return "the " + token; },
                       [this] { told.add("presets changed"); }}};
    std::thread _thread;
    std::optional<bus::Connection> _pipeline;
    std::shared_ptr<bus::CurrentObject<FakePipeline>> _object;
};

TEST_F(EventLinkTest, thePropertiesOfThePipelineAreAskedForWhenItIsThere)
{
    EXPECT_THAT(live(), ElementsAre("MotionAlarm Initialized VideoSource_1 false"));
    has({{kTopic, "A", motionMessage("A", "true", "05")},
         {kTopic, "B", motionMessage("B", "false", "05")},
         {kTopic, "C", "no message"}});
    startPipeline();
    ASSERT_TRUE(waitFor("MotionAlarm Changed VideoSource_1 true"));
    ASSERT_TRUE(waitFor(kReboot));
    EXPECT_THAT(told.lines(), UnorderedElementsAre("A Initialized true", "B Initialized false",
                                                   "MotionAlarm Changed VideoSource_1 true", kReboot));
    EXPECT_THAT(live(), UnorderedElementsAre("A Initialized true", "B Initialized false",
                                             "MotionAlarm Initialized VideoSource_1 true", kReboot));
}

TEST_F(EventLinkTest, aPipelineThatDoesNotAnswerIsAskedAgain)
{
    has({{kTopic, "A", motionMessage("A", "true", "05")}}, 1);
    startPipeline();
    EXPECT_TRUE(waitFor("A Initialized true"));
}

TEST_F(EventLinkTest, signalsAreEvents)
{
    startPipeline();
    ASSERT_TRUE(waitFor(kReboot));
    told.clear();
    raise("A", "true", "06");
    emit(service::kOnvifAnalyticService, "analyticsEvent", kTopic, std::string("A"), std::string("no message"));
    emit(service::kAnalytics, "configurationChanged");
    raise("A", "false", "07");
    EXPECT_THAT(told.lines(5), ElementsAre("A Changed true", "MotionAlarm Changed VideoSource_1 true",
                                           "ConfigurationChanged AnalyticsConfiguration_1 Analytics", "A Changed false",
                                           "MotionAlarm Changed VideoSource_1 false"));
}

TEST_F(EventLinkTest, whatTheCameraDoesWithPresetsIsTold)
{
    startPipeline();
    ASSERT_TRUE(waitFor(kReboot));
    told.clear();
    const auto state = [this](std::int32_t number, const std::string& preset) {
        emit(service::kPositioning, "presetState", number, preset, false, std::string("anna"));
    };
    const auto motion = [this](bool moving) {
        emit(service::kPositioning, "motionState", moving, std::uint32_t{0}, std::int32_t{0}, std::uint32_t{100});
    };
    state(1, "Gate");
    motion(true);
    state(2, "Gate");
    motion(false);
    state(0, "Gate");
    state(1, "Yard");
    motion(false);
    state(1, "Gate");
    emit(service::kPositioning, "commandPriority", true, true, std::uint32_t{100});
    emit(service::kPositioning, "presetModified", std::string("Gate"), false, false, true);
    EXPECT_THAT(told.lines(8),
                ElementsAre("Invoked PTZ_1 Gate the Gate", "Reached PTZ_1 Gate the Gate", "Left PTZ_1 Gate the Gate",
                            "Invoked PTZ_1 Yard the Yard", "Aborted PTZ_1 Yard the Yard", "Invoked PTZ_1 Gate the Gate",
                            "Aborted PTZ_1 Gate the Gate", "presets changed"));
}

TEST_F(EventLinkTest, nothingStaysTrueWhenThePipelineEnds)
{
    startPipeline();
    ASSERT_TRUE(waitFor(kReboot));
    raise("A", "true", "06");
    ASSERT_TRUE(waitFor("MotionAlarm Changed VideoSource_1 true"));
    told.clear();
    endPipeline();
    EXPECT_THAT(told.lines(3),
                ElementsAre("A Changed false", "A Deleted false", "MotionAlarm Changed VideoSource_1 false"));
    has({{kTopic, "A", motionMessage("A", "false", "08")}});
    startPipeline();
    EXPECT_TRUE(waitFor("A Initialized false"));
    EXPECT_THAT(live(),
                UnorderedElementsAre("A Initialized false", "MotionAlarm Initialized VideoSource_1 false", kReboot));
}

TEST_F(EventLinkTest, nothingStaysTrueWhenTheBusEnds)
{
    startPipeline();
    ASSERT_TRUE(waitFor(kReboot));
    raise("A", "true", "06");
    ASSERT_TRUE(waitFor("MotionAlarm Changed VideoSource_1 true"));
    has({{kTopic, "A", motionMessage("A", "true", "06")}});
    told.clear();
    bus.kill();
    EXPECT_THAT(told.lines(3),
                ElementsAre("A Changed false", "A Deleted false", "MotionAlarm Changed VideoSource_1 false"));
    bus.start();
    EXPECT_TRUE(waitFor("A Initialized true"));
    EXPECT_TRUE(waitFor("MotionAlarm Changed VideoSource_1 true"));
}

} // namespace
} // namespace camera::gateway
