#include "camera/engines/RuleProgram.h"

namespace camera::engines {

void RuleProgram::endAlarms(analytics_lib::IEventHandler* handler, const UtcTime& time) noexcept
{
    for (Alarm* alarm : alarms()) {
        try {
            alarm->settle();
            if (alarm->isOn()) {
                alarm->change(handler, time);
            }
        } catch (...) {
            // The next alarm is to be closed all the same; who raised the exception knows of it.
        }
    }
}

} // namespace camera::engines
