// A host for the plug-in over host-seam, which answers every symbol of the seam from memory: loads the module, builds
// the plug-in, gives it a configuration and frames, and prints what comes out.

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

using host_seam::platform;

namespace {

constexpr char kConfiguration[] =
    "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\"><tt:AnalyticsEngineConfiguration>"
    "<tt:AnalyticsModule Name=\"Counter\" Type=\"tt:CountingModule\"><tt:Parameters/></tt:AnalyticsModule>"
    "</tt:AnalyticsEngineConfiguration></tt:VideoAnalyticsConfiguration>";

// While it is loaded the module registers its factory. It is never unloaded.
korva::meridan::PluginManager::Factory load(const char* module)
{
    if (dlopen(module, RTLD_NOW | RTLD_LOCAL) == nullptr || host_seam::pluginFactories().empty()) {
        throw std::runtime_error(dlerror());
    }
    return host_seam::pluginFactories().front().second;
}

void run(korva::meridan::PluginManager::Factory create)
{
    // A camera at 90 degrees with every device service and one engine.
    platform().offerAllServices();
    platform().rotation.angle = 90;
    platform().engineLibrary.engines = {std::make_shared<CountingEngine>()};
    host_seam::journal().record(true);

    korva::meridan::MeridanEnv environment;
    const korva::meridan::IPluginConfiguration section;
    const std::unique_ptr<korva::meridan::PipelinePlugin> plugin(create(&environment, section));

    unsigned char failed = 1;
    platform().framework.serving.front().target->setConfiguration(kConfiguration, &failed);
    std::cout << "configuration " << (failed == 0 ? "taken" : "refused") << "\n";

    for (int frame = 0; frame < 3; ++frame) {
        dynamic_cast<korva::meridan::SinkSide&>(*plugin).OnBuffer(nullptr, host_seam::FrameBuffer::image(640, 360));
    }
    for (const auto& sent : platform().streamer.sent) {
        std::cout << "metadata " << sent.xml << "\n";
    }
    std::cout << "stored " << platform().settings.analytics() << "\ncalls of the plug-in, in order:\n"
              << host_seam::journal().dump();
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "usage: example_host MODULE\n";
        return 2;
    }
    try {
        run(load(arguments[1]));
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}
