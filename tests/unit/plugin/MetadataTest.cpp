#include "PluginTest.h"

#include <stdexcept>

namespace {

using kit::FakeEngine;
using kit::journal;
using kit::platform;
using namespace testing;

constexpr char kInitFailed[] =
    "log 3 \"failed to open metadata stream: Failed ravel api call: "
    "ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &_metadataTargetIpcCookie, 1, nullptr) "
    "(status text 9)\"";

/// Frames with one engine that writes a metadata document, and a streamer that exists.
class MetadataTest : public PluginTest {
protected:
    MetadataTest()
    {
        platform().targetIds["onvif_metadata_streamer"] = {"streamer0", "streamer1"};
        engine->frameScript = FakeEngine::writes(0, 0, "<m/>");
    }

    static Lines serviceCalls() { return journal().of({kit::Part::Service}); }

    std::shared_ptr<FakeEngine> engine = addEngine("Motion");
};

TEST_F(MetadataTest, startsEveryFrameWithEmptyOutputs)
{
    engine->frameScript = FakeEngine::writes(5, 6, "<m/>");
    platform().transmitter.maxBufferSize = 1234;
    build();
    deliverFrame();
    deliverFrame();
    ASSERT_THAT(engine->outputsSeen, SizeIs(2));
    for (const MetadataBuffers& outputs : engine->outputsSeen) {
        EXPECT_EQ(outputs.drawingBuffer, platform().transmitter.drawing.data());
        EXPECT_EQ(outputs.drawingBufferSize, 1234U);
        EXPECT_EQ(outputs.drawingBufferUsed, 0U);
        EXPECT_EQ(outputs.motionBuffer, platform().transmitter.motion.data());
        EXPECT_EQ(outputs.motionBufferSize, 1234U);
        EXPECT_EQ(outputs.motionBufferUsed, 0U);
        EXPECT_EQ(outputs.metadataXml, "");
    }
}

TEST_F(MetadataTest, asksForTheSizeOfEachBufferTheDrawingBufferFirst)
{
    platform().transmitter.sizeStep = 100;
    build();
    deliverFrame();
    EXPECT_EQ(engine->outputsSeen.at(0).drawingBufferSize, 1000U);
    EXPECT_EQ(engine->outputsSeen.at(0).motionBufferSize, 1100U);
}

TEST_F(MetadataTest, laysTheDrawingDataOneAfterAnother)
{
    engine->frameScript = FakeEngine::writes(10);
    const auto second = addEngine("Second");
    second->frameScript = FakeEngine::writes(0);
    const auto third = addEngine("Third");
    third->frameScript = FakeEngine::writes(5);
    build();
    deliverFrame();
    const std::uint8_t* const start = platform().transmitter.drawing.data();
    EXPECT_EQ(second->outputsSeen.at(0).drawingBuffer, start + 10);
    EXPECT_EQ(third->outputsSeen.at(0).drawingBuffer, start + 10);
    EXPECT_EQ(third->outputsSeen.at(0).drawingBufferUsed, 0U);
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(15U));
}

TEST_F(MetadataTest, tellsEveryEngineTheFullDrawingSize)
{
    engine->frameScript = FakeEngine::writes(900);
    const auto second = addEngine("Second");
    second->frameScript = FakeEngine::writes(900);
    build();
    deliverFrame();
    EXPECT_EQ(second->outputsSeen.at(0).drawingBufferSize, 1000U);
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(1800U));
}

TEST_F(MetadataTest, countsTheDrawingDataOfAFailingEngine)
{
    engine->frameScript = FakeEngine::writes(10, 0, "", false);
    const auto second = addEngine("Second");
    build();
    deliverFrame();
    EXPECT_EQ(second->outputsSeen.at(0).drawingBuffer, platform().transmitter.drawing.data() + 10);
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(10U));
}

