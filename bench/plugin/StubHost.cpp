#include "bench/plugin/StubHost.h"

#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"
#include "korva/meridan/MetadataTransmitter.h"
#include "korva/meridan/PluginManager.h"
#include "korva/meridan/PositioningManager.h"
#include "korva/meridan/Source.h"
#include "plugin/analytics/frame_utils.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"
#include "ravel/configuration.h"
#include "ravel/day_night.h"
#include "ravel/onvif_metadata_streamer.h"
#include "ravel/rotate.h"
#include "ravel/settings.h"
#include "ravel/target_ids.h"
#include "ravel/window_blanking.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace korva::meridan {

class IPluginConfiguration {};

namespace {

PluginManager::Factory registered = nullptr;

class NoSource final : public Source {
    void Push(Buffer* buffer) override { delete buffer; }
};

} // namespace

void PluginManager::RegisterPlugin(const std::string& /*name*/, Factory factory)
{
    registered = factory;
}

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

// A camera that can move, so that every frame is stamped.
PositioningManager& PositioningManager::instance()
{
    alignas(PositioningManager) static unsigned char storage[sizeof(PositioningManager)];
    return *reinterpret_cast<PositioningManager*>(storage);
}
bool PositioningManager::isAvailable() const
{
    return true;
}
bool PositioningManager::getCurrentPosition(unsigned int& pan, int& tilt, unsigned int& zoom,
                                            unsigned int& angleOfView) const
{
    pan = 90000;
    tilt = -10000;
    zoom = 1;
    angleOfView = 60000;
    return true;
}
bool PositioningManager::getAngleOfViewLimits(unsigned int& /*first*/, unsigned int& /*second*/) const
{
    return false;
}
bool PositioningManager::getFocalLengthLimits(unsigned int& /*first*/, unsigned int& /*second*/) const
{
    return false;
}
bool PositioningManager::getSensorDimensions(unsigned int& /*first*/, unsigned int& /*second*/) const
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
bool PositioningManager::getPresetLocation(std::string /*presetName*/, unsigned int& /*pan*/, int& /*tilt*/,
                                           unsigned int& /*zoom*/) const
{
    return false;
}
std::string PositioningManager::getActivePreset(bool /*flag*/) const
{
    return {};
}
bool PositioningManager::registerMotionStateCallback(MotionStateCallback, void*)
{
    return true;
}
bool PositioningManager::registerCommandPriorityCallback(CommandPriorityCallback, void*)
{
    return true;
}
bool PositioningManager::registerPresetStateCallback(PresetStateCallback, void*)
{
    return true;
}
bool PositioningManager::registerPresetModifiedCallback(PresetModifiedCallback, void*)
{
    return true;
}
bool PositioningManager::registerTourStateCallback(TourStateCallback, void*)
{
    return true;
}
bool PositioningManager::unregisterMotionStateCallback(MotionStateCallback, void*)
{
    return true;
}
bool PositioningManager::unregisterCommandPriorityCallback(CommandPriorityCallback, void*)
{
    return true;
}
bool PositioningManager::unregisterPresetStateCallback(PresetStateCallback, void*)
{
    return true;
}
bool PositioningManager::unregisterPresetModifiedCallback(PresetModifiedCallback, void*)
{
    return true;
}
bool PositioningManager::unregisterTourStateCallback(TourStateCallback, void*)
{
    return true;
}

namespace {

std::uint8_t drawing[4096];
std::uint8_t motion[4096];

} // namespace

MetadataTransmitter& MetadataTransmitter::instance()
{
    alignas(MetadataTransmitter) static unsigned char storage[sizeof(MetadataTransmitter)];
    return *reinterpret_cast<MetadataTransmitter*>(storage);
}
std::uint8_t* MetadataTransmitter::GetEmptyDrawingBuffer()
{
    return drawing;
}
std::uint8_t* MetadataTransmitter::GetEmptyMotionBuffer()
{
    return motion;
}
std::uint32_t MetadataTransmitter::GetMaxBufferSize() const
{
    return sizeof(drawing);
}
void MetadataTransmitter::ReturnFullDrawingBuffer(unsigned int /*usedBytes*/)
{
}
void MetadataTransmitter::ReturnFullMotionBuffer(unsigned int /*usedBytes*/)
{
}

} // namespace korva::meridan

