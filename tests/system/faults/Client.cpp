#include "Client.h"

#include <cctype>

namespace camera::fault_tests {

Client::Client(const std::string& address)
    : BusClient(address,
                {service::kOnvifAnalyticService, service::kPositioning, service::kPipeline, service::kServices,
                 service::kSupervisor, service::kDayNight, service::kWindowBlanking, service::kRotate,
                 service::kOnvifMetadataStreamer, service::kConfiguration},
                [](kit::BusProxies& proxies, kit::LineJournal& heard) {
                    proxies.hear(
                        service::kOnvifAnalyticService, "analyticsEvent",
                        [&heard](const std::string&, const std::string&, const std::string&) { heard.add("event"); });
                })
{
}

Json::Value Client::status() const
{
    Json::Value status;
    try {
        for (const auto& [property, value] : properties(service::kPipeline)) {
            Json::Value& member = status[static_cast<char>(std::tolower(property[0])) + property.substr(1)];
            if (value.containsValueOfType<std::uint64_t>()) {
                member = Json::UInt64(value.get<std::uint64_t>());
            } else if (value.containsValueOfType<std::uint32_t>()) {
                member = value.get<std::uint32_t>();
            } else if (value.containsValueOfType<double>()) {
                member = value.get<double>();
            }
        }
    } catch (const sdbus::Error&) {
        return {};
    }
    return status;
}

std::uint64_t Client::documentsReceived() const
{
    try {
        return std::get<0>(ask<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>(
            service::kOnvifMetadataStreamer, "getCounters"));
    } catch (const sdbus::Error&) {
        return 0;
    }
}

} // namespace camera::fault_tests
