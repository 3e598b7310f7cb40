// What clients are told of the properties, whatever happens to the process that has them.
#include "camera/onvif/PropertyStates.h"

#include "camera/onvif/DeviceEvents.h"
#include "camera/onvif/PropertyEnd.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace {

using camera::onvif::Notification;
using camera::onvif::PropertyOperation;
using camera::onvif::PropertyStates;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// @param time  a number for the second; the same one: the same event.
Notification stateOf(const std::string& rule, const std::string& value, int time = 1,
                     PropertyOperation operation = PropertyOperation::changed)
{
    Notification notification;
    notification.topic = "tns1:RuleEngine/CellMotionDetector/Motion";
    notification.utcTime = "2024-01-02T03:04:0" + std::to_string(time) + "Z";
    notification.operation = operation;
    notification.source = {{"Rule", rule}};
    notification.data = {{"State", value}};
    return notification;
}

std::string stateText(const Notification& notification)
{
    constexpr const char* kOperations[] = {"", " Initialized", " Changed", " Deleted"};
    const std::string what = notification.source.empty() ? notification.topic : notification.source[0].value;
    return what + kOperations[static_cast<int>(notification.operation)] +
           (notification.data.empty() ? "" : " " + notification.data[0].value);
}

class PropertyStatesTest : public testing::Test {
protected:
    std::vector<std::string> told() { return std::exchange(_told, {}); }

    std::vector<std::string> live() const
    {
        std::vector<std::string> texts;
        for (const Notification& each : states.live()) {
            texts.push_back(stateText(each));
        }
        return texts;
    }

private:
    std::vector<std::string> _told;

protected:
    PropertyStates states{[this](const Notification& told) { _told.push_back(stateText(told)); }};
};

TEST_F(PropertyStatesTest, motionIsFalseBeforeAnythingIsKnown)
{
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized false"));
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PropertyStatesTest, theLastStateOfEachIsKept)
{
    states.happened(stateOf("A", "true"));
    states.happened(stateOf("B", "false"));
    EXPECT_THAT(told(), ElementsAre("A Changed true", "VideoSource_1 Changed true", "B Changed false"));
    states.happened(stateOf("A", "false", 2));
    EXPECT_THAT(told(), ElementsAre("A Changed false", "VideoSource_1 Changed false"));
    EXPECT_THAT(live(),
                UnorderedElementsAre("VideoSource_1 Initialized false", "A Initialized false", "B Initialized false"));
}

TEST_F(PropertyStatesTest, anEventThatIsNoPropertyIsToldAndNotKept)
{
    states.happened(camera::onvif::profileChanged("P"));
    states.happened(camera::onvif::profileChanged("P"));
    EXPECT_THAT(told(), ElementsAre("P", "P"));
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized false"));
}

TEST_F(PropertyStatesTest, whatIsDeletedIsGone)
{
    states.happened(stateOf("A", "true"));
    told();
    states.happened(stateOf("A", "false", 2, PropertyOperation::deleted));
    EXPECT_THAT(told(), ElementsAre("A Deleted false", "VideoSource_1 Changed false"));
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized false"));
}

TEST_F(PropertyStatesTest, motionIsSeenAsLongAsAnyRuleSeesIt)
{
    Notification other = stateOf("C", "true");
    other.topic = "tns1:RuleEngine/FieldDetector/ObjectsInside";
    states.happened(other);
    EXPECT_THAT(told(), ElementsAre("C Changed true")) << "not motion";
    states.happened(stateOf("A", "true"));
    states.happened(stateOf("B", "true"));
    states.happened(stateOf("A", "false", 2));
    EXPECT_THAT(told(),
                ElementsAre("A Changed true", "VideoSource_1 Changed true", "B Changed true", "A Changed false"));
    states.happened(stateOf("B", "false", 2));
    EXPECT_THAT(told(), ElementsAre("B Changed false", "VideoSource_1 Changed false"));
}

TEST_F(PropertyStatesTest, nothingStaysTrueWithoutThePipeline)
{
    states.happened(stateOf("A", "true"));
    states.happened(stateOf("B", "false"));
    told();
    states.lost();
    EXPECT_THAT(told(), UnorderedElementsAre("A Changed false", "A Deleted false", "B Deleted false",
                                             "VideoSource_1 Changed false"));
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized false"));
    states.lost();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PropertyStatesTest, aPipelineThatIsFoundIsToldOf)
{
    states.ask();
    states.found({stateOf("A", "true"), stateOf("B", "false")});
    EXPECT_THAT(told(), ElementsAre("A Initialized true", "B Initialized false", "VideoSource_1 Changed true"));
    states.ask();
    states.found({stateOf("A", "true"), stateOf("B", "true", 2)});
    EXPECT_THAT(told(), ElementsAre("B Changed true")) << "only what is another state";
    states.ask();
    states.found({stateOf("B", "true", 2)});
    EXPECT_THAT(told(), ElementsAre("A Changed false", "A Deleted false")) << "what is not among them has ended";
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized true", "B Initialized true"));
}

TEST_F(PropertyStatesTest, whatHappenedSinceTheQuestionIsNewerThanTheAnswer)
{
    states.happened(stateOf("A", "true"));
    states.happened(stateOf("B", "true"));
    states.ask();
    states.happened(stateOf("A", "false", 2));
    states.happened(stateOf("B", "false", 2, PropertyOperation::deleted));
    states.happened(stateOf("C", "true"));
    told();
    states.found({stateOf("A", "true"), stateOf("B", "true")});
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(live(), ElementsAre("VideoSource_1 Initialized true", "A Initialized false", "C Initialized true"));
}

TEST_F(PropertyStatesTest, theSameEventTwiceIsToldOnce)
{
    states.ask();
    states.found({stateOf("A", "true")});
    told();
    states.happened(stateOf("A", "true"));
    EXPECT_THAT(told(), IsEmpty()) << "its signal came after the answer that had it";
    states.happened(stateOf("A", "true", 2));
    EXPECT_THAT(told(), ElementsAre("A Changed true"));
}

TEST_F(PropertyStatesTest, aPropertyOfTheDeviceIsToldWhenItIsAnotherOne)
{
    using std::chrono::system_clock;
    const auto reboot = [](int seconds) {
        return camera::onvif::lastReboot(system_clock::time_point(std::chrono::seconds(seconds)));
    };
    const std::string topic = "tns1:Monitoring/OperatingTime/LastReboot";
    states.set(reboot(0));
    states.set(reboot(0));
    EXPECT_THAT(told(), ElementsAre(topic + " Initialized 1970-01-01T00:00:00Z"));
    states.lost();
    states.set(reboot(1));
    EXPECT_THAT(told(), ElementsAre(topic + " Changed 1970-01-01T00:00:01Z"));
}

TEST_F(PropertyStatesTest, anEndHasNothingOfWhatWasSeen)
{
    Notification seen = stateOf("A", "true");
    seen.data.push_back({"Count", "3"});
    seen.dataElements = {"<tt:Object/>"};
    const auto end = camera::onvif::endOf(seen);
    ASSERT_EQ(end.size(), 2u);
    EXPECT_EQ(end[1].data[1].value, "3");
    EXPECT_THAT(end[1].dataElements, IsEmpty());
    EXPECT_NE(end[1].utcTime, seen.utcTime);
    EXPECT_EQ(camera::onvif::ruleOf(seen), "A");
}

} // namespace
