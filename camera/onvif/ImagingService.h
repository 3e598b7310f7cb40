#pragma once

#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"

#include <functional>
#include <optional>
#include <string>

namespace camera::onvif {

/// The infrared filter before the sensor: on by day, off by night, or as the light is.
enum class IrCutFilter { on, off, automatic };

/// "ON", as ONVIF writes it, and back; nothing for any other text.
std::string filterText(IrCutFilter filter);
std::optional<IrCutFilter> filterNamed(const std::string& text);

/// What the imaging service asks of the device around it. Each is called on the thread of the service.
struct ImagingActions {
    Ask<IrCutFilter> filter;
    std::function<void(IrCutFilter, Done)> setFilter;
};

/// The ONVIF imaging service (namespace timg). It lives until all that it asked has answered.
class ImagingService {
public:
    explicit ImagingService(ImagingActions actions);

    /// Adds its operations, and itself to the directory.
    void addTo(Operations& operations, ServiceDirectory& directory);

private:
    const ImagingActions _actions;
};

} // namespace camera::onvif
