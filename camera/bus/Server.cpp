#include "camera/bus/Server.h"

#include "camera/base/Log.h"

namespace camera::bus {

sdbus::Error currentError()
{
    try {
        throw;
    } catch (const sdbus::Error& error) {
        return sdbus::Error(error.getName(), base::sendable(error.getMessage()));
    } catch (const Refusal& refusal) {
        return sdbus::Error(error::kRefused, base::sendable(refusal.what()));
    } catch (const std::exception& error) {
        return sdbus::Error(error::kFailed, base::sendable(error.what()));
    } catch (...) {
        return sdbus::Error(error::kFailed, "an exception of an unknown type");
    }
}

void Request::refuse(const char* error, const std::string& text) noexcept
{
    _failure = sdbus::Error(error, base::sendable(text));
    answer();
}

void setLogLevel(const std::string& name)
{
    const std::optional<base::LogLevel> level = base::logLevelNamed(name);
    if (!level) {
        throw Refusal("there is no log level '" + name + "'; there are error, info and debug");
    }
    base::Log::instance().setLevel(*level);
}

void atOnce(const std::shared_ptr<Request>& request)
{
    request->perform();
    request->answer();
}

Server::Server(sdbus::IConnection& connection, std::string service, Dispatch dispatch)
    : _connection(connection),
      _service(std::move(service)),
      _dispatch(std::move(dispatch)),
      _object(sdbus::createObject(connection, objectPath(_service)))
{
}

void Server::takeName()
{
    _connection.requestName(busName(_service));
}

void Server::releaseName()
{
    _connection.releaseName(busName(_service));
}

void Server::emitting(const char* what, const std::function<void()>& send) noexcept
{
    try {
        send();
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::info, "bus", std::string(what) + " was not sent: " + error.what());
    }
}

} // namespace camera::bus
