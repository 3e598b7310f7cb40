#pragma once

#include "kit/BusClient.h"

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

namespace camera::fault_tests {

namespace service = bus::service;
using kit::eventually;
using Words = std::vector<std::string>;

/// Somebody who uses the camera's bus, connects again when it comes back, and counts the events that reach them.
class Client : public kit::BusClient {
public:
    explicit Client(const std::string& address);

    /// Whether the call was answered.
    template <class... In>
    bool tell(const std::string& name, const std::string& method, const In&... arguments) const
    {
        return refusal(name, method, arguments...) == "answered";
    }

    /// The properties of the pipeline, their names beginning with a small letter; null while nobody answers.
    Json::Value status() const;

    /// What the supervisor runs, a row each; empty while it does not answer.
    template <class Row>
    std::vector<Row> processes() const
    {
        try {
            return properties(service::kSupervisor).at("Processes").template get<std::vector<Row>>();
        } catch (const sdbus::Error&) {
            return {};
        }
    }

    std::uint64_t frames() const { return status()["frames"].asUInt64(); }

    /// Documents that the services' metadata streamer has received; 0 while it does not answer.
    std::uint64_t documentsReceived() const;

    std::uint64_t events() const { return journal.count("event"); }
    std::uint64_t sessions() const { return connection.sessions(); }
};

} // namespace camera::fault_tests
