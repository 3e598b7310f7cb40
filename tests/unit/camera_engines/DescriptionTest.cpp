// The descriptions that ONVIF clients are given, held against the engines.
#include "Stage.h"

#include "camera/engines/CellMask.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <map>
#include <set>
#include <sstream>

namespace {

using namespace engine_test;
using testing::ContainerEq;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

using Names = std::vector<std::string>;

Names attributesOf(const pugi::xml_node& parent, const char* xpath, const char* attribute)
{
    Names values;
    for (const pugi::xpath_node& found : parent.select_nodes(xpath)) {
        values.emplace_back(found.node().attribute(attribute).value());
    }
    return values;
}

/// The elements below a node with their attributes, without repetitions: what a reader must know.
std::set<std::string> formOf(const pugi::xml_node& node, const std::string& path = "")
{
    std::set<std::string> form;
    for (const pugi::xml_attribute& attribute : node.attributes()) {
        form.insert(path + "@" + attribute.name());
    }
    for (const pugi::xml_node& child : node.children()) {
        const std::string below = path + "/" + child.name();
        form.insert(below);
        form.merge(formOf(child, below));
    }
    return form;
}

std::string parameters(const std::string& items)
{
    return "<tt:Parameters>" + items + "</tt:Parameters>";
}

/// A polygon of so many points.
std::string polygonOf(int points)
{
    std::string text;
    for (int i = 0; i < points; ++i) {
        text += "<tt:Point x=\"" + std::to_string(i / 100.0) + "\" y=\"" + std::to_string(i % 2 / 2.0) + "\"/>";
    }
    return text;
}

class DescriptionTest : public testing::TestWithParam<const char*> {
protected:
    DescriptionTest() : bench(GetParam())
    {
        const std::string file = std::string(CAMERA_ENGINES_DESCRIPTIONS) + "/" + GetParam() + ".onvif.xml";
        EXPECT_TRUE(document.load_file(file.c_str())) << file;
        root = document.child("vca:EngineDescription");
        moduleType = bench.engine().getSupportedEngines().at(0);
        ruleType = bench.engine().getSupportedRules().at(0);
    }
    ~DescriptionTest() override { takeLogLines(); }

    Names types() const { return {moduleType, ruleType}; }

    pugi::xml_node descriptionOf(const std::string& type) const
    {
        return root.select_node(("*/*[@Name='" + type + "']").c_str()).node();
    }

    bool accepts(const std::string& type, const std::string& items)
    {
        return bench.engine().createRuleSet()->validateConfig("C", type, parameters(items));
    }

    bool acceptsValue(const std::string& type, const std::string& name, double value)
    {
        std::ostringstream text;
        text << std::fixed << value;
        std::string digits = text.str();
        if (value == static_cast<double>(static_cast<long>(value))) {
            digits = std::to_string(static_cast<long>(value));
        }
        return accepts(type, simpleItem(name, digits));
    }

    /// Rules or modules of a configuration that makes the first motion an event.
    std::string eager() const
    {
        return moduleType == "tt:CellMotionEngine"
                   ? simpleConfig("", simpleItem("MinCount", "1") + simpleItem("AlarmOnDelay", "0"))
                   : motionConfig("", region("Sensitivity=\"1\"", ""));
    }

    /// The metadata while something moves; the events stay with the bench.
    std::string watchMotion()
    {
        Stage stage;
        bench.activate(eager());
        stage.learn(bench);
        std::string last;
        for (int i = 0; i < 5; ++i) {
            last = bench.show(stage.picture(100, 40, 40, 60));
        }
        return last;
    }

