#include "kit/QuietPlatform.h"

#include "kit/HostSeam.h"

namespace kit {

void resetQuietly()
{
    journal().record(false);
    platform().reset();
    platform().positioning.available = true;
    platform().offerAllServices();
    platform().logging.rendersAlways = true;
    platform().windowBlanking.red = 255;
    platform().windowBlanking.green = 128;
    platform().windowBlanking.enable = 1;
    platform().rotation.angle = 180;
    platform().settings.values["default_analytics_rotation"] = 90;
}

} // namespace kit
