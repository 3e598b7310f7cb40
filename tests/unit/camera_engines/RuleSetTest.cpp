#include "EngineBench.h"
#include "kit/RowName.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <fstream>
#include <sstream>

namespace {

using namespace engine_test;
using namespace testing;

/// A rule set of one engine, handed back at the end.
class OwnedRuleSet {
public:
    explicit OwnedRuleSet(EngineBench& bench) : _bench(bench), _ruleSet(bench.engine().createRuleSet()) {}
    ~OwnedRuleSet() { _bench.engine().releaseRuleSet(_ruleSet); }
    analytics_lib::IRuleSet* operator->() { return _ruleSet; }

private:
    EngineBench& _bench;
    analytics_lib::IRuleSet* _ruleSet;
};

std::string parameters(const std::string& items)
{
    return "<tt:Parameters>" + items + "</tt:Parameters>";
}

std::string valueOf(const std::string& config, const std::string& item)
{
    pugi::xml_document document;
    document.load_string(config.c_str());
    return document.select_node(("//tt:SimpleItem[@Name='" + item + "']").c_str()).node().attribute("Value").value();
}

std::string layout(const std::string& attributes, const std::string& translate, const std::string& scale)
{
    return "<tt:ElementItem Name=\"Layout\"><tt:CellLayout " + attributes + "><tt:Transformation><tt:Translate " +
           translate + "/><tt:Scale " + scale + "/></tt:Transformation></tt:CellLayout></tt:ElementItem>";
}

std::string point(const std::string& x, const std::string& y)
{
    return "<tt:Point x=\"" + x + "\" y=\"" + y + "\"/>";
}

class RuleSetTest : public testing::Test {
protected:
    RuleSetTest() { takeLogLines(); }

