#pragma once

#include "camera/base/Event.h"
#include "camera/bus/Call.h"
#include "camera/bus/Connection.h"
#include "camera/bus/Names.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>

namespace camera::cli {

/// What a running camera did not do, in one sentence.
class CameraError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A running camera, asked over its bus. No wait is longer than it was told. Thread-safe once connected.
class CameraClient {
public:
    /// @param patience  for connecting, and for each call.
    CameraClient(const std::string& address, std::chrono::milliseconds patience);

    /// Hears the camera's analytics events, on a thread of this object. Before connect().
    void onEvent(std::function<void(const base::Event&)> hear);

    /// @throws CameraError when the bus does not answer.
    void connect();

    /// False while the bus is away; the connection comes back by itself when the bus does.
    bool connected() const { return _connection.connected(); }

    /// Calls a method of one of the camera's services. @throws CameraError
    template <class... Out, class... In>
    std::tuple<Out...> call(const std::string& service, const std::string& method, const In&... arguments)
    {
        return callWithin<Out...>(_patience, service, method, arguments...);
    }

    /// As call(), with a patience of its own.
    template <class... Out, class... In>
    std::tuple<Out...> callWithin(std::chrono::milliseconds patience, const std::string& service,
                                  const std::string& method, const In&... arguments)
    {
        const std::shared_ptr<Proxies> proxies = _proxies->get();
        if (!proxies) {
            throw CameraError("the camera's bus has gone; camera status shows what runs");
        }
        try {
            return bus::call<Out...>(*proxies->of.at(service), bus::interfaceName(service), method, patience,
                                     arguments...);
        } catch (const sdbus::Error& error) {
            throw CameraError(sentence(service, error, patience));
        }
    }

private:
    struct Proxies {
        std::map<std::string, std::unique_ptr<sdbus::IProxy>> of; ///< by the service's name
    };

    std::shared_ptr<Proxies> makeProxies(const std::shared_ptr<bus::Session>& session) const;
    static std::string sentence(const std::string& service, const sdbus::Error& error,
                                std::chrono::milliseconds patience);

    std::chrono::milliseconds _patience;
    std::function<void(const base::Event&)> _hear;
    bus::Connection _connection;
    std::shared_ptr<bus::Live<Proxies>> _proxies;
};

} // namespace camera::cli
