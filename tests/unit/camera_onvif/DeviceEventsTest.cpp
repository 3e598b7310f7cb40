// The events that no rule raises.
#include "camera/onvif/DeviceEvents.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using camera::onvif::MediaKind;
using camera::onvif::MediaSettings;
using camera::onvif::MessageItem;
using camera::onvif::Notification;
using camera::onvif::PresetEvents;
using camera::onvif::PropertyOperation;
using testing::ElementsAre;
using testing::IsEmpty;

std::string inShort(const Notification& notification)
{
    std::string text = notification.topic;
    for (const auto* items : {&notification.source, &notification.data}) {
        text += " |";
        for (const MessageItem& item : *items) {
            text += " " + item.name + "=" + item.value;
        }
    }
    return text;
}

std::vector<std::string> inShort(const std::vector<Notification>& notifications)
{
    std::vector<std::string> texts;
    for (const Notification& each : notifications) {
        texts.push_back(inShort(each));
    }
    return texts;
}

class MediaEventsTest : public testing::Test {
protected:
    std::vector<std::string> events() const { return inShort(mediaEvents(before, after)); }

    const MediaSettings before;
    MediaSettings after;
};

TEST_F(MediaEventsTest, nothingIsToldOfNoChange)
{
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(MediaEventsTest, aProfileThatIsNewGoneOrAnotherOneIsTold)
{
    const std::string first = before.profiles.at(0).token;
    const std::string second = before.profiles.at(1).token;
    after.profiles.erase(after.profiles.begin());
    after.profiles.push_back({"New", "a new one", {}});
    after.profiles.at(0).configurations.erase(MediaKind::metadata);
    EXPECT_THAT(events(), testing::UnorderedElementsAre("tns1:Media/ProfileChanged | Token=" + first + " |",
                                                        "tns1:Media/ProfileChanged | Token=" + second + " |",
                                                        "tns1:Media/ProfileChanged | Token=New |"));
    after = before;
    after.profiles.at(1).name = "another name";
    EXPECT_THAT(events(), ElementsAre("tns1:Media/ProfileChanged | Token=" + second + " |"));
}

TEST_F(MediaEventsTest, aConfigurationThatIsAnotherOneIsToldWithItsKind)
{
    after.encoders[1].govLength += 1;
    after.metadata.gzip = true;
    after.names[camera::onvif::kPtzConfiguration] = "another name";
    after.names[camera::onvif::kVideoSource] = "another name";
    EXPECT_THAT(events(), ElementsAre("tns1:Media/ConfigurationChanged | Token=VideoSource_1 Type=VideoSource |",
                                      "tns1:Media/ConfigurationChanged | Token=VideoEncoder_2 Type=VideoEncoder |",
                                      "tns1:Media/ConfigurationChanged | Token=PTZ_1 Type=PTZ |",
                                      "tns1:Media/ConfigurationChanged | Token=Metadata_1 Type=Metadata |"));
}

TEST(DeviceEvents, propertiesAreProperties)
{
    EXPECT_EQ(inShort(camera::onvif::motionAlarm(true)),
              "tns1:VideoSource/MotionAlarm | Source=VideoSource_1 | State=true");
    EXPECT_EQ(inShort(camera::onvif::motionAlarm(false)),
              "tns1:VideoSource/MotionAlarm | Source=VideoSource_1 | State=false");
    EXPECT_EQ(inShort(camera::onvif::lastReboot(std::chrono::system_clock::time_point(std::chrono::seconds(60)))),
              "tns1:Monitoring/OperatingTime/LastReboot | | Status=1970-01-01T00:01:00Z");
    EXPECT_EQ(camera::onvif::motionAlarm(true).operation, PropertyOperation::changed);
    EXPECT_EQ(camera::onvif::lastReboot({}).operation, PropertyOperation::changed);
    EXPECT_EQ(camera::onvif::profileChanged("P").operation, PropertyOperation::none);
}

class PresetEventsTest : public testing::Test {
protected:
    static std::string told(const char* what, const std::string& preset)
    {
        return std::string("tns1:PTZController/PTZPresets/") + what +
               " | PTZConfigurationToken=PTZ_1 | PresetToken=" + preset + " PresetName=the " + preset;
    }

    std::vector<std::string> state(int state, const std::string& preset)
    {
        return inShort(events.presetState(state, preset));
    }
    std::vector<std::string> endOfTheWay() { return inShort(events.endOfTheWay()); }

    PresetEvents events{[](const std::string& token) { return "the " + token; }};
};

TEST_F(PresetEventsTest, aPresetIsInvokedReachedAndLeft)
{
    EXPECT_THAT(endOfTheWay(), IsEmpty()) << "the command begins";
    EXPECT_THAT(state(0, ""), IsEmpty()) << "it stood at none";
    EXPECT_THAT(state(1, "Gate"), ElementsAre(told("Invoked", "Gate")));
    EXPECT_THAT(state(2, "Gate"), ElementsAre(told("Reached", "Gate")));
    EXPECT_THAT(endOfTheWay(), IsEmpty()) << "it stands";
    EXPECT_THAT(state(0, "Gate"), ElementsAre(told("Left", "Gate")));
}

TEST_F(PresetEventsTest, aWayThatEndsElsewhereIsAborted)
{
    state(1, "Gate");
    EXPECT_THAT(endOfTheWay(), ElementsAre(told("Aborted", "Gate")));
    EXPECT_THAT(endOfTheWay(), IsEmpty());
    state(1, "Gate");
    EXPECT_THAT(state(1, "Yard"), ElementsAre(told("Aborted", "Gate"), told("Invoked", "Yard")));
    EXPECT_THAT(state(2, "Yard"), ElementsAre(told("Reached", "Yard")));
}

TEST_F(PresetEventsTest, ofAPipelineThatIsGoneNothingIsAborted)
{
    state(1, "Gate");
    events.forget();
    EXPECT_THAT(endOfTheWay(), IsEmpty());
    EXPECT_THAT(state(9, "Gate"), IsEmpty()) << "no state";
}

} // namespace
