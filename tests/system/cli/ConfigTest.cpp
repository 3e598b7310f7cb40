#include "CameraTest.h"

#include <filesystem>
#include <regex>

namespace camera::system_tests {
namespace {

using namespace testing;

using ConfigTest = CameraTest;

TEST_F(ConfigTest, storesConfigurationsAndReadsThemBack)
{
    const Finished set = on({"config", "set", simple("Gate"), motion("Path")});
    EXPECT_EQ(0, set.exitCode) << set.err;
    EXPECT_EQ(2U, count(set.out, "is stored and active."));
    EXPECT_THAT(set.out, Not(HasSubstr("After a restart")));
    EXPECT_THAT(on({"rules", "list"}).out,
                AllOf(HasSubstr("<tt:Rule Name=\"Gate\""), HasSubstr("<tt:Rule Name=\"Path\"")));
    EXPECT_THAT(on({"modules", "list"}).out, AllOf(HasSubstr("Name=\"Cells\""), HasSubstr("Name=\"Objects\"")));
    EXPECT_THAT(on({"config", "get"}).out,
                AllOf(HasSubstr("<tt:VideoAnalyticsConfiguration "), HasSubstr("Name=\"Gate\""),
                      HasSubstr("Name=\"Path\""), HasSubstr("Name=\"Cells\"")));
}

TEST_F(ConfigTest, listsTypes)
{
    std::filesystem::create_directory(state());
    EXPECT_THAT(on({"rules", "types"}).out,
                AllOf(HasSubstr("tt:CellMotionDetector\n"), HasSubstr("tt:MotionRegionDetector\n")));
    EXPECT_THAT(on({"modules", "types"}).out,
                AllOf(HasSubstr("tt:CellMotionEngine\n"), HasSubstr("vca:MotionRegionEngine\n")));
}

TEST_F(ConfigTest, storesForAPresetWithoutActivating)
{
    const Finished set = on({"config", "set", motion("Door rule", "Door")});
    EXPECT_EQ(0, set.exitCode) << set.err;
    EXPECT_THAT(set.out, HasSubstr("is stored; it is not active where the camera stands now."));
    EXPECT_THAT(on({"config", "get"}).out, Not(HasSubstr("Door rule")));
    EXPECT_THAT(on({"config", "get", "--preset", "Door"}).out, HasSubstr("Door rule"));
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Door rule"));
}

TEST_F(ConfigTest, addsAndModifiesRules)
{
    must({"config", "set", simple("Gate")});
    const std::string rule = "<tt:Rule Name=\"More\" Type=\"tt:CellMotionDetector\"><tt:Parameters>"
                             "<tt:SimpleItem Name=\"MinCount\" Value=\"VALUE\"/></tt:Parameters></tt:Rule>";
    const auto withValue = [&](const std::string& value) {
        return write("rule.xml", std::regex_replace(rule, std::regex("VALUE"), value));
    };
    const Finished added = on({"rules", "create", withValue("9")});
    EXPECT_EQ(0, added.exitCode) << added.err;
    EXPECT_THAT(added.out, HasSubstr("1 rule stored."));
    EXPECT_THAT(on({"rules", "list"}).out, AllOf(HasSubstr("Name=\"More\""), HasSubstr("Name=\"MinCount\" Value=\"9\""),
                                                 HasSubstr("Name=\"Gate\"")));
    must({"rules", "modify", withValue("11")});
    EXPECT_THAT(on({"rules", "list"}).out,
                AllOf(HasSubstr("Name=\"MinCount\" Value=\"11\""), Not(HasSubstr("Name=\"MinCount\" Value=\"9\""))));
    const Finished refused = on({"rules", "modify", withValue("never")});
    EXPECT_EQ(1, refused.exitCode);
    EXPECT_THAT(refused.err,
                HasSubstr("camera: cannot store 1 rule: Simple: component 'More', parameter 'MinCount' with "
                          "value 'never': it takes a whole number from 1 to 16384.\n"));
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"MinCount\" Value=\"11\""));
}

