#pragma once

#include "camera/engines/Alarm.h"
#include "camera/engines/Foreground.h"
#include "camera/kit/DrawingFormat.h"
#include "plugin/analytics/MetadataBuffers.h"

#include <cstdint>
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

    /// Stores what judge() and report() need of the foreground of a frame.
    void observe(const Foreground& foreground);

    /// Evaluates the rules on what was observed and raises their events.
    void judge(analytics_lib::IEventHandler* handler, const UtcTime& time);

    /// Writes the frame's metadata, drawing data and motion data.
    virtual void report(const UtcTime& time, MetadataBuffers& outputs) = 0;

    /// Closes every alarm that is on, each with its event; no exception of the handler leaves it.
    void endAlarms(analytics_lib::IEventHandler* handler, const UtcTime& time) noexcept;

    /// No rule is judged after its end, also when a handler ended it from inside an event.
    void end() { _ended = true; }

protected:
    /// What the rules of all engines have.
    struct Rule {
        Alarm alarm;
        std::int64_t onDelay;  ///< nanoseconds of motion until the alarm is on
        std::int64_t offDelay; ///< nanoseconds without motion until it is off
        bool armed = true;
        bool motion = false;                           ///< in the frame that was observed
        kit::RuleState shown = kit::RuleState::kQuiet; ///< the frame thread's copy of the state
    };

    /// Adds a rule that judge() evaluates. Borrowed; its address must not change.
    void add(Rule& rule) { _rules.push_back(&rule); }

private:
    /// Finds what moves, and sets motion of each rule.
    virtual void analyse(const Foreground& foreground) = 0;

    std::vector<Rule*> _rules;
    std::int64_t _time = 0; ///< of the frame that was observed
    bool _ended = false;
};

} // namespace camera::engines
