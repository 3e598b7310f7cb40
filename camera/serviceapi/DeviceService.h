#pragma once

#include "camera/serviceapi/Connections.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/ServiceFaults.h"
#include "camera/serviceapi/Status.h"
#include "camera/serviceapi/TargetRegistry.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace camera::serviceapi {

/**
 * A service of the device with one target, in this process: connections, event handlers, and the
 * faults that it can be given. Events reach the handlers on the control thread. Thread-safe.
 */
template <class Handler>
class DeviceService {
public:
    static constexpr const char* kTargetId = "main";
    using Deliver = std::function<void(Handler, const char* targetId, void* context)>;

    DeviceService(std::string name, ControlThread& control, TargetRegistry& targets, ServiceFault fault)
        : _name(std::move(name)), _control(control), _targets(targets)
    {
        setFault(fault);
    }
    DeviceService(const DeviceService&) = delete;
    DeviceService& operator=(const DeviceService&) = delete;

    /// From now on the service behaves like this.
    void setFault(ServiceFault fault)
    {
        _fault = fault;
        if (fault == ServiceFault::absent) {
            _targets.remove(_name);
        } else if (fault == ServiceFault::noTargets) {
            _targets.add(_name, {});
        } else {
            _targets.add(_name, {kTargetId});
        }
    }

    /// From now on the service is one of another process: whether it is there is what the registry says, and
    /// a query is passed on to whoever the derived class was given.
    void liveElsewhere()
    {
        _elsewhere = true;
        _targets.remove(_name);
    }

    ravel_core_status init(void** cookie, int version)
    {
        if (cookie == nullptr || version != 1) {
            return kInvalidArgument;
        }
        if (_elsewhere ? !_targets.ids(_name) : _fault == ServiceFault::absent) {
            return kUnavailable;
        }
        if (_fault == ServiceFault::failsInit) {
            return kFailed;
        }
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a number that is never followed
        *cookie = reinterpret_cast<void*>(_connections.open());
        return kOk;
    }

    void deinit(void* cookie) { _connections.close(number(cookie)); }

    ravel_core_status addHandler(void* cookie, Handler handler, void* context)
    {
        return _fault == ServiceFault::failsEvents ? kFailed : _connections.add(number(cookie), handler, context);
    }

    ravel_core_status removeHandler(void* cookie, Handler handler)
    {
        return _connections.remove(number(cookie), handler);
    }

    /// Connections and handlers, for whoever checks what a plug-in left behind.
    std::size_t openConnections() const { return _connections.openCount(); }
    std::size_t handlers() const { return _connections.registrations().size(); }

    /// Posts nothing more from now on.
    void quiesce() { _quiet = true; }

    /// Forgets every connection and handler; returns how many handlers there were.
    std::size_t discard() { return _connections.discard(); }

protected:
    ~DeviceService() = default;

    /// Posts one event: at its turn on the control thread, every handler that is registered then is called.
    void notify(Deliver deliver)
    {
        if (!_quiet) {
            _control.post([this, deliver = std::move(deliver)] {
                _connections.forEach([&](const auto& entry) { deliver(entry.handler, kTargetId, entry.context); });
            });
        }
    }

    /// Whether a synchronous query on this connection and target may be answered.
    ravel_core_status queryStatus(void* cookie, const char* targetId) const
    {
        if (!_connections.isOpen(number(cookie)) || targetId == nullptr) {
            return kInvalidArgument;
        }
        if (_fault == ServiceFault::failsQuery) {
            return kFailed;
        }
        return _elsewhere || std::string(targetId) == kTargetId ? kOk : kNotFound;
    }

private:
    static std::uintptr_t number(void* cookie) { return reinterpret_cast<std::uintptr_t>(cookie); }

    const std::string _name;
    ControlThread& _control;
    TargetRegistry& _targets;
    std::atomic<ServiceFault> _fault{ServiceFault::none};
    std::atomic<bool> _quiet{false};
    std::atomic<bool> _elsewhere{false};
    Connections<Handler> _connections;
};

} // namespace camera::serviceapi
