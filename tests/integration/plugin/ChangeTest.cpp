#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using namespace kit;
using namespace testing;

/// Single rules and modules on a fixed camera.
class ChangeTest : public ModuleTest {
protected:
    static constexpr char kKeyLine[] = "log 6 \"Analytics settings key ptzPreset is \"";
};

TEST_F(ChangeTest, createsARuleAndActivatesIt)
{
    startQuietly();
    const std::string stored = document({}, {rule("Motion", "R").item("Size", "3")});
    EXPECT_EQ(createRules({rule("Motion", "R").item("Size", "3")}), 0U);
    EXPECT_EQ(takeAll(),
              joined({refusedByNewRuleSet("Simple", 1, "R, tt:MotionRule", kKeyLine),
                      {kKeyLine, "createRuleSet Motion -> #2", "#2 validateConfig(R, tt:MotionRule) -> true",
                       "#2 setConfig(R, tt:MotionRule) -> true", "#2 getFullConfig",
                       "log 6 \"Analytics Setting Key Motion: " + stored + "\"", "settingsSetJson OnvifAnalytics -> 0"},
                      cleared("Simple", "Simple"),
                      activated("Motion", "Motion", 2, {"log 6 \"    Rule: tt:MotionRule active \""})}));
    EXPECT_EQ(storedText(), storedDocument({{"Motion", stored}}));
}

TEST_F(ChangeTest, modifiesARuleInItsRuleSet)
{
    startQuietly();
    ASSERT_EQ(createRules({rule("Motion", "R").item("Size", "3")}), 0U);
    journal().clear();
    const std::string stored = document({}, {rule("Motion", "R").item("Size", "4")});
    EXPECT_EQ(createRules({rule("Motion", "R").item("Size", "4")}), 0U);
    EXPECT_EQ(takeAll(),
              joined({refusedByNewRuleSet("Simple", 3, "R, tt:MotionRule", kKeyLine),
                      {kKeyLine, "#2 validateConfig(R, tt:MotionRule) -> true",
                       "#2 setConfig(R, tt:MotionRule) -> true", "#2 getFullConfig",
                       "log 6 \"Analytics Setting Key Motion: " + stored + "\"", "settingsSetJson OnvifAnalytics -> 0"},
                      cleared("Simple", "Simple"),
                      activated("Motion", "Motion", 2, {"log 6 \"    Rule: tt:MotionRule active \""})}));
    EXPECT_EQ(storedText(), storedDocument({{"Motion", stored}}));
}

TEST_F(ChangeTest, writesTheWholeDocumentForEveryAcceptedItem)
{
    startQuietly();
    EXPECT_EQ(createModules({module("Motion", "A"), module("Simple", "B"), module("Motion", "C")}), 0U);
    ASSERT_THAT(platform().settings.written, SizeIs(3));
    EXPECT_EQ(platform().settings.written[0], storedDocument({{"Motion", document({module("Motion", "A")}, {})}}));
    EXPECT_EQ(platform().settings.written[2],
              storedDocument({{"Motion", document({module("Motion", "A"), module("Motion", "C")}, {})},
                              {"Simple", document({module("Simple", "B")}, {})}}));
}

TEST_F(ChangeTest, storesNothingWhenOneItemIsRefused)
{
    startQuietly();
    EXPECT_EQ(createRules({rule("Motion", "Good"), rule("Nobody", "Bad"), rule("Motion", "Never")}), 4U);
    EXPECT_EQ(takeAll(),
              joined({refusedByNewRuleSet("Simple", 1, "Good, tt:MotionRule", kKeyLine),
                      {kKeyLine, "createRuleSet Motion -> #2", "#2 validateConfig(Good, tt:MotionRule) -> true"},
                      refusedByNewRuleSet("Simple", 3, "Bad, tt:NobodyRule", kKeyLine),
                      {kKeyLine, "#2 validateConfig(Bad, tt:NobodyRule) -> false", "log 3 \"not a valid component\""},
                      cleared("Simple", "Simple"),
                      activated("Motion", "Motion", 2, {"log 6 \"Failed to parse configuration\""})}));
    EXPECT_THAT(platform().settings.written, IsEmpty());
    EXPECT_EQ(motion->notReturned(), 1) << "the empty rule set of the validation stays";
}

TEST_F(ChangeTest, refusesAnItemThatIsNoXml)
{
    startQuietly();
    EXPECT_EQ(createRules({"<tt:Rule"}), 4U);
    EXPECT_THAT(journal().logs().front(), "log 3 \"not a valid component\"");
    EXPECT_THAT(journal().startingWith("createRuleSet"), IsEmpty());
}

TEST_F(ChangeTest, storesTheOthersWhenOneCannotBeSet)
{
    startQuietly();
    motion->setAnswers = {false, true};
    EXPECT_EQ(createRules({rule("Motion", "A"), rule("Motion", "B")}), 4U);
    EXPECT_EQ(storedText(), storedDocument({{"Motion", document({}, {rule("Motion", "B")})}}));
    EXPECT_EQ(journal().count("log 3 \"not a valid component\""), 0U);
}

TEST_F(ChangeTest, keepsTheStoredTextWhenAModificationCannotBeSet)
{
    startQuietly();
    ASSERT_EQ(createRules({rule("Motion", "R").item("Size", "3")}), 0U);
    motion->setAnswers = {false};
    EXPECT_EQ(createRules({rule("Motion", "R").item("Size", "4")}), 4U);
    EXPECT_THAT(platform().settings.written, SizeIs(1));
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "R").item("Size", "3").text()));
}

