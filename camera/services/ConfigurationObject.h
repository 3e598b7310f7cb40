#pragma once

#include "camera/bus/configuration_server.h"
#include "camera/services/FaultyAnswers.h"
#include "camera/services/ServiceState.h"

#include <cstdint>
#include <string>

namespace camera::services {

/// The device's integer configuration values by key.
class ConfigurationObject final : public bus::ConfigurationServer {
public:
    ConfigurationObject(const ObjectContext& context, ServiceState& state);

private:
    std::int32_t getIntValue(const std::string& key) override;
    Values list() override { return _state.values(); }
    void setIntValue(const std::string& key, std::int32_t value) override;
    void removeValue(const std::string& key) override;

    ServiceState& _state;
};

} // namespace camera::services