namespace {

RavelApiAnalyticsTargetImplBase* served = nullptr;

} // namespace

RavelApiAnalyticsTargetImplBase::RavelApiAnalyticsTargetImplBase(void* logHandle) : _baseLogHandle(logHandle)
{
}
RavelApiAnalyticsTargetImplBase::~RavelApiAnalyticsTargetImplBase() = default;
bool RavelApiAnalyticsTargetImplBase::isRunnable()
{
    return true;
}
void RavelApiAnalyticsTargetImplBase::log(ravel_core_log_priority priority, const char* format, ...) const
{
    va_list arguments;
    va_start(arguments, format);
    ravel_core_logging_logv(_baseLogHandle, priority, format, arguments);
    va_end(arguments);
}
ravel_core_status RavelApiAnalyticsTargetImplBase::sendEventAnalyticsEvent(const char*, const char*, const char*) const
{
    return 0;
}

struct RavelApiAnalyticsTargetRun::Serving {
    boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target;
};
RavelApiAnalyticsTargetRun::RavelApiAnalyticsTargetRun(const std::string& /*serviceName*/, void* /*logHandle*/,
                                                       boost::shared_ptr<RavelApiAnalyticsTargetImplBase> target)
    : _serving(std::make_unique<Serving>())
{
    served = target.get();
    _serving->target = std::move(target);
}
RavelApiAnalyticsTargetRun::~RavelApiAnalyticsTargetRun() = default;

extern "C" {

const char* ravel_core_status_to_string(ravel_core_status /*status*/)
{
    return "";
}
ravel_core_status ravel_core_logging_init(const char* /*tag*/, void** handle)
{
    *handle = nullptr;
    return 0;
}
void ravel_core_logging_log(void* /*handle*/, ravel_core_log_priority /*priority*/, const char* /*format*/, ...)
{
}
void ravel_core_logging_logv(void* /*handle*/, ravel_core_log_priority /*priority*/, const char* /*format*/,
                             va_list /*arguments*/)
{
}
void ravel_core_logging_deinit(void* /*handle*/)
{
}
ravel_core_status ravel_core_configuration_get_int_value(const char* /*key*/, int* /*value*/)
{
    return 1;
}
ravel_core_status ravel_core_settings_set_default_json_value(const char* /*key*/, const char* /*value*/)
{
    return 0;
}
ravel_core_status ravel_api_day_night_initiator_init(void*, void*, void**, int, void*)
{
    return 1;
}
void ravel_api_day_night_initiator_deinit(void* /*cookie*/)
{
}
ravel_core_status
ravel_api_day_night_movement_change_register_event_handler(void*, ravel_api_day_night_movement_change_handler, void*)
{
    return 1;
}
ravel_core_status
ravel_api_day_night_movement_change_unregister_event_handler(void*, ravel_api_day_night_movement_change_handler)
{
    return 1;
}
ravel_core_status ravel_api_window_blanking_initiator_init(void*, void*, void**, int, void*)
{
    return 1;
}
void ravel_api_window_blanking_initiator_deinit(void* /*cookie*/)
{
}
ravel_core_status ravel_api_window_blanking_settings_changed_register_event_handler(
    void*, ravel_api_window_blanking_settings_changed_handler, void*)
{
    return 1;
}
ravel_core_status
ravel_api_window_blanking_settings_changed_unregister_event_handler(void*,
                                                                    ravel_api_window_blanking_settings_changed_handler)
{
    return 1;
}
ravel_core_status ravel_api_window_blanking_get_region_color_send(void*, const char*, std::uint8_t*, std::uint8_t*,
                                                                  std::uint8_t*)
{
    return 1;
}
ravel_core_status ravel_api_window_blanking_get_enable_send(void*, const char*, std::uint8_t*)
{
    return 1;
}
ravel_core_status ravel_api_rotate_initiator_init(void*, void*, void**, int, void*)
{
    return 1;
}
void ravel_api_rotate_initiator_deinit(void* /*cookie*/)
{
}
ravel_core_status
ravel_api_rotate_orientation_changed_register_event_handler(void*, ravel_api_rotate_orientation_changed_handler, void*)
{
    return 1;
}
ravel_core_status
ravel_api_rotate_orientation_changed_unregister_event_handler(void*, ravel_api_rotate_orientation_changed_handler)
{
    return 1;
}
ravel_core_status ravel_api_rotate_get_angle_send(void*, const char*, std::uint32_t*)
{
    return 1;
}
ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void*, void*, std::uint64_t* cookie, int, void*)
{
    *cookie = 1;
    return 0;
}
ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t, const char*,
                                                                                           const char*, int)
{
    return 0;
}
void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t /*cookie*/)
{
}
}

