#include "camera/services/FaultyAnswers.h"

namespace camera::services {

namespace {

bool hold(const ObjectContext& context, const FaultSwitch::Setting& setting,
          const std::shared_ptr<bus::Request>& request)
{
    const auto answers = context.answers.lock();
    const auto due =
        DelayedAnswers::Clock::now() + std::chrono::duration_cast<DelayedAnswers::Clock::duration>(setting.delay);
    if (!answers || !answers->hold(due, request->bytes(), [request] { request->answer(); })) {
        return false;
    }
    context.timer.wakeAt(due, answers);
    return true;
}

} // namespace

bus::Dispatch withFaults(const ObjectContext& context, const std::string& service)
{
    return [context, service](const std::shared_ptr<bus::Request>& request) {
        const FaultSwitch::Setting setting = context.faults.of(service);
        if (setting.fault == Fault::fail) {
            request->refuse(bus::error::kFailed, "made to fail");
            return;
        }
        request->perform();
        if (setting.fault != Fault::slow) {
            request->answer();
        } else if (!hold(context, setting, request)) {
            request->refuse(bus::error::kFailed, "made slow, and too many answers wait already");
        }
    };
}

} // namespace camera::services
