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

#include <gmock/gmock.h>

#include <numeric>
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

/// The slots of several operations, in this order.
template <typename... Operations>
std::vector<std::ptrdiff_t> slotsOf(Operations... operations)
{
    return {slotOf(operations)...};
}

/// The slots from first to last.
std::vector<std::ptrdiff_t> slots(std::ptrdiff_t first, std::ptrdiff_t last)
{
    std::vector<std::ptrdiff_t> all(static_cast<std::size_t>(last - first + 1));
    std::iota(all.begin(), all.end(), first);
    return all;
}

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
    EXPECT_EQ(slotsOf(static_cast<void (Class::*)(Sink*)>(&Class::OnConnectToSink),
                      static_cast<void (Class::*)(const std::string&, Sink*)>(&Class::OnConnectToSink),
                      &Class::OnDisconnectSink, &Class::OnBuffer),
              slots(3, 6));
}

TEST(SlotOrder, ofTheFilterBase)
{
    expectFilterOrder<BasicFilterPlugin>();
    EXPECT_EQ(slotCountOf<PipelinePlugin>(), 3);
}

TEST(SlotOrder, ofTheFilterBasesSides)
{
    EXPECT_EQ(slotsOf(static_cast<void (SourceSide::*)(Sink*)>(&SourceSide::OnConnectToSink),
                      static_cast<void (SourceSide::*)(const std::string&, Sink*)>(&SourceSide::OnConnectToSink),
                      &SourceSide::OnDisconnectSink),
              slots(0, 2));
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
    EXPECT_EQ(slotsOf(&Class::IsValid, &Class::StartMovement, &Class::CancelMovement, &Class::SetZoomPosition,
                      &Class::GoToPreset, &Class::GetPtzCameraInfo, &Class::GetPresetLocation),
              slots(0, 6));
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
    EXPECT_EQ(slotsOf(&IOnvifAnalytics::getName, &IOnvifAnalytics::isEngineConfiguration,
                      &IOnvifAnalytics::setEventHandler, &IOnvifAnalytics::onFrame,
                      &IOnvifAnalytics::onWindowBlankingChange, &IOnvifAnalytics::onOrientationChanged,
                      &IOnvifAnalytics::getEventTopics, &IOnvifAnalytics::getSupportedEngines,
                      &IOnvifAnalytics::getSupportedRules, &IOnvifAnalytics::readFramesFromFile,
                      &IOnvifAnalytics::writeFramesToFile, &IOnvifAnalytics::createRuleSet,
                      &IOnvifAnalytics::releaseRuleSet, &IOnvifAnalytics::activateRuleSet,
                      &IOnvifAnalytics::clearAllRules),
              slots(0, 14));
    static_assert(std::has_virtual_destructor_v<IOnvifAnalytics>);
}

TEST(SlotOrder, ofTheRuleSetInterface)
{
    EXPECT_EQ(slotsOf(&IRuleSet::validateFullConfig, &IRuleSet::validateConfig, &IRuleSet::setConfig, &IRuleSet::detach,
                      &IRuleSet::deleteBehavior, &IRuleSet::setFullConfig, &IRuleSet::getFullConfig),
              slots(0, 6));
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
    EXPECT_EQ(slotsOf(&ProxyTarget::getEventTopics, &ProxyTarget::getSupportedRules, &ProxyTarget::getSupportedEngines,
                      &ProxyTarget::getCurrentRules, &ProxyTarget::getCurrentEngines,
                      &ProxyTarget::getCurrentConfiguration, &ProxyTarget::setConfiguration,
                      &ProxyTarget::restoreDefaultSettings, &ProxyTarget::getUsedPtzPresets,
                      &ProxyTarget::getPtzPresetConfiguration, &ProxyTarget::readFramesFromFile,
                      &ProxyTarget::writeFramesToFile),
              slots(3, 14));
    EXPECT_EQ(slotCountOf<ProxyTarget>(), 15);
    static_assert(std::has_virtual_destructor_v<ProxyTarget>);
    static_assert(!std::is_copy_constructible_v<ProxyTarget> && !std::is_copy_assignable_v<ProxyTarget>);
}

TEST(SlotOrder, theOtherOperationsOfTheConfigurationCoreAreNotVirtual)
{
    EXPECT_THAT(slotsOf(&ProxyTarget::setAnalyticLibs, &ProxyTarget::registerEventCallback,
                        &ProxyTarget::getFrameOrientation, &ProxyTarget::reconfigure, &ProxyTarget::modifyConfiguration,
                        &ProxyTarget::deleteBehaviorSetting, &ProxyTarget::handlePresetStateEvent),
                testing::Each(-1));
}

template <typename Class>
void expectTargetOrder()
{
    // 0 and 1: the destructor
    EXPECT_EQ(slotsOf(&Class::isRunnable, &Class::getEventTopics, &Class::getSupportedRules, &Class::getCurrentRules,
                      &Class::createRules, &Class::modifyRules, &Class::deleteRules, &Class::getSupportedEngines,
                      &Class::getCurrentEngines, &Class::createEngines, &Class::modifyEngines, &Class::deleteEngines,
                      &Class::getCurrentConfiguration, &Class::setConfiguration, &Class::restoreDefaultSettings,
                      &Class::getUsedPtzPresets, &Class::readFramesFromFile, &Class::writeFramesToFile,
                      &Class::getPtzPresetConfiguration, &Class::log),
              slots(2, 21));
}

TEST(SlotOrder, ofTheServiceTargetBase)
{
    expectTargetOrder<RavelApiAnalyticsTargetImplBase>();
}

TEST(SlotOrder, ofTheServiceTarget)
{
    expectTargetOrder<OnvifTarget>();
    EXPECT_THAT(slotsOf(&OnvifTarget::getFrameOrientation, &OnvifTarget::handlePresetStateEvent, &OnvifTarget::OnEvent),
                testing::Each(-1));
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
