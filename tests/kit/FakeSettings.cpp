#include "kit/FakePlatform.h"
#include "kit/Journal.h"

#include "ravel/configuration.h"
#include "ravel/settings.h"

using kit::journal;
using kit::Part;
using kit::platform;

ravel_core_status ravel_core_settings_set_default_json_value(const char* key, const char* value)
{
    platform().reached("settingsSetDefault");
    const ravel_core_status status = platform().settings.setDefaultStatus;
    journal().add(Part::Settings, "settingsSetDefault ", key, " ", value, " -> ", status);
    if (status == 0) {
        platform().settings.defaults[key] = value;
    }
    return status;
}

ravel_core_status ravel_core_configuration_get_int_value(const char* key, int* value)
{
    platform().reached("configurationGetInt");
    const auto& values = platform().settings.values;
    const auto entry = values.find(key);
    const ravel_core_status status = entry == values.end() ? platform().settings.missingValueStatus : 0;
    if (status == 0) {
        *value = entry->second;
    }
    journal().add(Part::Service, "configurationGetInt ", key, " -> ", status);
    return status;
}

namespace ravel::core {

ravel_core_status settingsGetJson(const std::string& key, std::string& value)
{
    platform().reached("settingsGetJson");
    kit::FakeSettings& store = platform().settings;
    journal().add(Part::Settings, "settingsGetJson ", key, " -> ", store.getStatus);
    if (store.getStatus == 0) {
        const auto document = store.documents.find(key);
        value = document == store.documents.end() ? store.defaults[key] : document->second;
    }
    return store.getStatus;
}

ravel_core_status settingsSetJson(const std::string& key, const std::string& value)
{
    platform().reached("settingsSetJson");
    kit::FakeSettings& store = platform().settings;
    journal().add(Part::Settings, "settingsSetJson ", key, " -> ", store.setStatus);
    store.written.push_back(value);
    if (store.setStatus == 0) {
        store.documents[key] = value;
    }
    return store.setStatus;
}

} // namespace ravel::core
