#pragma once

#include "camera/gateway/CameraLink.h"
#include "camera/onvif/PtzView.h"

namespace camera::gateway {

/// What the PTZ service of ONVIF asks of the camera, asked over its bus. The link is borrowed.
onvif::PtzActions ptzActions(CameraLink& link);

} // namespace camera::gateway
