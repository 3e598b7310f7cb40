#pragma once

#include "camera/bus/Names.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace camera::bus {

/// Whether no answer came in time. Any other error is an answer, or says that the call could not be sent.
inline bool isSilence(const sdbus::Error& error)
{
    return error.getName() == error::kNoReply || error.getName() == error::kTimeout;
}

/// Whether no process has the bus name that was called.
inline bool isAbsence(const sdbus::Error& error)
{
    return error.getName() == error::kServiceUnknown || error.getName() == error::kNoOwner;
}

/// How long one call may take before it counts as failed.
constexpr std::chrono::milliseconds kDefaultPatience{2000};

/**
 * A proxy whose synchronous calls end within its patience, also when the bus dies meanwhile. The library's own wait
 * for an answer has no end when the bus thread has ended.
 */
class BoundedProxy final : public sdbus::IProxy {
public:
    BoundedProxy(std::unique_ptr<sdbus::IProxy> proxy, std::chrono::milliseconds patience)
        : _proxy(std::move(proxy)), _patience(patience)
    {
    }

    /// Not while a call is under way.
    void setPatience(std::chrono::milliseconds patience) { _patience = patience; }

    using sdbus::IProxy::callMethod;

    /// Any thread but the bus thread, which the answer comes by. @throws sdbus::Error with the name and text that the
    /// other side gave; error::kNoReply when no answer came in time, error::kUnavailable when the bus has ended.
    sdbus::MethodReply callMethod(const sdbus::MethodCall& message, std::uint64_t timeout) override;

    sdbus::PendingAsyncCall callMethod(const sdbus::MethodCall& message, sdbus::async_reply_handler handler,
                                       std::uint64_t timeout) override
    {
        return _proxy->callMethod(message, std::move(handler), timeout);
    }
    sdbus::MethodCall createMethodCall(const std::string& interface, const std::string& method) override
    {
        return _proxy->createMethodCall(interface, method);
    }
    void registerSignalHandler(const std::string& interface, const std::string& signal,
                               sdbus::signal_handler handler) override
    {
        _proxy->registerSignalHandler(interface, signal, std::move(handler));
    }
    void unregisterSignalHandler(const std::string& interface, const std::string& signal) override
    {
        _proxy->unregisterSignalHandler(interface, signal);
    }
    void finishRegistration() override { _proxy->finishRegistration(); }
    void unregister() override { _proxy->unregister(); }
    sdbus::IConnection& getConnection() const override { return _proxy->getConnection(); }
    const std::string& getObjectPath() const override { return _proxy->getObjectPath(); }
    const sdbus::Message* getCurrentlyProcessedMessage() const override
    {
        return _proxy->getCurrentlyProcessedMessage();
    }

private:
    const std::unique_ptr<sdbus::IProxy> _proxy;
    std::chrono::milliseconds _patience;
};

/// One service of the camera, called over the bus for the length of a session: what the typed proxies of all
/// interfaces have in common.
class Client {
public:
    Client(sdbus::IConnection& connection, const std::string& service, std::chrono::milliseconds patience)
        : _service(service), _proxy(sdbus::createProxy(connection, busName(service), objectPath(service)), patience)
    {
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    BoundedProxy& proxy() { return _proxy; }
    const std::string& service() const { return _service; }

private:
    const std::string _service;
    BoundedProxy _proxy;
};

} // namespace camera::bus
