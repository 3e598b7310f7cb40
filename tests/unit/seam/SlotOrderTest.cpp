#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"
#include "korva/meridan/Sink.h"
#include "plugin/DetectionPlugin.h"
#include "plugin/analytics/IAnalyticsPtz.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/IRuleSet.h"
#include "ptz/PtzShim.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "target/OnvifTarget.h"
#include "target/ProxyTarget.h"

#include "Slot.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using analytics_lib::IAnalyticsPtz;
using analytics_lib::IEventHandler;
using analytics_lib::IOnvifAnalytics;
using analytics_lib::IRuleSet;
using korva::meridan::BasicFilterPlugin;
using korva::meridan::DetectionPlugin;
using korva::meridan::OnvifTarget;
using korva::meridan::PipelinePlugin;
using korva::meridan::ProxyTarget;
using korva::meridan::PtzShim;
using korva::meridan::Sink;
using korva::meridan::SinkSide;
using korva::meridan::SourceSide;
using seam_test::slotCountOf;
using seam_test::slotOf;

class Sample {
public:
    virtual ~Sample() = default;
    virtual void first() {}
    void plain() {}
};

TEST(SlotOrder, theDecoderTellsVirtualOperationsFromPlainOnes)
{
    EXPECT_EQ(slotOf(&Sample::first), 2) << "a destructor takes two entries";
    EXPECT_EQ(slotOf(&Sample::plain), -1);
}

template <typename Class>
void expectFilterOrder()
{
    EXPECT_EQ(slotOf(&Class::PipelinesConstructed), 0);
    // 1 and 2: the destructor
    EXPECT_EQ(slotOf(static_cast<void (Class::*)(Sink*)>(&Class::OnConnectToSink)), 3);
    EXPECT_EQ(slotOf(static_cast<void (Class::*)(const std::string&, Sink*)>(&Class::OnConnectToSink)), 4);
    EXPECT_EQ(slotOf(&Class::OnDisconnectSink), 5);
    EXPECT_EQ(slotOf(&Class::OnBuffer), 6);
}

TEST(SlotOrder, ofTheFilterBase)
{
    expectFilterOrder<BasicFilterPlugin>();
    EXPECT_EQ(slotCountOf<PipelinePlugin>(), 3);
}

TEST(SlotOrder, ofTheFilterBasesSides)
{
    EXPECT_EQ(slotOf(static_cast<void (SourceSide::*)(Sink*)>(&SourceSide::OnConnectToSink)), 0);
    EXPECT_EQ(slotOf(static_cast<void (SourceSide::*)(const std::string&, Sink*)>(&SourceSide::OnConnectToSink)), 1);
    EXPECT_EQ(slotOf(&SourceSide::OnDisconnectSink), 2);
    EXPECT_EQ(slotCountOf<SourceSide>(), 5);
    EXPECT_EQ(slotOf(&SinkSide::OnBuffer), 0);
    EXPECT_EQ(slotCountOf<SinkSide>(), 3);
}

TEST(SlotOrder, ofThePlugIn)
{
    expectFilterOrder<DetectionPlugin>();
}

template <typename Class>
void expectMovementOrder()
{
    EXPECT_EQ(slotOf(&Class::IsValid), 0);
    EXPECT_EQ(slotOf(&Class::StartMovement), 1);
    EXPECT_EQ(slotOf(&Class::CancelMovement), 2);
    EXPECT_EQ(slotOf(&Class::SetZoomPosition), 3);
    EXPECT_EQ(slotOf(&Class::GoToPreset), 4);
    EXPECT_EQ(slotOf(&Class::GetPtzCameraInfo), 5);
    EXPECT_EQ(slotOf(&Class::GetPresetLocation), 6);
}

TEST(SlotOrder, ofTheMovementInterfaceWhichHasNoVirtualDestructor)
{
    expectMovementOrder<IAnalyticsPtz>();
    EXPECT_EQ(slotCountOf<IAnalyticsPtz>(), 7);
    static_assert(!std::has_virtual_destructor_v<IAnalyticsPtz>);
}

TEST(SlotOrder, ofTheMovementAdapter)
{
    expectMovementOrder<PtzShim>();
    static_assert(std::is_final_v<PtzShim>, "nothing may derive from a class that is not deleted virtually");
    static_assert(!std::has_virtual_destructor_v<PtzShim>);
}

TEST(SlotOrder, ofTheEngineInterface)
{
    EXPECT_EQ(slotOf(&IOnvifAnalytics::getName), 0);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::isEngineConfiguration), 1);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::setEventHandler), 2);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::onFrame), 3);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::onWindowBlankingChange), 4);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::onOrientationChanged), 5);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::getEventTopics), 6);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::getSupportedEngines), 7);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::getSupportedRules), 8);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::readFramesFromFile), 9);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::writeFramesToFile), 10);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::createRuleSet), 11);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::releaseRuleSet), 12);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::activateRuleSet), 13);
    EXPECT_EQ(slotOf(&IOnvifAnalytics::clearAllRules), 14);
    static_assert(std::has_virtual_destructor_v<IOnvifAnalytics>);
}

TEST(SlotOrder, ofTheRuleSetInterface)
{
    EXPECT_EQ(slotOf(&IRuleSet::validateFullConfig), 0);
    EXPECT_EQ(slotOf(&IRuleSet::validateConfig), 1);
    EXPECT_EQ(slotOf(&IRuleSet::setConfig), 2);
    EXPECT_EQ(slotOf(&IRuleSet::detach), 3);
    EXPECT_EQ(slotOf(&IRuleSet::deleteBehavior), 4);
    EXPECT_EQ(slotOf(&IRuleSet::setFullConfig), 5);
    EXPECT_EQ(slotOf(&IRuleSet::getFullConfig), 6);
    EXPECT_EQ(slotCountOf<IRuleSet>(), 7);
}

