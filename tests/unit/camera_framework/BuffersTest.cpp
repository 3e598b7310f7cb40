#include "camera/framework/FrameBuffer.h"
#include "camera/framework/PluginConfiguration.h"
#include "camera/framework/SinksAndSources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using camera::framework::ElementSink;
using camera::framework::FanOutSource;
using camera::framework::FrameBuffer;
using camera::video::Frame;
using korva::meridan::BasicFilterPlugin;
using korva::meridan::Buffer;
using korva::meridan::Sink;

Frame anyFrame()
{
    Frame frame;
    frame.sizeBytes = 64 * 4 * 3 / 2;
    frame.data =
        std::shared_ptr<std::uint8_t>(new std::uint8_t[frame.sizeBytes](), std::default_delete<std::uint8_t[]>());
    frame.width = 60;
    frame.height = 4;
    frame.strideBytes = 64;
    frame.seconds = 1700000000;
    frame.nanoseconds = 999999999;
    return frame;
}

class RecordingSink : public Sink {
public:
    void PutBuffer(Buffer* buffer) override
    {
        addresses.push_back(buffer);
        buffers.emplace_back(buffer);
    }
    std::vector<Buffer*> addresses;
    std::vector<std::unique_ptr<Buffer>> buffers;
};

class PassingFilter : public BasicFilterPlugin {
public:
    explicit PassingFilter() : BasicFilterPlugin(korva::meridan::IPluginConfiguration("passing")) {}
    void OnBuffer(const Sink* sink, Buffer* buffer) override
    {
        from = sink;
        _source->PushBuffer(buffer);
    }
    const Sink* from = nullptr;
};

TEST(FrameBufferTest, describesThePictureAndLendsItsPixels)
{
    const Frame frame = anyFrame();
    const FrameBuffer buffer(frame);
    EXPECT_EQ(buffer.GetLength(), 384u);
    EXPECT_EQ(buffer.GetData(), frame.data.get());
    EXPECT_EQ(buffer.GetFormat().GetInt("width"), 60);
    EXPECT_EQ(buffer.GetFormat().GetInt("height"), 4);
    EXPECT_EQ(buffer.GetFormat().GetInt("bytesPerRow"), 64);
    EXPECT_EQ(buffer.GetFormat().GetInt("depth"), 0);
    EXPECT_EQ(buffer.GetTimestamp()[0], 1700000000u);
    EXPECT_EQ(buffer.GetTimestamp()[1], 999999999u);
}

TEST(FrameBufferTest, keepsThePixelsForOthersAfterItIsGone)
{
    const Frame frame = anyFrame();
    auto buffer = std::make_unique<FrameBuffer>(frame);
    EXPECT_EQ(frame.data.use_count(), 2);
    buffer.reset();
    EXPECT_EQ(frame.data.use_count(), 1);
}

TEST(FrameBufferTest, isEmptyWithoutPixels)
{
    const FrameBuffer buffer;
    EXPECT_EQ(buffer.GetLength(), 0u);
    EXPECT_EQ(buffer.GetData(), nullptr);
    EXPECT_EQ(buffer.GetFormat().GetInt("width"), 0);
    EXPECT_EQ(buffer.GetTimestamp()[0], 0u);
    Frame sized = anyFrame();
    sized.data.reset();
    EXPECT_EQ(FrameBuffer(sized).GetLength(), 0u);
}

class ConnectionsTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(FrameBuffer::alive(), before) << "a buffer never came back"; }

    const std::size_t before = FrameBuffer::alive();
    FanOutSource source;
};

TEST_F(ConnectionsTest, deletesABufferThatNobodyIsConnectedFor)
{
    source.PushBuffer(new FrameBuffer);
    EXPECT_EQ(FrameBuffer::alive(), before);
    source.PushBuffer(nullptr);
}

TEST_F(ConnectionsTest, handsTheBufferItselfToASingleSink)
{
    RecordingSink sink;
    source.connect(&sink);
    source.connect(&sink);
    source.connect(nullptr);
    auto* buffer = new FrameBuffer(anyFrame());
    source.PushBuffer(buffer);
    EXPECT_THAT(sink.addresses, testing::ElementsAre(buffer));
}

TEST_F(ConnectionsTest, givesSeveralSinksTheSamePictureAndDeletesItWithTheLastView)
{
    RecordingSink first;
    RecordingSink second;
    source.connect(&first);
    source.connect(&second);
    const Frame frame = anyFrame();
    source.PushBuffer(new FrameBuffer(frame));
    ASSERT_EQ(first.buffers.size(), 1u);
    ASSERT_EQ(second.buffers.size(), 1u);
    EXPECT_EQ(first.buffers[0]->GetData(), frame.data.get());
    EXPECT_EQ(second.buffers[0]->GetData(), frame.data.get());
    EXPECT_EQ(second.buffers[0]->GetLength(), 384u);
    EXPECT_EQ(second.buffers[0]->GetFormat().GetInt("width"), 60);
    EXPECT_EQ(second.buffers[0]->GetTimestamp()[0], 1700000000u);
    first.buffers.clear();
    EXPECT_EQ(FrameBuffer::alive(), before + 1);
    second.buffers.clear();
    EXPECT_EQ(FrameBuffer::alive(), before);
}

TEST_F(ConnectionsTest, sendsNothingToADisconnectedSink)
{
    RecordingSink first;
    RecordingSink second;
    source.connect(&first);
    source.connect(&second);
    source.disconnect(&first);
    source.disconnect(&first);
    source.PushBuffer(new FrameBuffer);
    EXPECT_TRUE(first.buffers.empty());
    EXPECT_EQ(second.buffers.size(), 1u);
}

TEST_F(ConnectionsTest, reachesAFilterThroughItsSinkSideAndItsOutputThroughItsSourceSide)
{
    PassingFilter filter;
    RecordingSink end;
    ElementSink input(filter);
    korva::meridan::SourceSide& sourceSide = filter;
    sourceSide.OnConnectToSink("output", &end);
    input.PutBuffer(new FrameBuffer);
    input.PutBuffer(new FrameBuffer(anyFrame()));
    EXPECT_EQ(filter.from, &input);
    EXPECT_EQ(end.buffers.size(), 2u);
    sourceSide.OnDisconnectSink(&end);
    input.PutBuffer(new FrameBuffer);
    EXPECT_EQ(end.buffers.size(), 2u);
}

TEST_F(ConnectionsTest, destroysAFilterThroughAnyOfItsBases)
{
    std::unique_ptr<korva::meridan::PipelinePlugin> plugin = std::make_unique<PassingFilter>();
    plugin->PipelinesConstructed();
    plugin.reset();
    std::unique_ptr<korva::meridan::SinkSide> sinkSide = std::make_unique<PassingFilter>();
    sinkSide.reset();
    std::unique_ptr<korva::meridan::SourceSide> sourceSide = std::make_unique<PassingFilter>();
    sourceSide.reset();
}

} // namespace
