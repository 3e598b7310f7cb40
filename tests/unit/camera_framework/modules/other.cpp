// A plug-in, but another one.
#include "korva/meridan/PluginManager.h"

namespace {

korva::meridan::PipelinePlugin* make(korva::meridan::MeridanEnv* /*env*/,
                                     const korva::meridan::IPluginConfiguration& /*configuration*/)
{
    return nullptr;
}

const korva::meridan::PluginManager::PluginAutoRegister blur("BlurPlugin", &make);
const korva::meridan::PluginManager::PluginAutoRegister crop("CropPlugin", &make);

} // namespace
