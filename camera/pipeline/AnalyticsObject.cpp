#include "camera/pipeline/AnalyticsObject.h"

#include "camera/base/Contained.h"
#include "camera/pipeline/ControlAnswer.h"

#include <utility>

namespace camera::pipeline {

AnalyticsObject::AnalyticsObject(const std::shared_ptr<bus::Session>& session, TargetClient& client,
                                 serviceapi::ControlThread& control, const framework::EngineFactory& engines,
                                 const std::vector<std::string>& descriptions)
    : AnalyticsServer(session->connection(), onControl(session, control)),
      _client(client),
      _engines(engines),
      _descriptions(descriptions)
{
    takeName();
}

std::tuple<std::int32_t, std::uint8_t, AnalyticsObject::Texts> AnalyticsObject::setConfiguration(const std::string& xml)
{
    auto acceptance = _client.acceptConfiguration(xml);
    return {acceptance.result, acceptance.failed, std::move(acceptance.refusal)};
}

std::vector<AnalyticsObject::EngineRow> AnalyticsObject::engines()
{
    std::vector<EngineRow> rows;
    for (const auto& engine : _engines.records()) {
        framework::EngineTypes types; // of one that fails there are none, the others are told
        base::contained("engines", "the types of engine '" + engine->name() + "' cannot be read",
                        [&] { types = engine->types(); });
        rows.emplace_back(engine->name(), types.modules, types.rules, _descriptions[rows.size()]);
    }
    return rows;
}

} // namespace camera::pipeline
