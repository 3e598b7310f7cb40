#pragma once

#include "plugin/analytics/IEventHandler.h"

#include <cstdint>
#include <string>

namespace camera::engines {

/// A frame's time as it stands in documents.
struct UtcTime {
    std::uint32_t seconds = 0; ///< since 1970
    std::uint32_t nanoseconds = 0;

    std::string text() const; ///< 2026-01-02T03:04:05.678Z
};

/// How the events of one type of rule look.
struct EventForm {
    const char* topic;
    const char* videoSourceItem; ///< names of the simple items
    const char* analyticsItem;   ///< null: there is none
    const char* ruleItem;
    const char* stateItem;
};

/**
 * The state of one rule and its events: one on each change, true and false in turn.
 * Thread: the one that holds the engine's gate.
 */
class Alarm {
public:
    Alarm(const EventForm& form, std::string rule) : _form(form), _rule(std::move(rule)) {}

    /// The state becomes true when motion has lasted for onDelay, false when there was none for offDelay (nanoseconds).
    /// @return whether the state is to be changed.
    bool due(bool motion, std::int64_t time, std::int64_t onDelay, std::int64_t offDelay);

    /// Changes the state, then raises the event; the handler may be null.
    void change(analytics_lib::IEventHandler* handler, const UtcTime& time);

    /// Starts the delays again.
    void settle() { _turning = false; }

    bool isOn() const { return _on; }
    const std::string& rule() const { return _rule; }

private:
    EventForm _form;
    std::string _rule;
    bool _on = false;
    bool _turning = false;   ///< the opposite of the state is being seen
    std::int64_t _since = 0; ///< since when
};

} // namespace camera::engines
