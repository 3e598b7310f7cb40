#include "camera/serviceapi/TargetRegistry.h"

#include "camera/serviceapi/Environment.h"

#include "ravel/target_ids.h"

#include <mutex>

namespace camera::serviceapi {

std::optional<std::vector<std::string>> TargetRegistry::ids(const std::string& service) const
{
    const std::shared_lock<std::shared_mutex> lock(_mutex);
    const auto found = _services.find(service);
    return found == _services.end() ? std::nullopt : std::make_optional(found->second);
}

void TargetRegistry::add(const std::string& service, std::vector<std::string> ids)
{
    const std::unique_lock<std::shared_mutex> lock(_mutex);
    _services[service] = std::move(ids);
}

void TargetRegistry::remove(const std::string& service)
{
    const std::unique_lock<std::shared_mutex> lock(_mutex);
    _services.erase(service);
}

} // namespace camera::serviceapi

namespace ravel::core {

bool getTargetIds(const char* service, std::vector<std::string>& ids)
{
    const auto environment = camera::serviceapi::CurrentEnvironment::get();
    if (!environment || service == nullptr) {
        return false;
    }
    auto found = environment->targets.ids(service);
    if (!found) {
        return false;
    }
    ids = std::move(*found);
    return true;
}

} // namespace ravel::core
