#include "PluginTest.h"

#include <cstdlib>
#include <numeric>
#include <stdexcept>

namespace {

using namespace kit;
using namespace testing;

/// Pan, tilt, zoom, horizontal and vertical angle of view.
using Place = std::tuple<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, std::uint32_t>;

Place placeOf(const analytics_lib::YuvFrame& frame)
{
    return {frame.pan, frame.tilt, frame.zoom, frame.horizontalAngleOfView, frame.verticalAngleOfView};
}

class FrameTest : public PluginTest {
protected:
    void TearDown() override
    {
        EXPECT_EQ(FrameBuffer::alive() - static_cast<int>(platform().framework.pushed.size()), 0) << "buffers leak";
        if (RotatedImages::countsFrees()) {
            EXPECT_EQ(RotatedImages::notReturned(), 0) << "rotated images leak";
        }
        PluginTest::TearDown();
    }

    /// The frame that the only engine saw for one image of that size.
    analytics_lib::YuvFrame seenBy(FakeEngine& engine, std::int32_t width, std::int32_t height)
    {
        FrameBuffer* const buffer = FrameBuffer::image(8, 4);
        buffer->format.values["width"] = width;
        buffer->format.values["height"] = height;
        engine.frames.clear();
        deliver(buffer);
        EXPECT_THAT(engine.frames, SizeIs(1));
        return engine.frames.empty() ? analytics_lib::YuvFrame{} : engine.frames.front();
    }
};

TEST_F(FrameTest, pushesAnEmptyBufferOnAndDoesNothingElse)
{
    addEngine("Motion");
    platform().offerAllServices();
    platform().positioning.available = true;
    build();
    EXPECT_THAT(deliver(FrameBuffer::empty()), ElementsAre("bufferGetLength -> 0", "pushBuffer"));
    EXPECT_THAT(platform().framework.pushed, SizeIs(1));
}

TEST_F(FrameTest, passesTheVeryBufferOn)
{
    build();
    FrameBuffer* const buffer = FrameBuffer::empty();
    deliver(buffer);
    ASSERT_THAT(platform().framework.pushed, SizeIs(1));
    EXPECT_EQ(platform().framework.pushed[0].get(), buffer);
}

TEST_F(FrameTest, takesOneFrameThroughEveryStepInOrder)
{
    addEngine("Motion");
    platform().offerAllServices();
    platform().positioning.available = true;
    platform().positioning.journalAvailability = true;
    build();
    EXPECT_THAT(deliverFrame(), ElementsAre("bufferGetLength -> 48", "bufferGetFormat", "bufferGetInt width -> 8",
                                            "bufferGetFormat", "bufferGetInt height -> 4", "bufferGetFormat",
                                            "bufferGetInt bytesPerRow -> 8", "bufferGetTimestamp", "bufferGetTimestamp",
                                            "bufferGetData", "isAvailable -> true", "getCurrentPosition -> true",
                                            "getEmptyDrawingBuffer", "getEmptyMotionBuffer", "getMaxBufferSize",
                                            "getMaxBufferSize", "onFrame Motion -> true", "returnFullDrawingBuffer 0",
                                            "returnFullMotionBuffer 0", "getTargetIds onvif_metadata_streamer -> true",
                                            "streamerInit(null, null, 1, null) -> 0", "buffer deleted"));
    EXPECT_THAT(platform().framework.pushed, IsEmpty()) << "a frame ends here";
}

TEST_F(FrameTest, passesFramesWithoutAnyEngine)
{
    build();
    const Lines lines = deliverFrame();
    EXPECT_EQ(journal().count("returnFullDrawingBuffer 0"), 1U);
    EXPECT_EQ(journal().count("returnFullMotionBuffer 0"), 1U);
    EXPECT_EQ(lines.back(), "buffer deleted");
}

TEST_F(FrameTest, describesTheImageToTheEngines)
{
    const auto engine = addEngine("Motion");
    build();
    FrameBuffer* const buffer = FrameBuffer::image(8, 4);
    buffer->format.values["bytesPerRow"] = 64;
    buffer->timestamps = {{1700000001U, 2U}, {3U, 4000000004U}};
    const std::uint8_t* const data = buffer->payload.data();
    deliver(buffer);
    ASSERT_THAT(engine->frames, SizeIs(1));
    const analytics_lib::YuvFrame& frame = engine->frames[0];
    EXPECT_EQ(frame.timestamp[0], 1700000001U);
    EXPECT_EQ(frame.timestamp[1], 4000000004U) << "the time is asked for once per word";
    EXPECT_EQ(frame.data, data) << "an upright image is not copied";
    EXPECT_EQ(frame.width, 8U);
    EXPECT_EQ(frame.height, 4U);
    EXPECT_EQ(frame.bytesPerRow, 64U);
}

TEST_F(FrameTest, extendsTheSignOfWidthAndHeight)
{
    const auto engine = addEngine("Motion");
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, -1, -2147483647);
    EXPECT_EQ(frame.width, 0xFFFFFFFFFFFFFFFFULL);
    EXPECT_EQ(frame.height, 0xFFFFFFFF80000001ULL);
}

