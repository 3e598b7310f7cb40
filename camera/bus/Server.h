#pragma once

#include "camera/bus/Texts.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace camera::bus {

/// Thrown by a method that understood its caller but does not do what was asked: the text says why, in one sentence.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a caller is told about an exception: an sdbus::Error as it is, a Refusal as kRefused, any other as kFailed.
/// Call it in a catch clause.
sdbus::Error currentError();

/// A method call from its arrival to its answer. It refers to its connection: keep the session as long.
class Request {
public:
    virtual ~Request() = default;
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// Does what is asked and keeps the outcome, also when that is an exception.
    virtual void perform() noexcept = 0;

    /// Sends the outcome of perform(). An answer that the bus does not take is logged.
    virtual void answer() noexcept = 0;

    /// Sends an error, whatever the outcome was.
    void refuse(const char* error, const std::string& text) noexcept;

    /// The method that is called.
    const char* method() const { return _method; }

    /// About what the question holds in memory.
    std::size_t bytes() const { return _bytes; }

protected:
    Request(const char* method, std::size_t bytes) : _method(method), _bytes(bytes) {}

    std::optional<sdbus::Error> _failure;

private:
    const char* const _method;
    const std::size_t _bytes;
};

/// Gives the log of this process the level of that name. @throws Refusal when there is none.
void setLogLevel(const std::string& name);

/// Decides on which thread a request is performed, and when it is answered. Called on the bus thread; returns at once.
using Dispatch = std::function<void(const std::shared_ptr<Request>&)>;

/// Performs and answers.
void atOnce(const std::shared_ptr<Request>& request);

/**
 * A service on the bus for the length of one session: its object, and its name when it has taken it.
 *
 * The classes that cmake/bus_interface.py writes from the interface descriptions derive from it. Thread-bound: the bus
 * thread's, emitting signals excepted.
 */
class Server {
public:
    virtual ~Server() = default;
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& service() const { return _service; }

    /// Takes or gives back the bus name. @throws sdbus::Error
    void takeName();
    void releaseName();

protected:
    Server(sdbus::IConnection& connection, std::string service, Dispatch dispatch);

    sdbus::IObject& object() { return *_object; }

    /// Hands a call to the dispatch; operation returns nothing, the method's result, or a tuple of its results.
    template <class... Out, class Operation>
    void handle(const char* method, sdbus::Result<Out...>&& result, std::size_t bytes, Operation operation)
    {
        guarded([&] {
            _dispatch(std::make_shared<Call<Operation, Out...>>(*this, method, std::move(result), std::move(operation),
                                                                bytes));
        });
    }

    /// What get returns. @throws sdbus::Error and nothing else.
    template <class Get>
    static auto guarded(const Get& get)
    {
        try {
            if constexpr (std::is_void_v<decltype(get())>) {
                get();
            } else {
                return sendable(get());
            }
        } catch (...) {
            throw currentError();
        }
    }

    /// Whose texts make an answer large, for the refusal of one that no message can carry: "" or ", most of it of
    /// engine 'Motion'". On the thread of the operation.
    virtual std::string whoseAnswer() const { return ""; }

    /// Sends a signal; one that the bus does not take is logged.
    static void emitting(const char* signal, const std::function<void()>& emit) noexcept;

private:
    template <class Operation, class... Out>
    class Call final : public Request {
    public:
        Call(const Server& server, const char* method, sdbus::Result<Out...>&& result, Operation operation,
             std::size_t bytes)
            : Request(method, bytes), _server(server), _result(std::move(result)), _operation(std::move(operation))
        {
        }

        void perform() noexcept override
        {
            try {
                if constexpr (sizeof...(Out) == 0) {
                    _operation();
                } else {
                    _values = sendable(std::tuple<Out...>(_operation()));
                    if (bytesOf(_values) > base::kLargestMessage) {
                        checkSize(std::string("the answer to ") + method() + _server.whoseAnswer(), _values);
                    }
                }
            } catch (...) {
                _failure = currentError();
            }
        }

        void answer() noexcept override
        {
            emitting("an answer", [this] {
                if (_failure) {
                    _result.returnError(*_failure);
                } else {
                    std::apply([this](const Out&... values) { _result.returnResults(values...); }, _values);
                }
            });
        }

    private:
        const Server& _server;
        const sdbus::Result<Out...> _result;
        Operation _operation;
        std::tuple<Out...> _values;
    };

    sdbus::IConnection& _connection;
    const std::string _service;
    const Dispatch _dispatch;
    const std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::bus
