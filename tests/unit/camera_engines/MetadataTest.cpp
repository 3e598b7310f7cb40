#include "Stage.h"

#include "camera/engines/MetadataWriter.h"
#include "kit/OnvifSchemas.h"
#include "plugin/analytics/factory.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

namespace {

using namespace engine_test;
using camera::engines::MetadataWriter;
using testing::HasSubstr;

constexpr char kStart[] = "<tt:MetadataStream xmlns:tt=\"http://www.onvif.org/ver10/schema\"><tt:VideoAnalytics>";
constexpr char kEnd[] = "</tt:VideoAnalytics></tt:MetadataStream>";
constexpr char kFrame[] = "<tt:Frame UtcTime=\"1970-01-01T00:00:01.002Z\" Source=\"A &quot;B&quot;\"></tt:Frame>";

MetadataWriter writer()
{
    return MetadataWriter({1, 2'999'999}, "A \"B\"");
}

TEST(MetadataTest, beginsADocumentWhenThereIsNone)
{
    std::string document;
    writer().insertInto(document);
    EXPECT_EQ(document, std::string(kStart) + kFrame + kEnd);
}

TEST(MetadataTest, addsItsFrameInsideTheDocumentThatIsThere)
{
    std::string document = std::string(kStart) + "<tt:Frame UtcTime=\"x\"/>" + kEnd;
    writer().insertInto(document);
    EXPECT_EQ(document, std::string(kStart) + "<tt:Frame UtcTime=\"x\"/>" + kFrame + kEnd);

    document = "<tt:MetadataStream><tt:Event/></tt:MetadataStream>";
    writer().insertInto(document);
    EXPECT_EQ(document, std::string("<tt:MetadataStream><tt:Event/><tt:VideoAnalytics>") + kFrame + kEnd);

    document = "</tt:MetadataStream>";
    writer().insertInto(document);
    EXPECT_EQ(document, std::string("<tt:VideoAnalytics>") + kFrame + kEnd);
}

TEST(MetadataTest, leavesATextThatIsNoMetadataDocument)
{
    std::string document = "something else";
    writer().insertInto(document);
    EXPECT_EQ(document, "something else");
}

TEST(MetadataTest, boxesAreNormalisedWithYUpwards)
{
    MetadataWriter metadata({1, 0}, "M");
    metadata.addObject({12, cv::Rect(320, 0, 160, 90), {400, 45}}, {640, 360});
    std::string document;
    metadata.insertInto(document);
    EXPECT_THAT(document,
                HasSubstr("<tt:Object ObjectId=\"12\"><tt:Appearance><tt:Shape><tt:BoundingBox left=\"0.0000\" "
                          "top=\"1.0000\" right=\"0.5000\" bottom=\"0.5000\"/><tt:CenterOfGravity x=\"0.2516\" "
                          "y=\"0.7472\"/></tt:Shape></tt:Appearance></tt:Object>"));
}

TEST(MetadataTest, anObjectKeepsItsNumberWhileItMoves)
{
    EngineBench bench("Motion");
    Stage stage;
    bench.activate(motionConfig());
    stage.learn(bench);
    long id = 0;
    for (int i = 0; i < 60; ++i) {
        const auto boxes = boxesOf(bench.show(stage.picture(20 + 4 * i, 40 + i / 2, 30, 60)), 320, 180);
        if (i >= 5) {
            ASSERT_EQ(boxes.size(), 1U) << i;
            id = id == 0 ? boxes[0].id : id;
            EXPECT_EQ(boxes[0].id, id);
        }
    }
}

/// Both engines' documents of one frame with motion, and the merged configuration of both.
struct Documents {
    std::string metadata;
    std::string configuration;
    std::vector<std::string> events;
};

/// The elements of one list of a configuration, as text.
std::string elements(const std::string& config, const std::string& header, const std::string& footer)
{
    const std::size_t from = config.find(header) + header.size();
    return config.substr(from, config.find(footer) - from);
}

Documents documentsOfBothEngines()
{
    using analytics_lib::IOnvifAnalytics;
    EngineBench simple("Simple");
    EngineBench motion("Motion");
    Stage stage;
    Documents all;
    std::string modules;
    std::string rules;
    for (auto [bench, config] : {std::pair{&simple, simpleConfig()}, std::pair{&motion, motionConfig()}}) {
        const std::string full = bench->activate(config)->getFullConfig();
        modules += elements(full, IOnvifAnalytics::kEngineConfigHeader, IOnvifAnalytics::kEngineConfigFooter);
        rules += elements(full, IOnvifAnalytics::kRuleConfigHeader, IOnvifAnalytics::kRuleConfigFooter);
    }
    all.configuration = document(modules, rules);
    for (int i = 0; i < 40; ++i) {
        const analytics_lib::YuvFrame frame = i < 30 ? stage.picture() : stage.picture(60 + i, 40, 40, 60);
        MetadataBuffers outputs;
        simple.engine().onFrame(frame, outputs);
        motion.engine().onFrame(frame, outputs);
        all.metadata = outputs.metadataXml;
    }
    simple.engine().clearAllRules();
    motion.engine().clearAllRules();
    for (const EngineBench* bench : {&simple, &motion}) {
        for (const Event& event : bench->events()) {
            all.events.push_back(event.message);
        }
    }
    return all;
}

TEST(MetadataTest, bothEnginesWriteOneDocumentPerFrame)
{
    const std::string metadata = documentsOfBothEngines().metadata;
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(metadata.c_str()));
    EXPECT_EQ(document.select_nodes("/tt:MetadataStream/tt:VideoAnalytics").size(), 1U);
    const auto frames = document.select_nodes("/tt:MetadataStream/tt:VideoAnalytics/tt:Frame");
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_STREQ(frames[0].node().attribute("Source").value(), "Cells");
    EXPECT_STREQ(frames[1].node().attribute("Source").value(), "Objects");
    EXPECT_TRUE(frames[0].node().select_node("tt:Extension/tt:MotionInCells[@Columns='22'][@Rows='18']"));
    EXPECT_EQ(frames[1].node().select_nodes("tt:Object").size(), 1U);
}

TEST(OnvifSchemaTest, metadataEventsAndMergedConfigurationAreValid)
{
    const kit::OnvifSchemas schemas(CAMERA_ENGINES_ONVIF_DIR);
    if (schemas.missing()) {
        GTEST_SKIP() << *schemas.missing();
    }
    const Documents documents = documentsOfBothEngines();
    std::vector<std::string> all{documents.metadata, documents.configuration};
    all.insert(all.end(), documents.events.begin(), documents.events.end());
    ASSERT_GE(all.size(), 6U); // each engine raised and closed an event
    EXPECT_EQ("", schemas.faultsOf("tt-all.xsd", all));
    EXPECT_NE("", schemas.faultsOf("tt-all.xsd", {"<tt:MetadataStream xmlns:tt=\"http://www.onvif.org/ver10/schema\">"
                                                  "<tt:VideoAnalytics><tt:Frame/></tt:VideoAnalytics>"
                                                  "</tt:MetadataStream>"}));
}

} // namespace
