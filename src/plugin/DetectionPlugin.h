#pragma once

#include "korva/meridan/BasicFilterPlugin.h"
#include "plugin/analytics/MetadataBuffers.h"
#include "plugin/analytics/YuvFrame.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class RavelApiAnalyticsTargetRun;

namespace analytics_lib {
class IOnvifAnalytics;
} // namespace analytics_lib

namespace korva::meridan {

class MeridanEnv;
class OnvifTarget;

/**
 * The filter stage: every frame that reaches it ends here, upright and stamped, at every engine.
 *
 * Construction brings up logging, the engines and the served analytics target; destruction takes
 * them down. The metadata stream opens with the first frame that finds the streamer, and stays open.
 *
 * Thread: construction and destruction on the control thread, OnBuffer on the delivery thread, one
 * frame at a time. No lock is taken: what a frame reads is fixed after construction.
 */
class DetectionPlugin : public BasicFilterPlugin {
public:
    /// @throws whatever an engine, the target or the runner throws; the log handle then stays open.
    DetectionPlugin(MeridanEnv* env, const IPluginConfiguration& config);
    ~DetectionPlugin() override;

    /// Analyses one frame and deletes buffer, also when something throws. An empty buffer is pushed on.
    void OnBuffer(const Sink* sink, Buffer* buffer) override;

private:
    void analyse(const analytics_lib::YuvFrame& source);
    void callEngines(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs, std::uint32_t& drawingTotal);
    void InitializeMetadataStream();
    void sendMetadata(const std::string& xml);

    void* _logHandle = nullptr;
    std::uint64_t _metadataTargetIpcCookie = 0;
    std::string _metadataTargetId;
    std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> _analyticsLibs;
    boost::shared_ptr<OnvifTarget> _onvifTarget;
    std::shared_ptr<RavelApiAnalyticsTargetRun> _analyticsTargetRun;
};

/// The factory that the framework finds under the plug-in's name.
PipelinePlugin* createDetectionPlugin(MeridanEnv* env, const IPluginConfiguration& config);

} // namespace korva::meridan
