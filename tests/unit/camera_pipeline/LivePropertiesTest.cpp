// The last state of each property, and the events that an engine owes.
#include "camera/pipeline/LiveProperties.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using camera::base::Event;
using camera::pipeline::LiveProperties;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kTopic = "tns1:RuleEngine/CellMotionDetector/Motion";

std::string message(const std::string& rule, const std::string& value, const std::string& operation = "Changed",
                    const std::string& key = "")
{
    return "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"2024-01-02T03:04:05Z\" "
           "PropertyOperation=\"" +
           operation + "\"><tt:Source><tt:SimpleItem Name=\"Rule\" Value=\"" + rule + "\"/></tt:Source>" + key +
           "<tt:Data><tt:SimpleItem Name=\"State\" Value=\"" + value +
           "\"/><tt:SimpleItem Name=\"Count\" Value=\"3\"/></tt:Data></tt:Message>";
}

Event event(const std::string& rule, const std::string& value, const std::string& operation = "Changed",
            const std::string& key = "")
{
    return {kTopic, rule, message(rule, value, operation, key)};
}

class LivePropertiesTest : public testing::Test {
protected:
    void raise(const Event& raised, const std::string& engine = "Motion") { properties.raised(engine, raised); }

    std::vector<std::string> texts() const
    {
        std::vector<std::string> texts;
        for (const Event& each : properties.all()) {
            texts.push_back(each.topic + "|" + each.source + "|" + each.data);
        }
        return texts;
    }

    LiveProperties properties;
};

MATCHER_P3(isEvent, rule, operation, state, "")
{
    const std::string value = std::string("Name=\"State\" Value=\"") + state + "\"";
    return arg.topic == kTopic && arg.source == rule &&
           arg.data.find(std::string("PropertyOperation=\"") + operation + "\"") != std::string::npos &&
           arg.data.find(value) != std::string::npos &&
           arg.data.find("Name=\"Count\" Value=\"3\"") != std::string::npos;
}

TEST_F(LivePropertiesTest, keepsTheLastEventOfEachAsItWasRaised)
{
    EXPECT_TRUE(properties.empty());
    raise(event("A", "true"));
    raise(event("B", "true"));
    raise(event("A", "false"));
    raise({"other", "A", message("A", "true")});
    raise(event("A", "true", "Changed", "<tt:Key><tt:SimpleItem Name=\"ObjectId\" Value=\"7\"/></tt:Key>"));
    EXPECT_FALSE(properties.empty());
    EXPECT_THAT(texts(),
                ElementsAre("other|A|" + message("A", "true"), std::string(kTopic) + "|A|" + message("A", "false"),
                            std::string(kTopic) + "|A|" +
                                message("A", "true", "Changed",
                                        "<tt:Key><tt:SimpleItem Name=\"ObjectId\" Value=\"7\"/></tt:Key>"),
                            std::string(kTopic) + "|B|" + message("B", "true")));
}

TEST_F(LivePropertiesTest, whatIsOfNoPropertyIsNotKept)
{
    raise({kTopic, "A", ""});
    raise({kTopic, "A", "no xml"});
    raise({kTopic, "A", "<tt:Message><unclosed>"});
    raise({kTopic, "A", "<tt:Other PropertyOperation=\"Changed\"/>"});
    raise({kTopic, "A", "<tt:Message UtcTime=\"2024-01-02T03:04:05Z\"><tt:Data/></tt:Message>"});
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(LivePropertiesTest, whatAnEngineDeletesIsGone)
{
    raise(event("A", "true"));
    raise(event("A", "false", "Deleted"));
    EXPECT_THAT(texts(), IsEmpty());
    EXPECT_THAT(properties.closing("Motion"), IsEmpty());
}

TEST_F(LivePropertiesTest, anEngineWithoutRulesOwesAFalseForEachTrue)
{
    raise(event("A", "true"));
    raise(event("B", "false"));
    raise(event("C", "true"), "Simple");
    const auto events = properties.closing("Motion");
    EXPECT_THAT(events, ElementsAre(isEvent("A", "Changed", "false")));
    EXPECT_THAT(events[0].data, AllOf(HasSubstr("UtcTime=\"2"), Not(HasSubstr("2024-01-02"))));
    EXPECT_THAT(properties.closing("Motion"), IsEmpty()) << "once";
    EXPECT_THAT(properties.all(), ElementsAre(isEvent("A", "Changed", "false"), isEvent("B", "Changed", "false"),
                                              isEvent("C", "Changed", "true")));
}

TEST_F(LivePropertiesTest, aPropertyGoesWithItsRule)
{
    raise(event("A", "true"));
    raise(event("B", "false"));
    raise(event("C", "true"));
    raise({kTopic, "D",
           "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"2024-01-02T03:04:05Z\" "
           "PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem Name=\"RuleName\" Value=\"D\"/>"
           "</tt:Source></tt:Message>"});
    raise({kTopic, "",
           "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"2024-01-02T03:04:05Z\" "
           "PropertyOperation=\"Changed\"><tt:Data/></tt:Message>"});
    EXPECT_THAT(properties.deleting({"C", "D", "other"}),
                ElementsAre(isEvent("A", "Changed", "false"), isEvent("A", "Deleted", "false"),
                            isEvent("B", "Deleted", "false")));
    EXPECT_THAT(properties.deleting({"C"}), ElementsAre(Field(&Event::source, "D")));
    EXPECT_THAT(properties.all(), ElementsAre(Field(&Event::source, ""), Field(&Event::source, "C")))
        << "what names no rule stays";
}

TEST_F(LivePropertiesTest, anEngineThatInventsKeysLosesItsOldestOnes)
{
    raise(event("kept", "true"));
    for (std::size_t i = 0; i < LiveProperties::kMost; ++i) {
        raise(event(std::to_string(i), "true"));
        if (i == LiveProperties::kMost / 2) {
            raise(event("kept", "true"));
        }
    }
    EXPECT_EQ(properties.all().size(), LiveProperties::kMost);
    EXPECT_THAT(properties.all(), testing::Contains(Field(&Event::source, "kept")));
    EXPECT_THAT(properties.all(), Not(testing::Contains(Field(&Event::source, "0"))));
}

} // namespace
