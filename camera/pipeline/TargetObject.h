#pragma once

#include "camera/base/Event.h"
#include "camera/bus/Connection.h"
#include "camera/bus/onvif_analytic_service_server.h"
#include "camera/pipeline/TargetClient.h"

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace camera::serviceapi {
class ControlThread;
}

namespace camera::pipeline {

/// The analytics target on the bus, ravel.onvif_analytic_service. Its operations run on the control thread, one at a
/// time.
class TargetObject final : public bus::OnvifAnalyticServiceServer {
public:
    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. client and control outlive it.
    /// @param whose  what whoseAnswer() says; called on the control thread.
    TargetObject(const std::shared_ptr<bus::Session>& session, TargetClient& client, serviceapi::ControlThread& control,
                 std::function<std::string()> whose);

    /// Emits one event; what the bus refuses is logged. Any thread.
    void emit(const base::Event& event) { emitAnalyticsEvent(event.topic, event.source, event.data); }

private:
    using Names = std::vector<std::string>;
    using ResultAndStatus = std::tuple<std::int32_t, std::uint32_t>;

    static ResultAndStatus asBus(const Answer& answer)
    {
        return {answer.result, static_cast<std::uint32_t>(answer.outcome)};
    }

    std::string whoseAnswer() const override { return _whose(); }
    Names getEventTopics() override { return _client.eventTopics(); }
    Names getSupportedRules() override { return _client.supportedRules(); }
    Names getCurrentRules() override { return _client.currentRules(); }
    ResultAndStatus createRules(const Names& rules) override { return asBus(_client.createRules(rules)); }
    ResultAndStatus modifyRules(const Names& rules) override { return asBus(_client.modifyRules(rules)); }
    ResultAndStatus deleteRules(const Names& names) override { return asBus(_client.deleteRules(names)); }
    Names getSupportedEngines() override { return _client.supportedEngines(); }
    Names getCurrentEngines() override { return _client.currentEngines(); }
    ResultAndStatus createEngines(const Names& engines) override { return asBus(_client.createEngines(engines)); }
    ResultAndStatus modifyEngines(const Names& engines) override { return asBus(_client.modifyEngines(engines)); }
    ResultAndStatus deleteEngines(const Names& names) override { return asBus(_client.deleteEngines(names)); }
    std::string getCurrentConfiguration() override { return _client.currentConfiguration(); }
    std::string getPtzPresetConfiguration(const std::string& preset) override
    {
        return _client.presetConfiguration(preset);
    }
    Names getUsedPtzPresets() override { return _client.usedPtzPresets(); }
    std::tuple<std::int32_t, std::uint8_t> setConfiguration(const std::string& xml) override;
    std::int32_t restoreDefaultSettings() override;
    std::int32_t readFramesFromFile(const std::string& engine, const std::string& path, bool flag) override;
    std::int32_t writeFramesToFile(const std::string& engine, const std::string& path, std::uint32_t count) override;

    TargetClient& _client;
    const std::function<std::string()> _whose;
};

} // namespace camera::pipeline
