#include "camera/engines/RuleProgram.h"

namespace camera::engines {

void RuleProgram::observe(const Foreground& foreground)
{
    _time = foreground.time;
    analyse(foreground);
}

void RuleProgram::judge(analytics_lib::IEventHandler* handler, const UtcTime& time)
{
    for (Rule* rule : _rules) {
        if (rule->alarm.due(rule->motion, _time, rule->onDelay, rule->offDelay)) {
            rule->alarm.change(handler, time);
        }
        if (_ended) {
            return;
        }
        rule->shown = !rule->armed         ? kit::RuleState::kDisarmed
                      : rule->alarm.isOn() ? kit::RuleState::kAlarm
                                           : kit::RuleState::kQuiet;
    }
}

void RuleProgram::endAlarms(analytics_lib::IEventHandler* handler, const UtcTime& time) noexcept
{
    for (Rule* rule : _rules) {
        try {
            rule->alarm.settle();
            if (rule->alarm.isOn()) {
                rule->alarm.change(handler, time);
            }
        } catch (...) {
            // The remaining alarms are closed too; the handler knows about its own exception.
        }
    }
}

} // namespace camera::engines
