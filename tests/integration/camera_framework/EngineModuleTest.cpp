// The example engine, loaded as a host loads a module.
#include "camera/engines/ReferenceEngines.h"
#include "camera/framework/EngineFactory.h"
#include "kit/TemporaryFolder.h"
#include "unit/camera_engines/Stage.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

namespace {

using namespace engine_test;
using camera::framework::EngineModule;
using camera::framework::loadEngineModule;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string refusalOf(const std::string& path)
{
    try {
        loadEngineModule(path);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

camera::framework::Engines enginesWith(const std::vector<EngineModule>& modules)
{
    camera::framework::EngineFactory factory(
        [](void* log, const auto& /*ptz*/) { return camera::engines::referenceEngines(log); }, modules, {});
    return factory.make(openLog(), nullptr);
}

class EngineModuleTest : public testing::Test {
protected:
    EngineModuleTest() { takeLogLines(); }

    const EngineModule example = loadEngineModule(EXAMPLE_MODULE);
};

TEST_F(EngineModuleTest, itsEngineStandsBeforeTheReferenceEngines)
{
    std::vector<std::string> names;
    for (const auto& engine : enginesWith({example})) {
        names.push_back(engine->getName());
    }
    EXPECT_THAT(names, ElementsAre("Brightness", "Simple", "Motion"));
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

TEST_F(EngineModuleTest, filesThatAreNoModuleAreRefusedWithTheirNameAndTheReason)
{
    const std::string text = testing::TempDir() + "/no-library.so";
    std::ofstream(text) << "text";
    EXPECT_THAT(refusalOf("/nonexistent/engine.so"), HasSubstr("/nonexistent/engine.so"));
    EXPECT_THAT(refusalOf(text), HasSubstr(text));
    EXPECT_THAT(refusalOf(EMPTY_MODULE), HasSubstr("exports no detectionEngineModule"));
    EXPECT_THAT(refusalOf(OLD_MODULE), HasSubstr("built for another version"));
}

TEST_F(EngineModuleTest, theExampleRaisesItsEventWhenThePictureTurnsDarkAndBright)
{
    EngineBench bench(enginesWith({example}).front());
    Stage stage;
    const std::string config = document("", rule("Night", "ex:TooDark", simpleItem("Threshold", "100")));
    ASSERT_TRUE(bench.engine().isEngineConfiguration(config));
    EXPECT_FALSE(bench.engine().isEngineConfiguration(simpleConfig()));
    analytics_lib::IRuleSet* ruleSet = bench.activate(config);
    stage.show(bench, 3, 0, 0, 320, 180, 120);
    EXPECT_THAT(bench.states(), IsEmpty());
    stage.show(bench, 3, 0, 0, 320, 180, 99);
    EXPECT_THAT(bench.states(), ElementsAre(true));
    stage.show(bench, 3, 0, 0, 320, 180, 101);
    EXPECT_THAT(bench.states(), ElementsAre(true, false));
    stage.show(bench, 1, 0, 0, 320, 180, 20);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true));
    bench.engine().releaseRuleSet(ruleSet);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true, false));
    const Event first = bench.events().at(0);
    EXPECT_EQ(first.rule, "Night");
    EXPECT_EQ(withoutTimes(first.message),
              "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"\" PropertyOperation=\"Changed\">"
              "<tt:Source><tt:SimpleItem Name=\"VideoSourceConfigurationToken\" Value=\"VideoSource_1\"/>"
              "<tt:SimpleItem Name=\"Rule\" Value=\"Night\"/></tt:Source>"
              "<tt:Data><tt:SimpleItem Name=\"State\" Value=\"true\"/></tt:Data></tt:Message>");
    EXPECT_NE(first.message, withoutTimes(first.message));
}

TEST_F(EngineModuleTest, theExampleStoresAndRefusesConfigurations)
{
    EngineBench bench(enginesWith({example}).front());
    analytics_lib::IRuleSet* ruleSet = bench.engine().createRuleSet();
    const std::string list = "<tt:Parameters>" + simpleItem("Threshold", "70") + "</tt:Parameters>";
    EXPECT_TRUE(ruleSet->setConfig("Night", "ex:TooDark", list));
    EXPECT_FALSE(ruleSet->validateConfig("Night", "ex:TooDark", ""));
    EXPECT_FALSE(ruleSet->validateConfig("Night", "ex:TooDark",
                                         "<tt:Parameters>" + simpleItem("Threshold", "256") + "</tt:Parameters>"));
    EXPECT_FALSE(ruleSet->validateConfig("Night", "ex:TooDark",
                                         "<tt:Parameters>" + simpleItem("Level", "2") + "</tt:Parameters>"));
    EXPECT_FALSE(ruleSet->validateConfig("Night", "tt:CellMotionDetector", list));
    EXPECT_EQ(takeLogLines().size(), 3U);
    const std::string full = ruleSet->getFullConfig();
    EXPECT_TRUE(bench.engine().isEngineConfiguration(full));
    EXPECT_TRUE(ruleSet->setFullConfig(full));
    EXPECT_EQ(ruleSet->getFullConfig(), full);
    EXPECT_TRUE(ruleSet->deleteBehavior("Night"));
    EXPECT_FALSE(ruleSet->deleteBehavior("Night"));
    bench.engine().releaseRuleSet(ruleSet);
}

TEST_F(EngineModuleTest, eachExampleConfigurationIsOneEnginesAndNoTwoComponentsShareAName)
{
    const auto engines = enginesWith({example});
    std::set<std::string> names;
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(EXAMPLES)) {
        if (entry.path().extension() != ".xml") {
            continue;
        }
        ++files;
        const std::string text = kit::contentOf(entry.path());
        std::size_t taken = 0;
        for (const auto& engine : engines) {
            analytics_lib::IRuleSet* ruleSet = engine->createRuleSet();
            taken += engine->isEngineConfiguration(text) && ruleSet->setFullConfig(text) ? 1U : 0U;
            engine->releaseRuleSet(ruleSet);
        }
        EXPECT_EQ(taken, 1U) << entry.path();
        pugi::xml_document document;
        ASSERT_TRUE(document.load_string(text.c_str())) << entry.path();
        for (const auto& component : document.select_nodes("//tt:AnalyticsModule|//tt:Rule")) {
            const std::string name = component.node().attribute("Name").value();
            EXPECT_TRUE(names.insert(name).second) << entry.path() << " has the name " << name << " once more";
        }
    }
    EXPECT_GE(files, 5U);
    EXPECT_THAT(takeLogLines(), IsEmpty());
}

} // namespace
