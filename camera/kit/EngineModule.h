#pragma once

#include "plugin/analytics/IAnalyticsPtz.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <cstdint>
#include <memory>
#include <string>

/**
 * What an engine module exports: one constant of this type under the name detectionEngineModule.
 * Header-only and without any dependency but the engine interface, so that a module builds alone:
 *
 *     DETECTION_ENGINE_MODULE("Counter", [](void* log, std::shared_ptr<analytics_lib::IAnalyticsPtz> ptz) {
 *         return std::make_shared<CounterEngine>(log, std::move(ptz));
 *     })
 *
 * The first word tells the version and never moves. The sizes catch a module that was compiled
 * against other declarations or another standard library before any engine is made.
 */
struct DetectionEngineModule {
    using Create = std::shared_ptr<analytics_lib::IOnvifAnalytics> (*)(void* logContext,
                                                                       std::shared_ptr<analytics_lib::IAnalyticsPtz>);

    static constexpr std::uint32_t kVersion = 1;

    std::uint32_t version;      ///< kVersion
    std::uint32_t frameBytes;   ///< sizeof(analytics_lib::YuvFrame)
    std::uint32_t buffersBytes; ///< sizeof(MetadataBuffers)
    std::uint32_t stringBytes;  ///< sizeof(std::string)
    const char* name;           ///< for messages
    Create create;              ///< called on the control thread, once per plug-in; may throw
};

#define DETECTION_ENGINE_MODULE(engineName, ...)                                                                       \
    extern "C" __attribute__((visibility("default")))                                                                  \
    const DetectionEngineModule detectionEngineModule = {DetectionEngineModule::kVersion,                              \
                                                         sizeof(analytics_lib::YuvFrame),                              \
                                                         sizeof(MetadataBuffers),                                      \
                                                         sizeof(std::string),                                          \
                                                         engineName,                                                   \
                                                         __VA_ARGS__};
