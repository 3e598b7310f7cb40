#pragma once

#include "camera/bus/Connection.h"
#include "camera/services/AnswerTimer.h"
#include "camera/services/FaultSwitch.h"
#include "camera/services/MetadataSocket.h"
#include "camera/services/Presence.h"
#include "camera/services/ServiceState.h"
#include "camera/services/ServicesOptions.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <filesystem>
#include <memory>
#include <string>

namespace camera::services {

/**
 * The device services of one camera: their state in the folder "services" of the state folder, the metadata
 * socket, and the objects on the bus for as long and as often as there is a bus.
 *
 * When it ends, the names go first, then the socket, then the state is free for another process.
 */
class ServicesProcess {
public:
    /// @throws std::runtime_error with one sentence: the state or the socket cannot be used, or the options cannot be
    ///         stored. A bus that is away is no failure.
    explicit ServicesProcess(const ServicesOptions& options);
    ServicesProcess(const ServicesProcess&) = delete;
    ServicesProcess& operator=(const ServicesProcess&) = delete;

    const bus::Connection& connection() const { return _connection; }
    const std::string& socketPath() const { return _socket.path(); }

private:
    void applyOptions(const ServicesOptions& options);
    std::shared_ptr<Presence> appear(const std::shared_ptr<bus::Session>& session);

    const std::filesystem::path _folder;
    store::StateLock _lock;
    store::SettingsStore _store;
    ServiceState _state;
    FaultSwitch _faults;
    MetadataSocket _socket;
    AnswerTimer _timer;
    std::string _trouble; ///< why the last session did not come about; the bus thread's own
    bus::Connection _connection;
};

} // namespace camera::services
