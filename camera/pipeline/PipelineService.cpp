#include "camera/pipeline/PipelineService.h"

#include "camera/framework/EngineFactory.h"
#include "camera/pipeline/ActiveRules.h"
#include "camera/ptz/PositioningUnit.h"

#include <utility>

namespace camera::pipeline {

using bus::Session;

PipelineService::PipelineService(const std::string& address, Device& device, PipelineObject::Report report)
    : _connection(address, "the pipeline"),
      _analytics(_connection.add<AnalyticsObject>([&device](const std::shared_ptr<Session>& session) {
          return std::make_shared<AnalyticsObject>(session, device.target(), device.control(),
                                                   [&device] { return engineOfLongestText(device.engines()); });
      })),
      _positioning(_connection.add<PositioningObject>([&device](const std::shared_ptr<Session>& session) {
          return std::make_shared<PositioningObject>(session, device.positioning());
      })),
      _pipeline(_connection.add<PipelineObject>(
          [&device, report = std::move(report)](const std::shared_ptr<Session>& session) {
              return std::make_shared<PipelineObject>(session, device, report);
          })),
      _positioningEvents(device.positioning().onEvent([positioning = _positioning](const ptz::PositioningEvent& event) {
          if (const auto object = positioning->get()) {
              object->emit(event);
          }
      })),
      _events(device.onEvent([analytics = _analytics](const base::Event& event) {
          if (const auto object = analytics->get()) {
              object->emit(event);
          }
      }))
{
    _connection.start();
}

PipelineService::~PipelineService()
{
    _connection.stop();
}

} // namespace camera::pipeline