TEST_F(FrameTest, takesWhateverAMissingKeyYields)
{
    const auto engine = addEngine("Motion");
    build();
    FrameBuffer* const buffer = FrameBuffer::image(8, 4);
    buffer->format.values.clear();
    deliver(buffer);
    ASSERT_THAT(engine->frames, SizeIs(1));
    EXPECT_EQ(engine->frames[0].width, 0xFFFFFFFFFFFFFFFFULL);
    EXPECT_EQ(engine->frames[0].bytesPerRow, 0xFFFFFFFFU);
}

TEST_F(FrameTest, stampsThePosition)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.position = {180000U, -30000, 5U};
    platform().positioning.angleOfView = 60000;
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, 1920, 1080);
    EXPECT_EQ(placeOf(frame), Place(180000U, -30000, 5U, 60000U, 33750U));
}

TEST_F(FrameTest, stampsWhatAFailedPositionQueryWrote)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.positionKnown = false;
    platform().positioning.position = {1000U, -2000, 3U};
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, 8, 4);
    EXPECT_EQ(placeOf(frame), Place(1000U, -2000, 3U, frame.horizontalAngleOfView, frame.verticalAngleOfView));
}

TEST_F(FrameTest, leavesThePositionZeroOnACameraThatCannotMove)
{
    const auto engine = addEngine("Motion");
    platform().positioning.position = {180000U, -30000, 5U};
    platform().positioning.angleOfView = 60000;
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, 1920, 1080);
    EXPECT_EQ(placeOf(frame), Place(0U, 0, 0U, 0U, 0U));
    EXPECT_EQ(journal().startingWith("getCurrentPosition").size(), 0U);
}

TEST_F(FrameTest, asksWhetherTheCameraCanMoveForEveryFrame)
{
    const auto engine = addEngine("Motion");
    build();
    platform().positioning.available = true;
    platform().positioning.angleOfView = 60000;
    EXPECT_EQ(seenBy(*engine, 8, 4).horizontalAngleOfView, 60000U);
    platform().positioning.available = false;
    EXPECT_EQ(seenBy(*engine, 8, 4).horizontalAngleOfView, 0U) << "nothing is left over from the frame before";
}

TEST_F(FrameTest, leavesThePositionZeroWhenThePositioningUnitDoesNotKnowIt)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.positionKnown = false;
    platform().positioning.writesPosition = false;
    platform().positioning.angleOfView = 60000;
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, 8, 4);
    EXPECT_EQ(frame.pan, 0U);
    EXPECT_EQ(frame.horizontalAngleOfView, 0U);
    EXPECT_EQ(frame.verticalAngleOfView, 0U);
}

