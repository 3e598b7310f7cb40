#include "camera/onvif/EventText.h"

#include "camera/base/JsonText.h"

#include <gmock/gmock.h>

namespace camera::onvif {
namespace {

using testing::HasSubstr;

TEST(EventText, tellsTimeTopicRuleAndValues)
{
    const base::Event event{
        "tns1:RuleEngine/CellMotionDetector/Motion", "Gate",
        "<tt:Message xmlns:tt=\"urn:x\" UtcTime=\"2026-01-02T03:04:05.678Z\" PropertyOperation=\"Changed\"><tt:Source>"
        "<tt:SimpleItem Name=\"Rule\" Value=\"Gate\"/></tt:Source><tt:Key><tt:SimpleItem Name=\"ObjectId\" "
        "Value=\"4\"/>"
        "</tt:Key><tt:Data><tt:SimpleItem Name=\"IsMotion\" Value=\"true\"/></tt:Data></tt:Message>"};
    EXPECT_EQ("event  2026-01-02T03:04:05.678Z  tns1:RuleEngine/CellMotionDetector/Motion  Gate  ObjectId=4  "
              "IsMotion=true",
              describeEvent(event));
}

TEST(EventText, marksTheInitialValue)
{
    EXPECT_THAT(describeEvent({"t", "", "<m:Message PropertyOperation='Initialized'/>"}), HasSubstr("(initial)"));
}

TEST(EventText, showsWhatIsNoMessageAsItIsButHarmless)
{
    EXPECT_EQ("event  topic  source  plain \\x1b[2J\\n", describeEvent({"topic", "source", "plain \x1b[2J\n"}));
    EXPECT_EQ("event  topic", describeEvent({"topic", "", ""}));
    EXPECT_EQ("event  topic  " + std::string(120, 'a'), describeEvent({"topic", "", std::string(120, 'a')}));
    EXPECT_EQ("event  topic  " + std::string(120, 'a') + "...", describeEvent({"topic", "", std::string(121, 'a')}));
    EXPECT_EQ("event  topic  <m:Other/>", describeEvent({"topic", "", "<m:Other/>"}));
    EXPECT_LT(describeEvent({"topic", "", std::string(500, 'a')}).size(), 200U);
}

TEST(EventText, isOneFlatObjectForPrograms)
{
    const base::Event event{
        "tns1:RuleEngine/Line", "Gate",
        "<tt:Message xmlns:tt='urn:x' UtcTime='2026-01-02T03:04:05.678Z' PropertyOperation='Changed'><tt:Source>"
        "<tt:SimpleItem Name='Rule' Value='Gate'/></tt:Source><tt:Key><tt:SimpleItem Name='ObjectId' Value='4'/>"
        "</tt:Key><tt:Data><tt:SimpleItem Name='IsMotion' Value='true'/><tt:SimpleItem Name='topic' Value='x'/>"
        "</tt:Data></tt:Message>"};
    EXPECT_EQ("{\"time\":\"2026-01-02T03:04:05.678Z\",\"topic\":\"tns1:RuleEngine/Line\",\"rule\":\"Gate\",\"preset\":"
              "\"Way\",\"state\":true,\"ObjectId\":\"4\",\"operation\":\"Changed\"}",
              base::jsonLine(eventObject(event, "Way")));
    EXPECT_EQ("{\"topic\":\"t\",\"rule\":\"\",\"preset\":\"\",\"data\":\"plain\"}",
              base::jsonLine(eventObject({"t", "", "plain"}, "")));
}

TEST(MetadataText, isOneFlatObjectForEachThingThatWasSeen)
{
    std::vector<std::string> lines;
    for (const Json::Value& object : metadataObjects(
             "<tt:MetadataStream xmlns:tt='urn:x'><tt:VideoAnalytics><tt:Frame UtcTime='2026-01-02T03:04:05.678Z'>"
             "<tt:Object ObjectId='4'><tt:Appearance><tt:Shape><tt:BoundingBox left='-0.25' top='1' right='0' "
             "bottom='-1'/><tt:CenterOfGravity x='0.1' y='0'/></tt:Shape></tt:Appearance></tt:Object><tt:Object "
             "ObjectId='5'/><tt:Extension><tt:MotionInCells Columns='2' Rows='1' Cells='gA=='/></tt:Extension>"
             "</tt:Frame></tt:VideoAnalytics></tt:MetadataStream>")) {
        lines.push_back(base::jsonLine(object));
    }
    const std::string time = "{\"time\":\"2026-01-02T03:04:05.678Z\",";
    EXPECT_THAT(lines,
                testing::ElementsAre(time + "\"bottom\":-1,\"left\":-0.25,\"object\":4,\"right\":0,\"top\":1,"
                                            "\"x\":0.1,\"y\":0}",
                                     time + "\"object\":5}", time + "\"cells\":\"gA==\",\"columns\":2,\"rows\":1}"));
    EXPECT_EQ("{\"data\":\"<a/>\"}", base::jsonLine(metadataObjects("<a/>").at(0)));
    EXPECT_EQ("{\"data\":\"<BoundingBox left='1'/>\"}",
              base::jsonLine(metadataObjects("<BoundingBox left='1'/>").at(0)))
        << "of nothing";
}

} // namespace
} // namespace camera::onvif
