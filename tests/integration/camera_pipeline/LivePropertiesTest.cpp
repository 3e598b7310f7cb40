// What the pipeline keeps and tells of the properties that engines raise: no `true` outlives its rule, its preset or
// its engine's activity, whatever the engine does.
#include "integration/camera_pipeline/ServedDevice.h"

#include "camera/base/Event.h"
#include "kit/Gate.h"

#include <string>
#include <tuple>

namespace pipeline_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LivePropertiesTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        serve();
        ASSERT_TRUE(_changes.waitForSession(1));
        _listener =
            device->onEvent([this](const camera::base::Event& event) { _heard.push_back(inShort(event.data)); });
    }

    void TearDown() override
    {
        _listener.reset();
        ServedDevice::TearDown();
    }

    static std::string message(const std::string& rule, const std::string& state)
    {
        return "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"2024-01-02T03:04:05Z\" "
               "PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem Name=\"Rule\" Value=\"" +
               rule + "\"/></tt:Source><tt:Data><tt:SimpleItem Name=\"State\" Value=\"" + state +
               "\"/></tt:Data></tt:Message>";
    }

    static std::string between(const std::string& text, const std::string& before)
    {
        const std::size_t begin = text.find(before) + before.size();
        return text.substr(begin, text.find('"', begin) - begin);
    }

    /// "Gate Changed true"
    static std::string inShort(const std::string& message)
    {
        return between(message, "Name=\"Rule\" Value=\"") + " " + between(message, "PropertyOperation=\"") + " " +
               between(message, "Name=\"State\" Value=\"");
    }

    /// The engines do not close what they raise.
    void raise(const std::string& rule, const std::string& state)
    {
        hosted.events.load()->OnEvent("tns1:RuleEngine/A", rule, message(rule, state));
    }

    Texts heard()
    {
        device->drain();
        return std::exchange(_heard, {});
    }

    Texts living()
    {
        using Row = sdbus::Struct<std::string, std::string, std::string>;
        Texts texts;
        for (const Row& row : client.one<std::vector<Row>>(service::kAnalytics, "properties")) {
            texts.push_back(inShort(row.get<2>()));
        }
        return texts;
    }

    /// One more than before.
    void waitForChange()
    {
        ASSERT_EQ(_changes.journal.lines(1), Texts{"changed"});
        _changes.journal.clear();
    }

    void goTo(const std::string& preset)
    {
        ASSERT_TRUE(unit().goToPreset(preset, kOperator));
        untilItStands();
    }

private:
    kit::BusClient _changes{
        bus.address(), {service::kAnalytics}, [](kit::BusProxies& proxies, kit::LineJournal& heard) {
            proxies.hear(service::kAnalytics, "configurationChanged", [&heard] { heard.add("changed"); });
        }};
    Texts _heard; // the event thread writes it, and has ended with that when the device is drained
    camera::serviceapi::EventBus::Subscription _listener;
};

TEST_F(LivePropertiesTest, areToldWithTheirLastEvent)
{
    EXPECT_THAT(living(), IsEmpty());
    raise("A", "true");
    raise("B", "true");
    raise("B", "false");
    EXPECT_THAT(living(), ElementsAre("A Changed true", "B Changed false"));
}

TEST_F(LivePropertiesTest, areToldWhileAnEngineKeepsTheControlThread)
{
    raise("A", "true");
    kit::Gate gate;
    device->control().post([&gate] { gate.pass(); });
    ASSERT_TRUE(gate.waitUntilReached());
    EXPECT_THAT(living(), ElementsAre("A Changed true"));
    gate.open();
}

TEST_F(LivePropertiesTest, areFalseWhenTheCameraLeavesThePresetOfTheirRule)
{
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    goTo("Gate");
    raise("MotionGate", "true");
    ASSERT_THAT(heard(), ElementsAre("MotionGate Changed true"));
    goTo("Yard");
    EXPECT_THAT(heard(), ElementsAre("MotionGate Changed false"));
    EXPECT_THAT(living(), ElementsAre("MotionGate Changed false"));
    goTo("Gate");
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(LivePropertiesTest, goWithTheirRule)
{
    ASSERT_EQ(configure(documentFor("Motion")), Acceptance(0, 0));
    waitForChange();
    raise("Motion", "true");
    EXPECT_EQ(change("deleteRules", {"Motion"}), Outcome(0, 0));
    waitForChange();
    EXPECT_THAT(heard(), ElementsAre("Motion Changed true", "Motion Changed false", "Motion Deleted false"));
    EXPECT_THAT(living(), IsEmpty());
}

TEST_F(LivePropertiesTest, goWithThePresetOfTheirRule)
{
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    waitForChange();
    goTo("Gate");
    raise("MotionGate", "true");
    goTo("Yard");
    heard();
    client.ask<>(service::kPositioning, "removePreset", std::string("Gate"));
    waitForChange();
    EXPECT_THAT(living(), IsEmpty());
    EXPECT_THAT(heard(), ElementsAre("MotionGate Deleted false"));
}

TEST_F(LivePropertiesTest, stayWhileTheirRuleIsThereAndActive)
{
    ASSERT_EQ(configure(documentFor("Motion")), Acceptance(0, 0));
    waitForChange();
    raise("Motion", "true");
    ASSERT_EQ(configure(documentFor("Motion")), Acceptance(0, 0));
    waitForChange();
    EXPECT_THAT(heard(), ElementsAre("Motion Changed true")) << "whether it still holds the engine knows";
    EXPECT_THAT(living(), ElementsAre("Motion Changed true"));
}

} // namespace
} // namespace pipeline_test
