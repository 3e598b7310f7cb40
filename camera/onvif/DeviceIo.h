#pragma once

#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"

namespace camera::onvif {

/// Adds the ONVIF service of inputs and outputs (namespace tmd): one video source and nothing else. The relay outputs,
/// of which there are none, are told by the device service, whose names that operation has.
void addDeviceIo(Operations& operations, ServiceDirectory& directory);

} // namespace camera::onvif
