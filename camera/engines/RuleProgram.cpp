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
            // The remaining alarms are closed too; the handler knows about its own exception.
        }
    }
}

} // namespace camera::engines
