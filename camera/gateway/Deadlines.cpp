#include "camera/gateway/Deadlines.h"

#include <algorithm>
#include <utility>

namespace camera::gateway {

Deadlines::Deadlines(boost::asio::io_context& context) : _timer(context)
{
}

Deadlines::Entry::Entry(Deadlines& all, std::function<void()> expired)
    : _all(all), _expired(std::move(expired)), _place(all._entries.insert(all._entries.end(), this))
{
}

Deadlines::Entry::~Entry()
{
    _all._entries.erase(_place);
    if (_all._entries.empty() && _all._wake != kNever) {
        _all._wake = kNever;
        boost::system::error_code ignored;
        _all._timer.cancel(ignored); // the context has nothing to wait for
    }
}

void Deadlines::Entry::set(std::chrono::milliseconds fromNow)
{
    _at = std::chrono::steady_clock::now() + fromNow;
    if (_at < _all._wake) {
        _all.wakeAt(_at);
    }
}

void Deadlines::Entry::clear()
{
    _at = kNever;
}

void Deadlines::wakeAt(Time time)
{
    _wake = time;
    _timer.expires_at(time);
    _timer.async_wait([this, exists = std::weak_ptr(_exists)](const boost::system::error_code& error) {
        if (!error && !exists.expired()) {
            expire();
        }
    });
}

void Deadlines::expire()
{
    const Time now = std::chrono::steady_clock::now();
    _wake = kNever;
    // What is called may end entries and set others; each time the list is looked through anew.
    const auto isEarlier = [](const Entry* one, const Entry* other) { return one->_at < other->_at; };
    const auto earliest = [&] { return std::min_element(_entries.begin(), _entries.end(), isEarlier); };
    auto first = earliest();
    for (; first != _entries.end() && (*first)->_at <= now; first = earliest()) {
        (*first)->clear();
        const std::function<void()> expired = (*first)->_expired;
        expired();
    }
    if (first != _entries.end() && (*first)->_at < _wake) {
        wakeAt((*first)->_at);
    }
}

} // namespace camera::gateway