namespace ravel::core {

std::string statusToString(ravel_core_status /*status*/)
{
    return {};
}

// Only the metadata streamer is there.
bool getTargetIds(const char* service, std::vector<std::string>& ids)
{
    if (std::string(service) != "onvif_metadata_streamer") {
        return false;
    }
    ids = {"0"};
    return true;
}

ravel_core_status settingsGetJson(const std::string& /*key*/, std::string& value)
{
    value = bench::storedDocument();
    return 0;
}

ravel_core_status settingsSetJson(const std::string& /*key*/, const std::string& value)
{
    bench::storedDocument() = value;
    return 0;
}

} // namespace ravel::core

namespace analytics_lib::frame_utils {

void YUV420SemiPlanar_Rotate90(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}
void YUV420SemiPlanar_Rotate180(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}
void YUV420SemiPlanar_Rotate270(const YuvFrame& /*source*/, YuvFrame& /*destination*/)
{
}

} // namespace analytics_lib::frame_utils

namespace bench {

namespace {

using korva::meridan::BufferFormat;

class Format final : public BufferFormat {
public:
    std::int32_t GetInt(const std::string& key) const override { return key == "height" ? 360 : 640; }
};

// One buffer that is delivered again and again: deleting it frees nothing.
class ReusedBuffer final : public korva::meridan::Buffer {
public:
    std::size_t GetLength() const override { return sizeof(_data); }
    const BufferFormat& GetFormat() const override { return _format; }
    std::uint8_t* GetData() const override { return const_cast<std::uint8_t*>(_data); }
    const std::uint32_t* GetTimestamp() const override { return _timestamp; }

    static void* operator new(std::size_t /*size*/)
    {
        alignas(std::max_align_t) static unsigned char storage[256];
        return storage;
    }
    static void operator delete(void* /*memory*/) {}

private:
    Format _format;
    std::uint8_t _data[16] = {};
    std::uint32_t _timestamp[2] = {1, 2};
};

} // namespace

std::unique_ptr<korva::meridan::PipelinePlugin> buildPlugin()
{
    static void* const module = dlopen(DETECTION_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        throw std::runtime_error(dlerror());
    }
    const korva::meridan::IPluginConfiguration configuration;
    return std::unique_ptr<korva::meridan::PipelinePlugin>(korva::meridan::registered(nullptr, configuration));
}

RavelApiAnalyticsTargetImplBase& servedTarget()
{
    return *served;
}

std::string& storedDocument()
{
    static std::string document = "[]";
    return document;
}

void deliverFrame(korva::meridan::PipelinePlugin& plugin)
{
    static_cast<korva::meridan::BasicFilterPlugin&>(plugin).OnBuffer(nullptr, new ReusedBuffer);
}

} // namespace bench
