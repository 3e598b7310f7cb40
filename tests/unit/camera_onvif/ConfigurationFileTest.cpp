#include "camera/onvif/ConfigurationFile.h"

#include "camera/onvif/StoredConfigurations.h"

#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace camera::onvif {
namespace {

using namespace testing;

const std::string kDocument =
    "<tt:VideoAnalyticsConfiguration xmlns:tt='http://www.onvif.org/ver10/schema'>\n"
    " <tt:AnalyticsEngineConfiguration><tt:AnalyticsModule Name='M' Type='tt:CellMotionEngine'/>"
    "</tt:AnalyticsEngineConfiguration>\n"
    " <tt:RuleEngineConfiguration><tt:Rule Name='A' Type='tt:X'><tt:Parameters>"
    "<tt:SimpleItem Name='PtzPreset' Value='Door'/></tt:Parameters></tt:Rule>"
    "<tt:Rule Name='B' Type='tt:Y'/></tt:RuleEngineConfiguration>\n"
    "</tt:VideoAnalyticsConfiguration>\n";

class ConfigurationFileTest : public testing::Test {
protected:
    std::string refused(const std::string& path)
    {
        return kit::refusalOf([&] { readConfiguration(path); });
    }

    kit::TemporaryFolder folder;
};

TEST_F(ConfigurationFileTest, readsAConfiguration)
{
    EXPECT_THAT(readConfiguration(folder.write("a.xml", kDocument)), HasSubstr("<tt:Rule Name=\"B\" Type=\"tt:Y\"/>"));
}

TEST_F(ConfigurationFileTest, refusesWhatIsNoConfigurationWithFileLineAndColumn)
{
    const std::string path = folder.write("a.xml", "<tt:VideoAnalyticsConfiguration>\n<tt:Oops></tt:No>");
    EXPECT_THAT(refused(path), HasSubstr("the configuration '" + path + "' is refused at line 2, column "));
    const std::string rule = folder.write("r.xml", "<tt:Rule/>");
    EXPECT_EQ("the configuration '" + rule +
                  "' is refused at line 1, column 2: its root element is 'tt:Rule', but a configuration's is "
                  "'tt:VideoAnalyticsConfiguration'.",
              refused(rule));
}

TEST_F(ConfigurationFileTest, refusesFilesThatCannotBeRead)
{
    EXPECT_EQ("cannot read the configuration '" + (folder / "none.xml").string() +
                  "': No such file or directory; name an XML file.",
              refused((folder / "none.xml").string()));
    EXPECT_THAT(refused(folder.path().string()), HasSubstr("it is a directory"));
    EXPECT_THAT(refused(folder.write("nul.xml", std::string("<a/>\0", 5))), HasSubstr("it holds a NUL byte"));
    EXPECT_THAT(refused(folder.write("empty.xml", "")), HasSubstr("is refused at line 1, column 1"));
}

TEST_F(ConfigurationFileTest, takesComponentsFromAConfigurationOrOneByOne)
{
    const std::string path = folder.write("a.xml", kDocument);
    EXPECT_THAT(readComponents(path, true), SizeIs(2));
    EXPECT_THAT(readComponents(path, false),
                ElementsAre("<tt:AnalyticsModule Name=\"M\" Type=\"tt:CellMotionEngine\"/>"));
    const std::string one =
        folder.write("r.xml", "<x:Rule xmlns:x='http://www.onvif.org/ver10/schema' Name='A' Type='x:T'/>");
    EXPECT_THAT(readComponents(one, true), ElementsAre(HasSubstr("Name=\"A\" Type=\"tt:T\"")));
}

TEST_F(ConfigurationFileTest, refusesAFileWithoutTheComponentsWanted)
{
    const std::string path = folder.write("a.xml", "<tt:VideoAnalyticsConfiguration/>");
    EXPECT_THAT(kit::refusalOf([&] { readComponents(path, true); }),
                HasSubstr("there is no tt:Rule in '" + path + "'"));
}

TEST_F(ConfigurationFileTest, namesComponentsForPeople)
{
    const std::vector<ComponentName> components = componentsOf(kDocument);
    ASSERT_THAT(components, SizeIs(3));
    EXPECT_EQ("module 'M' (tt:CellMotionEngine)", describe(components[0]));
    EXPECT_EQ("rule 'A' (tt:X, preset Door)", describe(components[1]));
    EXPECT_EQ("rule 'B' (tt:Y)", describe(components[2]));
    EXPECT_THAT(componentsOf("<tt:Rule Name='C'/>"), ElementsAre(ComponentName{true, "C", "", ""}));
    EXPECT_EQ("rule 'C' (no type)", describe(componentsOf("<tt:Rule Name='C'/>")[0]));
    EXPECT_THAT(componentsOf("no xml"), IsEmpty());
}

TEST(RefusalReason, isTheFirstTypeThatNoEngineKnowsOrWhatWasLogged)
{
    const std::vector<ComponentName> components = componentsOf(kDocument);
    const std::vector<std::string> modules = {"tt:Other", "tt:CellMotionEngine"};
    EXPECT_EQ(refusalReason(components, {"tt:X"}, modules, {"a line"}),
              "no engine knows the type of its rule 'B' (tt:Y); camera rules types lists those that there are");
    EXPECT_EQ(refusalReason(components, modules, {"tt:X"}, {"a line"}),
              "no engine knows the type of its module 'M' (tt:CellMotionEngine); camera modules types lists those that "
              "there are");
    EXPECT_EQ(refusalReason({}, {}, {}, {"a line"}), "there is no rule and no module in it");
    EXPECT_EQ(refusalReason(components, {"tt:X", "tt:Y"}, modules, {"a line"}), "a line");
}

TEST(RefusalReason, theLinesSayIt)
{
    const std::vector<ComponentName> gate = {{true, "Gate", "tt:X", ""}};
    const auto reason = [&gate](std::vector<std::string> lines) {
        return refusalReason(gate, {"tt:X"}, {}, std::move(lines));
    };
    EXPECT_EQ(reason({"Simple: no", "not a valid component"}), "Simple: no");
    EXPECT_EQ(reason({"Simple: no", "not a valid component", "Motion: neither"}), "Simple: no; Motion: neither");
    EXPECT_EQ(reason({"not a valid component"}), "not a valid component") << "the only line";
    EXPECT_EQ(reason({}), "no engine names a reason; it mixes the types of several engines, which take a file each");
}

TEST(StoredConfigurations, areReadAsFarAsThePluginCanReadThem)
{
    const auto keysOf = [](const std::string& document) {
        std::vector<std::string> keys;
        for (const StoredConfiguration& each : storedConfigurations(document)) {
            keys.push_back(each.key + "=" + each.xml);
        }
        return keys;
    };
    EXPECT_THAT(keysOf(R"([{"key":"Motion","config":"<a/>"},{"key":"MotionGate","config":""}])"),
                ElementsAre("Motion=<a/>", "MotionGate="));
    EXPECT_THAT(keysOf(R"([{"key":"Motion","config":"<a/>"},{"key":[],"config":""},{"key":"x"}])"),
                ElementsAre("Motion=<a/>"));
    EXPECT_THAT(keysOf("[5]"), IsEmpty());
    EXPECT_THAT(keysOf("no json"), IsEmpty());
    EXPECT_THAT(keysOf(""), IsEmpty());
}

TEST(ComponentNames, areTheSameWhenAllOfThemIs)
{
    const ComponentName name{true, "A", "tt:T", "Gate"};
    EXPECT_EQ(name, (ComponentName{true, "A", "tt:T", "Gate"}));
    for (const ComponentName& other :
         {ComponentName{false, "A", "tt:T", "Gate"}, ComponentName{true, "B", "tt:T", "Gate"},
          ComponentName{true, "A", "tt:U", "Gate"}, ComponentName{true, "A", "tt:T", ""}}) {
        EXPECT_FALSE(name == other);
    }
}

TEST(ActiveComponents, areNamedForPeople)
{
    EXPECT_EQ("none", describeActive("", {}, {}));
    EXPECT_EQ("preset 'Gate', rule 'A', rule 'B', module 'M'", describeActive("Gate", {"A", "B"}, {"M"}));
    EXPECT_EQ("away from presets, module 'M'", describeActive(kAwayFromPresets, {}, {"M"}));
}

TEST(ComponentObjects, areFlatWithAFieldForEachSimpleParameter)
{
    const std::vector<Json::Value> objects = componentObjects(
        "<tt:Rule Name=\"A\" Type=\"tt:T\"><tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"Way\" />"
        "<tt:SimpleItem Name=\"Delay\" Value=\"5\" /><tt:SimpleItem Name=\"type\" Value=\"6\" "
        "/></tt:Parameters></tt:Rule>");
    ASSERT_EQ(1U, objects.size());
    EXPECT_EQ("A", objects[0]["rule"].asString());
    EXPECT_EQ("tt:T", objects[0]["type"].asString());
    EXPECT_EQ("Way", objects[0]["preset"].asString());
    EXPECT_EQ("5", objects[0]["Delay"].asString());
    EXPECT_FALSE(objects[0].isMember("PtzPreset"));
    EXPECT_EQ(0U, objects[0]["xml"].asString().find("<tt:Rule Name=\"A\""));
}

} // namespace
} // namespace camera::onvif
