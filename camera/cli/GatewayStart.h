#pragma once

#include "camera/base/CommandLine.h"
#include "camera/base/FileDescriptor.h"
#include "camera/supervisor/ChildProcess.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <string>
#include <vector>

namespace camera::cli {

/// Whether a run serves ONVIF clients. @throws base::UsageError when what it is told about that excludes each other.
bool wantsGateway(const base::Arguments& arguments);

/// What the gateway of a run is started with: sockets that listen from now on, so that a port which is taken is told
/// before anything starts, and stay when the gateway is started again; and its users, in memory, because others on this
/// computer can read the arguments of a process.
class GatewayStart {
public:
    /// @throws base::UsageError, and std::runtime_error with one sentence: no socket, or users that cannot be read.
    explicit GatewayStart(const base::Arguments& arguments);

    /// Where clients begin: with http, and with https where that was asked for.
    const std::vector<std::string>& addresses() const { return _addresses; }

    /// @param first  with what the gateway takes once: its users, and that it tells how to log in.
    supervisor::Program program(const supervisor::RuntimeFolder& folder, bool first) const;

private:
    std::string _bind;
    base::FileDescriptor _http;
    base::FileDescriptor _https; ///< none: no TLS
    base::FileDescriptor _users; ///< none: those that the state folder keeps
    std::vector<std::string> _addresses;
    std::vector<std::string> _discovery; ///< what the gateway is told about it
};

} // namespace camera::cli
