#pragma once

#include "kit/BusClient.h"

namespace pipeline_test {

using namespace std::chrono_literals;
using kit::eventually;
using kit::soon;
namespace service = camera::bus::service;
namespace error = camera::bus::error;

/// Another process' view of the pipeline process. Its journal holds what was heard.
class BusClient : public kit::BusClient {
public:
    explicit BusClient(const std::string& address)
        : kit::BusClient(
              address, {service::kOnvifAnalyticService, service::kAnalytics, service::kPositioning, service::kPipeline},
              &hear)
    {
    }

private:
    static void hear(kit::BusProxies& proxies, kit::LineJournal& heard)
    {
        using Text = std::string;
        proxies.hear(service::kOnvifAnalyticService, "analyticsEvent",
                     [&heard](const Text& topic, const Text& source, const Text& data) {
                         heard.add("event " + topic + "|" + source + "|" + data);
                     });
        proxies.hear(service::kPositioning, "motionState",
                     [&heard](const bool& moving, const std::uint32_t&, const std::int32_t&, const std::uint32_t&) {
                         heard.add(moving ? "motion started" : "motion stopped");
                     });
        proxies.hear(service::kPositioning, "commandPriority",
                     [&heard](const bool& panTilt, const bool& zoom, const std::uint32_t& priority) {
                         heard.add("priority " + std::to_string(priority) + (panTilt && zoom ? "" : "?"));
                     });
        proxies.hear(service::kPositioning, "presetState",
                     [&heard](const std::int32_t& state, const Text& preset, const bool&, const Text&) {
                         heard.add("state " + std::to_string(state) + " " + preset);
                     });
        proxies.hear(service::kPositioning, "presetModified",
                     [&heard](const Text& name, const bool& created, const bool& changed, const bool& removed) {
                         heard.add(name + (created ? " created" : "") + (changed ? " changed" : "") +
                                   (removed ? " removed" : ""));
                     });
        proxies.hear(
            service::kPositioning, "tourState",
            [&heard](const std::int32_t& state, const Text& tour, const std::uint32_t& stop, const std::int32_t&) {
                heard.add("tour " + std::to_string(state) + " " + tour + " " + std::to_string(stop));
            });
    }
};

} // namespace pipeline_test