TEST_F(ChangeTest, reconfiguresForAnEmptyList)
{
    startQuietly();
    EXPECT_EQ(createRules({}), 0U);
    EXPECT_THAT(journal().engineCalls(), ElementsAre("clearAllRules Simple", "clearAllRules Motion"));
    unsigned int status = 99;
    EXPECT_EQ(target().createEngines(nullptr, &status), 0);
    EXPECT_EQ(status, 0U);
}

TEST_F(ChangeTest, keepsARuleForAnotherPresetOutOfTheRunningRules)
{
    startQuietly();
    EXPECT_EQ(createRules({rule("Motion", "R").preset("Gate")}), 0U);
    EXPECT_EQ(motion->activeRuleSet(), 0);
    EXPECT_EQ(storedText(), storedDocument({{"MotionGate", document({}, {rule("Motion", "R").preset("Gate")})}}));
}

TEST_F(ChangeTest, keepsAnItemWithoutParametersUnderTheEmptyKey)
{
    startQuietly();
    const std::string stored = document({}, {R"(<tt:Rule Name="R" Type="tt:MotionRule"></tt:Rule>)"});
    EXPECT_EQ(createRules({rule("Motion", "R").withoutParameters()}), 0U);
    EXPECT_EQ(takeAll(),
              joined({refusedByNewRuleSet("Simple", 1, "R, tt:MotionRule",
                                          "log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config \""),
                      {"log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config \"", "createRuleSet Motion -> #2",
                       "#2 validateConfig(R, tt:MotionRule) -> true", "#2 setConfig(R, tt:MotionRule) -> true",
                       "#2 getFullConfig", "log 6 \"Analytics Setting Key : " + stored + "\"",
                       "settingsSetJson OnvifAnalytics -> 0"},
                      cleared("Simple", "Simple"),
                      cleared("Motion", "Motion")}));
    journal().clear();
    platform().offerAllServices();
    stop();
    EXPECT_EQ(motion->notReturned(), 1) << "what is kept under the empty key is never handed back";
}

TEST_F(ChangeTest, activatesTheEmptyKeyOnEveryEngineWhileTheCameraMoves)
{
    platform().targetIds["day_night"] = {"dn"};
    startQuietly();
    ASSERT_EQ(createRules({rule("Motion", "R").withoutParameters()}), 0U);
    journal().clear();
    platform().dayNight.fire(true);
    EXPECT_THAT(journal().startingWith("activateRuleSet"),
                ElementsAre("activateRuleSet Simple (not its own) -> false", "activateRuleSet Motion #2 -> true"));
}

TEST_F(ChangeTest, deletesARuleAndPersistsAnEmptyText)
{
    startQuietly();
    ASSERT_EQ(configure(configuration("Motion").add(rule("Motion", "A")).add(rule("Motion", "B"))), "0/0");
    journal().clear();
    EXPECT_EQ(deleteByName({"A"}), 0U);
    EXPECT_EQ(takeAll(), joined({{"#2 deleteBehavior(A) -> true", "log 6 \"Analytics Setting Key Motion: \"",
                                  "settingsSetJson OnvifAnalytics -> 0"},
                                 cleared("Simple", "Simple"),
                                 activated("Motion", "Motion", 2, {"log 6 \"    Rule: tt:MotionRule active \""})}));
    EXPECT_EQ(storedText(), storedDocument({{"Motion", ""}}));
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "B").text())) << "the live rule set keeps the others";
    stop();
    startQuietly();
    EXPECT_THAT(currentRules(), IsEmpty()) << "and they are gone with the next start";
}

TEST_F(ChangeTest, leavesTheLiveRuleSetReducedWhenADeleteFailsInPart)
{
    startQuietly();
    ASSERT_EQ(configure(configuration("Motion").add(rule("Motion", "A")).add(rule("Motion", "B"))), "0/0");
    const std::string before = storedText();
    journal().clear();
    EXPECT_EQ(deleteByName({"A", "Unknown"}), 5U);
    EXPECT_EQ(takeAll(), joined({{"#2 deleteBehavior(A) -> true", "#2 deleteBehavior(Unknown) -> false"},
                                 cleared("Simple", "Simple"),
                                 activated("Motion", "Motion", 2, {"log 6 \"    Rule: tt:MotionRule active \""})}));
    EXPECT_EQ(storedText(), before);
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "B").text()));
    stop();
    startQuietly();
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "A").text(), rule("Motion", "B").text()));
}

TEST_F(ChangeTest, goesOnToDeleteBehindAnUnknownName)
{
    startQuietly();
    ASSERT_EQ(configure(configuration("Motion").add(rule("Motion", "A")).add(rule("Motion", "B"))), "0/0");
    EXPECT_EQ(deleteByName({"Unknown", "A"}), 5U);
    EXPECT_THAT(currentRules(), ElementsAre(rule("Motion", "B").text()));
}

TEST_F(ChangeTest, changesNothingWhenNoNameIsKnown)
{
    startQuietly();
    ASSERT_EQ(configure(configuration("Motion")), "0/0");
    journal().clear();
    EXPECT_EQ(deleteByName({"Unknown"}), 5U);
    EXPECT_THAT(journal().all(), ElementsAre("#2 deleteBehavior(Unknown) -> false")) << "nor does it reconfigure";
    EXPECT_EQ(deleteByName({}), 0U);
}

} // namespace
