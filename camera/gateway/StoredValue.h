#pragma once

#include "camera/gateway/DiskThread.h"
#include "camera/onvif/Kept.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace camera::gateway {

/**
 * A kept value whose changes the disk thread writes, one at a time.
 *
 * Thread: that of the io_context, on which changes are answered. It lives until the disk thread has stopped, and what
 * that has posted is no longer run afterwards.
 */
template <class T>
class StoredValue final : public onvif::Kept<T> {
public:
    using typename onvif::Kept<T>::Edit;
    using typename onvif::Kept<T>::Done;

    /// Makes a value durable; called on the disk thread. Throws an std::exception with one sentence when it cannot.
    using Write = std::function<void(const T&)>;

    StoredValue(T value, Write write, DiskThread& disk, boost::asio::io_context& context)
        : onvif::Kept<T>(std::move(value)), _write(std::move(write)), _disk(disk), _context(context)
    {
    }

    /// Called after each change that is durable, before it is answered.
    using Changed = std::function<void(const T& before, const T& after)>;
    void whenChanged(Changed changed) { _changed = std::move(changed); }

    void change(Edit edit, Done done) override
    {
        _waiting.push_back({std::move(edit), std::move(done)});
        if (!_writes) {
            next();
        }
    }

private:
    struct Change {
        Edit edit;
        Done done;
    };

    void next()
    {
        while (!_waiting.empty()) {
            Change change = std::move(_waiting.front());
            _waiting.pop_front();
            auto wanted = std::make_shared<T>(this->_value);
            try {
                change.edit(*wanted);
            } catch (const onvif::Fault& fault) {
                change.done(fault);
                continue;
            }
            // It stays on this thread: what it refers to, a connection for instance, is not to end on another one.
            _done = std::move(change.done);
            _writes = _disk.post([this, wanted] {
                const std::string failure = written(*wanted);
                boost::asio::post(_context, [this, wanted, failure] { finish(*wanted, failure); });
            });
            if (_writes) {
                return;
            }
            std::exchange(_done, {})(failed("the camera is ending"));
        }
    }

    std::string written(const T& value) const
    {
        try {
            _write(value);
            return "";
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    void finish(T& wanted, const std::string& failure)
    {
        const Done done = std::exchange(_done, {});
        _writes = false;
        if (failure.empty()) {
            const T before = std::exchange(this->_value, std::move(wanted));
            if (_changed) {
                _changed(before, this->_value);
            }
            done(std::nullopt);
        } else {
            done(failed(failure));
        }
        if (!_writes) {
            next();
        }
    }

    static onvif::Fault failed(const std::string& reason) { return onvif::Fault::receiver({"ter:Action"}, reason); }

    const Write _write;
    Changed _changed;
    DiskThread& _disk;
    boost::asio::io_context& _context;
    std::deque<Change> _waiting;
    Done _done; ///< of the change that is written
    bool _writes = false;
};

} // namespace camera::gateway
