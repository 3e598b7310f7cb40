// A module that registers two plug-ins, one of them under the name that is looked for.
#include "korva/meridan/PluginManager.h"

using korva::meridan::IPluginConfiguration;
using korva::meridan::MeridanEnv;
using korva::meridan::PipelinePlugin;
using korva::meridan::PluginManager;

namespace {

PipelinePlugin* makeOther(MeridanEnv* /*env*/, const IPluginConfiguration& /*configuration*/)
{
    return nullptr;
}

// What it returns tells the test which module's factory it got.
PipelinePlugin* make(MeridanEnv* /*env*/, const IPluginConfiguration& /*configuration*/)
{
    return reinterpret_cast<PipelinePlugin*>(0x1000);
}

const PluginManager::PluginAutoRegister other("OtherPlugin", &makeOther);
const PluginManager::PluginAutoRegister detection("DetectionPlugin", &make);

} // namespace
