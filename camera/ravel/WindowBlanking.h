#pragma once

#include "camera/ravel/DeviceService.h"

#include "ravel/window_blanking.h"

#include <cstdint>
#include <mutex>

namespace camera::ravel {

/// The window blanking service, "window_blanking": off, with a grey region colour, until set.
class WindowBlanking : public DeviceService<ravel_api_window_blanking_settings_changed_handler> {
public:
    struct Color {
        std::uint8_t red = 128;
        std::uint8_t green = 128;
        std::uint8_t blue = 128;
    };

    WindowBlanking(ControlThread& control, TargetRegistry& targets, ServiceFault fault)
        : DeviceService("window_blanking", control, targets, fault)
    {
    }

    void setColor(Color color);

    /// Posts the event.
    void setEnabled(bool enabled);

    ravel_core_status color(void* cookie, const char* targetId, Color& color) const;
    ravel_core_status enabled(void* cookie, const char* targetId, bool& enabled) const;

private:
    mutable std::mutex _mutex;
    Color _color;
    bool _enabled = false;
};

} // namespace camera::ravel
