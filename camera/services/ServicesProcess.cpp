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
      _store({_folder, options.maxStoreBytes}),
      _state(_store),
      _socket(runtimeFolder(options)),
      _connection(options.bus, kProcess)
{
    applyOptions(options);
    _connection.add<Presence>([this](const std::shared_ptr<bus::Session>& session) { return appear(session); });
    _connection.start();
}

void ServicesProcess::applyOptions(const ServicesOptions& options)
{
    if (!options.angleDegrees && !options.rotationService) {
        return;
    }
    Rotation rotation = _state.rotation();
    rotation.angleDegrees = options.angleDegrees.value_or(rotation.angleDegrees);
    rotation.served = options.rotationService.value_or(rotation.served);
    _state.setRotation(rotation);
    if (options.angleDegrees) {
        Values values = _state.values();
        values[kDefaultRotationKey] = static_cast<std::int32_t>(*options.angleDegrees);
        _state.setValues(values);
    }
}

std::shared_ptr<Presence> ServicesProcess::appear(const std::shared_ptr<bus::Session>& session)
{
    try {
        auto presence = std::make_shared<Presence>(
            session, Presence::Process{{_folder.string(), _state, _faults, _socket}, _timer});
        _trouble.clear();
        return presence;
    } catch (const std::exception& error) {
        // The connection tries again, for as long as it takes: one line for all the attempts.
        if (std::exchange(_trouble, error.what()) != error.what()) {
            base::Log::instance().write(base::LogLevel::error, kProcess,
                                        "the services cannot appear on the bus: " + _trouble + "; tried again");
        }
        throw;
    }
}

} // namespace camera::services
