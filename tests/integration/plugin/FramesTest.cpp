#include "ModuleTest.h"

namespace {

using integration::ModuleTest;
using namespace kit;
using namespace testing;

/// Frames for three engines with every service there.
class FramesTest : public ModuleTest {
protected:
    FramesTest()
    {
        platform().offerAllServices();
        simple->frameScript = FakeEngine::writes(10, 4, "<tt:Frame>1</tt:Frame>");
        motion->frameScript = FakeEngine::writes(0, 0, "", false);
        third->frameScript = FakeEngine::writes(5, 3, "<tt:Frame>3</tt:Frame>");
    }

    void TearDown() override
    {
        EXPECT_EQ(platform().transmitter.notReturned(), 0);
        EXPECT_EQ(FrameBuffer::alive() - static_cast<int>(platform().framework.pushed.size()), 0);
        if (RotatedImages::countsFrees()) {
            EXPECT_EQ(RotatedImages::notReturned(), 0);
        }
        ModuleTest::TearDown();
    }

    enum Frame { kFirst, kLater };

    /// What an image of 16x8 brings about that is turned by 90 degrees.
    static Lines journalOfAFrame(Frame frame)
    {
        const Lines opening = {"getTargetIds onvif_metadata_streamer -> true",
                               "streamerInit(null, null, 1, null) -> 0"};
        return kit::joined(
            {{"bufferGetLength -> 192",
              "bufferGetFormat",
              "bufferGetInt width -> 16",
              "bufferGetFormat",
              "bufferGetInt height -> 8",
              "bufferGetFormat",
              "bufferGetInt bytesPerRow -> 16",
              "bufferGetTimestamp",
              "bufferGetTimestamp",
              "bufferGetData",
              "getCurrentPosition -> true",
              "getEmptyDrawingBuffer",
              "getEmptyMotionBuffer",
              "getMaxBufferSize",
              "getMaxBufferSize",
              "rotate90 16x8",
              "onFrame Simple -> true",
              "onFrame Motion -> false",
              "log 3 \"detection OnBuffer onFrame false\"",
              "onFrame Third -> true",
              "returnFullDrawingBuffer 15",
              "returnFullMotionBuffer 7"},
             frame == kFirst ? opening : Lines{},
             {"streamerSend(77, streamer0, <tt:Frame>1</tt:Frame><tt:Frame>3</tt:Frame>, 1)", "buffer deleted"}});
    }

    std::shared_ptr<FakeEngine> third = addEngine("Third");
};

TEST_F(FramesTest, takesFramesThroughThreeEnginesUprightAndStamped)
{
    platform().positioning.available = true;
    platform().positioning.position = {90000U, -10000, 3U};
    platform().positioning.angleOfView = 60000;
    startQuietly();
    platform().rotation.fire(90U);
    journal().clear();
    deliver(FrameBuffer::image(16, 8));
    EXPECT_EQ(takeAll(), journalOfAFrame(kFirst));
    ASSERT_THAT(third->frames, SizeIs(1));
    const analytics_lib::YuvFrame& frame = third->frames[0];
    EXPECT_EQ(frame.width, 8U);
    EXPECT_EQ(frame.height, 16U);
    EXPECT_EQ(frame.bytesPerRow, 8U);
    EXPECT_EQ(frame.pan, 90000U);
    EXPECT_EQ(frame.tilt, -10000);
    EXPECT_EQ(frame.zoom, 3U);
    EXPECT_EQ(frame.horizontalAngleOfView, 60000U);
    EXPECT_EQ(frame.verticalAngleOfView, 30000U);
    EXPECT_EQ(third->outputsSeen[0].drawingBuffer, platform().transmitter.drawing.data() + 10);

    deliver(FrameBuffer::image(16, 8));
    EXPECT_EQ(takeAll(), journalOfAFrame(kLater));
}

TEST_F(FramesTest, passesAnEmptyBufferOn)
{
    startQuietly();
    deliver(FrameBuffer::empty());
    EXPECT_THAT(journal().all(), ElementsAre("bufferGetLength -> 0", "pushBuffer"));
    EXPECT_THAT(platform().framework.pushed, SizeIs(1));
}

TEST_F(FramesTest, analysesWithoutAStreamer)
{
    platform().targetIds.erase("onvif_metadata_streamer");
    startQuietly();
    deliver(FrameBuffer::image(16, 8));
    EXPECT_THAT(platform().streamer.sent, IsEmpty());
    EXPECT_THAT(platform().transmitter.drawingReturned, ElementsAre(15U));
    EXPECT_THAT(platform().transmitter.motionReturned, ElementsAre(7U));
    EXPECT_THAT(journal().logs(), ElementsAre("log 3 \"detection OnBuffer onFrame false\""));
}

TEST_F(FramesTest, logsAStreamThatDoesNotOpen)
{
    platform().streamer.initStatus = 8;
    startQuietly();
    deliver(FrameBuffer::image(16, 8));
    EXPECT_EQ(journal().logs().back(),
              "log 3 \"failed to open metadata stream: Failed ravel api call: "
              "ravel_api_onvif_metadata_streamer_initiator_init(nullptr, nullptr, &_metadataTargetIpcCookie, 1, "
              "nullptr) (status text 8)\"");
}

TEST_F(FramesTest, letsAnEnginesExceptionReachTheHostAsWhatItIs)
{
    startQuietly();
    motion->before["onFrame"] = [] { throw std::runtime_error("engine"); };
    EXPECT_THROW(deliver(FrameBuffer::image(16, 8)), std::runtime_error);
    motion->before.clear();
    platform().transmitter.drawingGiven = platform().transmitter.motionGiven = 0; // these two are lost, as agreed
}

} // namespace