    EngineBench simple{"Simple"};
    EngineBench motion{"Motion"};
};

TEST_F(RuleSetTest, fillsInEveryAbsentParameterOfAPresentList)
{
    OwnedRuleSet cells(simple);
    ASSERT_TRUE(cells->setFullConfig(simpleConfig()));
    const std::string config = cells->getFullConfig();
    EXPECT_EQ(valueOf(config, "Sensitivity"), "50");
    EXPECT_EQ(valueOf(config, "MinCount"), "4");
    EXPECT_EQ(valueOf(config, "AlarmOnDelay"), "100");
    EXPECT_EQ(valueOf(config, "AlarmOffDelay"), "1000");
    EXPECT_EQ(valueOf(config, "ActiveCells"), "z/8="); // 50 bytes of ones
    EXPECT_THAT(config, HasSubstr("<tt:CellLayout Columns=\"22\" Rows=\"18\">"));

    OwnedRuleSet objects(motion);
    ASSERT_TRUE(objects->setFullConfig(motionConfig()));
    EXPECT_EQ(valueOf(objects->getFullConfig(), "MinSize"), "0.1");
    EXPECT_THAT(objects->getFullConfig(),
                HasSubstr("<axt:MotionRegionConfig Armed=\"true\" Sensitivity=\"0.5\">"
                          "<tt:Polygon><tt:Point x=\"-1\" y=\"1\"/><tt:Point x=\"1\" y=\"1\"/>"));
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_F(RuleSetTest, fillsInCellsForTheLayoutOfItsOwnModule)
{
    OwnedRuleSet rules(simple);
    ASSERT_TRUE(rules->setFullConfig(
        simpleConfig(layout("Columns=\"8\" Rows=\"6\"", "x=\"-1\" y=\"-1\"", "x=\"0.25\" y=\"0.333333\""))));
    EXPECT_EQ(valueOf(rules->getFullConfig(), "ActiveCells"), "+/8="); // six bytes of ones
}

TEST_F(RuleSetTest, acceptsWhatItPrintsAndPrintsItAgain)
{
    OwnedRuleSet first(simple);
    const std::string rich =
        document(module("Cells &amp; co", "tt:CellMotionEngine",
                        simpleItem("Sensitivity", " +70 ") + simpleItem("PtzPreset", "Door")),
                 rule("A", "tt:CellMotionDetector", simpleItem("Active", "false")) +
                     rule("B &lt;2&gt;", "tt:CellMotionDetector", simpleItem("PtzPreset", "Door")));
    ASSERT_TRUE(first->setFullConfig(rich));
    OwnedRuleSet second(simple);
    ASSERT_TRUE(second->setFullConfig(first->getFullConfig()));
    EXPECT_EQ(first->getFullConfig(), second->getFullConfig());
    EXPECT_TRUE(simple.engine().isEngineConfiguration(first->getFullConfig()));

    OwnedRuleSet objects(motion);
    ASSERT_TRUE(objects->setFullConfig(
        motionConfig("", region("Sensitivity=\"0.25\"", point("-0.3", "0.1") + point("1", "0") + point("0", "-1")))));
    const std::string text = objects->getFullConfig();
    ASSERT_TRUE(objects->setFullConfig(text));
    EXPECT_EQ(objects->getFullConfig(), text);
    EXPECT_THAT(text, HasSubstr("<tt:Point x=\"-0.3\" y=\"0.1\"/>"));
}

TEST_F(RuleSetTest, anEmptyTextIsAnEmptyConfigurationThatIsPrintedAndAcceptedAgain)
{
    OwnedRuleSet rules(simple);
    ASSERT_TRUE(rules->setFullConfig(simpleConfig()));
    EXPECT_TRUE(rules->setFullConfig(""));
    EXPECT_EQ(rules->getFullConfig(), document("", ""));
    EXPECT_TRUE(rules->setFullConfig(rules->getFullConfig()));
}

TEST_F(RuleSetTest, addsReplacesAndDeletesSingleComponents)
{
    OwnedRuleSet rules(simple);
    EXPECT_TRUE(rules->setConfig("R", "tt:CellMotionDetector", parameters(simpleItem("MinCount", "7"))));
    EXPECT_TRUE(rules->setConfig("M", "tt:CellMotionEngine", parameters("")));
    EXPECT_TRUE(rules->setConfig("R", "tt:CellMotionDetector", parameters(simpleItem("MinCount", "9"))));
    EXPECT_EQ(valueOf(rules->getFullConfig(), "MinCount"), "9");
    EXPECT_TRUE(rules->deleteBehavior("M"));
    EXPECT_FALSE(rules->deleteBehavior("M"));
    EXPECT_FALSE(rules->deleteBehavior("r"));
    EXPECT_TRUE(rules->deleteBehavior("R"));
    EXPECT_EQ(rules->getFullConfig(), document("", ""));
}

TEST_F(RuleSetTest, validationChangesNothing)
{
    OwnedRuleSet rules(simple);
    EXPECT_TRUE(rules->validateFullConfig(simpleConfig()));
    EXPECT_TRUE(rules->validateConfig("R", "tt:CellMotionDetector", parameters("")));
    EXPECT_EQ(rules->getFullConfig(), document("", ""));
}

TEST_F(RuleSetTest, refusesAnotherEnginesTypesWithoutALogLineSinceEveryEngineIsAsked)
{
    OwnedRuleSet rules(simple);
    EXPECT_FALSE(rules->validateConfig("R", "tt:MotionRegionDetector", parameters("")));
    EXPECT_FALSE(rules->validateConfig("", "", ""));
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_F(RuleSetTest, keepsItsContentWhenItRefuses)
{
    OwnedRuleSet rules(simple);
    ASSERT_TRUE(rules->setFullConfig(simpleConfig()));
    const std::string before = rules->getFullConfig();
    EXPECT_FALSE(rules->setFullConfig(simpleConfig("", simpleItem("MinCount", "0"))));
    EXPECT_FALSE(rules->setConfig("AnyMotion", "tt:CellMotionDetector", parameters(simpleItem("Minimum", "1"))));
    EXPECT_EQ(rules->getFullConfig(), before);
}

TEST_F(RuleSetTest, givesANameToOneComponentOnly)
{
    OwnedRuleSet rules(simple);
    ASSERT_TRUE(rules->setFullConfig(simpleConfig()));
    takeLogLines();
    EXPECT_FALSE(rules->setConfig("Cells", "tt:CellMotionDetector", parameters("")));
    EXPECT_FALSE(rules->setConfig("Second", "tt:CellMotionEngine", parameters("")));
    EXPECT_FALSE(
        rules->setFullConfig(document(module("M", "tt:CellMotionEngine") + module("N", "tt:CellMotionEngine"), "")));
    EXPECT_FALSE(
        rules->setFullConfig(document("", rule("R", "tt:CellMotionDetector") + rule("R", "tt:CellMotionDetector"))));
    EXPECT_THAT(takeLogLines(),
                ElementsAre(HasSubstr("'Cells'"), HasSubstr("'Second'"), HasSubstr("'N'"), HasSubstr("'R'")));
}

struct Refused {
    const char* engine;
    std::string config;
    const char* component;
    const char* parameter;
    const char* value;
};

void PrintTo(const Refused& row, std::ostream* out)
{
    *out << row.parameter;
}

std::vector<Refused> refused()
{
    const auto cells = [](const std::string& moduleItems, const std::string& ruleItems) {
        return simpleConfig(moduleItems, ruleItems);
    };
    const auto objects = [](const std::string& moduleItems, const std::string& ruleItems) {
        return motionConfig(moduleItems, ruleItems);
    };
    const std::string good = "x=\"-1\" y=\"1\"";
    return {
        {"Simple", cells(simpleItem("Sensitivity", "101"), ""), "Cells", "Sensitivity", "101"},
        {"Simple", cells(simpleItem("Sensitivity", "-1"), ""), "Cells", "Sensitivity", "-1"},
        {"Simple", cells(simpleItem("Sensitivity", "5.5"), ""), "Cells", "Sensitivity", "5.5"},
        {"Simple", cells(simpleItem("Sensitivity", ""), ""), "Cells", "Sensitivity", ""},
        {"Simple", cells(simpleItem("Sensitivity", "99999999999999999999"), ""), "Cells", "Sensitivity", "9999999"},
        {"Simple", cells(simpleItem("Sensitivit", "5"), ""), "Cells", "Sensitivit", "5"},
        {"Simple", cells(simpleItem("MinSize", "5"), ""), "Cells", "MinSize", "5"},
        {"Simple", cells(simpleItem("Active", "yes"), ""), "Cells", "Active", "yes"},
        {"Simple", cells(simpleItem("Layout", "big"), ""), "Cells", "Layout", "big"},
        {"Simple", cells(layout("Columns=\"0\" Rows=\"6\"", good, good), ""), "Cells", "Layout", "0"},
        {"Simple", cells(layout("Columns=\"8\" Rows=\"129\"", good, good), ""), "Cells", "Layout", "129"},
        {"Simple", cells(layout("Columns=\"8\"", good, good), ""), "Cells", "Layout", ""},
        {"Simple", cells(layout("Columns=\"8\" Rows=\"6\" Depth=\"2\"", good, good), ""), "Cells", "Layout", "2"},
        {"Simple", cells(layout("Columns=\"8\" Rows=\"6\"", good, "x=\"0\" y=\"1\""), ""), "Cells", "Layout", "0"},
        {"Simple", cells(layout("Columns=\"8\" Rows=\"6\"", "x=\"nan\" y=\"1\"", good), ""), "Cells", "Layout", "nan"},
        {"Simple", cells("<tt:ElementItem Name=\"Layout\"/>", ""), "Cells", "Layout", ""},
        {"Simple", cells("<tt:ElementItem Name=\"Layout\"><a/><b/></tt:ElementItem>", ""), "Cells", "Layout", ""},
        {"Simple", cells("<tt:Extension/>", ""), "Cells", "tt:Extension", ""},
        {"Simple", cells("<tt:SimpleItem Name=\"Sensitivity\"/>", ""), "Cells", "Sensitivity", ""},
        {"Simple", cells(simpleItem("Sensitivity", "1") + simpleItem("Sensitivity", "2"), ""), "Cells", "Sensitivity",
         "2"},
        {"Simple", cells("", simpleItem("MinCount", "0")), "AnyMotion", "MinCount", "0"},
        {"Simple", cells("", simpleItem("MinCount", "16385")), "AnyMotion", "MinCount", "16385"},
        {"Simple", cells("", simpleItem("AlarmOnDelay", "-1")), "AnyMotion", "AlarmOnDelay", "-1"},
        {"Simple", cells("", simpleItem("AlarmOffDelay", "3600001")), "AnyMotion", "AlarmOffDelay", "3600001"},
        {"Simple", cells("", simpleItem("ActiveCells", "!!!!")), "AnyMotion", "ActiveCells", "!!!!"},
        {"Simple", cells("", simpleItem("ActiveCells", "")), "AnyMotion", "ActiveCells", ""},
        {"Simple", cells("", simpleItem("ActiveCells", "BQA=")), "AnyMotion", "ActiveCells", "BQA="}, // promises six
        {"Simple", cells("", simpleItem("Sensitivity", "5")), "AnyMotion", "Sensitivity", "5"},
        {"Motion", objects(simpleItem("Sensitivity", "many"), ""), "Objects", "Sensitivity", "many"},
        {"Motion", objects(simpleItem("MinSize", "100.5"), ""), "Objects", "MinSize", "100.5"},
        {"Motion", objects(simpleItem("MinSize", "inf"), ""), "Objects", "MinSize", "inf"},
        {"Motion", objects("", region("Sensitivity=\"1.1\"", "")), "Region", "MotionRegion", "1.1"},
        {"Motion", objects("", region("Armed=\"maybe\"", "")), "Region", "MotionRegion", "maybe"},
        {"Motion", objects("", region("Shape=\"round\"", "")), "Region", "MotionRegion", "round"},
        {"Motion", objects("", region("", point("0", "0") + point("1", "1"))), "Region", "MotionRegion", "2 points"},
        {"Motion", objects("", region("", point("0", "0") + point("1", "1") + point("1", "2"))), "Region",
         "MotionRegion", "2"},
        {"Motion", objects("", region("", point("0", "0") + point("1", "1") + "<tt:Point x=\"1\"/>")), "Region",
         "MotionRegion", ""},
        {"Motion", objects("", simpleItem("MotionRegion", "all")), "Region", "MotionRegion", "all"},
        {"Motion", objects("", simpleItem("Sensitivity", "0.5")), "Region", "Sensitivity", "0.5"},
        {"Motion", objects("", "<tt:ElementItem Name=\"Field\"><tt:Polygon/></tt:ElementItem>"), "Region", "Field",
         "tt:Polygon"},
        {"Motion", document("", rule("", "tt:MotionRegionDetector")), "", "Name", ""},
        {"Motion", document("", rule("R", "tt:CellMotionDetector")), "R", "Type", "tt:CellMotionDetector"},
        {"Motion", document(module("M", "tt:MotionRegionDetector"), ""), "M", "Type", "tt:MotionRegionDetector"},
    };
}

class RefusedParameterTest : public RuleSetTest, public WithParamInterface<Refused> {};

TEST_P(RefusedParameterTest, isOneLineNamingComponentParameterAndValue)
{
    const Refused& one = GetParam();
    OwnedRuleSet rules(std::string(one.engine) == "Simple" ? simple : motion);
    EXPECT_FALSE(rules->setFullConfig(one.config)) << one.config;
    const auto named = [](const char* text) { return HasSubstr(std::string("'") + text); };
    EXPECT_THAT(takeLogLines(), ElementsAre(AllOf(HasSubstr(std::string(one.engine) + ": "), named(one.component),
                                                  named(one.parameter), named(one.value))));
}

INSTANTIATE_TEST_SUITE_P(Parameters, RefusedParameterTest, ValuesIn(refused()), [](const auto& info) {
    return kit::rowName(info.index,
                        std::string(info.param.engine) + " " + info.param.parameter + " " + info.param.value);
});

TEST_F(RuleSetTest, refusesAComponentWithoutAList)
{
    OwnedRuleSet rules(simple);
    EXPECT_FALSE(rules->validateConfig("R", "tt:CellMotionDetector", ""));
    EXPECT_FALSE(rules->setFullConfig(document("<tt:AnalyticsModule Name=\"M\" Type=\"tt:CellMotionEngine\"/>", "")));
    EXPECT_THAT(takeLogLines(), ElementsAre(AllOf(HasSubstr("'R'"), HasSubstr("no tt:Parameters")),
                                            AllOf(HasSubstr("'M'"), HasSubstr("no tt:Parameters"))));
}

TEST_F(RuleSetTest, refusesWhatIsNoConfigurationWithOneLine)
{
    OwnedRuleSet rules(simple);
    for (const char* text : {"<", "plain", "<other/>", "<tt:VideoAnalyticsConfiguration>"}) {
        EXPECT_FALSE(rules->setFullConfig(text)) << text;
        EXPECT_EQ(takeLogLines().size(), 1U) << text;
    }
    std::string deep;
    for (int i = 0; i < 200'000; ++i) {
        deep += "<a>";
    }
    EXPECT_FALSE(rules->setFullConfig(deep));
    EXPECT_FALSE(simple.engine().isEngineConfiguration(deep));
}

TEST_F(RuleSetTest, logsHostileTextsShortAndOnOneLine)
{
    OwnedRuleSet rules(simple);
    EXPECT_FALSE(rules->validateConfig("a&#10;b\nc", "tt:CellMotionDetector",
                                       parameters(simpleItem("%n%s", std::string(5000, 'x') + "&#10;"))));
    const auto lines = takeLogLines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_LT(lines[0].size(), 400U);
    EXPECT_EQ(lines[0].find('\n'), std::string::npos);
    EXPECT_THAT(lines[0], HasSubstr("%n%s"));
}

TEST_F(RuleSetTest, acceptsPresetAndActiveInEveryComponent)
{
    const std::string both = simpleItem("PtzPreset", "Door 1") + simpleItem("Active", "0");
    OwnedRuleSet cells(simple);
    EXPECT_TRUE(cells->setFullConfig(simpleConfig(both, both)));
    OwnedRuleSet objects(motion);
    EXPECT_TRUE(objects->setFullConfig(motionConfig(both, both)));
    EXPECT_EQ(valueOf(objects->getFullConfig(), "PtzPreset"), "Door 1");
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_F(RuleSetTest, acceptsTheExamplesThatShipWithTheCamera)
{
    for (const auto& [name, bench] :
         {std::pair<std::string, EngineBench*>{"simple.xml", &simple}, {"motion.xml", &motion}}) {
        const std::string text = kit::contentOf(std::string(CAMERA_ENGINES_EXAMPLES) + "/" + name);
        EXPECT_TRUE(bench->engine().isEngineConfiguration(text)) << name;
        OwnedRuleSet rules(*bench);
        EXPECT_TRUE(rules->setFullConfig(text)) << name;
    }
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_F(RuleSetTest, hundredThousandInactiveConfigurationsCostLittleMoreThanTheirText)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "measuring memory needs the allocator that a sanitizer replaces";
#else
    const auto residentBytes = [] {
        std::ifstream file("/proc/self/statm");
        std::size_t total = 0;
        std::size_t resident = 0;
        file >> total >> resident;
        return resident * 4096;
    };
    constexpr std::size_t kCount = 100'000;
    const std::size_t before = residentBytes();
    std::vector<analytics_lib::IRuleSet*> all;
    const std::string config = simpleConfig();
    for (std::size_t i = 0; i < kCount; ++i) {
        all.push_back(simple.engine().createRuleSet());
        ASSERT_TRUE(all.back()->setFullConfig(config));
    }
    const std::size_t perConfiguration = (residentBytes() - before) / kCount;
    const std::size_t text = all.back()->getFullConfig().size() - document("", "").size();
    EXPECT_LE(perConfiguration, text + 256);
    EXPECT_LE(perConfiguration * kCount, 128U << 20);
    for (analytics_lib::IRuleSet* ruleSet : all) {
        simple.engine().releaseRuleSet(ruleSet);
    }
#endif
}

} // namespace
