#pragma once

#include "camera/gateway/CameraLink.h"
#include "camera/onvif/ImagingService.h"
#include "camera/onvif/Kept.h"
#include "camera/onvif/MediaService.h"

namespace camera::gateway {

// What the ONVIF services ask of the camera, asked over its bus. The link is borrowed.

/// All but what is about analytics.
onvif::MediaActions mediaActions(CameraLink& link);

/// The filter moves at once, and always through a whole movement. @param filter  borrowed.
onvif::ImagingActions imagingActions(CameraLink& link, onvif::Kept<onvif::IrCutFilter>& filter);

} // namespace camera::gateway