TEST_F(MetadataTest, leavesMotionDataAndDocumentToTheNextEngine)
{
    engine->frameScript = FakeEngine::writes(0, 7, "<one/>");
    const auto second = addEngine("Second");
    second->frameScript = FakeEngine::writes(0, 4, "<two/>");
    build();
    deliverFrame();
    const MetadataBuffers& seen = second->outputsSeen.at(0);
    EXPECT_EQ(seen.motionBuffer, platform().transmitter.motion.data());
    EXPECT_EQ(seen.motionBufferUsed, 7U);
    EXPECT_EQ(seen.motionBufferSize, 1000U);
    EXPECT_EQ(seen.metadataXml, "<one/>");
    EXPECT_THAT(platform().transmitter.motionReturned, ElementsAre(11U));
    ASSERT_THAT(platform().streamer.sent, SizeIs(1));
    EXPECT_EQ(platform().streamer.sent[0].xml, "<one/><two/>");
}

TEST_F(MetadataTest, returnsBothBuffersOfEveryFrameAlsoWhenNothingWasWritten)
{
    engine->frameScript = FakeEngine::writes(0);
    platform().targetIds.clear();
    build();
    deliverFrame();
    deliverFrame();
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(0U, 0U));
    EXPECT_THAT(platform().transmitter.motionReturned, ElementsAre(0U, 0U));
    EXPECT_EQ(platform().transmitter.notReturned(), 0);
}

TEST_F(MetadataTest, passesNullBuffersOn)
{
    platform().transmitter.givesDrawing = false;
    platform().transmitter.givesMotion = false;
    engine->frameScript = FakeEngine::writes(0, 3);
    const auto second = addEngine("Second");
    build();
    deliverFrame();
    EXPECT_EQ(engine->outputsSeen.at(0).drawingBuffer, nullptr);
    EXPECT_EQ(second->outputsSeen.at(0).drawingBuffer, nullptr);
    EXPECT_EQ(second->outputsSeen.at(0).motionBuffer, nullptr);
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(0U));
    EXPECT_THAT(platform().transmitter.motionReturned, ElementsAre(3U));
}

TEST_F(MetadataTest, opensTheStreamOnceAndSendsWithItsCookie)
{
    build();
    deliverFrame();
    EXPECT_THAT(serviceCalls(),
                ElementsAre("getTargetIds onvif_metadata_streamer -> true", "streamerInit(null, null, 1, null) -> 0",
                            "streamerSend(77, streamer0, <m/>, 1)"));
    deliverFrame();
    EXPECT_THAT(serviceCalls(), ElementsAre("streamerSend(77, streamer0, <m/>, 1)"));
}

TEST_F(MetadataTest, opensTheStreamAfterTheBuffersWentBack)
{
    build();
    deliverFrame();
    EXPECT_THAT(journal().of({kit::Part::Transmitter, kit::Part::Service, kit::Part::Engine}),
                ElementsAre("getEmptyDrawingBuffer", "getEmptyMotionBuffer", "getMaxBufferSize", "getMaxBufferSize",
                            "onFrame Motion -> true", "returnFullDrawingBuffer 0", "returnFullMotionBuffer 0",
                            "getTargetIds onvif_metadata_streamer -> true", "streamerInit(null, null, 1, null) -> 0",
                            "streamerSend(77, streamer0, <m/>, 1)"));
}

TEST_F(MetadataTest, opensTheStreamAlsoForAFrameWithoutADocument)
{
    engine->frameScript = FakeEngine::writes(0);
    build();
    deliverFrame();
    EXPECT_THAT(serviceCalls(),
                ElementsAre("getTargetIds onvif_metadata_streamer -> true", "streamerInit(null, null, 1, null) -> 0"));
}

TEST_F(MetadataTest, sendsNothingForAFrameWithoutADocument)
{
    engine->frameScript = FakeEngine::writes(0);
    build();
    deliverFrame();
    deliverFrame();
    EXPECT_THAT(platform().streamer.sent, IsEmpty());
}

