// What the plug-in relies on, whatever the engine sees.
#include "Stage.h"

#include "camera/engines/ReferenceEngines.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace engine_test;
using namespace testing;

/// A configuration whose rule answers to the smallest motion at once.
std::string quick(const std::string& engine)
{
    return engine == "Simple" ? simpleConfig("", simpleItem("MinCount", "1") + simpleItem("AlarmOnDelay", "0") +
                                                     simpleItem("AlarmOffDelay", "0"))
                              : motionConfig("", region("Sensitivity=\"1\"", ""));
}

class EngineContractTest : public testing::TestWithParam<const char*> {
protected:
    EngineContractTest() { takeLogLines(); }

    /// The rule set of a bench whose alarm is on.
    analytics_lib::IRuleSet* alarm()
    {
        analytics_lib::IRuleSet* ruleSet = bench.activate(quick(GetParam()));
        stage.learn(bench);
        stage.show(bench, 5, 100, 40, 40, 60);
        EXPECT_THAT(bench.states(), ElementsAre(true));
        return ruleSet;
    }

    EngineBench bench{GetParam()};
    Stage stage;
};

TEST_P(EngineContractTest, closesATrueEventWhenItsRulesAreCleared)
{
    alarm();
    bench.engine().clearAllRules();
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
    stage.show(bench, 20, 150, 40, 40, 60);
    EXPECT_EQ(bench.states().size(), 2U);
    bench.engine().clearAllRules();
    EXPECT_EQ(bench.states().size(), 2U);
}

TEST_P(EngineContractTest, closesATrueEventWhenAnotherRuleSetIsActivated)
{
    alarm();
    bench.activate(quick(GetParam()));
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
    stage.show(bench, 5, 100, 40, 40, 60);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true));
}

TEST_P(EngineContractTest, closesATrueEventWhenTheMotionEnds)
{
    alarm();
    stage.show(bench, 40, 0, 0, 0, 0);
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
}

TEST_P(EngineContractTest, deactivatesTheActiveRuleSetThatIsHandedBack)
{
    analytics_lib::IRuleSet* ruleSet = alarm();
    ruleSet->detach();
    bench.engine().releaseRuleSet(ruleSet);
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
    EXPECT_EQ(bench.show(stage.picture(100, 40, 40, 60)), "");
}

TEST_P(EngineContractTest, keepsTheActiveRulesWhenAnotherRuleSetIsHandedBack)
{
    alarm();
    bench.engine().releaseRuleSet(bench.engine().createRuleSet());
    bench.engine().releaseRuleSet(nullptr);
    EXPECT_THAT(bench.states(), ElementsAre(true));
    EXPECT_NE(bench.show(stage.picture()), "");
}

TEST_P(EngineContractTest, aChangeOfTheActiveRuleSetWaitsForItsNextActivation)
{
    analytics_lib::IRuleSet* ruleSet = alarm();
    ASSERT_TRUE(ruleSet->setFullConfig(""));
    EXPECT_NE(bench.show(stage.picture(100, 40, 40, 60)), "");
    ASSERT_TRUE(bench.engine().activateRuleSet(ruleSet));
    EXPECT_EQ(bench.show(stage.picture(100, 40, 40, 60)), "");
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
}

TEST_P(EngineContractTest, refusesToActivateAnotherEnginesRuleSet)
{
    alarm();
    EngineBench other(std::string(GetParam()) == "Simple" ? "Motion" : "Simple");
    EXPECT_FALSE(bench.engine().activateRuleSet(other.engine().createRuleSet()));
    EXPECT_FALSE(bench.engine().activateRuleSet(nullptr));
    EXPECT_EQ(takeLogLines().size(), 2U);
    EXPECT_THAT(bench.states(), ElementsAre(true)) << "the active rules stay";
}

TEST_P(EngineContractTest, writesNothingAndSaysNothingWithoutActiveRules)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(bench.show(stage.picture()), "");
        EXPECT_THAT(bench.drawing, IsEmpty());
        EXPECT_THAT(bench.motion, IsEmpty());
    }
}

TEST_P(EngineContractTest, acceptsNullBuffersAndBuffersTooSmallForARecord)
{
    alarm();
    for (const std::uint32_t size : {0U, 1U, 7U, 30U}) {
        std::vector<std::uint8_t> drawing(size + 8, 0xee);
        std::vector<std::uint8_t> motion(size + 8, 0xee);
        MetadataBuffers outputs;
        outputs.drawingBuffer = size == 0 ? nullptr : drawing.data();
        outputs.drawingBufferSize = size == 0 ? 1000 : size;
        outputs.motionBuffer = size == 0 ? nullptr : motion.data();
        outputs.motionBufferSize = size == 0 ? 1000 : size;
        EXPECT_TRUE(bench.engine().onFrame(stage.picture(100, 40, 40, 60), outputs));
        EXPECT_LE(outputs.drawingBufferUsed, size);
        EXPECT_LE(outputs.motionBufferUsed, size);
        EXPECT_THAT(outputs.metadataXml, HasSubstr("tt:Frame"));
        EXPECT_EQ(drawing[size], 0xee);
        EXPECT_EQ(motion[size], 0xee);
    }
}

