#pragma once

#include "camera/serviceapi/DeviceService.h"
#include "camera/serviceapi/RemoteServices.h"

#include "ravel/window_blanking.h"

#include <memory>
#include <mutex>

namespace camera::serviceapi {

/// The window blanking service, "window_blanking": off, with a grey region colour, until set.
class WindowBlanking : public DeviceService<ravel_api_window_blanking_settings_changed_handler> {
public:
    using Color = RegionColor;

    WindowBlanking(ControlThread& control, TargetRegistry& targets, ServiceFault fault)
        : DeviceService("window_blanking", control, targets, fault)
    {
    }

    /// The service lives elsewhere: queries go to remote, until it has gone.
    void ask(const std::shared_ptr<RemoteServices>& remote);

    void setColor(Color color);

    /// Posts the event.
    void setEnabled(bool enabled);

    ravel_core_status color(void* cookie, const char* targetId, Color& color) const;
    ravel_core_status enabled(void* cookie, const char* targetId, bool& enabled) const;

private:
    mutable std::mutex _mutex;
    Color _color;
    bool _enabled = false;
    std::weak_ptr<RemoteServices> _remote;
};

} // namespace camera::serviceapi