TEST_F(FrameTest, computesNoVerticalAngleForAnImageWithoutWidth)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.position = {1U, 2, 3U};
    platform().positioning.angleOfView = 60000;
    build();
    const analytics_lib::YuvFrame frame = seenBy(*engine, 0, 4);
    EXPECT_EQ(placeOf(frame), Place(1U, 2, 3U, 60000U, 0U));
}

TEST_F(FrameTest, multipliesBeforeItDividesInSinglePrecision)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    build();
    const auto angle = [&](unsigned int horizontal, std::int32_t width, std::int32_t height) {
        platform().positioning.angleOfView = horizontal;
        return seenBy(*engine, width, height).verticalAngleOfView;
    };
    EXPECT_EQ(angle(61234, 1918, 1079), 34448U);
    EXPECT_EQ(angle(145177, 2701, 774), 41602U) << "in double precision one less";
    EXPECT_EQ(angle(137295, 1574, 895), 78067U) << "with the division first one more";
    EXPECT_EQ(angle(5198601, 1000, 1859), 9664200U) << "any other way one less";
    EXPECT_EQ(angle(16777217, 4, 4), 16777216U) << "each operand is rounded to single precision";
    EXPECT_EQ(angle(10, 3, 1), 3U) << "the fraction is cut";
    EXPECT_EQ(angle(1, 4, 1), 0U);
}

TEST_F(FrameTest, saturatesTheVerticalAngle)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.angleOfView = 4294967295U;
    build();
    EXPECT_EQ(seenBy(*engine, 1, 4).verticalAngleOfView, 4294967295U);
    EXPECT_EQ(seenBy(*engine, 1, -1).verticalAngleOfView, 4294967295U) << "a negative height reads as a huge one";
}

TEST_F(FrameTest, callsEveryEngineInListOrderWithTheSameFrame)
{
    const auto first = addEngine("First");
    const auto second = addEngine("Second");
    const auto third = addEngine("Third");
    build();
    deliverFrame();
    EXPECT_THAT(journal().startingWith("onFrame"),
                ElementsAre("onFrame First -> true", "onFrame Second -> true", "onFrame Third -> true"));
    ASSERT_THAT(third->frames, SizeIs(1));
    EXPECT_EQ(third->frames[0].data, first->frames[0].data);
    EXPECT_EQ(third->frames[0].width, second->frames[0].width);
}

TEST_F(FrameTest, logsAFailingEngineAndGoesOnWithTheNext)
{
    const auto failing = addEngine("First");
    failing->frameScript = FakeEngine::writes(0, 0, "", false);
    const auto next = addEngine("Second");
    build();
    deliverFrame();
    EXPECT_THAT(journal().logs(), ElementsAre("log 3 \"detection OnBuffer onFrame false\""));
    EXPECT_THAT(next->frames, SizeIs(1));
}

TEST_F(FrameTest, logsOneLineForEachFailingEngineAndFrame)
{
    addEngine("First")->frameScript = FakeEngine::writes(0, 0, "", false);
    addEngine("Second")->frameScript = FakeEngine::writes(0, 0, "", false);
    build();
    deliverFrame();
    EXPECT_THAT(journal().logs(), SizeIs(2));
    EXPECT_THAT(journal().of({kit::Part::Log, kit::Part::Engine}),
                ElementsAre("onFrame First -> false", "log 3 \"detection OnBuffer onFrame false\"",
                            "onFrame Second -> false", "log 3 \"detection OnBuffer onFrame false\""));
}

