#include "camera/services/ServiceState.h"

#include "camera/base/Log.h"
#include "camera/bus/Names.h"
#include "camera/store/SettingsStore.h"

namespace camera::services {

ServiceState::ServiceState(store::SettingsStore& store) : _store(store)
{
    load(bus::service::kWindowBlanking, _blanking, parseBlanking);
    load(bus::service::kRotate, _rotation, parseRotation);
    load(bus::service::kConfiguration, _values, parseValues);
}

void ServiceState::setBlanking(const Blanking& blanking)
{
    keep(bus::service::kWindowBlanking, _blanking, blanking);
}

void ServiceState::setRotation(const Rotation& rotation)
{
    keep(bus::service::kRotate, _rotation, rotation);
}

void ServiceState::setValues(const Values& values)
{
    keep(bus::service::kConfiguration, _values, values);
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
void ServiceState::keep(const char* service, T& value, const T& wanted)
{
    T copy = wanted; // what can fail comes first: afterwards memory and disk differ in no case
    _store.write(service, format(wanted));
    value = std::move(copy);
}

} // namespace camera::services
