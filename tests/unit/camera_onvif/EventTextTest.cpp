#include "camera/onvif/EventText.h"

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
    EXPECT_THAT(describeEvent({"topic", "", std::string(500, 'a')}), HasSubstr("aaa..."));
    EXPECT_LT(describeEvent({"topic", "", std::string(500, 'a')}).size(), 200U);
}

} // namespace
} // namespace camera::onvif