TEST_F(MetadataTest, sendsTheDocumentOfAFailingEngine)
{
    engine->frameScript = FakeEngine::writes(0, 0, "<m/>", false);
    build();
    deliverFrame();
    EXPECT_THAT(platform().streamer.sent, SizeIs(1));
}

TEST_F(MetadataTest, sendsTheTextAsTheEnginesLeftIt)
{
    const std::string text = "  <?xml version=\"1.0\"?>\n<tt:MetadataStream>%s &amp; \xC3\xA9</tt:MetadataStream>\n";
    engine->frameScript = FakeEngine::writes(0, 0, text);
    build();
    deliverFrame();
    ASSERT_THAT(platform().streamer.sent, SizeIs(1));
    EXPECT_EQ(platform().streamer.sent[0].xml, text);
    EXPECT_EQ(platform().streamer.sent[0].flag, 1);
}

TEST_F(MetadataTest, neverNoticesAFailedSend)
{
    platform().streamer.sendStatus = 4;
    build();
    deliverFrame();
    deliverFrame();
    EXPECT_THAT(platform().streamer.sent, SizeIs(2));
    EXPECT_THAT(journal().logs(), IsEmpty());
    EXPECT_THAT(serviceCalls(), ElementsAre("streamerSend(77, streamer0, <m/>, 1)"));
}

TEST_F(MetadataTest, looksForAMissingStreamerSilentlyWithEveryFrame)
{
    platform().targetIds.clear();
    build();
    for (int i = 0; i < 3; ++i) {
        deliverFrame();
        EXPECT_THAT(serviceCalls(), ElementsAre("getTargetIds onvif_metadata_streamer -> false"));
        EXPECT_THAT(journal().logs(), IsEmpty());
    }
    EXPECT_THAT(engine->frames, SizeIs(3));
}

TEST_F(MetadataTest, treatsAStreamerWithoutTargetsAsMissing)
{
    platform().targetIds["onvif_metadata_streamer"] = {};
    build();
    deliverFrame();
    EXPECT_THAT(serviceCalls(), ElementsAre("getTargetIds onvif_metadata_streamer -> true"));
    EXPECT_THAT(journal().logs(), IsEmpty());
    EXPECT_THAT(platform().streamer.sent, IsEmpty());
}

TEST_F(MetadataTest, treatsAStreamerWhoseLookUpFailedAsMissing)
{
    platform().lookUpsFail = true;
    build();
    deliverFrame();
    EXPECT_THAT(serviceCalls(), ElementsAre("getTargetIds onvif_metadata_streamer -> false"));
    EXPECT_THAT(journal().logs(), IsEmpty());
}

TEST_F(MetadataTest, opensTheStreamOnTheFirstFrameAfterTheStreamerCame)
{
    platform().targetIds.clear();
    build();
    deliverFrame();
    platform().targetIds["onvif_metadata_streamer"] = {"late"};
    deliverFrame();
    EXPECT_THAT(serviceCalls(),
                ElementsAre("getTargetIds onvif_metadata_streamer -> true", "streamerInit(null, null, 1, null) -> 0",
                            "streamerSend(77, late, <m/>, 1)"));
}

TEST_F(MetadataTest, logsAStreamThatCannotBeOpenedOncePerFrame)
{
    platform().streamer.initStatus = 9;
    build();
    for (int i = 0; i < 2; ++i) {
        deliverFrame();
        EXPECT_THAT(journal().logs(), ElementsAre(kInitFailed));
        EXPECT_THAT(serviceCalls(), ElementsAre("getTargetIds onvif_metadata_streamer -> true",
                                                "streamerInit(null, null, 1, null) -> 9"));
    }
    EXPECT_THAT(platform().streamer.sent, IsEmpty());
}

