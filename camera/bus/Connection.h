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
 * One connection to the bus, from the moment it is made until it breaks, with all objects that this process has on it:
 * those that it serves and the proxies that it calls through.
 *
 * Code that uses one of these objects on another thread than the bus thread, or answers a method later, holds
 * the session meanwhile: a message refers to its connection.
 */
class Session {
public:
    explicit Session(std::unique_ptr<sdbus::IConnection> connection) : _connection(std::move(connection)) {}
    ~Session() { _objects.clear(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    sdbus::IConnection& connection() const { return *_connection; }

    void keep(std::shared_ptr<void> object) { _objects.push_back(std::move(object)); }

private:
    std::unique_ptr<sdbus::IConnection> _connection;
    std::vector<std::shared_ptr<void>> _objects; ///< destroyed before the connection that they refer to
};

/**
 * The object of type T that belongs to the current session. Thread-safe.
 *
 * get() is null while there is no session. What it returns keeps its session, so hold it for the length of a call only.
 */
template <class T>
class CurrentObject {
public:
    std::shared_ptr<T> get() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _object;
    }

private:
    friend class Connection;

    void set(std::shared_ptr<T> object)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _object.swap(object); // the previous one is destroyed after the lock is released
    }

    mutable std::mutex _mutex;
    std::shared_ptr<T> _object;
};

/**
 * A process' connection to the camera's bus. When the bus ends and is started again, it connects again.
 *
 * A thread of this object connects, makes the objects in the order in which they were added, and serves
 * them until the connection breaks. Then it connects again: at once, then after growing pauses. Thread-safe.
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
     * Adds an object that each session has. make runs on the bus thread when a session begins; it registers
     * objects first and takes bus names last, and it throws sdbus::Error when that fails: this session then
     * ends, and the next one begins. Call it before start().
     */
    template <class T>
    std::shared_ptr<CurrentObject<T>> add(std::function<std::shared_ptr<T>(const std::shared_ptr<Session>&)> make)
    {
        auto current = std::make_shared<CurrentObject<T>>();
        _factories.push_back({[make = std::move(make), current](const std::shared_ptr<Session>& session) {
                                  const std::shared_ptr<T> object = make(session);
                                  session->keep(object);
                                  // Shares the session's ownership: the connection lives as long as the object.
                                  current->set(std::shared_ptr<T>(session, object.get()));
                              },
                              [current] { current->set(nullptr); }});
        return current;
    }

    /// Called on the bus thread when a session has ended, before the next one begins. Before start().
    void whenLost(std::function<void()> action) { _whenLost = std::move(action); }

    void start();

    /// Ends the session and the thread. Idempotent; not from the bus thread.
    void stop();

    bool connected() const;

    /// True when there was a session at some moment before the deadline.
    bool waitUntilConnected(std::chrono::steady_clock::time_point deadline) const;

    /// How many sessions there have been so far.
    std::uint64_t sessions() const;

    /// Why there is no session at the moment; empty while there is one.
    std::string reason() const;

    const std::string& address() const { return _address; }

private:
    /// Makes one object of a session, and forgets it when the session has ended.
    struct ObjectFactory {
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
    std::vector<ObjectFactory> _factories;
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
