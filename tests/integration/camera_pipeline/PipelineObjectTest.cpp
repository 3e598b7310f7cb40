// The pipeline process on the bus: its status and the documents of its settings.
#include "integration/camera_pipeline/ServedDevice.h"

#include "camera/pipeline/PipelineStatus.h"
#include "camera/pipeline/RunReport.h"

#include <numeric>
#include <unistd.h>

namespace pipeline_test {
namespace {

using testing::Contains;
using testing::ElementsAre;

using VersionRow = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;

class PipelineObjectTest : public ServedDevice {
protected:
    std::vector<VersionRow> history(const std::string& key)
    {
        return client.one<std::vector<VersionRow>>(service::kPipeline, "history", key);
    }
};

TEST_F(PipelineObjectTest, itsStatusIsProperties)
{
    status.input = "a\xFF";
    status.missingEngines = {"/e.so"};
    status.picture = {640, 360, 12.5};
    status.frames = 1;
    status.framesFailed = 2;
    status.framesPerSecond = 24.5;
    status.longestFrameMs = 9;
    status.events = 3;
    status.eventsDropped = 4;
    status.documents = 5;
    status.documentsTaken = 6;
    status.documentsDropped = 7;
    status.controlFailures = 8;
    status.orientation = 90;
    serve();
    const auto all = client.properties(service::kPipeline);
    EXPECT_EQ(all.at("Pid").get<std::uint32_t>(), static_cast<std::uint32_t>(::getpid()));
    EXPECT_EQ(all.at("Input").get<std::string>(), "a\xEF\xBF\xBD");
    EXPECT_EQ(all.at("MissingEngines").get<Texts>(), Texts{"/e.so"});
    EXPECT_EQ(all.at("Frames").get<std::uint64_t>(), 1u);
    EXPECT_EQ(all.at("FramesFailed").get<std::uint64_t>(), 2u);
    EXPECT_EQ(all.at("FramesPerSecond").get<double>(), 24.5);
    EXPECT_EQ(std::make_tuple(640U, 360U, 12.5),
              (all.at("PictureFormat").get<sdbus::Struct<std::uint32_t, std::uint32_t, double>>()));
    EXPECT_EQ(all.at("LongestFrameMs").get<double>(), 9.0);
    EXPECT_EQ(all.at("Events").get<std::uint64_t>(), 3u);
    EXPECT_EQ(all.at("EventsDropped").get<std::uint64_t>(), 4u);
    EXPECT_EQ(all.at("Documents").get<std::uint64_t>(), 5u);
    EXPECT_EQ(all.at("DocumentsTaken").get<std::uint64_t>(), 6u);
    EXPECT_EQ(all.at("DocumentsDropped").get<std::uint64_t>(), 7u);
    EXPECT_EQ(all.at("ControlFailures").get<std::uint64_t>(), 8u);
    EXPECT_EQ(all.at("Orientation").get<std::uint32_t>(), 90u);
    EXPECT_EQ(client.one<double>(service::kPipeline, "takeLongestFrame"), 2.5);
}

TEST_F(PipelineObjectTest, givesTheDocumentsOfTheSettingsNewestFirst)
{
    serve();
    device->serviceApi().settings.write("k", "one");
    device->serviceApi().settings.write("k", "second");
    device->serviceApi().settings.write("other \xFF", "x");
    const auto keys = client.one<Texts>(service::kPipeline, "storedKeys");
    EXPECT_THAT(keys, Contains("k"));
    EXPECT_THAT(keys, Contains("other \xEF\xBF\xBD"));
    const auto versions = history("k");
    ASSERT_EQ(versions.size(), 2u);
    EXPECT_GT(versions[0].get<0>(), versions[1].get<0>());
    EXPECT_GT(versions[0].get<1>(), 0);
    EXPECT_EQ(versions[0].get<2>(), 6u);
    EXPECT_TRUE(versions[0].get<3>());
    const auto document = [&](std::int64_t sequence) {
        return client.one<std::string>(service::kPipeline, "document", std::string("k"), sequence);
    };
    EXPECT_EQ(document(versions[0].get<0>()), "second");
    EXPECT_EQ(document(versions[1].get<0>()), "one");
}

TEST_F(PipelineObjectTest, makesAnEarlierDocumentTheNewest)
{
    serve();
    device->serviceApi().settings.write("k", "one");
    device->serviceApi().settings.write("k", "second");
    const std::vector<VersionRow> versions = history("k");
    client.ask<>(service::kPipeline, "restore", std::string("k"), versions[1].get<0>());
    EXPECT_EQ(device->serviceApi().settings.read("k"), "one");
    EXPECT_EQ(client.refusal<>(service::kPipeline, "restore", std::string("k"), std::int64_t{99}),
              "ravel.Error.Refused|no good document number 99 of this key is kept");
    EXPECT_EQ(device->serviceApi().settings.read("k"), "one");
}

TEST_F(PipelineObjectTest, documentsLeaveWithReplacementCharacters)
{
    serve();
    device->serviceApi().settings.write("k", std::string("a\xFF\0z", 4));
    EXPECT_EQ(client.one<std::string>(service::kPipeline, "document", std::string("k"), history("k")[0].get<0>()),
              "a\xEF\xBF\xBD\xEF\xBF\xBDz");
}

TEST_F(PipelineObjectTest, unknownKeysAndNumbersAreRefusedWithASentence)
{
    serve();
    device->serviceApi().settings.write("k", "one");
    const std::string none = "ravel.Error.Refused|no good document number ";
    const auto refusal = [&](const std::string& key, std::int64_t sequence) {
        return client.refusal<std::string>(service::kPipeline, "document", key, sequence);
    };
    EXPECT_EQ(refusal("k", 99), none + "99 of this key is kept");
    EXPECT_EQ(refusal("k", -1), none + "-1 of this key is kept");
    EXPECT_EQ(refusal("k", INT64_MIN), none + "-9223372036854775808 of this key is kept");
    EXPECT_EQ(refusal("unknown", 1), none + "1 of this key is kept");
    EXPECT_EQ(client.refusal<std::vector<VersionRow>>(service::kPipeline, "history", std::string("unknown")),
              "ravel.Error.Refused|nothing is stored under this key");
    EXPECT_EQ(client.refusal<std::vector<VersionRow>>(service::kPipeline, "history", std::string()),
              "ravel.Error.Refused|nothing is stored under this key");
}

class PipelineStatusTest : public ServedDevice {
protected:
    camera::pipeline::PipelineStatus now() { return camera::pipeline::pipelineStatus(*device, report); }

