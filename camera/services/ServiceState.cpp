#include "camera/services/ServiceState.h"

#include "camera/base/Log.h"
#include "camera/bus/Names.h"
#include "camera/store/SettingsStore.h"

#include <utility>

namespace camera::services {

ServiceState::ServiceState(store::SettingsStore& store) : _store(store)
{
    load(bus::service::kWindowBlanking, _blanking, parseBlanking);
    load(bus::service::kRotate, _orientation, parseOrientation);
    load(bus::service::kConfiguration, _values, parseValues);
}

void ServiceState::setBlanking(const Blanking& blanking)
{
    write(bus::service::kWindowBlanking, _blanking, blanking);
}

void ServiceState::setOrientation(const OrientationSetting& orientation)
{
    write(bus::service::kRotate, _orientation, orientation);
}

void ServiceState::setValues(Values values)
{
    write(bus::service::kConfiguration, _values, std::move(values));
}

template <class T, class Parse>
void ServiceState::load(const char* service, T& value, Parse parse)
{
    const auto document = _store.read(service);
    if (!document) {
        return;
    }
    if (const auto stored = parse(*document)) {
        value = *stored;
        return;
    }
    base::Log::instance().write(base::LogLevel::error, service,
                                "what is stored in " + _store.file().string() +
                                    " is not what this service stores; the defaults hold");
}

template <class T>
void ServiceState::write(const char* service, T& value, T wanted)
{
    // First, because it can fail: memory and disk never differ.
    _store.write(service, format(wanted));
    value = std::move(wanted);
}

} // namespace camera::services
