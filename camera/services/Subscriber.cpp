#include "camera/services/Subscriber.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace camera::services {

namespace {

bool mayComeLater(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

short Subscriber::events(bool hasMore) const
{
    return static_cast<short>((_sendsNoMore ? 0 : POLLIN) | (sending() || hasMore ? POLLOUT : 0));
}

void Subscriber::begin(Line line)
{
    _line = std::move(line);
    _sent = 0;
}

Subscriber::Progress Subscriber::send()
{
    const ssize_t count =
        ::send(_socket.get(), _line->data() + _sent, _line->size() - _sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0) {
        return mayComeLater(errno) ? Progress::none : Progress::gone;
    }
    _sent += static_cast<std::size_t>(count);
    if (_sent < _line->size()) {
        return Progress::partly;
    }
    _line.reset();
    return Progress::whole;
}

bool Subscriber::drain()
{
    std::array<char, 4096> ignored;
    const ssize_t count = ::recv(_socket.get(), ignored.data(), ignored.size(), MSG_DONTWAIT);
    _sendsNoMore = count == 0;
    return count >= 0 || mayComeLater(errno);
}

} // namespace camera::services