TEST_F(MetadataTest, takesTheTargetOfTheLastAttempt)
{
    platform().streamer.initStatus = 9;
    build();
    deliverFrame();
    platform().streamer.initStatus = 0;
    platform().targetIds["onvif_metadata_streamer"] = {"moved"};
    deliverFrame();
    ASSERT_THAT(platform().streamer.sent, SizeIs(1));
    EXPECT_EQ(platform().streamer.sent[0].targetId, "moved");
    platform().targetIds["onvif_metadata_streamer"] = {"again"};
    deliverFrame();
    EXPECT_EQ(platform().streamer.sent.back().targetId, "moved") << "an open stream is never looked at again";
}

TEST_F(MetadataTest, usesACookieThatAFailedOpeningLeft)
{
    platform().streamer.initStatus = 9;
    platform().streamer.failedInitWritesCookie = true;
    build();
    deliverFrame();
    EXPECT_THAT(journal().logs(), ElementsAre(kInitFailed));
    EXPECT_THAT(platform().streamer.sent, SizeIs(1));
    deliverFrame();
    EXPECT_THAT(serviceCalls(), ElementsAre("streamerSend(77, streamer0, <m/>, 1)"));
}

TEST_F(MetadataTest, keepsAllBitsOfTheCookie)
{
    platform().streamer.cookie = 0xFFFFFFFF00000000ULL;
    build();
    deliverFrame();
    deliverFrame();
    ASSERT_THAT(platform().streamer.sent, SizeIs(2));
    EXPECT_EQ(platform().streamer.sent[1].cookie, 0xFFFFFFFF00000000ULL);
    journal().clear();
    plugin.reset();
    EXPECT_EQ(journal().count("streamerDeinit(18446744069414584320)"), 1U);
}

TEST_F(MetadataTest, logsALookUpThatThrows)
{
    build();
    platform().before["getTargetIds onvif_metadata_streamer"] = [] { throw std::runtime_error("bus is gone 100%s"); };
    deliverFrame();
    EXPECT_THAT(journal().logs(), ElementsAre("log 3 \"failed to open metadata stream: bus is gone 100%s\""));
    EXPECT_EQ(journal().all().back(), "buffer deleted");
}

TEST_F(MetadataTest, logsAnOpeningThatThrows)
{
    build();
    platform().before["streamerInit"] = [] { throw std::logic_error("odd"); };
    deliverFrame();
    EXPECT_THAT(journal().logs(), ElementsAre("log 3 \"failed to open metadata stream: odd\""));
}

TEST_F(MetadataTest, letsWhatIsNoStandardExceptionLeaveWithTheBufferDeleted)
{
    build();
    for (const char* call : {"getTargetIds onvif_metadata_streamer", "streamerInit"}) {
        platform().before = {{call, [] { throw 42; }}};
        EXPECT_THROW(deliverFrame(), int) << call;
        EXPECT_EQ(journal().all().back(), "buffer deleted") << call;
        EXPECT_THAT(journal().logs(), IsEmpty()) << call;
        EXPECT_EQ(platform().transmitter.notReturned(), 0) << "the outputs went back before";
    }
}

TEST_F(MetadataTest, countsDrawingDataBeyondTheBuffer)
{
    const auto claims = [](std::uint32_t bytes) {
        return [bytes](const analytics_lib::YuvFrame&, MetadataBuffers& outputs) {
            outputs.drawingBufferUsed = bytes;
            return true;
        };
    };
    engine->frameScript = claims(2000000000U);
    addEngine("Second")->frameScript = claims(2000000000U);
    build();
    deliverFrame();
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(4000000000U));
}

TEST_F(MetadataTest, countsDrawingDataWithoutABuffer)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a count on a null buffer is what a sanitizer refuses";
    }
    platform().transmitter.givesDrawing = false;
    engine->frameScript = [](const analytics_lib::YuvFrame&, MetadataBuffers& outputs) {
        outputs.drawingBufferUsed = 5;
        return true;
    };
    build();
    deliverFrame();
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(5U));
}

} // namespace
