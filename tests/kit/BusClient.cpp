#include "kit/BusClient.h"

namespace kit {

namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

} // namespace

BusProxies::BusProxies(sdbus::IConnection& connection, const std::vector<std::string>& services)
    : _connection(connection)
{
    for (const std::string& name : services) {
        add(name, camera::bus::busName(name), camera::bus::objectPath(name));
    }
    add(kDaemon, kDaemon, "/org/freedesktop/DBus");
}

void BusProxies::add(const std::string& name, const std::string& busName, const std::string& path)
{
    _proxies[name] = sdbus::createProxy(_connection, busName, path);
}

void BusProxies::finish()
{
    for (const auto& entry : _proxies) {
        entry.second->finishRegistration();
    }
}

BusClient::BusClient(const std::string& address, std::vector<std::string> services,
                     std::function<void(BusProxies&, LineJournal&)> prepare)
    : connection(address, "the test"),
      _proxies(connection.add<BusProxies>([this, services = std::move(services), prepare = std::move(prepare)](
                                              const std::shared_ptr<camera::bus::Session>& session) {
          auto made = std::make_shared<BusProxies>(session->connection(), services);
          if (prepare) {
              prepare(*made, journal);
          }
          made->finish();
          return made;
      }))
{
    connection.start();
}

bool BusClient::waitForSession(std::uint64_t number)
{
    return eventually([&] { return connection.sessions() >= number && connection.connected(); });
}

std::shared_ptr<BusProxies> BusClient::proxies() const
{
    auto now = _proxies->get();
    if (!now) {
        throw sdbus::Error(error::kUnavailable, "the bus is away");
    }
    return now;
}

std::map<std::string, sdbus::Variant> BusClient::properties(const std::string& name) const
{
    return std::get<0>(call<std::map<std::string, sdbus::Variant>>(
        proxies()->of(name), "org.freedesktop.DBus.Properties", "GetAll", kPatience, camera::bus::interfaceName(name)));
}

bool BusClient::isServed(const std::string& name) const
{
    try {
        return std::get<0>(
            call<bool>(proxies()->of(kDaemon), kDaemon, "NameHasOwner", kPatience, camera::bus::busName(name)));
    } catch (const sdbus::Error&) {
        return false;
    }
}

} // namespace kit
