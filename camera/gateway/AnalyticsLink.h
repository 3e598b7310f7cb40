#pragma once

#include "camera/gateway/CameraLink.h"
#include "camera/onvif/AnalyticsTransactions.h"

namespace camera::gateway {

/// What the analytics service of ONVIF asks of the camera, asked over its bus. The link is borrowed.
onvif::AnalyticsActions analyticsActions(CameraLink& link);

} // namespace camera::gateway
