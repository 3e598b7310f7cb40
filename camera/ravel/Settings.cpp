// The settings calls of the service API, over the device's store.
#include "ravel/settings.h"

#include "camera/ravel/Environment.h"
#include "camera/ravel/Status.h"

#include "ravel/RavelApiException.h"

using camera::ravel::CurrentEnvironment;

ravel_core_status ravel_core_settings_set_default_json_value(const char* key, const char* value)
{
    if (key == nullptr || value == nullptr) {
        return camera::ravel::kInvalidArgument;
    }
    const auto environment = CurrentEnvironment::get();
    if (!environment) {
        return camera::ravel::kUnavailable;
    }
    environment->settings.setDefault(key, value);
    return camera::ravel::kOk;
}

namespace ravel::core {

ravel_core_status settingsGetJson(const std::string& key, std::string& value)
{
    const auto environment = CurrentEnvironment::get();
    if (!environment) {
        return camera::ravel::kUnavailable;
    }
    auto document = environment->settings.read(key);
    if (!document) {
        return camera::ravel::kNotFound;
    }
    value = std::move(*document);
    return camera::ravel::kOk;
}

ravel_core_status settingsSetJson(const std::string& key, const std::string& value)
{
    const auto environment = CurrentEnvironment::get();
    if (!environment) {
        throw RavelApiException("the settings \"" + key + "\" could not be stored", camera::ravel::kUnavailable);
    }
    environment->settings.write(key, value);
    return camera::ravel::kOk;
}

} // namespace ravel::core
