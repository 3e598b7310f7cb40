#include "bench/plugin/BenchHost.h"

#include "kit/FakeEngine.h"
#include "kit/PlainBuffer.h"
#include "korva/meridan/BasicFilterPlugin.h"

#include <dlfcn.h>

#include <stdexcept>

namespace bench {

namespace {

korva::meridan::PluginManager::Factory load()
{
    if (dlopen(DETECTION_MODULE, RTLD_NOW | RTLD_LOCAL) == nullptr) {
        throw std::runtime_error(dlerror());
    }
    auto engine = std::make_shared<kit::FakeEngine>("Stub");
    engine->claims = [](const std::string&) { return true; };
    engine->accepts = [](const kit::Component&) { return true; };
    kit::Platform& platform = kit::platform();
    platform.engineLibrary.engines = {engine};
    platform.engineLibrary.keepsPtz = false;
    platform.positioning.available = true;
    platform.positioning.position = {90000, -10000, 1};
    platform.positioning.angleOfView = 60000;
    platform.targetIds["onvif_metadata_streamer"] = {"0"};
    return kit::pluginFactories().front().second;
}

} // namespace

std::unique_ptr<korva::meridan::PipelinePlugin> buildPlugin()
{
    static const korva::meridan::PluginManager::Factory create = load();
    const korva::meridan::IPluginConfiguration configuration;
    return std::unique_ptr<korva::meridan::PipelinePlugin>(create(nullptr, configuration));
}

RavelApiAnalyticsTargetImplBase& servedTarget()
{
    return *kit::platform().framework.serving.back().target;
}

std::string& storedDocument()
{
    return kit::platform().settings.analytics();
}

void deliverFrame(korva::meridan::PipelinePlugin& plugin)
{
    static_cast<korva::meridan::BasicFilterPlugin&>(plugin).OnBuffer(nullptr, new kit::PlainBuffer);
}

} // namespace bench
