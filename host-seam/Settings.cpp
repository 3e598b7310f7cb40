#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include "ravel/configuration.h"
#include "ravel/settings.h"

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

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
    const char* const given = *value == 0 ? "" : " (not zero when given)";
    *value = entry == values.end() ? -1 : entry->second;
    journal().add(Part::Service, "configurationGetInt ", key, " -> ", status, given);
    return status;
}

namespace ravel::core {

ravel_core_status settingsGetJson(const std::string& key, std::string& value)
{
    platform().reached("settingsGetJson");
    host_seam::Settings& store = platform().settings;
    journal().add(Part::Settings, "settingsGetJson ", key, " -> ", store.getStatus);
    const auto document = store.documents.find(key);
    value += document == store.documents.end() ? store.defaults[key] : document->second;
    return store.getStatus;
}

ravel_core_status settingsSetJson(const std::string& key, const std::string& value)
{
    platform().reached("settingsSetJson");
    host_seam::Settings& store = platform().settings;
    journal().add(Part::Settings, "settingsSetJson ", key, " -> ", store.setStatus);
    if (journal().recording()) {
        store.written.push_back(value);
    }
    if (store.setStatus == 0) {
        ++store.writes;
        if (store.keepsDocuments) {
            store.documents[key] = value;
        }
    }
    return store.setStatus;
}

} // namespace ravel::core