    camera::pipeline::RunReport report;
};

TEST_F(PipelineStatusTest, tellsHowTheDeviceDoes)
{
    options.ptz->arriveAt = "Gate";
    start();
    auto subscription = device->onEvent([](const camera::base::Event&) {});
    hosted.onFrame = [](const std::string&, const Hosted::Frame& frame, MetadataBuffers& outputs) {
        outputs.metadataXml = "<frame/>";
        return frame.timestamp[0] != 3 ? true : throw std::runtime_error("engine broke");
    };
    for (std::uint32_t second = 1; second <= 3; ++second) {
        report.frame(device->deliver(anyFrame(second)).analysed, 4ms);
    }
    report.frame(true, 9ms);
    hosted.events.load()->OnEvent("t", "s", "d");
    device->control().post([] { throw std::runtime_error("a callback that fails"); });
    device->drain();
    const auto status = now();
    EXPECT_EQ(status.frames, 3u);
    EXPECT_EQ(status.framesFailed, 1u);
    EXPECT_GT(status.framesPerSecond, 0.0);
    EXPECT_EQ(status.longestFrameMs, 9.0);
    EXPECT_EQ(status.events, 1u);
    EXPECT_EQ(status.eventsDropped, 0u);
    EXPECT_EQ(status.documents, device->statistics().documents);
    EXPECT_GT(status.documents, 0u);
    EXPECT_EQ(status.controlFailures, 1u);
}

class EnginesTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        options.ptz->arriveAt = "Gate";
    }

