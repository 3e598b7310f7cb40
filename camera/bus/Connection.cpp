#include "camera/bus/Connection.h"

#include "camera/base/Log.h"
#include "camera/bus/Address.h"

#include <algorithm>
#include <exception>

namespace camera::bus {

namespace {

constexpr const char* kComponent = "bus";

} // namespace

Connection::Connection(std::string address, std::string process)
    : _address(std::move(address)), _process(std::move(process))
{
}

Connection::~Connection()
{
    stop();
}

void Connection::start()
{
    _thread = std::thread([this] { run(); });
}

void Connection::stop()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
        if (_session) {
            _session->connection().leaveEventLoop();
        }
        _changed.notify_all();
    }
    if (_thread.joinable()) {
        _thread.join();
    }
}

void Connection::run()
{
    std::chrono::milliseconds next(0);
    while (pause(next)) {
        const bool hadSession = serve();
        next = hadSession ? kFirstPause : std::clamp(next * 2, kFirstPause, kLongestPause);
    }
}

// Runs one session from its beginning to its end; false when no session began.
bool Connection::serve()
{
    std::string why = "the bus closed the connection";
    bool began = false;
    try {
        const std::shared_ptr<Session> session = open();
        began = true;
        setSession(session);
        // Not the library's own thread: an exception there, when the bus dies, would end the process.
        session->connection().enterEventLoop();
    } catch (const std::exception& error) {
        why = error.what();
    }
    lost(why);
    return began;
}

std::shared_ptr<Session> Connection::open() const
{
    // The library leaks memory with each attempt that finds no listener, and the attempts may go on for days.
    requireListener(_address);
    const auto session = std::make_shared<Session>(sdbus::createSessionBusConnectionWithAddress(_address));
    for (const ObjectFactory& factory : _factories) {
        factory.make(session);
    }
    return session;
}

void Connection::setSession(std::shared_ptr<Session> session)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _session = std::move(session);
    if (_stopping) {
        _session->connection().leaveEventLoop();
    }
    ++_sessions;
    _reason.clear();
    _changed.notify_all();
}

void Connection::lost(const std::string& why)
{
    for (const ObjectFactory& factory : _factories) {
        factory.forget();
    }
    if (_whenLost) {
        _whenLost();
    }
    std::shared_ptr<Session> session;
    const std::lock_guard<std::mutex> lock(_mutex);
    session.swap(_session);
    if (session && !_stopping) {
        base::Log::instance().write(base::LogLevel::error, kComponent,
                                    _process + " lost the bus: " + why + "; it connects again");
    }
    if (!session && !_stopping && why != _reason) {
        base::Log::instance().write(base::LogLevel::info, kComponent, _process + " has no bus: " + why);
    }
    _reason = why;
    _changed.notify_all();
}

bool Connection::pause(std::chrono::milliseconds length)
{
    std::unique_lock<std::mutex> lock(_mutex);
    return !_changed.wait_for(lock, length, [this] { return _stopping; });
}

bool Connection::connected() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _session != nullptr;
}

bool Connection::waitUntilConnected(std::chrono::steady_clock::time_point deadline) const
{
    std::unique_lock<std::mutex> lock(_mutex);
    return _changed.wait_until(lock, deadline, [this] { return _session != nullptr; });
}

std::uint64_t Connection::sessions() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _sessions;
}

std::string Connection::reason() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _reason;
}

} // namespace camera::bus
