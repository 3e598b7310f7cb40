#include "camera/services/ConfigurationObject.h"

namespace camera::services {

namespace {

// Keys are named in sentences, which one that is too long would fill.
void checkKey(const std::string& key)
{
    if (key.size() > kLongestKeyBytes) {
        throw bus::Refusal("the key of a configuration value has at most " + std::to_string(kLongestKeyBytes) +
                           " bytes, not " + std::to_string(key.size()));
    }
    if (key.empty()) {
        throw bus::Refusal("the key of a configuration value is not empty");
    }
}

} // namespace

ConfigurationObject::ConfigurationObject(const ObjectContext& context, ServiceState& state)
    : ConfigurationServer(context.connection, withFaults(context, bus::service::kConfiguration)), _state(state)
{
}

std::int32_t ConfigurationObject::getIntValue(const std::string& key)
{
    checkKey(key);
    const auto found = _state.values().find(key);
    if (found == _state.values().end()) {
        throw bus::Refusal("there is no configuration value '" + key + "'");
    }
    return found->second;
}

void ConfigurationObject::setIntValue(const std::string& key, std::int32_t value)
{
    checkKey(key);
    Values values = _state.values();
    values[key] = value;
    if (values.size() > kMostValues) {
        throw bus::Refusal("there are " + std::to_string(kMostValues) +
                           " configuration values already; remove one first");
    }
    _state.setValues(values);
}

void ConfigurationObject::removeValue(const std::string& key)
{
    getIntValue(key); // refuses a key that is not there
    Values values = _state.values();
    values.erase(key);
    _state.setValues(values);
}

} // namespace camera::services
