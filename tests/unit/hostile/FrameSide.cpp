// The rest of a host, which nothing here looks at: frames, movement, metadata, the runner. What the configuration
// side calls is the fuzzers' platform.

#include "FrameSide.h"

#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/MetadataTransmitter.h"
#include "korva/meridan/PositioningManager.h"
#include "korva/meridan/Source.h"
#include "plugin/analytics/factory.h"
#include "plugin/analytics/frame_utils.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"
#include "ravel/logging.h"
#include "ravel/onvif_metadata_streamer.h"

namespace hostile {

namespace {

char logHandle;

} // namespace

HostSide& hostSide()
{
    static HostSide side;
    return side;
}

} // namespace hostile

using hostile::hostSide;

namespace korva::meridan {

namespace {

class NoSource final : public Source {
    void Push(Buffer* buffer) override { delete buffer; }
};

} // namespace

void PipelinePlugin::PipelinesConstructed()
{
}
PipelinePlugin::~PipelinePlugin() = default;

BasicFilterPlugin::BasicFilterPlugin(const IPluginConfiguration& /*configuration*/)
    : _source(std::make_unique<NoSource>())
{
}
BasicFilterPlugin::~BasicFilterPlugin() = default;
void BasicFilterPlugin::OnConnectToSink(Sink* /*sink*/)
{
}
void BasicFilterPlugin::OnConnectToSink(const std::string& /*sourceName*/, Sink* /*sink*/)
{
}
void BasicFilterPlugin::OnDisconnectSink(const Sink* /*sink*/)
{
}
void Source::PushBuffer(Buffer* buffer)
{
    Push(buffer);
}

bool PositioningManager::getCurrentPosition(unsigned int&, int&, unsigned int&, unsigned int&) const
{
    return false;
}
bool PositioningManager::getAngleOfViewLimits(unsigned int&, unsigned int&) const
{
    return false;
}
bool PositioningManager::getFocalLengthLimits(unsigned int&, unsigned int&) const
{
    return false;
}
bool PositioningManager::getSensorDimensions(unsigned int&, unsigned int&) const
{
    return false;
}
bool PositioningManager::startLinearContinuousMovement(bool, int, bool, int, bool, int)
{
    return false;
}
bool PositioningManager::stopLinearContinuousMovement(bool, bool, bool)
{
    return false;
}
bool PositioningManager::setZoomPosition(unsigned int /*zoom*/)
{
    return false;
}
bool PositioningManager::goToPreset(std::string /*presetName*/, bool /*flag*/)
{
    return false;
}
bool PositioningManager::getPresetLocation(std::string /*presetName*/, unsigned int&, int&, unsigned int&) const
{
    return false;
}

MetadataTransmitter& MetadataTransmitter::instance()
{
    alignas(MetadataTransmitter) static unsigned char storage[sizeof(MetadataTransmitter)];
    return *reinterpret_cast<MetadataTransmitter*>(storage);
}
std::uint8_t* MetadataTransmitter::GetEmptyDrawingBuffer()
{
    return nullptr;
}
std::uint8_t* MetadataTransmitter::GetEmptyMotionBuffer()
{
    return nullptr;
}
std::uint32_t MetadataTransmitter::GetMaxBufferSize() const
{
    return 0;
}
void MetadataTransmitter::ReturnFullDrawingBuffer(unsigned int /*usedBytes*/)
{
}
void MetadataTransmitter::ReturnFullMotionBuffer(unsigned int /*usedBytes*/)
{
}

} // namespace korva::meridan

struct RavelApiAnalyticsTargetRun::Serving {
    boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target;
};

RavelApiAnalyticsTargetRun::RavelApiAnalyticsTargetRun(const std::string& /*serviceName*/, void* /*logHandle*/,
                                                       boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target)
    : _serving(std::make_unique<Serving>())
{
    hostSide().served = target.get();
    _serving->target = std::move(target);
}

RavelApiAnalyticsTargetRun::~RavelApiAnalyticsTargetRun()
{
    hostSide().served = nullptr;
}

extern "C" {

ravel_core_status ravel_core_logging_init(const char* /*tag*/, void** handle)
{
    *handle = &hostile::logHandle;
    return 0;
}
void ravel_core_logging_deinit(void* /*handle*/)
{
}
ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void*, void*, std::uint64_t* /*cookie*/, int, void*)
{
    return 1;
}
ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t, const char*,
                                                                                           const char*, int)
{
    return 1;
}
void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t /*cookie*/)
{
}
}

namespace analytics_lib {

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* /*logContext*/,
                                                                        std::shared_ptr<IAnalyticsPtz> /*ptz*/)
{
    return {hostSide().engine};
}

namespace frame_utils {

void YUV420SemiPlanar_Rotate90(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}
void YUV420SemiPlanar_Rotate180(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}
void YUV420SemiPlanar_Rotate270(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}

} // namespace frame_utils

} // namespace analytics_lib
