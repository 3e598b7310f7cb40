#include "camera/services/ServiceObject.h"

namespace camera::services {

ServiceObject::ServiceObject(const ObjectContext& context, const char* service)
    : _context(context),
      _service(service),
      _interface(bus::interfaceName(service)),
      _object(sdbus::createObject(context.connection, bus::objectPath(service)))
{
}

void ServiceObject::takeName()
{
    _context.connection.requestName(bus::busName(_service));
}

void ServiceObject::releaseName()
{
    _context.connection.releaseName(bus::busName(_service));
}

bool ServiceObject::hold(const FaultSwitch::Setting& setting, std::size_t bytes, std::function<void()> give)
{
    const auto answers = _context.answers.lock();
    const auto due =
        DelayedAnswers::Clock::now() + std::chrono::duration_cast<DelayedAnswers::Clock::duration>(setting.delay);
    if (!answers || !answers->hold(due, bytes, std::move(give))) {
        return false;
    }
    _context.timer.wakeAt(due, answers);
    return true;
}

} // namespace camera::services
