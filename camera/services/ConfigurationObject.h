#pragma once

#include "camera/services/ServiceObject.h"

#include <cstdint>
#include <string>

namespace camera::services {

class ServiceState;

/// The device's integer configuration values by key.
class ConfigurationObject : public ServiceObject {
public:
    ConfigurationObject(const ObjectContext& context, ServiceState& state);

private:
    void registerQueries();
    void registerChanges();
    std::int32_t value(const std::string& key) const;
    void set(const std::string& key, std::int32_t value);
    void remove(const std::string& key);

    ServiceState& _state;
};

} // namespace camera::services
