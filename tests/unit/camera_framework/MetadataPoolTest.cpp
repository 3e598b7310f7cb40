#include "camera/framework/MetadataPool.h"

#include "camera/base/Current.h"
#include "kit/LogLines.h"

#include "korva/meridan/MetadataTransmitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using camera::framework::MetadataPool;
using korva::meridan::MetadataTransmitter;
using testing::ElementsAre;
using testing::HasSubstr;

class MetadataPoolTest : public testing::Test {
protected:
    void bind(std::size_t engineCount, std::uint32_t bytesPerEngine)
    {
        pool = std::make_shared<MetadataPool>(engineCount, bytesPerEngine);
        binding = std::make_unique<camera::base::Current<MetadataPool>::Binding>(pool);
    }

    /// Drawing and motion data that came back.
    std::pair<std::string, std::string> outputs() const
    {
        const MetadataPool::Outputs all = pool->takeOutputs();
        return {std::string(reinterpret_cast<const char*>(all.drawing), all.drawingBytes),
                std::string(reinterpret_cast<const char*>(all.motion), all.motionBytes)};
    }

    const kit::LogLines log;
    std::shared_ptr<MetadataPool> pool;
    std::unique_ptr<camera::base::Current<MetadataPool>::Binding> binding;
    MetadataTransmitter& transmitter = MetadataTransmitter::instance();
};

TEST_F(MetadataPoolTest, handsOutSpaceForEveryEngineAndPassesOnWhatTheyWrote)
{
    EXPECT_EQ(MetadataPool(1, 65536).bytesPerEngine(), 65536u);
    bind(3, 64);
    EXPECT_EQ(transmitter.GetMaxBufferSize(), 64u);
    std::uint8_t* drawing = transmitter.GetEmptyDrawingBuffer();
    std::uint8_t* motion = transmitter.GetEmptyMotionBuffer();
    ASSERT_NE(drawing, nullptr);
    ASSERT_NE(motion, nullptr);
    std::memset(drawing, 'd', 3 * 64);
    std::memset(motion, 'm', 3 * 64);
    transmitter.ReturnFullDrawingBuffer(3 * 64);
    EXPECT_EQ(outputs(), std::pair(std::string(), std::string())) << "before the motion data came back";
    transmitter.ReturnFullMotionBuffer(2);
    EXPECT_EQ(outputs(), std::pair(std::string(192, 'd'), std::string("mm")));
    EXPECT_EQ(outputs(), std::pair(std::string(), std::string())) << "they are of one frame";
}

TEST_F(MetadataPoolTest, handsOnFramesWithoutAnyData)
{
    bind(1, 64);
    transmitter.GetEmptyDrawingBuffer();
    transmitter.GetEmptyMotionBuffer();
    transmitter.ReturnFullDrawingBuffer(0);
    transmitter.ReturnFullMotionBuffer(0);
    EXPECT_EQ(outputs().first, "");
}

TEST_F(MetadataPoolTest, handsOutAgainWhatAFailedFrameNeverGaveBack)
{
    bind(1, 64);
    std::uint8_t* first = transmitter.GetEmptyDrawingBuffer();
    transmitter.ReturnFullDrawingBuffer(10);
    EXPECT_EQ(transmitter.GetEmptyDrawingBuffer(), first);
    transmitter.GetEmptyMotionBuffer();
    transmitter.ReturnFullMotionBuffer(0);
    EXPECT_EQ(outputs().first, "") << "the lost frame's data appeared in the next one";
}

TEST_F(MetadataPoolTest, cutsACountThatIsLargerThanTheBufferAndSaysSo)
{
    bind(2, 64);
    transmitter.GetEmptyDrawingBuffer();
    transmitter.GetEmptyMotionBuffer();
    transmitter.ReturnFullDrawingBuffer(129);
    transmitter.ReturnFullMotionBuffer(128);
    EXPECT_EQ(outputs().first.size(), 128u);
    transmitter.ReturnFullMotionBuffer(65537);
    EXPECT_EQ(outputs().second.size(), 128u);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("129 bytes of drawing data, the buffer has 128"),
                                         HasSubstr("65537 bytes of motion data, the buffer has 128")));
}

TEST_F(MetadataPoolTest, handsOutNothingWithoutADevice)
{
    EXPECT_EQ(transmitter.GetEmptyDrawingBuffer(), nullptr);
    EXPECT_EQ(transmitter.GetEmptyMotionBuffer(), nullptr);
    EXPECT_EQ(transmitter.GetMaxBufferSize(), 0u);
    transmitter.ReturnFullDrawingBuffer(5);
    transmitter.ReturnFullMotionBuffer(5);
}

TEST_F(MetadataPoolTest, refusesSizesThatWouldMisalignTheBuffers)
{
    EXPECT_THROW(MetadataPool(0, 64), std::invalid_argument);
    EXPECT_THROW(MetadataPool(1, 0), std::invalid_argument);
    EXPECT_THROW(MetadataPool(1, 100), std::invalid_argument);
}

TEST_F(MetadataPoolTest, handsOutAlignedBuffers)
{
    bind(3, 64 * 7);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(transmitter.GetEmptyDrawingBuffer()) % 64, 0u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(transmitter.GetEmptyMotionBuffer()) % 64, 0u);
}

using MetadataPoolDeathTest = MetadataPoolTest;

TEST_F(MetadataPoolDeathTest, endsTheProcessAtTheFirstByteWrittenTooFar)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto writeAt = [this](std::size_t offset, bool motion) {
        bind(2, 64);
        volatile std::uint8_t* buffer = motion ? pool->emptyMotion() : pool->emptyDrawing();
        buffer[offset] = 1;
        binding.reset();
    };
    writeAt(127, false);
    writeAt(127, true);
    EXPECT_DEATH(writeAt(128, false), "");
    EXPECT_DEATH(writeAt(128, true), "");
}

} // namespace
