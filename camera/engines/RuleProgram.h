#pragma once

#include "camera/engines/Alarm.h"
#include "camera/engines/Foreground.h"
#include "plugin/analytics/MetadataBuffers.h"

#include <vector>

namespace camera::engines {

/**
 * One activated configuration, ready to be evaluated.
 *
 * observe() and report() run on the frame thread. judge() and endAlarms() run with the engine's gate
 * locked; only this separates them.
 */
class RuleProgram {
public:
    virtual ~RuleProgram() = default;

    /// How small a difference in brightness counts, 0 to 100.
    virtual long sensitivity() const = 0;

    /// Stores the foreground of a frame for judge() and report().
    virtual void observe(const Foreground& foreground) = 0;

    /// Evaluates the rules on what was observed and raises their events.
    virtual void judge(analytics_lib::IEventHandler* handler, const UtcTime& time) = 0;

    /// Writes the frame's metadata, drawing data and motion data.
    virtual void report(const UtcTime& time, MetadataBuffers& outputs) = 0;

    /// Closes every alarm that is on, each with its event; no exception of the handler leaves it.
    void endAlarms(analytics_lib::IEventHandler* handler, const UtcTime& time) noexcept;

    /// No rule is judged after its end, also when a handler ended it from inside an event.
    void end() { _ended = true; }

protected:
    bool ended() const { return _ended; }
    virtual std::vector<Alarm*> alarms() = 0;

private:
    bool _ended = false;
};

} // namespace camera::engines
