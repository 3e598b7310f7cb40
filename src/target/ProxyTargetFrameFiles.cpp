// Recording and replaying frames: the engines do it, this only finds them by name.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "target/ProxyTarget.h"

namespace korva::meridan {

int ProxyTarget::writeFramesToFile(const char* engineName, const char* path, unsigned int count)
{
    const std::string wanted(engineName);
    for (const Engine& engine : analyticLibs) {
        if (engine->getName() == wanted) {
            engine->writeFramesToFile(path, count);
        }
    }
    return 0;
}

int ProxyTarget::readFramesFromFile(const char* engineName, const char* path, unsigned char flag)
{
    const std::string wanted(engineName);
    for (const Engine& engine : analyticLibs) {
        if (engine->getName() == wanted) {
            engine->readFramesFromFile(path, flag != 0);
        }
    }
    return 0;
}

} // namespace korva::meridan
