// The engines on the bus: their types, and the files that describe them.
#include "camera/pipeline/EngineDescriptions.h"
#include "integration/camera_pipeline/ServedDevice.h"

#include <filesystem>

namespace pipeline_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EngineDescriptionsTest : public ServedDevice {
protected:
    using OfferedEngine = sdbus::Struct<std::string, Texts, Texts, std::string>;

    static std::string description(const std::string& inside = "")
    {
        return "<v:EngineDescription xmlns:v=\"urn:x-virtual-camera:analytics\">" + inside + "</v:EngineDescription>";
    }

    void describe(const std::string& engine, const std::string& text)
    {
        std::filesystem::create_directories(folder / "engines");
        folder.write("engines/" + engine + ".onvif.xml", text);
    }

    std::vector<OfferedEngine> engines()
    {
        return client.one<std::vector<OfferedEngine>>(service::kAnalytics, "engines");
    }

    // What is taken for "Motion".
    std::string taken(const std::string& text)
    {
        describe("Motion", text);
        return camera::pipeline::engineDescriptions(device->engines(), folder.path()).at(0);
    }
};

TEST_F(EngineDescriptionsTest, eachEngineHasItsNameItsTypesAndItsDescription)
{
    describe("Simple", description("<a/>"));
    serve();
    EXPECT_THAT(engines(),
                ElementsAre(OfferedEngine("Motion", Texts{"tt:MotionEngine"}, Texts{"tt:MotionRule", "tt:Other"}, ""),
                            OfferedEngine("Simple", Texts{"tt:SimpleEngine"}, Texts{"tt:SimpleRule", "tt:Other"},
                                          description("<a/>"))));
    EXPECT_THAT(lines(), IsEmpty()) << "an engine needs no description";
}

TEST_F(EngineDescriptionsTest, thoseOfTheProgramsEnginesLieBesideIt)
{
    start();
    const Texts found = camera::pipeline::engineDescriptions(device->engines(), PROGRAM_FOLDER);
    EXPECT_THAT(found, ElementsAre(kit::contentOf(SOURCE_TREE "/camera/descriptions/Motion.onvif.xml"),
                                   kit::contentOf(SOURCE_TREE "/camera/descriptions/Simple.onvif.xml")));
    EXPECT_THAT(found, testing::Each(HasSubstr("EngineDescription")));
}

TEST_F(EngineDescriptionsTest, anEngineWithoutOneIsNamedOnce)
{
    camera::base::Log::instance().setLevel(camera::base::LogLevel::info);
    describe("Simple", description());
    serve();
    restartBus();
    ASSERT_TRUE(waitUntilServed());
    engines();
    EXPECT_THAT(lines(), testing::Contains(HasSubstr("'Motion' has no description")).Times(1));
    EXPECT_THAT(lines(), testing::Not(testing::Contains(HasSubstr("'Simple' has no description"))));
}

TEST_F(EngineDescriptionsTest, whatIsNoDescriptionIsReportedAndLeftOut)
{
    start();
    for (const std::string& text :
         {std::string(), std::string("<v:EngineDescription"), std::string("<html/>"),
          std::string("<v:EngineDescription xmlns:v=\"urn:other\"/>"), std::string("<EngineDescription/>"),
          description("\xFF"), description(std::string(1, '\0')),
          description(std::string(camera::pipeline::kLargestDescription, ' '))}) {
        const std::size_t before = lines().size();
        EXPECT_EQ(taken(text), "");
        ASSERT_EQ(lines().size(), before + 1) << text.substr(0, 80);
        EXPECT_THAT(lines().back(), AllOf(HasSubstr("Motion.onvif.xml' is left out"), HasSubstr(" error engines: ")));
    }
    EXPECT_THAT(lines().back(), HasSubstr("it has more than 1048576 bytes")) << "the last of them";
}

TEST_F(EngineDescriptionsTest, theLargestIsTaken)
{
    start();
    std::string text = description();
    text.insert(text.rfind('<'), camera::pipeline::kLargestDescription - text.size(), ' ');
    EXPECT_EQ(taken(text), text);
}

TEST_F(EngineDescriptionsTest, anEngineThatFailsHidesNoOther)
{
    serve();
    hosted.onControl = [](const std::string& operation) {
        if (operation == "Motion getSupportedEngines") {
            throw std::runtime_error("the engine broke");
        }
    };
    EXPECT_THAT(engines(),
                ElementsAre(OfferedEngine("Motion", Texts{}, Texts{}, ""),
                            OfferedEngine("Simple", Texts{"tt:SimpleEngine"}, Texts{"tt:SimpleRule", "tt:Other"}, "")));
    EXPECT_THAT(lines(), testing::Contains(AllOf(HasSubstr("'Motion'"), HasSubstr("the engine broke"))));
    hosted.onControl = nullptr;
    EXPECT_EQ(engines().at(0).get<1>(), Texts{"tt:MotionEngine"});
}

} // namespace
} // namespace pipeline_test
