#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace camera::bus {

/**
 * One connection to the bus, from the moment it stands until it breaks, with everything that this
 * process has on it: objects it serves and proxies it calls through.
 *
 * Code that uses one of these from another thread than the bus thread, or answers a method later, holds
 * the session meanwhile: a message refers to its connection.
 */
class Session {
public:
    explicit Session(std::unique_ptr<sdbus::IConnection> connection) : _connection(std::move(connection)) {}
    ~Session() { _parts.clear(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    sdbus::IConnection& connection() const { return *_connection; }

    void keep(std::shared_ptr<void> part) { _parts.push_back(std::move(part)); }

private:
    std::unique_ptr<sdbus::IConnection> _connection;
    std::vector<std::shared_ptr<void>> _parts; ///< gone before the connection that they refer to
};

/**
 * The part of type T of the session that stands at the moment. Thread-safe.
 *
 * get() is null while the bus is away; what it returned keeps its session, so hold it for the length of a call only.
 */
template <class T>
class Live {
public:
    std::shared_ptr<T> get() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _part;
    }

private:
    friend class Connection;

    void set(std::shared_ptr<T> part)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _part.swap(part); // the old one ends after the lock
    }

    mutable std::mutex _mutex;
    std::shared_ptr<T> _part;
};

/**
 * A process' connection to the camera's bus, which comes back when the bus does.
 *
 * A thread of this object connects, builds the parts, in the order in which they were added, serves
 * them until the connection breaks, and begins anew: at once, then after growing pauses. Thread-safe.
 */
class Connection {
public:
    static constexpr std::chrono::milliseconds kFirstPause{20};
    static constexpr std::chrono::milliseconds kLongestPause{1000};

    /// @param process  for the log: which process of the camera this is.
    Connection(std::string address, std::string process);

    /// As stop().
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /**
     * Something to have on the bus. make runs on the bus thread for each session and returns a
     * std::shared_ptr<T>; it registers objects first and takes bus names last, and it throws
     * sdbus::Error when that fails: the session is given up then and begun anew. Before start().
     */
    template <class T>
    std::shared_ptr<Live<T>> add(std::function<std::shared_ptr<T>(const std::shared_ptr<Session>&)> make)
    {
        auto live = std::make_shared<Live<T>>();
        _makers.push_back({[make = std::move(make), live](const std::shared_ptr<Session>& session) {
                               const std::shared_ptr<T> part = make(session);
                               session->keep(part);
                               // Shares the session's ownership: the part lives as long as the connection under it.
                               live->set(std::shared_ptr<T>(session, part.get()));
                           },
                           [live] { live->set(nullptr); }});
        return live;
    }

    /// Called on the bus thread when a session has ended, before the next one begins. Before start().
    void whenLost(std::function<void()> action) { _whenLost = std::move(action); }

    void start();

    /// Ends the session and the thread. Idempotent; not from the bus thread.
    void stop();

    bool connected() const;

    /// True when a session stood at some moment before the deadline.
    bool waitUntilConnected(std::chrono::steady_clock::time_point deadline) const;

    /// How often a session has stood so far.
    std::uint64_t sessions() const;

    /// Why there is no session at the moment; empty while there is one.
    std::string reason() const;

    const std::string& address() const { return _address; }

private:
    struct Maker {
        std::function<void(const std::shared_ptr<Session>&)> make;
        std::function<void()> forget;
    };

    void run();
    bool serve();
    std::shared_ptr<Session> open() const;
    void setSession(std::shared_ptr<Session> session);
    void lost(const std::string& why);
    bool pause(std::chrono::milliseconds length);

    const std::string _address;
    const std::string _process;
    std::vector<Maker> _makers;
    std::function<void()> _whenLost;

    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::shared_ptr<Session> _session;
    std::uint64_t _sessions = 0;
    std::string _reason = "not connected yet";
    bool _stopping = false;
    std::thread _thread;
};

} // namespace camera::bus
