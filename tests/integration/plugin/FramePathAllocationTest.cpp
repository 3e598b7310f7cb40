#include "ModuleTest.h"

#include "kit/Heap.h"
#include "kit/PlainBuffer.h"

namespace {

using integration::ModuleTest;
using kit::allocationsOfThisThread;
using kit::journal;
using kit::platform;

class FramePathAllocation : public ModuleTest {
protected:
    FramePathAllocation()
    {
        // What needs no memory: the text fits into the string itself.
        plain->frameScript = [this](const analytics_lib::YuvFrame&, MetadataBuffers& outputs) {
            outputs.drawingBufferUsed = 4;
            outputs.motionBufferUsed = 2;
            outputs.metadataXml = "<a/>";
            ++calls;
            return true;
        };
        platform().engineLibrary.engines = {plain, plain};
        platform().targetIds["onvif_metadata_streamer"] = {"streamer0"};
    }

    /// Blocks that one frame asked the heap for, the buffer itself apart.
    std::size_t allocationsOfOneFrame()
    {
        auto* const buffer = new kit::PlainBuffer;
        const std::size_t before = allocationsOfThisThread();
        deliver(buffer);
        return allocationsOfThisThread() - before;
    }

    std::shared_ptr<kit::FakeEngine> plain = std::make_shared<kit::FakeEngine>("Plain");
    int calls = 0;
};

TEST_F(FramePathAllocation, isNoneOnceTheStreamIsOpen)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator is not counted";
    }
    startQuietly();
    deliver(new kit::PlainBuffer); // opens the stream
    journal().record(false);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(allocationsOfOneFrame(), 0U);
    }
    EXPECT_EQ(calls, 22);
}

TEST_F(FramePathAllocation, isNoneOnAPtzCameraEither)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator is not counted";
    }
    platform().positioning.available = true;
    startQuietly();
    deliver(new kit::PlainBuffer);
    journal().record(false);
    EXPECT_EQ(allocationsOfOneFrame(), 0U);
}

TEST_F(FramePathAllocation, isCounted)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator is not counted";
    }
    const std::size_t before = allocationsOfThisThread();
    // A copy of this length cannot stay in the string itself.
    const std::string text(100, 'x');
    const std::string copy = text + text;
    EXPECT_GE(allocationsOfThisThread() - before, 2U);
    EXPECT_EQ(copy.size(), 200U);
}

} // namespace
