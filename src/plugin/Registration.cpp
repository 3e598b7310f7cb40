#include "korva/meridan/PluginManager.h"
#include "plugin/DetectionPlugin.h"

namespace korva::meridan {

namespace {

const PluginManager::PluginAutoRegister registration("DetectionPlugin", &createDetectionPlugin);

} // namespace

} // namespace korva::meridan