TEST_P(EngineContractTest, appendsMotionDataBehindWhatIsThere)
{
    alarm();
    std::vector<std::uint8_t> motion(4096, 0xee);
    MetadataBuffers outputs;
    outputs.motionBuffer = motion.data();
    outputs.motionBufferSize = 4096;
    outputs.motionBufferUsed = 100;
    EXPECT_TRUE(bench.engine().onFrame(stage.picture(), outputs));
    EXPECT_GT(outputs.motionBufferUsed, 100U);
    EXPECT_EQ(motion[99], 0xee);
    EXPECT_EQ(motion[100], 'D');
    outputs.motionBufferUsed = 5000; // more than the buffer holds
    EXPECT_TRUE(bench.engine().onFrame(stage.picture(), outputs));
    EXPECT_EQ(outputs.motionBufferUsed, 5000U);
}

TEST_P(EngineContractTest, reportsAFailureForFramesThatCannotBe)
{
    alarm();
    const analytics_lib::YuvFrame good = stage.picture();
    std::vector<analytics_lib::YuvFrame> bad(6, good);
    bad[0].data = nullptr;
    bad[1].width = 0;
    bad[2].height = 0;
    bad[3].bytesPerRow = Stage::kWidth - 1;
    bad[4].width = 1ULL << 40;
    bad[5].height = ~0ULL;
    for (const analytics_lib::YuvFrame& frame : bad) {
        MetadataBuffers outputs;
        outputs.drawingBufferUsed = 77;
        EXPECT_FALSE(bench.engine().onFrame(frame, outputs));
        EXPECT_EQ(outputs.drawingBufferUsed, 0U);
        EXPECT_EQ(outputs.metadataXml, "");
    }
    EXPECT_NE(bench.show(stage.picture()), "");
}

TEST_P(EngineContractTest, noExceptionOfAHandlerLeavesAFrameOrAnOperation)
{
    bench.activate(quick(GetParam()));
    stage.learn(bench);
    bench.onEvent = [] { throw std::runtime_error("no room for events"); };
    MetadataBuffers outputs;
    bool failed = false;
    for (int i = 0; i < 5; ++i) {
        failed = !bench.engine().onFrame(stage.picture(100, 40, 40, 60), outputs) || failed;
    }
    EXPECT_TRUE(failed);
    EXPECT_THAT(takeLogLines(), ElementsAre(HasSubstr("no room for events")));
    bench.engine().clearAllRules();
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
    bench.onEvent = [] { throw 7; };
    bench.activate(quick(GetParam()));
    for (int i = 0; i < 5; ++i) {
        bench.engine().onFrame(stage.picture(100, 40, 40, 60), outputs);
    }
    EXPECT_EQ(bench.states().size(), 3U);
}

TEST_P(EngineContractTest, aHandlerMayClearTheRulesFromInsideAnEvent)
{
    bench.activate(quick(GetParam()));
    stage.learn(bench);
    bench.onEvent = [this] { bench.engine().clearAllRules(); };
    stage.show(bench, 10, 100, 40, 40, 60);
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
}

TEST_P(EngineContractTest, worksWithoutAnEventHandler)
{
    bench.engine().setEventHandler(nullptr);
    bench.activate(quick(GetParam()));
    stage.learn(bench);
    stage.show(bench, 5, 100, 40, 40, 60);
    bench.engine().clearAllRules();
    EXPECT_THAT(bench.states(), IsEmpty());
}

TEST_P(EngineContractTest, learnsAgainAfterAChangeOfOrientationPositionOrSize)
{
    bench.activate(quick(GetParam()));
    stage.learn(bench);
    bench.engine().onOrientationChanged(180);
    stage.show(bench, 10, 100, 40, 40, 60);
    EXPECT_THAT(bench.states(), IsEmpty()) << "what stands there when learning begins is background";
    stage.learn(bench, 60);
    bench.engine().clearAllRules();

    for (const int field : {0, 1, 2}) {
        Stage place(1'700'001'000 + static_cast<std::uint32_t>(field) * 1000);
        bench.activate(quick(GetParam()));
        place.learn(bench);
        const std::size_t before = bench.states().size();
        for (int i = 0; i < 10; ++i) {
            analytics_lib::YuvFrame frame = place.picture(100, 40, 40, 60);
            (field == 0 ? frame.pan : field == 1 ? frame.zoom : frame.horizontalAngleOfView) = 5;
            frame.tilt = field == 2 ? 5 : 0;
            bench.show(frame);
        }
        EXPECT_EQ(bench.states().size(), before) << field;
    }
}

TEST_P(EngineContractTest, ignoresWindowsOfTheBlankingColour)
{
    bench.activate(quick(GetParam()));
    analytics_lib::ColorYuv white;
    white.y = 230;
    white.u = 128;
    white.v = 128;
    bench.engine().onWindowBlankingChange(true, white);
    stage.learn(bench);
    stage.show(bench, 10, 100, 40, 40, 60, 230);
    EXPECT_THAT(bench.states(), IsEmpty());
    stage.learn(bench, 5);
    stage.show(bench, 10, 100, 40, 40, 60, 229);
    EXPECT_THAT(bench.states(), ElementsAre(true)) << "another colour is a picture";
    bench.engine().clearAllRules();

    bench.engine().onWindowBlankingChange(false, white);
    bench.activate(quick(GetParam()));
    stage.learn(bench);
    stage.show(bench, 10, 100, 40, 40, 60, 230);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true));
}

