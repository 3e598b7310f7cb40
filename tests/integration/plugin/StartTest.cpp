#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using namespace kit;
using Outcome = kit::StartStory::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartTest : public ModuleTest {
protected:
    StartTest()
    {
        store({{"Motion", "<motion/>"},
               {"MotionGate", "<gate/>"},
               {"MotionZintuInternalSimpleAnalyticsPreset", "<away/>"},
               {"Simple", "<simple/>"},
               {"SimpleGate", "<unused/>"}});
    }

    /// A start with the two engines on that store.
    static kit::StartStory stored(kit::StartStory story)
    {
        return story.engines({"Simple", "Motion"})
            .restores({"Motion", "MotionGate", std::string("Motion") + kit::kAway, "Simple", "SimpleGate"});
    }
};

TEST_F(StartTest, registersItsFactoryOnceWhenItIsLoaded)
{
    std::size_t found = 0;
    for (const auto& factory : kit::pluginFactories()) {
        EXPECT_EQ(factory.first, "DetectionPlugin");
        ++found;
    }
    EXPECT_EQ(found, 1U);
}

TEST_F(StartTest, activatesTheConfigurationsOfAFixedCamera)
{
    start();
    EXPECT_EQ(takeAll(), stored(fixedCamera()).lines());
    EXPECT_EQ(simple->activeRuleSet(), 1);
    EXPECT_EQ(motion->activeRuleSet(), 3);
}

TEST_F(StartTest, activatesTheConfigurationForNoPresetOnAPtzCameraAwayFromPresets)
{
    platform().positioning.available = true;
    start();
    EXPECT_EQ(takeAll(), stored(movableCamera()).lines());
    EXPECT_EQ(motion->activeRuleSet(), 5);
}

TEST_F(StartTest, waitsForTheArrivalOnAPtzCameraAtAPreset)
{
    platform().positioning.available = true;
    platform().positioning.activePreset = "Gate";
    start();
    EXPECT_EQ(takeAll(), stored(movableCamera()).atPreset("Gate").lines());
    EXPECT_EQ(motion->activeRuleSet(), 5);
    platform().positioning.firePresetState(2, "Gate");
    EXPECT_EQ(takeAll(), joined({{"log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset Gate\""},
                                 activated("Simple", "Simple", 1),
                                 activated("Motion", "MotionGate", 4)}));
    EXPECT_EQ(motion->activeRuleSet(), 4);
}

TEST_F(StartTest, restoresAKeyForEveryEngineWhoseNameItBeginsWith)
{
    const auto longer = addEngine("SimplePlus");
    store({{"SimplePlus", "<plus/>"}});
    start();
    EXPECT_EQ(takeAll(), fixedCamera().engines({"Simple", "Motion", "SimplePlus"}).restores({"SimplePlus"}).lines());
    EXPECT_EQ(longer->activeRuleSet(), 2);
    EXPECT_EQ(simple->activeRuleSet(), 0);
}

TEST_F(StartTest, handsBackWhatAnEngineDoesNotTakeAnyMore)
{
    store({{"Motion", "<motion/>"}, {"Simple", "<simple/>"}});
    motion->setFullAnswers = {false};
    start();
    EXPECT_EQ(takeAll(), fixedCamera()
                             .engines({"Simple", "Motion"})
                             .restore("Motion", Outcome::kRefused)
                             .restore("Simple", Outcome::kTaken)
                             .lines());
    EXPECT_EQ(motion->notReturned(), 0);
}

TEST_F(StartTest, goesOnWithoutARuleSetThatCannotBeMade)
{
    store({{"Motion", "<motion/>"}, {"Simple", "<simple/>"}});
    simple->createAnswers = {false};
    start();
    EXPECT_EQ(takeAll(), fixedCamera()
                             .engines({"Simple", "Motion"})
                             .restore("Motion", Outcome::kTaken)
                             .restore("Simple", Outcome::kNoRuleSet)
                             .lines());
    EXPECT_EQ(motion->activeRuleSet(), 1);
}

TEST_F(StartTest, startsWithWhatStandsBeforeADamagedEntry)
{
    platform().settings.analytics() = R"([ { "key" : "Simple", "config" : "<simple/>" }, 5 ])";
    start();
    EXPECT_EQ(journal().count("log 3 \"Caught OnvifSettings json exception: Object member not found: key\""), 1U);
    EXPECT_EQ(simple->activeRuleSet(), 1);
    EXPECT_EQ(motion->activeRuleSet(), 0);
}

TEST_F(StartTest, startsEmptyWhenTheStoreCannotBeRead)
{
    platform().settings.getStatus = 5;
    start();
    EXPECT_EQ(journal().count("log 3 \"Failed to load OnvifSettings.\""), 1U);
    EXPECT_THAT(journal().startingWith("createRuleSet"), IsEmpty());
}

TEST_F(StartTest, logsRuleNamesOfWhatItActivates)
{
    store({{"Motion", kit::configuration("Motion")}});
    start();
    EXPECT_THAT(journal().startingWith("log 6 \"    Rule:"),
                ElementsAre("log 6 \"    Rule: tt:MotionRule active true\""));
}

TEST_F(StartTest, writesNothingIntoTheStore)
{
    start();
    EXPECT_THAT(platform().settings.written, IsEmpty());
}

} // namespace