TEST_F(FrameTest, turnsTheImageForEveryEngineAndFreesItOnce)
{
    struct Turn {
        unsigned int degrees;
        const char* call;
        std::uint64_t width;
        std::uint64_t height;
        std::uint8_t corner; ///< luma that stands at the top left then
    };
    for (const Turn& turn : {Turn{90, "rotate90 8x4", 4, 8, 24}, Turn{180, "rotate180 8x4", 8, 4, 31},
                             Turn{270, "rotate270 8x4", 4, 8, 7}}) {
        kit::resetPlatform();
        const auto first = addEngine("First");
        const auto second = addEngine("Second");
        std::uint8_t seenCorner = 0;
        int freedBeforeTheLastEngine = -1;
        second->frameScript = [&](const analytics_lib::YuvFrame& frame, MetadataBuffers&) {
            seenCorner = frame.data[0];
            freedBeforeTheLastEngine = RotatedImages::freed();
            return true;
        };
        orient(turn.degrees);
        build();
        FrameBuffer* const buffer = FrameBuffer::image(8, 4);
        std::iota(buffer->payload.begin(), buffer->payload.end(), std::uint8_t{0});
        deliver(buffer);
        EXPECT_THAT(journal().startingWith("rotate"), ElementsAre(turn.call));
        EXPECT_EQ(seenCorner, turn.corner);
        EXPECT_EQ(freedBeforeTheLastEngine, 0);
        ASSERT_THAT(second->frames, SizeIs(1));
        EXPECT_EQ(second->frames[0].width, turn.width);
        EXPECT_EQ(second->frames[0].height, turn.height);
        EXPECT_EQ(second->frames[0].data, first->frames[0].data) << "one turned image serves all";
        if (RotatedImages::countsFrees()) {
            EXPECT_EQ(RotatedImages::notReturned(), 0) << turn.degrees;
        }
        plugin.reset();
    }
}

TEST_F(FrameTest, borrowsTheOutputsBeforeItTurnsTheImage)
{
    orient(90);
    addEngine("Motion");
    build();
    deliverFrame();
    EXPECT_THAT(journal().of({kit::Part::Transmitter, kit::Part::Engine}),
                ElementsAre("getEmptyDrawingBuffer", "getEmptyMotionBuffer", "getMaxBufferSize", "getMaxBufferSize",
                            "rotate90 8x4", "onFrame Motion -> true", "returnFullDrawingBuffer 0",
                            "returnFullMotionBuffer 0"));
}

TEST_F(FrameTest, keepsTimeAndPositionOfATurnedImage)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.position = {1U, 2, 3U};
    platform().positioning.angleOfView = 60000;
    orient(90);
    build();
    deliverFrame(8, 4);
    ASSERT_THAT(engine->frames, SizeIs(1));
    EXPECT_EQ(engine->frames[0].timestamp[0], 1700000000U);
    EXPECT_EQ(engine->frames[0].pan, 1U);
    EXPECT_EQ(engine->frames[0].verticalAngleOfView, 30000U) << "from the sides as they were delivered";
}

TEST_F(FrameTest, turnsAndFreesTheImageWithoutAnyEngine)
{
    orient(90);
    build();
    deliverFrame();
    EXPECT_EQ(RotatedImages::made(), 1);
    if (RotatedImages::countsFrees()) {
        EXPECT_EQ(RotatedImages::freed(), 1);
    }
}

TEST_F(FrameTest, freesATurnedImageBeforeTheOutputsGoBack)
{
    orient(180);
    build();
    int freed = -1;
    platform().offerAllServices();
    platform().before["streamerInit"] = [&] { freed = RotatedImages::freed(); };
    deliverFrame();
    if (RotatedImages::countsFrees()) {
        EXPECT_EQ(freed, 1);
    }
}

TEST_F(FrameTest, leavesTheImageAloneAtEveryOtherAngle)
{
    for (const unsigned int degrees : {0U, 45U, 89U, 91U, 360U, 450U, 4294967206U}) {
        kit::resetPlatform();
        const auto engine = addEngine("Motion");
        orient(degrees);
        build();
        FrameBuffer* const buffer = FrameBuffer::image(8, 4);
        const std::uint8_t* const data = buffer->payload.data();
        deliver(buffer);
        EXPECT_THAT(journal().startingWith("rotate"), IsEmpty()) << degrees;
        EXPECT_THAT(journal().logs(), IsEmpty()) << degrees;
        ASSERT_THAT(engine->frames, SizeIs(1));
        EXPECT_EQ(engine->frames[0].data, data) << degrees;
        plugin.reset();
    }
}

