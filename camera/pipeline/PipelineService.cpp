#include "camera/pipeline/PipelineService.h"

#include "camera/framework/EngineFactory.h"
#include "camera/pipeline/ActiveRules.h"
#include "camera/pipeline/EngineDescriptions.h"
#include "camera/ptz/PositioningUnit.h"

#include <utility>

namespace camera::pipeline {

using bus::Session;

PipelineService::PipelineService(const std::string& address, Device& device, PipelineObject::Report report,
                                 const std::filesystem::path& programFolder)
    : _descriptions(engineDescriptions(device.engines(), programFolder)),
      _connection(address, "the pipeline"),
      _target(_connection.add<TargetObject>([&device](const std::shared_ptr<Session>& session) {
          return std::make_shared<TargetObject>(session, device.target(), device.control(),
                                                [&device] { return engineOfLongestText(device.engines()); });
      })),
      _analytics(_connection.add<AnalyticsObject>([this, &device](const std::shared_ptr<Session>& session) {
          return std::make_shared<AnalyticsObject>(session, device, _descriptions);
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
      _events(device.onEvent([target = _target](const base::Event& event) {
          if (const auto object = target->get()) {
              object->emit(event);
          }
      })),
      _configurationChanges(device.onConfigurationChange([analytics = _analytics](const Device::ConfigurationChange&) {
          if (const auto object = analytics->get()) {
              object->tellConfigurationChanged();
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