    // What is active in each engine: its name, the preset, rules and modules.
    std::vector<std::string> active()
    {
        std::vector<std::string> lines;
        for (const EngineRow& row : rows()) {
            std::string line = row.get<0>() + "@" + row.get<1>();
            for (const std::string& rule : row.get<2>()) {
                line += " rule " + rule;
            }
            for (const std::string& module : row.get<3>()) {
                line += " module " + module;
            }
            lines.push_back(line);
        }
        return lines;
    }

    std::vector<EngineRow> rows() { return client.one<std::vector<EngineRow>>(service::kPipeline, "engines"); }
};

TEST_F(EnginesTest, tellWhatTheyEvaluateNow)
{
    serve();
    EXPECT_THAT(active(), ElementsAre("Motion@", "Simple@")) << "nothing is stored";
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    EXPECT_THAT(active(), ElementsAre("Motion@Gate rule MotionGate", "Simple@"));
    ASSERT_TRUE(unit().createTour({"round", {{"Yard"}}}));
    ASSERT_TRUE(unit().startTour("round", {"anna", 100}));
    device->drain();
    EXPECT_THAT(active(), ElementsAre("Motion@", "Simple@")) << "the camera moves";
    untilItStands();
    ASSERT_TRUE(device->positioning().goToPreset("Gate", {"anna", 100}));
    untilItStands();
    EXPECT_THAT(active(), ElementsAre("Motion@Gate rule MotionGate", "Simple@"));
    client.ask<std::int32_t>(service::kOnvifAnalyticService, "restoreDefaultSettings");
    EXPECT_THAT(active(), ElementsAre("Motion@", "Simple@")) << "after a reset";
}

TEST_F(EnginesTest, noLongerNameARuleThatWasDeletedAlsoWhenNoOtherRuleSetBecomesActive)
{
    serve();
    ASSERT_EQ(configure(documentFor("Motion", "Gate")), Acceptance(0, 0));
    hosted.onControl = [](const std::string& operation) {
        if (operation.find(" activates ") != std::string::npos) {
            throw std::runtime_error("no rule set is taken");
        }
    };
    EXPECT_EQ((client.refusal<std::int32_t, std::uint32_t>(service::kOnvifAnalyticService, "deleteRules",
                                                           Texts{"MotionGate"})),
              "ravel.Error.Failed|no rule set is taken");
    EXPECT_THAT(active(), ElementsAre("Motion@", "Simple@"));
}

TEST_F(EnginesTest, tellHowTheyDo)
{
    serve();
    hosted.onFrame = [](const std::string& engine, const Hosted::Frame&, MetadataBuffers&) {
        return engine == "Motion" ? true : throw std::runtime_error("engine broke");
    };
    EXPECT_FALSE(device->deliver(anyFrame()));
    EXPECT_FALSE(device->deliver(anyFrame()));
    const auto engines = rows();
    ASSERT_EQ(engines.size(), 2u);
    EXPECT_GT(engines[0].get<4>(), engines[0].get<6>()) << "calls";
    EXPECT_EQ(engines[0].get<5>(), 0u) << "exceptions";
    EXPECT_EQ(engines[0].get<6>(), 2u) << "frames";
    EXPECT_GT(engines[0].get<7>(), 0) << "on average";
    EXPECT_LE(engines[0].get<7>(), engines[0].get<8>()) << "at most";
    EXPECT_EQ(engines[0].get<9>().size(), camera::framework::FrameTimes::kBuckets);
    EXPECT_EQ(std::accumulate(engines[0].get<9>().begin(), engines[0].get<9>().end(), std::uint64_t{0}), 2u);
    EXPECT_EQ(engines[1].get<5>(), 2u);
    EXPECT_EQ(engines[1].get<6>(), 2u);
}

} // namespace
} // namespace pipeline_test