TEST(SlotOrder, ofTheEventInterfaceWhichHasExactlyOneOperation)
{
    EXPECT_EQ(slotOf(&IEventHandler::OnEvent), 0);
    EXPECT_EQ(slotCountOf<IEventHandler>(), 1);
}

TEST(SlotOrder, ofTheConfigurationCore)
{
    EXPECT_EQ(slotOf(&ProxyTarget::OnEvent), 0);
    // 1 and 2: the destructor
    EXPECT_EQ(slotOf(&ProxyTarget::getEventTopics), 3);
    EXPECT_EQ(slotOf(&ProxyTarget::getSupportedRules), 4);
    EXPECT_EQ(slotOf(&ProxyTarget::getSupportedEngines), 5);
    EXPECT_EQ(slotOf(&ProxyTarget::getCurrentRules), 6);
    EXPECT_EQ(slotOf(&ProxyTarget::getCurrentEngines), 7);
    EXPECT_EQ(slotOf(&ProxyTarget::getCurrentConfiguration), 8);
    EXPECT_EQ(slotOf(&ProxyTarget::setConfiguration), 9);
    EXPECT_EQ(slotOf(&ProxyTarget::restoreDefaultSettings), 10);
    EXPECT_EQ(slotOf(&ProxyTarget::getUsedPtzPresets), 11);
    EXPECT_EQ(slotOf(&ProxyTarget::getPtzPresetConfiguration), 12);
    EXPECT_EQ(slotOf(&ProxyTarget::readFramesFromFile), 13);
    EXPECT_EQ(slotOf(&ProxyTarget::writeFramesToFile), 14);
    EXPECT_EQ(slotCountOf<ProxyTarget>(), 15);
    static_assert(std::has_virtual_destructor_v<ProxyTarget>);
    static_assert(!std::is_copy_constructible_v<ProxyTarget> && !std::is_copy_assignable_v<ProxyTarget>);
}

TEST(SlotOrder, theOtherOperationsOfTheConfigurationCoreAreNotVirtual)
{
    EXPECT_EQ(slotOf(&ProxyTarget::setAnalyticLibs), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::registerEventCallback), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::getFrameOrientation), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::reconfigure), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::modifyConfiguration), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::deleteBehaviorSetting), -1);
    EXPECT_EQ(slotOf(&ProxyTarget::handlePresetStateEvent), -1);
}

template <typename Class>
void expectTargetOrder()
{
    // 0 and 1: the destructor
    EXPECT_EQ(slotOf(&Class::isRunnable), 2);
    EXPECT_EQ(slotOf(&Class::getEventTopics), 3);
    EXPECT_EQ(slotOf(&Class::getSupportedRules), 4);
    EXPECT_EQ(slotOf(&Class::getCurrentRules), 5);
    EXPECT_EQ(slotOf(&Class::createRules), 6);
    EXPECT_EQ(slotOf(&Class::modifyRules), 7);
    EXPECT_EQ(slotOf(&Class::deleteRules), 8);
    EXPECT_EQ(slotOf(&Class::getSupportedEngines), 9);
    EXPECT_EQ(slotOf(&Class::getCurrentEngines), 10);
    EXPECT_EQ(slotOf(&Class::createEngines), 11);
    EXPECT_EQ(slotOf(&Class::modifyEngines), 12);
    EXPECT_EQ(slotOf(&Class::deleteEngines), 13);
    EXPECT_EQ(slotOf(&Class::getCurrentConfiguration), 14);
    EXPECT_EQ(slotOf(&Class::setConfiguration), 15);
    EXPECT_EQ(slotOf(&Class::restoreDefaultSettings), 16);
    EXPECT_EQ(slotOf(&Class::getUsedPtzPresets), 17);
    EXPECT_EQ(slotOf(&Class::readFramesFromFile), 18);
    EXPECT_EQ(slotOf(&Class::writeFramesToFile), 19);
    EXPECT_EQ(slotOf(&Class::getPtzPresetConfiguration), 20);
    EXPECT_EQ(slotOf(&Class::log), 21);
}

TEST(SlotOrder, ofTheServiceTargetBase)
{
    expectTargetOrder<RavelApiAnalyticsTargetImplBase>();
}

TEST(SlotOrder, ofTheServiceTarget)
{
    expectTargetOrder<OnvifTarget>();
    EXPECT_EQ(slotOf(&OnvifTarget::getFrameOrientation), -1);
    EXPECT_EQ(slotOf(&OnvifTarget::handlePresetStateEvent), -1);
    EXPECT_EQ(slotOf(&OnvifTarget::OnEvent), -1);
}

TEST(SlotOrder, ofBuffersFormatsAndSinks)
{
    using korva::meridan::Buffer;
    using korva::meridan::BufferFormat;
    EXPECT_EQ(slotOf(&Buffer::GetLength), 2);
    EXPECT_EQ(slotOf(&Buffer::GetFormat), 3);
    EXPECT_EQ(slotOf(&Buffer::GetData), 4);
    EXPECT_EQ(slotOf(&Buffer::GetTimestamp), 5);
    EXPECT_EQ(slotOf(&BufferFormat::GetInt), 2);
    EXPECT_EQ(slotOf(&Sink::PutBuffer), 2);
}

} // namespace