TEST_P(EngineContractTest, claimsADocumentOnlyWhenAllItsTypesAreItsOwn)
{
    analytics_lib::IOnvifAnalytics& engine = bench.engine();
    const bool isSimple = std::string(GetParam()) == "Simple";
    EXPECT_EQ(engine.isEngineConfiguration(simpleConfig()), isSimple);
    EXPECT_EQ(engine.isEngineConfiguration(motionConfig()), !isSimple);
    EXPECT_FALSE(engine.isEngineConfiguration(
        document(module("M", "tt:CellMotionEngine"), rule("R", "tt:MotionRegionDetector"))));
    EXPECT_FALSE(engine.isEngineConfiguration(document("", "")));
    EXPECT_FALSE(engine.isEngineConfiguration(""));
    EXPECT_FALSE(engine.isEngineConfiguration("<x/>"));
    EXPECT_FALSE(engine.isEngineConfiguration(document("", "<tt:Rule Name=\"R\"/>")));
    const std::string own = isSimple ? "tt:CellMotionDetector" : "tt:MotionRegionDetector";
    EXPECT_TRUE(engine.isEngineConfiguration(document("", rule("R", own))));
    EXPECT_FALSE(engine.isEngineConfiguration(document("", rule("R", own) + "<tt:Other Type=\"" + own + "\"/>")));
    EXPECT_FALSE(engine.isEngineConfiguration(document("", rule("R", own) + rule("S", "tt:LineDetector"))));
    EXPECT_TRUE(engine.isEngineConfiguration(document("", rule("R", own, simpleItem("Bad", "1"))))) << "types decide";
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_P(EngineContractTest, describesItsEvents)
{
    alarm();
    const Event event = bench.events().at(0);
    EXPECT_THAT(bench.engine().getEventTopics(), ElementsAre(event.topic));
    const bool isSimple = std::string(GetParam()) == "Simple";
    EXPECT_EQ(event.rule, isSimple ? "AnyMotion" : "Region");
    EXPECT_EQ(withoutTimes(event.message),
              isSimple ? "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"\""
                         " PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem"
                         " Name=\"VideoSourceConfigurationToken\" Value=\"VideoSource_1\"/><tt:SimpleItem"
                         " Name=\"VideoAnalyticsConfigurationToken\" Value=\"AnalyticsConfiguration_1\"/><tt:SimpleItem"
                         " Name=\"Rule\" Value=\"AnyMotion\"/></tt:Source><tt:Data><tt:SimpleItem Name=\"IsMotion\""
                         " Value=\"true\"/></tt:Data></tt:Message>"
                       : "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"\""
                         " PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem Name=\"VideoSource\""
                         " Value=\"VideoSource_1\"/><tt:SimpleItem Name=\"RuleName\" Value=\"Region\"/></tt:Source>"
                         "<tt:Data><tt:SimpleItem Name=\"State\" Value=\"true\"/></tt:Data></tt:Message>");
    EXPECT_THAT(event.message, HasSubstr("UtcTime=\"2023-11-14T22:13:21.2"));
}

INSTANTIATE_TEST_SUITE_P(, EngineContractTest, testing::Values("Simple", "Motion"));

TEST(ReferenceEnginesTest, areTwoThatShareNoTypeAndNoNamePrefix)
{
    const auto engines = camera::engines::referenceEngines(nullptr);
    ASSERT_EQ(engines.size(), 2U);
    EXPECT_EQ(engines[0]->getName(), "Simple");
    EXPECT_EQ(engines[1]->getName(), "Motion");
    EXPECT_THAT(engines[0]->getSupportedEngines(), ElementsAre("tt:CellMotionEngine"));
    EXPECT_THAT(engines[1]->getSupportedEngines(), ElementsAre("vca:MotionRegionEngine"));
    EXPECT_THAT(engines[0]->getSupportedRules(), ElementsAre("tt:CellMotionDetector"));
    EXPECT_THAT(engines[1]->getSupportedRules(), ElementsAre("tt:MotionRegionDetector"));
}

} // namespace