TEST_F(FrameTest, followsTheOrientationFromFrameToFrame)
{
    platform().offerAllServices();
    build();
    deliverFrame();
    EXPECT_THAT(journal().startingWith("rotate"), IsEmpty());
    platform().rotation.fire(270U);
    deliverFrame();
    EXPECT_THAT(journal().startingWith("rotate"), ElementsAre("rotate270 8x4"));
    platform().rotation.fire(0U);
    deliverFrame();
    EXPECT_THAT(journal().startingWith("rotate"), IsEmpty());
}

TEST_F(FrameTest, deletesTheBufferWhenAnEngineThrows)
{
    const auto engine = addEngine("Motion");
    build();
    engine->before["onFrame"] = [] { throw std::runtime_error("engine"); };
    EXPECT_THROW(deliverFrame(), std::runtime_error);
    EXPECT_EQ(journal().all().back(), "buffer deleted");
    EXPECT_THAT(journal().startingWith("returnFull"), IsEmpty());
}

TEST_F(FrameTest, doesNotGiveATurnedImageBackWhenAnEngineThrows)
{
    orient(90);
    const auto engine = addEngine("Motion");
    void* image = nullptr;
    engine->frameScript = [&](const analytics_lib::YuvFrame& frame, MetadataBuffers&) -> bool {
        image = frame.data;
        throw std::runtime_error("engine");
    };
    build();
    EXPECT_THROW(deliverFrame(), std::runtime_error);
    EXPECT_EQ(RotatedImages::freed(), 0);
    std::free(image);
}

TEST_F(FrameTest, deletesTheBufferWhenItCannotBeDescribed)
{
    build();
    for (const char* call : {"bufferGetFormat", "bufferGetInt", "bufferGetTimestamp", "bufferGetData"}) {
        platform().before = {{call, [] { throw std::runtime_error("buffer"); }}};
        EXPECT_THROW(deliverFrame(), std::runtime_error) << call;
        EXPECT_EQ(journal().all().back(), "buffer deleted") << call;
        EXPECT_THAT(journal().startingWith("getEmpty"), IsEmpty()) << call;
    }
    platform().before.clear();
}

TEST_F(FrameTest, deletesTheBufferWhenTheImageCannotBeTurned)
{
    orient(90);
    build();
    platform().before["rotate90"] = [] { throw std::bad_alloc(); };
    EXPECT_THROW(deliverFrame(), std::bad_alloc);
    EXPECT_EQ(journal().all().back(), "buffer deleted");
    EXPECT_THAT(journal().startingWith("returnFull"), IsEmpty()) << "what was borrowed is not given back on this path";
}

TEST_F(FrameTest, worksOnAfterAFrameThatFailed)
{
    const auto engine = addEngine("Motion");
    build();
    engine->before["onFrame"] = [] { throw std::runtime_error("engine"); };
    EXPECT_THROW(deliverFrame(), std::runtime_error);
    engine->before.clear();
    deliverFrame();
    EXPECT_EQ(journal().count("onFrame Motion -> true"), 1U);
}

TEST_F(FrameTest, stampsTheAnglesOfAFailedPositionQuery)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.positionKnown = false;
    platform().positioning.position = {1000U, -2000, 3U};
    platform().positioning.angleOfView = 60000;
    build();
    EXPECT_EQ(placeOf(seenBy(*engine, 1920, 1080)), Place(1000U, -2000, 3U, 60000U, 33750U));
}

TEST_F(FrameTest, readsNegativeSidesAsHugeOnesInTheVerticalAngle)
{
    const auto engine = addEngine("Motion");
    platform().positioning.available = true;
    platform().positioning.angleOfView = 60000;
    build();
    EXPECT_EQ(seenBy(*engine, -8, -4).verticalAngleOfView, 60000U);
}

