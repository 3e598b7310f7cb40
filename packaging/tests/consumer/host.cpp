// Loads the installed module as a pipeline process does: builds the plug-in, configures it, shows it frames.

#include "CountingEngine.h"
#include "host-seam/FrameBuffer.h"
#include "host-seam/Framework.h"
#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include <korva/meridan/BasicFilterPlugin.h>
#include <ravel/RavelApiAnalyticsTargetImplBase.h>

#include <dlfcn.h>

#include <iostream>
#include <memory>
#include <stdexcept>

namespace {

using host_seam::platform;
using korva::meridan::PipelinePlugin;

constexpr unsigned int kFrames = 3;
const char* const kConfiguration =
    "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\"><tt:AnalyticsEngineConfiguration>"
    "<tt:AnalyticsModule Name=\"Counter\" Type=\"tt:CountingModule\"><tt:Parameters/></tt:AnalyticsModule>"
    "</tt:AnalyticsEngineConfiguration></tt:VideoAnalyticsConfiguration>";

void require(bool condition, const char* what)
{
    if (!condition) {
        throw std::runtime_error(what);
    }
}

korva::meridan::PluginManager::Factory factoryOf(const char* module)
{
    require(dlopen(module, RTLD_NOW | RTLD_LOCAL) != nullptr, "the module does not load");
    const auto& factories = host_seam::pluginFactories();
    require(factories.size() == 1 && factories.front().first == "DetectionPlugin", "it registers no DetectionPlugin");
    return factories.front().second;
}

void use(korva::meridan::PluginManager::Factory create)
{
    auto engine = std::make_shared<CountingEngine>();
    host_seam::journal().record(true);
    platform().offerAllServices();
    platform().engineLibrary.engines.push_back(engine);

    korva::meridan::MeridanEnv environment;
    const korva::meridan::IPluginConfiguration configuration;
    const std::unique_ptr<PipelinePlugin> plugin(create(&environment, configuration));
    require(platform().framework.serving.size() == 1, "no target is served");

    unsigned char failed = 1;
    const int status = platform().framework.serving.front().target->setConfiguration(kConfiguration, &failed);
    require(status == 0 && failed == 0, "the configuration is refused");
    require(platform().settings.analytics().find("Counter") != std::string::npos, "the configuration is not stored");
    require(engine->activations > 0, "the configuration is not active");

    auto* const filter = dynamic_cast<korva::meridan::SinkSide*>(plugin.get());
    require(filter != nullptr, "the plug-in takes no buffers");
    for (unsigned int frame = 0; frame < kFrames; ++frame) {
        filter->OnBuffer(nullptr, host_seam::FrameBuffer::image(16, 8));
    }
    require(engine->frames == kFrames, "frames get lost");
    require(platform().streamer.sent.size() == kFrames, "metadata gets lost");
}

} // namespace

int main(int count, char** arguments)
{
    try {
        require(count == 2, "usage: host MODULE");
        use(factoryOf(arguments[1]));
    } catch (const std::exception& failure) {
        const char* const reason = dlerror();
        std::cerr << failure.what() << (reason == nullptr ? "" : ": ") << (reason == nullptr ? "" : reason) << "\n";
        return 1;
    }
    std::cout << "loaded, configured and fed " << kFrames << " frames\n";
    return 0;
}
