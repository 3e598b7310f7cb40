#include "camera/ravel/Configuration.h"

#include "camera/ravel/Environment.h"
#include "camera/ravel/Status.h"

#include "ravel/configuration.h"

namespace camera::ravel {

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

} // namespace camera::ravel

ravel_core_status ravel_core_configuration_get_int_value(const char* key, int* value)
{
    using namespace camera::ravel;
    if (key == nullptr || value == nullptr) {
        return kInvalidArgument;
    }
    const auto environment = CurrentEnvironment::get();
    if (!environment) {
        return kUnavailable;
    }
    if (environment->configuration.fails()) {
        return kFailed;
    }
    const auto found = environment->configuration.get(key);
    if (!found) {
        return kNotFound;
    }
    *value = *found;
    return kOk;
}
