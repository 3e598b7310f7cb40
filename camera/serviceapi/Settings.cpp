// The settings calls of the service API, over the device's store.
#include "ravel/settings.h"

#include "camera/serviceapi/ServiceApi.h"
#include "camera/serviceapi/Status.h"

#include "ravel/RavelApiException.h"

using camera::serviceapi::CurrentServiceApi;

namespace {

ravel_core_status statusOf(camera::store::DatabaseError::Kind kind)
{
    using Kind = camera::store::DatabaseError::Kind;
    switch (kind) {
    case Kind::full:
        return camera::serviceapi::kStorageFull;
    case Kind::readOnly:
        return camera::serviceapi::kStorageReadOnly;
    case Kind::damaged:
        return camera::serviceapi::kStorageDamaged;
    case Kind::failed:
    case Kind::rejected:
    case Kind::interrupted:
        break;
    }
    return camera::serviceapi::kStorageFailed;
}

// The plug-in expects failures of the store as the service API's exception.
template <class Operation>
auto translated(const Operation& operation)
{
    try {
        return operation();
    } catch (const camera::store::DatabaseError& error) {
        throw ravel::core::RavelApiException(error.what(), statusOf(error.kind()));
    }
}

} // namespace

ravel_core_status ravel_core_settings_set_default_json_value(const char* key, const char* value)
{
    if (key == nullptr || value == nullptr) {
        return camera::serviceapi::kInvalidArgument;
    }
    const auto api = CurrentServiceApi::get();
    if (!api) {
        return camera::serviceapi::kUnavailable;
    }
    api->settings.setDefault(key, value);
    return camera::serviceapi::kOk;
}

namespace ravel::core {

ravel_core_status settingsGetJson(const std::string& key, std::string& value)
{
    const auto api = CurrentServiceApi::get();
    if (!api) {
        return camera::serviceapi::kUnavailable;
    }
    auto document = translated([&] { return api->settings.read(key); });
    if (!document) {
        return camera::serviceapi::kNotFound;
    }
    value = std::move(*document);
    return camera::serviceapi::kOk;
}

ravel_core_status settingsSetJson(const std::string& key, const std::string& value)
{
    const auto api = CurrentServiceApi::get();
    if (!api) {
        throw RavelApiException("the settings \"" + key + "\" could not be stored", camera::serviceapi::kUnavailable);
    }
    // The plug-in goes on with what it could not store.
    constexpr auto kTriedAgain = camera::store::SettingsStore::Unstored::triedAgain;
    translated([&] { api->settings.write(key, value, kTriedAgain); });
    return camera::serviceapi::kOk;
}

} // namespace ravel::core
