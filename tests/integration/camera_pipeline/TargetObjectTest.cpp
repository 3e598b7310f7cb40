// The analytics target on the bus: what each method answers.
#include "integration/camera_pipeline/ServedDevice.h"

namespace pipeline_test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kReplacement = "\xEF\xBF\xBD";

class TargetObjectTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        serve();
    }
};

TEST_F(TargetObjectTest, everyListComesBackAsTheTargetGivesIt)
{
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion")));
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate")));
    auto& target = device->target();
    EXPECT_THAT(analytics<Texts>("getEventTopics"), ElementsAre("tns1:RuleEngine/Motion", "tns1:RuleEngine/Simple"));
    EXPECT_EQ(analytics<Texts>("getEventTopics"), target.eventTopics());
    EXPECT_THAT(analytics<Texts>("getSupportedRules"), Contains("tt:MotionRule"));
    EXPECT_EQ(analytics<Texts>("getSupportedRules"), target.supportedRules());
    EXPECT_THAT(analytics<Texts>("getSupportedEngines"), ElementsAre("tt:MotionEngine", "tt:SimpleEngine"));
    EXPECT_EQ(analytics<Texts>("getCurrentRules"), target.currentRules());
    EXPECT_EQ(analytics<Texts>("getCurrentEngines"), target.currentEngines());
    EXPECT_THAT(analytics<Texts>("getUsedPtzPresets"), ElementsAre("Gate"));
}

TEST_F(TargetObjectTest, listsThatAreEmptyArriveEmpty)
{
    EXPECT_THAT(analytics<Texts>("getCurrentRules"), IsEmpty());
    EXPECT_THAT(analytics<Texts>("getUsedPtzPresets"), IsEmpty());
}

TEST_F(TargetObjectTest, resultAndStatusOfEveryChangeArriveUnchanged)
{
    EXPECT_EQ(change("createRules", {rule("R")}), Outcome(0, 0));
    EXPECT_EQ(change("createRules", {rule("R"), rule("S", "invalid")}), Outcome(0, 4));
    EXPECT_EQ(change("createRules", {"no xml"}), Outcome(0, 4));
    EXPECT_EQ(change("createRules", {}), Outcome(0, 0));
    EXPECT_EQ(change("modifyRules", {rule("R")}), Outcome(0, 0));
    EXPECT_EQ(change("modifyRules", {rule("R", "invalid")}), Outcome(0, 4));
    EXPECT_EQ(change("deleteRules", {"unknown"}), Outcome(0, 5));
    EXPECT_EQ(change("deleteRules", {"R"}), Outcome(0, 0));
    EXPECT_EQ(change("createEngines", {module("M")}), Outcome(0, 0));
    EXPECT_EQ(change("createEngines", {module("M", "invalid")}), Outcome(0, 4));
    EXPECT_EQ(change("modifyEngines", {module("M")}), Outcome(0, 0));
    EXPECT_EQ(change("modifyEngines", {module("M", "invalid")}), Outcome(0, 4));
    EXPECT_EQ(change("deleteEngines", {"unknown"}), Outcome(0, 5));
    EXPECT_EQ(change("deleteEngines", {"M"}), Outcome(0, 0));
}

TEST_F(TargetObjectTest, resultAndFlagOfAConfigurationArriveUnchanged)
{
    EXPECT_EQ(configure(documentFor("Motion", "", "valid")), Acceptance(0, 0));
    EXPECT_EQ(configure(documentFor("Nobody")), Acceptance(0, 1)) << "no engine claims it";
    EXPECT_EQ(configure(documentFor("Motion", "", "invalid")), Acceptance(1, 1));
    EXPECT_EQ(configure(""), Acceptance(0, 1));
}

TEST_F(TargetObjectTest, configurationsAreReadBack)
{
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    ASSERT_EQ(configure(documentFor("Motion", "ZintuInternalSimpleAnalyticsPreset")), Acceptance(0, 0));
    EXPECT_EQ(analytics<std::string>("getCurrentConfiguration"), device->target().currentConfiguration());
    EXPECT_THAT(analytics<std::string>("getCurrentConfiguration"), HasSubstr("ZintuInternalSimpleAnalyticsPreset"));
    const auto gate =
        client.one<std::string>(service::kOnvifAnalyticService, "getPtzPresetConfiguration", std::string("Gate"));
    EXPECT_EQ(gate, device->target().presetConfiguration("Gate"));
    EXPECT_THAT(gate, HasSubstr("Value=\"Gate\""));
}

TEST_F(TargetObjectTest, framesAreRecordedAndReplayedByTheEngineThatIsNamed)
{
    using I = std::int32_t;
    const std::string motion = "Motion";
    const std::string path = "/frames of mine";
    EXPECT_EQ(client.one<I>(service::kOnvifAnalyticService, "writeFramesToFile", motion, path, std::uint32_t{5}), 0);
    EXPECT_EQ(client.one<I>(service::kOnvifAnalyticService, "writeFramesToFile", motion, path, UINT32_MAX), 0);
    EXPECT_EQ(client.one<I>(service::kOnvifAnalyticService, "readFramesFromFile", motion, path, true), 0);
    EXPECT_EQ(client.one<I>(service::kOnvifAnalyticService, "readFramesFromFile", motion, path, false), 0);
    EXPECT_EQ(client.one<I>(service::kOnvifAnalyticService, "readFramesFromFile", std::string("Nobody"), path, false),
              0);
    EXPECT_THAT(hosted.journal(),
                AllOf(Contains("Motion writes /frames of mine 5"), Contains("Motion writes /frames of mine 4294967295"),
                      Contains("Motion reads /frames of mine flagged"), Contains("Motion reads /frames of mine")));
}

