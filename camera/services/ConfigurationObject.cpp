#include "camera/services/ConfigurationObject.h"

#include "camera/services/ServiceState.h"

namespace camera::services {

namespace {

// Keys are named in sentences, which one that is too long would fill.
void checkKey(const std::string& key)
{
    if (key.size() > kLongestKeyBytes) {
        throw bus::Refusal("the key of a configuration value has at most " + std::to_string(kLongestKeyBytes) +
                           " bytes, not " + std::to_string(key.size()));
    }
    if (bus::checkedText(key, "the key").empty()) {
        throw bus::Refusal("the key of a configuration value is not empty");
    }
}

} // namespace

ConfigurationObject::ConfigurationObject(const ObjectContext& context, ServiceState& state)
    : ServiceObject(context, bus::service::kConfiguration), _state(state)
{
    registerQueries();
    registerChanges();
    object().finishRegistration();
}

void ConfigurationObject::registerQueries()
{
    object()
        .registerMethod("getIntValue")
        .onInterface(interface())
        .withInputParamNames("key")
        .withOutputParamNames("value")
        .implementedAs([this](sdbus::Result<std::int32_t>&& result, const std::string& key) {
            respond(
                std::move(result), [&] { return value(key); }, key.size());
        });
    object()
        .registerMethod("list")
        .onInterface(interface())
        .withOutputParamNames("values")
        .implementedAs(
            [this](sdbus::Result<Values>&& result) { respond(std::move(result), [this] { return _state.values(); }); });
}

void ConfigurationObject::registerChanges()
{
    object()
        .registerMethod("setIntValue")
        .onInterface(interface())
        .withInputParamNames("key", "value")
        .implementedAs([this](sdbus::Result<>&& result, const std::string& key, std::int32_t wanted) {
            respond(
                std::move(result), [&] { set(key, wanted); }, key.size());
        });
    object()
        .registerMethod("removeValue")
        .onInterface(interface())
        .withInputParamNames("key")
        .implementedAs([this](sdbus::Result<>&& result, const std::string& key) {
            respond(
                std::move(result), [&] { remove(key); }, key.size());
        });
}

std::int32_t ConfigurationObject::value(const std::string& key) const
{
    checkKey(key);
    const auto found = _state.values().find(key);
    if (found == _state.values().end()) {
        throw bus::Refusal("there is no configuration value '" + key + "'");
    }
    return found->second;
}

void ConfigurationObject::set(const std::string& key, std::int32_t value)
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

void ConfigurationObject::remove(const std::string& key)
{
    value(key);
    Values values = _state.values();
    values.erase(key);
    _state.setValues(values);
}

} // namespace camera::services
