#include "camera/pipeline/AnalyticsObject.h"

#include "camera/base/Contained.h"
#include "camera/framework/EngineFactory.h"
#include "camera/pipeline/ControlAnswer.h"
#include "camera/pipeline/Device.h"

#include <string_view>
#include <utility>

namespace camera::pipeline {

namespace {

bus::Dispatch dispatch(const std::shared_ptr<bus::Session>& session, serviceapi::ControlThread& control)
{
    return [onControl = onControl(session, control)](const std::shared_ptr<bus::Request>& request) {
        if (std::string_view(request->method()) == "properties") {
            bus::atOnce(request);
        } else {
            onControl(request);
        }
    };
}

} // namespace

AnalyticsObject::AnalyticsObject(const std::shared_ptr<bus::Session>& session, Device& device,
                                 const std::vector<std::string>& descriptions)
    : AnalyticsServer(session->connection(), dispatch(session, device.control())),
      _device(device),
      _client(device.target()),
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
    for (const auto& engine : _device.engines().records()) {
        framework::EngineTypes types; // of one that fails there are none, the others are told
        base::contained("engines", "the types of engine '" + engine->name() + "' cannot be read",
                        [&] { types = engine->types(); });
        rows.emplace_back(engine->name(), types.modules, types.rules, _descriptions[rows.size()]);
    }
    return rows;
}

std::vector<AnalyticsObject::PropertyRow> AnalyticsObject::properties()
{
    std::vector<PropertyRow> rows;
    for (const base::Event& event : _device.liveProperties()) {
        rows.emplace_back(event.topic, event.source, event.data);
    }
    return rows;
}

} // namespace camera::pipeline