TEST_F(TargetObjectTest, theDefaultSettingsAreRestored)
{
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    EXPECT_EQ(analytics<std::int32_t>("restoreDefaultSettings"), 0);
    EXPECT_EQ(hosted.count("Motion releaseRuleSet"), 1u);
}

TEST_F(TargetObjectTest, anOperationThatFailsIsAnErrorWithItsSentence)
{
    hosted.onControl = [](const std::string& operation) {
        if (operation == "Motion getEventTopics") {
            throw std::runtime_error("the engine \xFF broke");
        }
    };
    const std::string refusal = client.refusal<Texts>(service::kOnvifAnalyticService, "getEventTopics");
    EXPECT_THAT(refusal, testing::StartsWith("ravel.Error.Failed|"));
    EXPECT_EQ(client.one<Texts>(service::kOnvifAnalyticService, "getSupportedEngines").size(), 2u);
}

TEST_F(TargetObjectTest, eventsReachASubscriberAsThreeStrings)
{
    hosted.events.load()->OnEvent("tns1:RuleEngine/A", "Gate", "<tt:Message/>");
    hosted.events.load()->OnEvent("", "", "");
    EXPECT_THAT(client.journal.lines(2), ElementsAre("event tns1:RuleEngine/A|Gate|<tt:Message/>", "event ||"));
}

TEST_F(TargetObjectTest, bytesThatCannotBeSentLeaveAsReplacementCharactersAndNothingBreaks)
{
    const std::string replaced = kReplacement;
    hosted.events.load()->OnEvent("topic\xFF", "\xC0\xAFsource", std::string("da\0ta", 5).c_str());
    hosted.events.load()->OnEvent("next", "", "");
    EXPECT_THAT(client.journal.lines(2),
                ElementsAre("event topic" + replaced + "|" + replaced + replaced + "source|da", "event next||"));
    // Stored by somebody who is not on the bus.
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "G\xFF")));
    EXPECT_THAT(analytics<Texts>("getUsedPtzPresets"), ElementsAre("G" + replaced));
    unit().savePreset({"G\xFF", {10000, 0, 100}});
    ASSERT_TRUE(unit().placeAt("G\xFF"));
    unit().announceStanding();
    device->drain();
    EXPECT_THAT(analytics<std::string>("getCurrentConfiguration"), HasSubstr("Value=\"G" + replaced + "\""));
    EXPECT_THAT(analytics<Texts>("getCurrentRules"), ElementsAre(HasSubstr("Value=\"G" + replaced + "\"")));
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

TEST_F(TargetObjectTest, whatNoMessageCanCarryIsRefusedWithTheEnginesName)
{
    const std::string large(camera::base::kLargestMessage, 'a');
    hosted.events.load()->OnEvent("topic", "rule", large);
    hosted.events.load()->OnEvent("after it", "", "");
    EXPECT_THAT(client.journal.lines(1), ElementsAre("event after it||"));
    ASSERT_TRUE(device->target().setConfiguration(
        "<tt:VideoAnalyticsConfiguration for=\"Simple\"><tt:RuleEngineConfiguration><tt:Rule Name=\"Big\" "
        "Type=\"valid\">"
        "<tt:Parameters><tt:SimpleItem Name=\"V\" Value=\"" +
        large + "\"/></tt:Parameters></tt:Rule></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>"));
    EXPECT_THAT(
        client.refusal<std::string>(service::kOnvifAnalyticService, "getCurrentConfiguration"),
        AllOf(testing::StartsWith("ravel.Error.TooLarge|the answer to getCurrentConfiguration, most of it of engine "
                                  "'Simple', has "),
              testing::EndsWith(" bytes; a message has at most 16777216")));
    EXPECT_EQ(analytics<Texts>("getSupportedEngines").size(), 2U);
    EXPECT_EQ(pipelineService->sessions(), 1U);
}

TEST_F(TargetObjectTest, aDocumentOfTenMegabytesIsTakenAndGivenBack)
{
    const std::string value(10 * 1024 * 1024, 'a');
    ASSERT_EQ(configure("<tt:VideoAnalyticsConfiguration for=\"Simple\"><tt:RuleEngineConfiguration><tt:Rule "
                        "Name=\"Big\" Type=\"valid\"><tt:Parameters><tt:SimpleItem Name=\"V\" Value=\"" +
                        value +
                        "\"/></tt:Parameters></tt:Rule></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>"),
              Acceptance(0, 0));
    EXPECT_NE(analytics<std::string>("getCurrentConfiguration").find(value), std::string::npos);
    EXPECT_EQ(analytics<Texts>("getCurrentRules").size(), 1u);
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

TEST_F(TargetObjectTest, anArrayOfAHundredThousandStringsIsAnswered)
{
    EXPECT_EQ(change("deleteRules", Texts(100000, "unknown")), Outcome(0, 5));
    EXPECT_EQ(change("createRules", Texts(100000, "no xml")), Outcome(0, 4));
    EXPECT_EQ(change("modifyEngines", Texts(100000)), Outcome(0, 4));
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

TEST_F(TargetObjectTest, wrongArgumentsAndUnknownMethodsAreErrorsAndNothingElse)
{
    EXPECT_THAT(client.refusal(service::kOnvifAnalyticService, "createRules", std::string("no array")),
                Not(HasSubstr("answered")));
    EXPECT_THAT(client.refusal(service::kOnvifAnalyticService, "setConfiguration"), Not(HasSubstr("answered")));
    EXPECT_THAT(client.refusal(service::kOnvifAnalyticService, "formatDisk"), HasSubstr("UnknownMethod"));
    EXPECT_EQ(analytics<std::int32_t>("restoreDefaultSettings"), 0);
}

} // namespace
} // namespace pipeline_test
