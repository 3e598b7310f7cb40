#pragma once

#include "camera/bus/Connection.h"
#include "camera/services/FaultSwitch.h"
#include "camera/services/MetadataSocket.h"
#include "camera/services/ServiceSet.h"
#include "camera/services/ServiceState.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace camera::services {

/// What the process camera-services is told.
struct ServicesOptions {
    std::string bus; ///< its address
    std::filesystem::path state;
    std::filesystem::path runtime;                   ///< of the metadata socket; empty: the state folder
    std::optional<std::uint32_t> orientationDegrees; ///< unset: as stored
    std::optional<bool> rotationService;             ///< unset: as stored
};

/**
 * The device services of one camera: their state in the folder "services" of the state folder, the metadata
 * socket, and the objects on the bus in each session.
 *
 * When it ends, the names go first, then the socket, then the state is free for another process.
 */
class ServicesProcess {
public:
    /// @throws std::runtime_error with one sentence: the state or the socket cannot be used, or the options cannot be
    ///         stored. That there is no bus is no failure.
    explicit ServicesProcess(const ServicesOptions& options);
    ServicesProcess(const ServicesProcess&) = delete;
    ServicesProcess& operator=(const ServicesProcess&) = delete;

    const bus::Connection& connection() const { return _connection; }
    const std::string& socketPath() const { return _socket.path(); }

private:
    void applyOptions(const ServicesOptions& options);
    std::shared_ptr<ServiceSet> makeServiceSet(const std::shared_ptr<bus::Session>& session);

    const std::filesystem::path _folder;
    store::StateLock _lock;
    store::SettingsStore _store;
    ServiceState _state;
    FaultSwitch _faults;
    MetadataSocket _socket;
    std::string _failure; ///< why the last session failed; only the bus thread uses it
    bus::Connection _connection;
};

} // namespace camera::services
