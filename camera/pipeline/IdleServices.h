#pragma once

#include "camera/serviceapi/DeviceServices.h"
#include "camera/serviceapi/Status.h"

namespace camera::pipeline {

/// The device's services for a command on a state folder, which has no bus: they are there, and nothing happens.
class IdleServices final : public serviceapi::DeviceServices {
public:
    void start(Listener& /*listener*/) override {}
    void stop() override {}
    std::optional<std::vector<std::string>> targetIds(const std::string& service) const override
    {
        return service == "rotate" ? std::nullopt : std::make_optional(std::vector<std::string>{"main"});
    }
    ravel_core_status regionColor(serviceapi::RegionColor& /*color*/) override { return serviceapi::kOk; }
    ravel_core_status blankingEnabled(bool& /*enabled*/) override { return serviceapi::kOk; }
    ravel_core_status rotationAngle(std::uint32_t& /*angleDegrees*/) override { return serviceapi::kUnavailable; }
    ravel_core_status configurationValue(const std::string& /*key*/, int& /*value*/) override
    {
        return serviceapi::kOk;
    }
    void sendMetadata(const std::string& /*document*/) override {}
};

} // namespace camera::pipeline
