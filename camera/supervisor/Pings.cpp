#include "camera/supervisor/Pings.h"

namespace camera::supervisor {

namespace {

// Longer than anybody watches: a process that was stopped answers when it goes on.
constexpr std::chrono::hours kPatience(24);

} // namespace

Pings::Pings(sdbus::IConnection& connection, const std::vector<std::string>& busNames)
{
    for (const std::string& name : busNames) {
        _proxies[name] = sdbus::createProxy(connection, name, "/org/freedesktop/DBus");
        _proxies[name]->finishRegistration();
    }
}

void Pings::ask()
{
    for (const auto& [name, proxy] : _proxies) {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            if (!_asked.emplace(name, Clock::now()).second) {
                continue;
            }
        }
        try {
            proxy->callMethodAsync("Ping")
                .onInterface("org.freedesktop.DBus.Peer")
                .withTimeout(kPatience)
                .uponReplyInvoke([this, name = name](const sdbus::Error* /*an error is an answer, too*/) {
                    const std::lock_guard<std::mutex> lock(_mutex);
                    _asked.erase(name);
                });
        } catch (const sdbus::Error&) { // the session ends
            const std::lock_guard<std::mutex> lock(_mutex);
            _asked.erase(name);
        }
    }
}

std::optional<Pings::Clock::time_point> Pings::askedAt(const std::string& busName) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _asked.find(busName);
    return found == _asked.end() ? std::nullopt : std::optional(found->second);
}

} // namespace camera::supervisor
