#include "ModuleTest.h"

#include "kit/HeapWatch.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"

namespace {

using integration::ModuleTest;
using kit::allocationsOfThisThread;
using kit::journal;
using kit::platform;

/// Answers from plain memory, so that what is counted is the plug-in's.
class PlainBuffer : public korva::meridan::Buffer, private korva::meridan::BufferFormat {
public:
    std::size_t GetLength() const override { return sizeof(_image); }
    const korva::meridan::BufferFormat& GetFormat() const override { return *this; }
    std::uint8_t* GetData() const override { return _image; }
    const std::uint32_t* GetTimestamp() const override { return _timestamp; }

private:
    std::int32_t GetInt(const std::string& key) const override { return key == "height" ? 4 : 8; }

    mutable std::uint8_t _image[48] = {};
    std::uint32_t _timestamp[2] = {1700000000U, 1U};
};

/// An engine that does nothing but write what needs no memory.
class PlainEngine : public kit::FakeEngine {
public:
    PlainEngine() : FakeEngine("Plain") {}

    bool onFrame(const analytics_lib::YuvFrame&, MetadataBuffers& outputs) override
    {
        outputs.drawingBufferUsed = 4;
        outputs.motionBufferUsed = 2;
        outputs.metadataXml = "<a/>"; // fits into the string itself
        ++calls;
        return true;
    }

    int calls = 0;
};

class FramePathAllocation : public ModuleTest {
protected:
    FramePathAllocation()
    {
        platform().engineLibrary.engines = {plain, plain};
        platform().targetIds["onvif_metadata_streamer"] = {"streamer0"};
    }

    /// Blocks that one frame asked the heap for, the buffer itself apart.
    std::size_t allocationsOfOneFrame()
    {
        auto* const buffer = new PlainBuffer;
        const std::size_t before = allocationsOfThisThread();
        deliver(buffer);
        return allocationsOfThisThread() - before;
    }

    std::shared_ptr<PlainEngine> plain = std::make_shared<PlainEngine>();
};

TEST_F(FramePathAllocation, isNoneOnceTheStreamIsOpen)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator is not counted";
    }
    startQuietly();
    deliver(new PlainBuffer); // opens the stream
    journal().record(false);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(allocationsOfOneFrame(), 0U);
    }
    EXPECT_EQ(plain->calls, 22);
}

TEST_F(FramePathAllocation, isNoneOnAPtzCameraEither)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator is not counted";
    }
    platform().positioning.available = true;
    startQuietly();
    deliver(new PlainBuffer);
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