    EngineBench bench;
    pugi::xml_document document;
    pugi::xml_node root;
    std::string moduleType;
    std::string ruleType;
};

TEST_P(DescriptionTest, namesTheTypesOfTheEngine)
{
    EXPECT_THAT(attributesOf(root, "tan:SupportedRules/tt:RuleDescription", "Name"),
                ContainerEq(bench.engine().getSupportedRules()));
    EXPECT_THAT(attributesOf(root, "tan:SupportedAnalyticsModules/tt:AnalyticsModuleDescription", "Name"),
                ContainerEq(bench.engine().getSupportedEngines()));
    EXPECT_THAT(attributesOf(root, "tan:AnalyticsModule", "Type"), ContainerEq(bench.engine().getSupportedEngines()));
}

TEST_P(DescriptionTest, namesEveryParameterThatTheEngineFillsIn)
{
    for (const std::string& type : types()) {
        analytics_lib::IRuleSet* const ruleSet = bench.engine().createRuleSet();
        ASSERT_TRUE(ruleSet->setConfig("C", type, parameters(""))) << type;
        pugi::xml_document completed;
        ASSERT_TRUE(completed.load_string(ruleSet->getFullConfig().c_str()));
        for (const std::string kind : {"Simple", "Element"}) {
            const Names filledIn = attributesOf(completed, ("//tt:" + kind + "Item").c_str(), "Name");
            const Names described =
                attributesOf(descriptionOf(type), ("tt:Parameters/tt:" + kind + "ItemDescription").c_str(), "Name");
            EXPECT_THAT(described, IsSupersetOf(filledIn)) << type;
            for (const std::string& name : described) {
                // What is never filled in is a boolean that says whether the component is active.
                EXPECT_TRUE(std::count(filledIn.begin(), filledIn.end(), name) > 0 ||
                            accepts(type, simpleItem(name, "true")))
                    << type << ' ' << name;
            }
        }
        EXPECT_FALSE(accepts(type, simpleItem("Undescribed", "1"))) << type;
    }
}

TEST_P(DescriptionTest, namesTheLimitsThatTheEngineEnforces)
{
    for (const pugi::xpath_node& found : root.select_nodes("tan:RuleOptions | tan:Options")) {
        const pugi::xml_node option = found.node();
        const std::string type =
            std::string(option.attribute("RuleType").value()) + option.attribute("AnalyticsModule").value();
        const std::string name = option.attribute("Name").value();
        const pugi::xml_node limits = option.first_child();
        const std::string kind = limits.name();
        SCOPED_TRACE(testing::Message() << type << ' ' << name);
        EXPECT_THAT(attributesOf(descriptionOf(type), "tt:Parameters/*", "Name"), Contains(name));
        if (kind == "axt:MotionRegionConfigOptions") {
            const int least = limits.child("axt:PolygonLimits").child("tt:Min").text().as_int();
            const int most = limits.child("axt:PolygonLimits").child("tt:Max").text().as_int();
            EXPECT_TRUE(accepts(type, region("Armed=\"false\" Sensitivity=\"0\"", polygonOf(least))));
            EXPECT_TRUE(accepts(type, region("Armed=\"true\" Sensitivity=\"1\"", polygonOf(most))));
            EXPECT_FALSE(accepts(type, region("", polygonOf(least - 1))));
            EXPECT_FALSE(accepts(type, region("", polygonOf(most + 1))));
            continue;
        }
        ASSERT_TRUE(kind == "tt:IntRange" || kind == "tt:FloatRange") << "no test knows " << kind;
        const double step = kind == "tt:IntRange" ? 1 : 0.001;
        const double least = limits.child("tt:Min").text().as_double();
        const double most = limits.child("tt:Max").text().as_double();
        EXPECT_TRUE(acceptsValue(type, name, least));
        EXPECT_TRUE(acceptsValue(type, name, most));
        EXPECT_FALSE(acceptsValue(type, name, least - step));
        EXPECT_FALSE(acceptsValue(type, name, most + step));
    }
}

TEST_P(DescriptionTest, namesTheLimitsOfEveryNumber)
{
    for (const std::string& type : types()) {
        const Names numbers = attributesOf(
            descriptionOf(type), "tt:Parameters/*[@Type='xs:integer' or @Type='xs:int' or @Type='xs:float']", "Name");
        EXPECT_THAT(
            attributesOf(root, ("*[@RuleType='" + type + "' or @AnalyticsModule='" + type + "']").c_str(), "Name"),
            IsSupersetOf(numbers));
    }
}

TEST_P(DescriptionTest, saysThatAConfigurationHoldsOneModule)
{
    EXPECT_EQ(descriptionOf(moduleType).attribute("maxInstances").as_int(), 1);
    analytics_lib::IRuleSet* const ruleSet = bench.engine().createRuleSet();
    EXPECT_TRUE(ruleSet->setConfig("One", moduleType, parameters("")));
    EXPECT_FALSE(ruleSet->validateConfig("Two", moduleType, parameters("")));
}

TEST_P(DescriptionTest, describesTheMessagesThatTheRulesSend)
{
    EXPECT_THAT(attributesOf(root, "//tt:Messages", "IsProperty"), testing::ElementsAre("true"));
    EXPECT_EQ(Names{root.select_node("//tt:ParentTopic").node().text().get()}, bench.engine().getEventTopics());
    watchMotion();
    ASSERT_FALSE(bench.events().empty());
    EXPECT_EQ(Names{bench.events()[0].topic}, bench.engine().getEventTopics());
    pugi::xml_document sent;
    ASSERT_TRUE(sent.load_string(bench.events()[0].message.c_str()));
    const pugi::xml_node message = sent.child("tt:Message");
    EXPECT_TRUE(message.attribute("PropertyOperation")) << "as a property does";
    const pugi::xml_node described = descriptionOf(ruleType).child("tt:Messages");
    const std::map<std::string, std::string> patterns = {
        {"xs:boolean", "true|false"}, {"tt:ReferenceToken", "[A-Za-z0-9_]+"}, {"xs:string", ".+"}};
    for (const char* group : {"tt:Source", "tt:Key", "tt:Data"}) {
        const Names types = attributesOf(described.child(group), "tt:SimpleItemDescription", "Type");
        const Names values = attributesOf(message.child(group), "tt:SimpleItem", "Value");
        EXPECT_THAT(attributesOf(message.child(group), "*", "Name"),
                    ContainerEq(attributesOf(described.child(group), "*", "Name")));
        ASSERT_EQ(types.size(), values.size());
        for (std::size_t i = 0; i < types.size(); ++i) {
            EXPECT_THAT(values[i], testing::MatchesRegex(patterns.at(types[i])));
        }
    }
}

TEST_P(DescriptionTest, showsAFrameAsTheEngineWritesIt)
{
    pugi::xml_document written;
    ASSERT_TRUE(written.load_string(watchMotion().c_str()));
    const pugi::xml_node frame = written.select_node("//tt:Frame").node();
    const pugi::xml_node sample = root.select_node("//tan:SampleFrame").node();
    EXPECT_EQ(formOf(sample), formOf(frame));
    for (const pugi::xpath_node& found : sample.select_nodes("//tan:SampleFrame//tt:BoundingBox")) {
        const pugi::xml_node box = found.node();
        for (const char* side : {"left", "right"}) {
            EXPECT_THAT(box.attribute(side).as_double(), testing::AllOf(testing::Ge(-1), testing::Le(0))) << side;
        }
        for (const char* side : {"bottom", "top"}) {
            EXPECT_THAT(box.attribute(side).as_double(), testing::AllOf(testing::Ge(0), testing::Le(1))) << side;
        }
    }
    if (const pugi::xml_node cells = sample.select_node(".//tt:MotionInCells").node()) {
        const auto bits = camera::engines::decodeCells(cells.attribute("Cells").value(), 50);
        ASSERT_TRUE(bits);
        ASSERT_EQ(bits->size(), 50U) << "22 by 18 cells";
        for (int cell = 0; cell < 22 * 18; ++cell) {
            const bool moves = ((*bits)[static_cast<std::size_t>(cell / 8)] >> (7 - cell % 8) & 1) != 0;
            EXPECT_TRUE(!moves || (cell % 22 < 11 && cell / 22 < 9)) << "in the upper left quarter";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfEngine, DescriptionTest, testing::Values("Simple", "Motion"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
