#include "camera/services/MetadataSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace camera::services {

namespace {

constexpr int kAcceptPauseMs = 100;

base::FileDescriptor openWakeUp()
{
    base::FileDescriptor wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (wakeUp.get() < 0) {
        throw std::runtime_error(std::string("no event descriptor can be opened: ") + std::strerror(errno));
    }
    return wakeUp;
}

bool mayComeLater(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

MetadataSocket::Line MetadataSocket::lineOf(const std::string& document)
{
    auto line = std::make_shared<std::string>();
    line->reserve(document.size() + 1);
    *line = document;
    std::replace_if(
        line->begin(), line->end(), [](char character) { return character == '\n' || character == '\r'; }, ' ');
    *line += '\n';
    return line;
}

MetadataSocket::MetadataSocket(const std::filesystem::path& folder)
    : _file(folder / kFileName), _wakeUp(openWakeUp()), _thread([this] { run(); })
{
}

MetadataSocket::~MetadataSocket()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
    }
    wake();
    _thread.join();
}

void MetadataSocket::publish(const std::string& document)
{
    const Line line = lineOf(document);
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        ++_total.received;
        for (Client& client : _clients) {
            const std::size_t lost = client.queue.push(line);
            client.counters.lost += lost;
            _total.lost += lost;
        }
    }
    wake();
}

MetadataSocket::Counters MetadataSocket::counters() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    Counters now = _total;
    for (const Client& client : _clients) {
        now.subscribers.push_back(client.counters);
        now.subscribers.back().queuedBytes = client.queue.weight();
    }
    return now;
}

void MetadataSocket::wake() const
{
    const std::uint64_t one = 1;
    if (::write(_wakeUp.get(), &one, sizeof one) < 0) {
        // The counter is full: the thread wakes all the same.
    }
}

void MetadataSocket::run()
{
    std::vector<pollfd> polled = waiting();
    while (!polled.empty()) {
        if (::poll(polled.data(), polled.size(), polled[1].events == 0 ? kAcceptPauseMs : -1) > 0) {
            std::uint64_t ignored = 0;
            if ((polled[0].revents & POLLIN) != 0 && ::read(_wakeUp.get(), &ignored, sizeof ignored) < 0) {
                // Nothing to read: the next turn looks at everything in any case.
            }
            serveClients(polled); // before new ones are accepted: polled has one entry for each client
            if ((polled[1].revents & POLLIN) != 0) {
                acceptNew();
            }
        }
        polled = waiting();
    }
}

// What the next turn waits for: the wake-up, the listener, the clients in their order. Empty: the thread ends.
std::vector<pollfd> MetadataSocket::waiting()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_stopping) {
        return {};
    }
    const bool accepting = std::chrono::steady_clock::now() >= _acceptAgain;
    std::vector<pollfd> polled = {{_wakeUp.get(), POLLIN, 0},
                                  {_file.descriptor(), static_cast<short>(accepting ? POLLIN : 0), 0}};
    for (const Client& client : _clients) {
        const int events = (client.sendsNoMore ? 0 : POLLIN) | (client.line || !client.queue.empty() ? POLLOUT : 0);
        polled.push_back({client.socket.get(), static_cast<short>(events), 0});
    }
    return polled;
}

void MetadataSocket::acceptNew()
{
    base::FileDescriptor socket(::accept4(_file.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() < 0) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            _acceptAgain = std::chrono::steady_clock::now() + std::chrono::milliseconds(kAcceptPauseMs);
        }
        return;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_clients.size() < kMostSubscribers) {
        _clients.emplace_back(std::move(socket));
    }
}

void MetadataSocket::serveClients(const std::vector<pollfd>& polled)
{
    std::size_t index = 2;
    for (auto client = _clients.begin(); client != _clients.end(); ++index) {
        if (serve(*client, polled[index].revents)) {
            ++client;
            continue;
        }
        const std::lock_guard<std::mutex> lock(_mutex);
        client = _clients.erase(client);
    }
}

// False when the client is gone.
bool MetadataSocket::serve(Client& client, short events)
{
    if ((events & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        return false;
    }
    if ((events & POLLIN) != 0) {
        std::array<char, 4096> ignored;
        const ssize_t count = ::recv(client.socket.get(), ignored.data(), ignored.size(), MSG_DONTWAIT);
        client.sendsNoMore = count == 0;
        if (count < 0 && !mayComeLater(errno)) {
            return false;
        }
    }
    return (events & POLLOUT) == 0 || sendTo(client);
}

bool MetadataSocket::sendTo(Client& client)
{
    if (!client.line) {
        const std::lock_guard<std::mutex> lock(_mutex);
        std::optional<Line> next = client.queue.take();
        if (!next) {
            return true;
        }
        client.line = std::move(*next);
        client.sent = 0;
    }
    const ssize_t count = ::send(client.socket.get(), client.line->data() + client.sent,
                                 client.line->size() - client.sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0) {
        return mayComeLater(errno);
    }
    client.sent += static_cast<std::size_t>(count);
    if (client.sent == client.line->size()) {
        client.line.reset();
        const std::lock_guard<std::mutex> lock(_mutex);
        ++client.counters.delivered;
        ++_total.delivered;
    }
    return true;
}

} // namespace camera::services
