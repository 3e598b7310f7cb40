// Another module under the same name.
#include "korva/meridan/PluginManager.h"

using korva::meridan::IPluginConfiguration;
using korva::meridan::MeridanEnv;
using korva::meridan::PipelinePlugin;
using korva::meridan::PluginManager;

namespace {

// What it returns tells the test which module's factory it got.
PipelinePlugin* make(MeridanEnv* /*env*/, const IPluginConfiguration& /*configuration*/)
{
    return reinterpret_cast<PipelinePlugin*>(0x2000);
}

const PluginManager::PluginAutoRegister detection("DetectionPlugin", &make);

} // namespace
