#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/analytics_server.h"
#include "camera/pipeline/TargetClient.h"

#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace camera::pipeline {

class Device;

/// What the camera offers of its analytics beyond the target, ravel.analytics: changes that say why they are refused,
/// the engines, and the properties that live. Its operations run on the control thread, one at a time; the properties
/// are told at once.
class AnalyticsObject final : public bus::AnalyticsServer {
public:
    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. What it borrows outlives it.
    /// @param descriptions  of the engines, in their order.
    AnalyticsObject(const std::shared_ptr<bus::Session>& session, Device& device,
                    const std::vector<std::string>& descriptions);

    /// Emits the signal; what the bus refuses is logged. Any thread.
    void tellConfigurationChanged() { emitConfigurationChanged(); }

private:
    using Texts = std::vector<std::string>;
    using PropertyRow = sdbus::Struct<std::string, std::string, std::string>;
    using EngineRow = sdbus::Struct<std::string, Texts, Texts, std::string>;
    using Change = std::tuple<std::int32_t, std::uint32_t, Texts>;

    static Change asBus(Answer answer)
    {
        return {answer.result, static_cast<std::uint32_t>(answer.outcome), std::move(answer.refusal)};
    }

    Change createRules(const Texts& rules) override { return asBus(_client.createRules(rules)); }
    Change modifyRules(const Texts& rules) override { return asBus(_client.modifyRules(rules)); }
    Change deleteRules(const Texts& names) override { return asBus(_client.deleteRules(names)); }
    Change createEngines(const Texts& engines) override { return asBus(_client.createEngines(engines)); }
    Change modifyEngines(const Texts& engines) override { return asBus(_client.modifyEngines(engines)); }
    Change deleteEngines(const Texts& names) override { return asBus(_client.deleteEngines(names)); }
    std::tuple<std::int32_t, std::uint8_t, Texts> setConfiguration(const std::string& xml) override;
    std::vector<EngineRow> engines() override;
    std::vector<PropertyRow> properties() override;

    Device& _device;
    TargetClient& _client;
    const std::vector<std::string>& _descriptions;
};

} // namespace camera::pipeline
