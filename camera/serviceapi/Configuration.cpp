#include "camera/serviceapi/Configuration.h"

#include "camera/serviceapi/Environment.h"
#include "camera/serviceapi/Status.h"

#include "ravel/configuration.h"

namespace camera::serviceapi {

void Configuration::ask(const std::shared_ptr<RemoteServices>& remote)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _remote = remote;
}

ravel_core_status Configuration::read(const std::string& key, int& value) const
{
    std::unique_lock<std::mutex> lock(_mutex);
    if (_failing) {
        return kFailed;
    }
    if (const auto remote = _remote.lock()) {
        lock.unlock(); // a round trip
        return remote->configurationValue(key, value);
    }
    const auto found = _values.find(key);
    if (found == _values.end()) {
        return kNotFound;
    }
    value = found->second;
    return kOk;
}

void Configuration::set(const std::string& key, int value)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _values[key] = value;
}

void Configuration::remove(const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _values.erase(key);
}

std::optional<int> Configuration::get(const std::string& key) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _values.find(key);
    return found == _values.end() ? std::nullopt : std::make_optional(found->second);
}

void Configuration::fail(bool failing)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _failing = failing;
}

bool Configuration::fails() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _failing;
}

} // namespace camera::serviceapi

ravel_core_status ravel_core_configuration_get_int_value(const char* key, int* value)
{
    using namespace camera::serviceapi;
    if (key == nullptr || value == nullptr) {
        return kInvalidArgument;
    }
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->configuration.read(key, *value) : kUnavailable;
}
