// The pipeline process on the bus: its status and the documents of its settings.
#include "unit/camera_pipeline/ServedDevice.h"

#include "camera/pipeline/ActiveKeys.h"
#include "camera/pipeline/PipelineStatus.h"
#include "camera/pipeline/RunReport.h"

#include <json/json.h>

#include <sstream>
#include <unistd.h>

namespace pipeline_test {
namespace {

using camera::pipeline::ActiveKeys;
using camera::pipeline::PipelineStatus;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

using VersionRow = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;

Json::Value parsed(const std::string& text)
{
    Json::CharReaderBuilder builder;
    builder["strictRoot"] = true;
    Json::Value value;
    std::string problem;
    std::istringstream stream(text);
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &problem)) << problem;
    return value;
}

class PipelineObjectTest : public ServedDevice {
protected:
    std::vector<VersionRow> history(const std::string& key)
    {
        return client.one<std::vector<VersionRow>>(service::kPipeline, "history", key);
    }
};

TEST_F(PipelineObjectTest, itsStatusIsAJsonObject)
{
    status = "{\"input\":\"a\xFF\"}";
    serve();
    EXPECT_EQ(parsed(client.one<std::string>(service::kPipeline, "status"))["input"].asString(), "a\xEF\xBF\xBD");
}

TEST_F(PipelineObjectTest, givesTheDocumentsOfTheSettingsNewestFirst)
{
    serve();
    device->environment().settings.write("k", "one");
    device->environment().settings.write("k", "second");
    device->environment().settings.write("other \xFF", "x");
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
    device->environment().settings.write("k", "one");
    device->environment().settings.write("k", "second");
    const std::vector<VersionRow> versions = history("k");
    client.ask<>(service::kPipeline, "restore", std::string("k"), versions[1].get<0>());
    EXPECT_EQ(device->environment().settings.read("k"), "one");
    EXPECT_EQ(client.refusal<>(service::kPipeline, "restore", std::string("k"), std::int64_t{99}),
              "ravel.Error.Refused|no good document number 99 of this key is kept");
    EXPECT_EQ(device->environment().settings.read("k"), "one");
}

TEST_F(PipelineObjectTest, documentsLeaveWithReplacementCharacters)
{
    serve();
    device->environment().settings.write("k", std::string("a\xFF\0z", 4));
    EXPECT_EQ(client.one<std::string>(service::kPipeline, "document", std::string("k"), history("k")[0].get<0>()),
              "a\xEF\xBF\xBD\xEF\xBF\xBDz");
}

TEST_F(PipelineObjectTest, unknownKeysAndNumbersAreRefusedWithASentence)
{
    serve();
    device->environment().settings.write("k", "one");
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

TEST_F(PipelineObjectTest, aStatusThatCannotBeTakenIsAnError)
{
    start();
    presence = std::make_unique<camera::pipeline::BusPresence>(
        bus.address(), *device, []() -> std::string { throw std::runtime_error("no status today"); });
    ASSERT_TRUE(client.waitForSession(1));
    ASSERT_TRUE(waitUntilServed());
    EXPECT_EQ(client.refusal<std::string>(service::kPipeline, "status"), "ravel.Error.Failed|no status today");
}

class PipelineStatusTest : public PipelineObjectTest {
protected:
    Json::Value status()
    {
        return parsed(PipelineStatus{*device, report, keys, "clip \"\xFF\".mp4", missing, 90, 7, 3}.json());
    }

    camera::pipeline::RunReport report;
    ActiveKeys keys{{}};
    const std::vector<std::string> missing{"/e.so"};
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
        report.frame(device->deliver(anyFrame(second)), 4ms);
    }
    report.frame(true, 9ms);
    hosted.events.load()->OnEvent("t", "s", "d");
    device->control().post([] { throw std::runtime_error("a callback that fails"); });
    device->drain();
    const Json::Value value = status();
    EXPECT_EQ(value["pid"].asInt64(), ::getpid());
    EXPECT_EQ(value["frames"].asUInt64(), 3u);
    EXPECT_EQ(value["framesFailed"].asUInt64(), 1u);
    EXPECT_GT(value["framesPerSecond"].asDouble(), 0.0);
    EXPECT_EQ(value["longestFrameMs"].asDouble(), 9.0);
    EXPECT_EQ(value["longestFrameMsLately"].asDouble(), 9.0);
    EXPECT_EQ(status()["longestFrameMsLately"].asDouble(), 0.0) << "no frame since";
    EXPECT_EQ(value["events"].asUInt64(), 1u);
    EXPECT_EQ(value["eventsDropped"].asUInt64(), 0u);
    EXPECT_EQ(value["documents"].asUInt64(), device->statistics().documents);
    EXPECT_GT(value["documents"].asUInt64(), 0u);
    EXPECT_EQ(value["documentsTaken"].asUInt64(), 7u);
    EXPECT_EQ(value["documentsDropped"].asUInt64(), 3u);
    EXPECT_EQ(value["controlFailures"].asUInt64(), 1u);
    EXPECT_EQ(value["orientation"].asInt(), 90);
    EXPECT_THAT(value["input"].asString(), HasSubstr("clip \""));
    EXPECT_EQ(value["missingEngines"][0].asString(), "/e.so");
}

TEST_F(PipelineStatusTest, tellsWhereItIsAndWhichRulesAreActive)
{
    options.ptz->arriveAt = "Gate";
    start();
    Json::Value value = status();
    EXPECT_TRUE(value["position"]["available"].asBool());
    EXPECT_EQ(value["position"]["pan"].asUInt(), 10000u);
    EXPECT_EQ(value["position"]["tilt"].asInt(), 0);
    EXPECT_EQ(value["position"]["zoom"].asUInt(), 100u);
    EXPECT_FALSE(value["position"]["moving"].asBool());
    EXPECT_EQ(value["position"]["preset"].asString(), "Gate");
    EXPECT_FALSE(value["position"].isMember("tour"));
    ASSERT_EQ(value["engines"].size(), 2u);
    EXPECT_EQ(value["engines"][0]["name"].asString(), "Motion");
    EXPECT_EQ(value["engines"][0]["key"].asString(), "MotionGate");
    EXPECT_EQ(value["engines"][1]["name"].asString(), "Simple");
    EXPECT_EQ(value["engines"][1]["key"].asString(), "Simple");
    ASSERT_TRUE(unit().createTour({"round", {{"Yard"}}}));
    ASSERT_TRUE(unit().startTour("round", {"anna", 100}));
    device->drain();
    value = status();
    EXPECT_TRUE(value["position"]["moving"].asBool());
    EXPECT_EQ(value["position"]["preset"].asString(), "");
    EXPECT_EQ(value["position"]["tour"].asString(), "round");
    EXPECT_EQ(value["position"]["tourStop"].asUInt(), 0u);
    EXPECT_EQ(value["engines"][0]["key"].asString(), "");
    EXPECT_EQ(value["engines"][1]["key"].asString(), "");
}

TEST_F(PipelineStatusTest, aFixedCameraHasNoPosition)
{
    options.ptz.reset();
    start();
    const Json::Value value = status();
    EXPECT_FALSE(value["position"]["available"].asBool());
    EXPECT_EQ(value["position"].size(), 1u);
}

} // namespace
} // namespace pipeline_test
