#pragma once

#include "camera/onvif/MediaSettings.h"
#include "camera/onvif/Notification.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

// Events that no rule raises: those of the device itself. Their messages are those of the ONVIF texts on media, PTZ,
// imaging, and the core.

/// A profile was added, removed, or refers to something else.
Notification profileChanged(const std::string& token);

/// @param kind  says what the configuration is; the message has its name of Media2.
Notification configurationChanged(const std::string& token, MediaKind kind);

/// What clients are to be told of a change of the profiles and configurations.
std::vector<Notification> mediaEvents(const MediaSettings& before, const MediaSettings& after);

/// A property: whether any rule sees motion.
Notification motionAlarm(bool alarm);

/// A property: when the camera started.
Notification lastReboot(std::chrono::system_clock::time_point time);

/// Whether a message is of a property that says that a rule sees motion, and it does.
bool tellsMotion(const Notification& notification);

/**
 * Follows a camera that moves, and says when it was sent to a preset, reached it, did not get there, or left it.
 *
 * Reentrant. docs/positioning-events.md has the order of what it is told.
 */
class PresetEvents {
public:
    /// @param nameOf  the name that clients gave a preset, by its token.
    explicit PresetEvents(std::function<std::string(const std::string& token)> nameOf) : _nameOf(std::move(nameOf)) {}

    /// @param state  0: left, 1: on the way, 2: reached.
    std::vector<Notification> presetState(int state, const std::string& preset);

    /// Another command takes the camera over, or the camera stands.
    std::vector<Notification> endOfTheWay();

    /// Nothing is known of the camera any more.
    void forget() { _target.clear(); }

private:
    Notification event(const char* what, const std::string& preset) const;

    const std::function<std::string(const std::string&)> _nameOf;
    std::string _target; ///< empty: it is on the way to none
};

} // namespace camera::onvif