TEST_F(FrameTest, readsTheOrientationBehindPositionAndOutputs)
{
    for (const char* call : {"getCurrentPosition", "getEmptyDrawingBuffer", "getEmptyMotionBuffer"}) {
        kit::resetPlatform();
        platform().offerAllServices();
        platform().positioning.available = true;
        build();
        platform().before[call] = [] { platform().rotation.fire(90U); };
        deliverFrame();
        EXPECT_THAT(journal().startingWith("rotate"), ElementsAre("rotate90 8x4")) << call;
        plugin.reset();
    }
}

TEST_F(FrameTest, freesWhatItTurnedWhateverTheOrientationIsBySomeEngine)
{
    for (const auto& [before, during] : {std::pair{90U, 0U}, {0U, 90U}, {180U, 270U}, {45U, 270U}}) {
        kit::resetPlatform();
        platform().offerAllServices();
        platform().rotation.angle = before;
        const auto engine = addEngine("Motion");
        engine->frameScript = [during = during](const analytics_lib::YuvFrame&, MetadataBuffers&) {
            platform().rotation.fire(during);
            return true;
        };
        build();
        FrameBuffer* const buffer = FrameBuffer::image(8, 4);
        watchBlock(buffer->payload.data());
        int freedAtTheEnd = -1;
        platform().before["returnFullMotionBuffer"] = [&] { freedAtTheEnd = watchedBlocksFreed(); };
        deliver(buffer);
        const bool turned = before % 90 == 0 && before != 0;
        EXPECT_EQ(RotatedImages::made(), turned ? 2 : 1) << "with the image that was delivered";
        if (RotatedImages::countsFrees()) {
            EXPECT_EQ(freedAtTheEnd, turned ? 1 : 0) << before << " and then " << during;
        }
        plugin.reset();
    }
}

TEST_F(FrameTest, freesATurnedImageBeforeEitherOutputGoesBack)
{
    for (const char* call : {"returnFullDrawingBuffer", "returnFullMotionBuffer"}) {
        kit::resetPlatform();
        orient(180);
        build();
        int freed = -1;
        platform().before[call] = [&] { freed = RotatedImages::freed(); };
        deliverFrame();
        if (RotatedImages::countsFrees()) {
            EXPECT_EQ(freed, 1) << call;
        }
        plugin.reset();
    }
}

TEST_F(FrameTest, letsEverythingThatAFrameThrowsLeaveWithTheBufferDeleted)
{
    platform().offerAllServices();
    platform().positioning.available = true;
    const auto engine = addEngine("Motion");
    engine->frameScript = FakeEngine::writes(1, 1, "<m/>");
    build();
    for (const char* call : {"isAvailable", "getCurrentPosition", "getEmptyDrawingBuffer", "getEmptyMotionBuffer",
                             "getMaxBufferSize", "returnFullDrawingBuffer", "returnFullMotionBuffer", "streamerSend"}) {
        platform().before = {{call, [] { throw std::runtime_error("broken"); }}};
        EXPECT_THROW(deliverFrame(), std::runtime_error) << call;
        EXPECT_EQ(journal().all().back(), "buffer deleted") << call;
        platform().before = {{call, [] { throw 42; }}};
        EXPECT_THROW(deliverFrame(), int) << call;
        EXPECT_EQ(journal().all().back(), "buffer deleted") << call;
    }
    platform().before.clear();
    engine->before["onFrame"] = [] { throw 42; };
    EXPECT_THROW(deliverFrame(), int);
    EXPECT_EQ(journal().all().back(), "buffer deleted");
}

TEST_F(FrameTest, takesAFrameWhileAnEngineLooksAtAnother)
{
    const auto engine = addEngine("Motion");
    build();
    bool nested = false;
    engine->frameScript = [&](const analytics_lib::YuvFrame&, MetadataBuffers&) {
        if (!nested) {
            nested = true;
            detection().OnBuffer(nullptr, FrameBuffer::image(4, 2));
        }
        return true;
    };
    deliverFrame();
    EXPECT_EQ(journal().count("onFrame Motion -> true"), 2U);
    EXPECT_EQ(journal().count("buffer deleted"), 2U);
}

} // namespace
