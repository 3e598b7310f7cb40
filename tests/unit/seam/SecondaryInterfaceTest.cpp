#include "kit/HostSeam.h"
#include "kit/PlatformTest.h"
#include "korva/meridan/BasicFilterPlugin.h"
#include "plugin/DetectionPlugin.h"

#include <memory>

namespace {

using kit::FrameBuffer;
using kit::journal;
using kit::platform;
using korva::meridan::BasicFilterPlugin;
using korva::meridan::createDetectionPlugin;
using korva::meridan::PipelinePlugin;
using korva::meridan::SinkSide;
using korva::meridan::SourceSide;
using ::testing::ElementsAre;

/// The framework holds one object by three addresses and uses each without knowing the others.
class SecondaryInterfaceTest : public kit::PlatformTest {
protected:
    SecondaryInterfaceTest()
        : plugin(createDetectionPlugin(&environment, configuration)),
          base(dynamic_cast<BasicFilterPlugin*>(plugin)),
          source(base),
          sink(base)
    {
        journal().clear();
    }

    ~SecondaryInterfaceTest() override { delete plugin; }

    void expectTakenDown()
    {
        EXPECT_EQ(journal().all().front(), "log 7 \"DetectionPlugin::~DetectionPlugin\"");
        EXPECT_EQ(journal().all().back(), "filterDestroyed");
        plugin = nullptr;
    }

    korva::meridan::MeridanEnv environment;
    korva::meridan::IPluginConfiguration configuration;
    PipelinePlugin* plugin;
    BasicFilterPlugin* base;
    SourceSide* source;
    SinkSide* sink;
};

TEST_F(SecondaryInterfaceTest, theThreeSidesHaveThreeAddresses)
{
    EXPECT_NE(static_cast<void*>(source), static_cast<void*>(plugin));
    EXPECT_NE(static_cast<void*>(sink), static_cast<void*>(plugin));
    EXPECT_NE(static_cast<void*>(sink), static_cast<void*>(source));
    EXPECT_EQ(static_cast<void*>(base), static_cast<void*>(plugin));
}

TEST_F(SecondaryInterfaceTest, deliversThroughTheSinkSide)
{
    sink->OnBuffer(nullptr, FrameBuffer::empty());
    EXPECT_THAT(journal().all(), ElementsAre("bufferGetLength -> 0", "pushBuffer"));
    sink->OnBuffer(nullptr, FrameBuffer::image(8, 4));
    EXPECT_EQ(journal().all().back(), "buffer deleted");
    EXPECT_EQ(platform().framework.pushed.size(), 1U);
}

TEST_F(SecondaryInterfaceTest, deliversThroughThePrimaryTable)
{
    base->OnBuffer(nullptr, FrameBuffer::empty());
    EXPECT_EQ(journal().count("pushBuffer"), 1U);
}

TEST_F(SecondaryInterfaceTest, connectsThroughTheSourceSide)
{
    kit::DeletingSink other;
    source->OnConnectToSink(&other);
    source->OnConnectToSink("video", &other);
    source->OnDisconnectSink(&other);
    EXPECT_THAT(journal().all(), ElementsAre("connectToSink", "connectToSink video", "disconnectSink"));
}

TEST_F(SecondaryInterfaceTest, connectsThroughThePrimaryTable)
{
    kit::DeletingSink other;
    base->OnConnectToSink(&other);
    base->OnConnectToSink("video", &other);
    base->OnDisconnectSink(nullptr);
    EXPECT_THAT(journal().all(), ElementsAre("connectToSink", "connectToSink video", "disconnectSink null"));
}

TEST_F(SecondaryInterfaceTest, isDeletedThroughItsPrimaryTable)
{
    delete plugin;
    expectTakenDown();
}

TEST_F(SecondaryInterfaceTest, isDeletedThroughTheSourceSide)
{
    delete source;
    expectTakenDown();
}

TEST_F(SecondaryInterfaceTest, isDeletedThroughTheSinkSide)
{
    delete sink;
    expectTakenDown();
}

} // namespace
