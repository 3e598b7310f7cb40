#include "camera/services/ServicesProcess.h"

#include "camera/base/Log.h"

#include <utility>

namespace camera::services {

namespace {

constexpr const char* kProcess = "camera-services";

std::filesystem::path runtimeFolder(const ServicesOptions& options)
{
    return options.runtime.empty() ? options.state : options.runtime;
}

} // namespace

ServicesProcess::ServicesProcess(const ServicesOptions& options)
    : _folder(options.state / "services"),
      _lock(_folder),
      _store(_folder),
      _state(_store),
      _socket(runtimeFolder(options)),
      _connection(options.bus, kProcess)
{
    applyOptions(options);
    _connection.add<ServiceSet>(
        [this](const std::shared_ptr<bus::Session>& session) { return makeServiceSet(session); });
    _connection.start();
}

void ServicesProcess::applyOptions(const ServicesOptions& options)
{
    if (!options.orientationDegrees && !options.rotationService) {
        return;
    }
    OrientationSetting orientation = _state.orientation();
    orientation.degrees = options.orientationDegrees.value_or(orientation.degrees);
    orientation.served = options.rotationService.value_or(orientation.served);
    _state.setOrientation(orientation);
    if (options.orientationDegrees) {
        Values values = _state.values();
        values[kDefaultRotationKey] = static_cast<std::int32_t>(*options.orientationDegrees);
        _state.setValues(values);
    }
}

std::shared_ptr<ServiceSet> ServicesProcess::makeServiceSet(const std::shared_ptr<bus::Session>& session)
{
    try {
        auto services = std::make_shared<ServiceSet>(session, ProcessContext{_folder, _state, _faults, _socket});
        _failure.clear();
        return services;
    } catch (const std::exception& error) {
        // The connection tries again without end: one line for all attempts with the same failure.
        if (std::exchange(_failure, error.what()) != error.what()) {
            base::Log::instance().write(base::LogLevel::error, kProcess,
                                        "the services cannot appear on the bus: " + _failure + "; tried again");
        }
        throw;
    }
}

} // namespace camera::services