TEST_F(ConfigTest, deletesARuleAndNothingBesideIt)
{
    std::string two = simpleConfiguration("First");
    const std::string rule = two.substr(two.find("<tt:Rule "), two.find("</tt:Rule>") + 10 - two.find("<tt:Rule "));
    two.insert(two.find("</tt:RuleEngineConfiguration>"), std::regex_replace(rule, std::regex("First"), "Second"));
    must({"config", "set", write("two.xml", two)});
    const Finished deleted = on({"rules", "delete", "First"});
    EXPECT_EQ(0, deleted.exitCode) << deleted.err;
    EXPECT_EQ("1 rule deleted.\n", deleted.out);
    // Each command is a start of its own.
    EXPECT_THAT(on({"rules", "list"}).out, AllOf(HasSubstr("Name=\"Second\""), Not(HasSubstr("Name=\"First\""))));
    EXPECT_THAT(on({"modules", "list"}).out, HasSubstr("Name=\"Cells\""));
    must({"rules", "delete", "Second"});
    must({"modules", "delete", "Cells"});
    EXPECT_EQ("", on({"rules", "list"}).out);
    EXPECT_EQ("", on({"modules", "list"}).out);
}

TEST_F(ConfigTest, deletesNothingWhereOneNameIsUnknown)
{
    must({"config", "set", simple("Gate")});
    const Finished deleted = on({"rules", "delete", "Gate", "Unknown"});
    EXPECT_EQ(1, deleted.exitCode);
    EXPECT_THAT(deleted.err, HasSubstr("camera: cannot delete 2 rules: there is no rule 'Unknown'; camera rules list "
                                       "shows the names."));
    EXPECT_EQ("", deleted.out);
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"Gate\""));
}

TEST_F(ConfigTest, tellsThatAResetComesBackAfterARestart)
{
    must({"config", "set", simple("Gate")});
    const Finished reset = on({"config", "reset"});
    EXPECT_EQ(0, reset.exitCode) << reset.err;
    EXPECT_THAT(reset.out, HasSubstr("The engines have no rules now; what is stored comes back"));
    EXPECT_THAT(reset.out, HasSubstr("After a restart rule 'Gate' (tt:CellMotionDetector) is back"));
    EXPECT_THAT(on({"rules", "list"}).out, HasSubstr("Name=\"Gate\""));
}

TEST_F(ConfigTest, goesBackToAnEarlierDocument)
{
    EXPECT_EQ(1, on({"config", "history"}).exitCode) << "there is no such folder yet";
    must({"config", "set", simple("Old")});
    must({"config", "set", simple("New")});
    const std::string history = on({"config", "history"}).out;
    EXPECT_EQ(2U, count(history, " UTC  "));
    const std::string oldest = history.substr(history.rfind('\n', history.size() - 2) + 1);
    const Finished restored = on({"config", "restore", oldest.substr(0, oldest.find(' '))});
    EXPECT_EQ(0, restored.exitCode) << restored.err;
    EXPECT_THAT(on({"rules", "list"}).out, AllOf(HasSubstr("Name=\"Old\""), Not(HasSubstr("Name=\"New\""))));
    const Finished unknown = on({"config", "restore", "4711"});
    EXPECT_EQ(1, unknown.exitCode);
    EXPECT_THAT(unknown.err, HasSubstr("no good document number 4711 of this key is kept"));
}

TEST_F(ConfigTest, refusesWhatCannotBeReadAndLeavesTheRest)
{
    must({"config", "set", simple("Gate")});
    const Finished done = on({"config", "set", motion("Path"), write("bad.xml", "<a>")});
    EXPECT_EQ(1, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("is refused at line 1"));
    EXPECT_THAT(on({"rules", "list"}).out, AllOf(HasSubstr("Gate"), Not(HasSubstr("Path"))));
}

} // namespace
} // namespace camera::system_tests
