#include "camera/gateway/DiscoverySocket.h"

#include "camera/base/Log.h"
#include "camera/onvif/Digests.h"

#include <boost/asio/ip/udp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <utility>

namespace camera::gateway {

namespace asio = boost::asio;
using udp = asio::ip::udp;

namespace {

constexpr const char* kGroup = "239.255.255.250";
constexpr const char* kLongGroup = "ff02::c";
constexpr std::size_t kMostAddresses = 4; // of a link, that are told to all

/// Where all on a link hear the camera.
udp::endpoint allOn(const Link& link, std::uint16_t port)
{
    if (!link.isLong()) {
        return {asio::ip::make_address_v4(kGroup), port};
    }
    asio::ip::address_v6 group = asio::ip::make_address_v6(kLongGroup);
    group.scope_id(link.index);
    return {group, port};
}

std::chrono::milliseconds randomTime(unsigned least, unsigned most)
{
    const onvif::Bytes random = onvif::randomBytes(2);
    return std::chrono::milliseconds(least + (random[0] * 256U + random[1]) % (most - least + 1));
}

template <class Value>
void setOption(udp::socket& socket, int level, int option, const Value& value)
{
    if (::setsockopt(socket.native_handle(), level, option, &value, sizeof value) != 0) {
        throw boost::system::system_error(errno, boost::system::generic_category());
    }
}

void join(udp::socket& socket, const Link& link, const asio::ip::address_v4& group)
{
    setOption(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0); // nothing of links that other sockets have joined
    ip_mreqn membership{};
    membership.imr_multiaddr.s_addr = htonl(group.to_uint());
    membership.imr_address.s_addr = htonl(link.addresses.front().address().to_v4().to_uint());
    membership.imr_ifindex = static_cast<int>(link.index);
    setOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership);
    setOption(socket, IPPROTO_IP, IP_MULTICAST_IF, membership);
    setOption(socket, IPPROTO_IP, IP_MULTICAST_TTL, 1);
}

void join(udp::socket& socket, const Link& link, const asio::ip::address_v6& group)
{
    setOption(socket, IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0);
    ipv6_mreq membership{};
    std::memcpy(&membership.ipv6mr_multiaddr, group.to_bytes().data(), sizeof membership.ipv6mr_multiaddr);
    membership.ipv6mr_interface = link.index;
    setOption(socket, IPPROTO_IPV6, IPV6_JOIN_GROUP, membership);
    setOption(socket, IPPROTO_IPV6, IPV6_MULTICAST_IF, link.index);
    setOption(socket, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, 1);
}

/// A socket that gets what is sent to the group on one link, and sends to all there. @throws
/// boost::system::system_error
udp::socket joined(asio::io_context& context, const Link& link, std::uint16_t port)
{
    const udp::endpoint all = allOn(link, port);
    udp::socket socket(context, all.protocol());
    socket.set_option(udp::socket::reuse_address(true)); // other programs of this computer may be found, too
    if (link.isLong()) {
        socket.set_option(asio::ip::v6_only(true));
        socket.bind(all);
        join(socket, link, all.address().to_v6());
    } else {
        socket.bind(all);
        join(socket, link, all.address().to_v4());
    }
    socket.non_blocking(true);
    return socket;
}

} // namespace

/// All that outlives nobody but the handlers that wait.
class DiscoverySocket::Sockets : public std::enable_shared_from_this<Sockets> {
public:
    Sockets(asio::io_context& context, onvif::Discovery discovery, Place place)
        : _context(context), _discovery(std::move(discovery)), _place(std::move(place)), _timer(context)
    {
    }

    void look();
    void tell(onvif::DiscoveryFacts facts);
    void end();
    void close();
    void answer(OfLink& from, const std::string& datagram, const udp::endpoint& sender);

private:
    std::shared_ptr<OfLink> opened(const Link& link);
    void later(std::chrono::milliseconds time, const std::shared_ptr<OfLink>& link,
               const std::function<void(OfLink&)>& what);
    void planHello(OfLink& link);
    void sayHello(OfLink& link);
    void sayBye();
    bool tellAll(OfLink& link, const std::string& text);
    std::vector<std::string> servicesAt(const std::vector<Address>& hosts) const;

    asio::io_context& _context;
    onvif::Discovery _discovery;
    const Place _place;
    asio::steady_timer _timer;
    std::vector<std::shared_ptr<OfLink>> _links;
    bool _failureTold = false;
    bool _ended = false;
};

/// The socket of one link.
class DiscoverySocket::OfLink : public std::enable_shared_from_this<OfLink> {
public:
    OfLink(udp::socket socket, Link link, Sockets& owner)
        : link(std::move(link)), _socket(std::move(socket)), _owner(owner)
    {
    }

    void receive()
    {
        _socket.async_receive_from(asio::buffer(_buffer), _sender,
                                   [self = shared_from_this()](const auto& error, std::size_t size) {
                                       if (error) {
                                           self->close(); // the next look opens another one
                                       } else if (self->isOpen()) {
                                           self->received(size);
                                       }
                                   });
    }

    bool isOpen() const { return _socket.is_open(); }

    void close()
    {
        boost::system::error_code ignored;
        _socket.close(ignored);
    }

    /// @return whether it is on its way.
    bool send(const std::string& datagram, const udp::endpoint& to)
    {
        boost::system::error_code failed;
        _socket.send_to(asio::buffer(datagram), to, 0, failed);
        return !failed;
    }

    Link link;
    bool helloIsPlanned = false;
    bool owesHello = false; ///< it could not be sent: a new address of IPv6 cannot send at first
    unsigned toldAll = 0;   ///< messages to all: a newer one ends the repetition of an older one

private:
    void received(std::size_t size)
    {
        const std::string datagram(_buffer.data(), size);
        const udp::endpoint sender = _sender;
        receive(); // first: whatever happens to this one, the next one comes
        _owner.answer(*this, datagram, sender);
    }

    udp::socket _socket;
    Sockets& _owner; ///< lives as long as the socket is open
    udp::endpoint _sender;
    std::array<char, onvif::Discovery::kMostBytes + 1> _buffer{}; ///< one more: what is too long is seen as such
};

void DiscoverySocket::Sockets::look()
{
    const std::vector<Link> there = _place.links();
    std::vector<std::shared_ptr<OfLink>> kept;
    bool failed = false;
    for (const Link& link : there) {
        const auto known = std::find_if(_links.begin(), _links.end(), [&link](const auto& each) {
            return each->link.index == link.index && each->link.isLong() == link.isLong() && each->isOpen();
        });
        const bool isNew =
            known == _links.end() || !((*known)->link.addresses == link.addresses) || (*known)->owesHello;
        const std::shared_ptr<OfLink> ofLink = known == _links.end() ? opened(link) : std::exchange(*known, nullptr);
        _links.erase(std::remove(_links.begin(), _links.end(), nullptr), _links.end());
        failed = failed || !ofLink;
        if (ofLink) {
            ofLink->link = link;
            kept.push_back(ofLink);
            if (isNew && _discovery.discoverable()) {
                planHello(*ofLink);
            }
        }
    }
    for (const std::shared_ptr<OfLink>& gone : _links) {
        gone->close();
    }
    _links = std::move(kept);
    _failureTold = failed;
    _timer.expires_after(_place.betweenLooks);
    _timer.async_wait([self = weak_from_this()](const auto& error) {
        if (const auto sockets = self.lock(); sockets && !error && !sockets->_ended) {
            sockets->look();
        }
    });
}

std::shared_ptr<DiscoverySocket::OfLink> DiscoverySocket::Sockets::opened(const Link& link)
{
    try {
        const auto ofLink = std::make_shared<OfLink>(joined(_context, link, _place.port), link, *this);
        ofLink->receive();
        return ofLink;
    } catch (const boost::system::system_error& error) {
        if (!_failureTold) {
            base::Log::instance().write(base::LogLevel::error, "camera-gateway",
                                        "discovery cannot use the UDP port " + std::to_string(_place.port) + " on '" +
                                            link.name + "': " + error.code().message() +
                                            "; others do not find this camera there by themselves; end the program "
                                            "that has the port, or start with --no-discovery");
            _failureTold = true;
        }
        return nullptr;
    }
}

void DiscoverySocket::Sockets::answer(OfLink& from, const std::string& datagram, const udp::endpoint& sender)
{
    const std::vector<Address> near = addressesFor(from.link, sender.address());
    if (near.empty() || sender.port() == 0) {
        return;
    }
    const std::string who = sender.address().to_string();
    const auto text = _discovery.answer(datagram, who, servicesAt(near), onvif::Discovery::Clock::now());
    if (text) {
        later(text->oneOfMany ? _place.beforeTelling() : std::chrono::milliseconds(0), from.shared_from_this(),
              [this, text = text->text, sender](OfLink& link) {
                  if (_discovery.discoverable()) {
                      link.send(text, sender);
                  }
              });
        base::Log::instance().write(base::LogLevel::debug, "camera-gateway", who + " looks for cameras");
    }
}

/// Does it on a link that is there then.
void DiscoverySocket::Sockets::later(std::chrono::milliseconds time, const std::shared_ptr<OfLink>& link,
                                     const std::function<void(OfLink&)>& what)
{
    if (time <= std::chrono::milliseconds(0)) {
        what(*link);
        return;
    }
    const auto timer = std::make_shared<asio::steady_timer>(_context, time);
    timer->async_wait([timer, self = weak_from_this(), to = std::weak_ptr(link), what](const auto& error) {
        const auto sockets = self.lock();
        const auto ofLink = to.lock();
        if (!error && sockets && ofLink && ofLink->isOpen()) {
            what(*ofLink);
        }
    });
}

/// What is planned already tells what is true then.
void DiscoverySocket::Sockets::planHello(OfLink& link)
{
    if (!std::exchange(link.helloIsPlanned, true)) {
        later(_place.beforeTelling(), link.shared_from_this(), [this](OfLink& there) {
            there.helloIsPlanned = false;
            if (_discovery.discoverable()) {
                sayHello(there);
            }
        });
    }
}

bool DiscoverySocket::Sockets::tellAll(OfLink& link, const std::string& text)
{
    const udp::endpoint all = allOn(link.link, _place.port);
    const bool sent = link.send(text, all);
    later(_place.beforeRepeating(), link.shared_from_this(), [text, all, number = ++link.toldAll](OfLink& there) {
        if (there.toldAll == number) {
            there.send(text, all);
        }
    });
    return sent;
}

/// Where those who reach the camera by one of these find the device service: a few addresses.
std::vector<std::string> DiscoverySocket::Sockets::servicesAt(const std::vector<Address>& hosts) const
{
    std::vector<std::string> addresses;
    for (const Address& host : hosts) {
        for (const std::string& address : _place.addresses(host.to_string())) {
            if (std::find(addresses.begin(), addresses.end(), address) == addresses.end() &&
                addresses.size() < kMostAddresses) {
                addresses.push_back(address);
            }
        }
    }
    return addresses;
}

void DiscoverySocket::Sockets::sayHello(OfLink& link)
{
    std::vector<Address> hosts;
    for (const LinkAddress& each : link.link.addresses) {
        hosts.push_back(each.address());
    }
    link.owesHello = !tellAll(link, _discovery.hello(servicesAt(hosts)));
}

void DiscoverySocket::Sockets::sayBye()
{
    for (const std::shared_ptr<OfLink>& link : _links) {
        tellAll(*link, _discovery.bye());
    }
}

void DiscoverySocket::Sockets::tell(onvif::DiscoveryFacts facts)
{
    const bool was = _discovery.discoverable();
    if (!_discovery.tell(std::move(facts))) {
        return;
    }
    if (was && !_discovery.discoverable()) {
        sayBye();
    }
    for (const std::shared_ptr<OfLink>& link : _links) {
        if (_discovery.discoverable()) {
            planHello(*link);
        }
    }
}

void DiscoverySocket::Sockets::end()
{
    if (_discovery.discoverable()) {
        sayBye();
    }
    close();
}

/// No handler of a link asks this object afterwards.
void DiscoverySocket::Sockets::close()
{
    for (const std::shared_ptr<OfLink>& link : _links) {
        link->close();
    }
    _links.clear();
    _ended = true;
}

DiscoverySocket::DiscoverySocket(asio::io_context& context, onvif::Discovery discovery, Place place)
    : _sockets(std::make_shared<Sockets>(context, std::move(discovery), std::move(place)))
{
    _sockets->look();
}

std::chrono::milliseconds DiscoverySocket::upToHalfASecond()
{
    return randomTime(0, 500);
}

std::chrono::milliseconds DiscoverySocket::upToAQuarterOfASecond()
{
    return randomTime(50, 250);
}

DiscoverySocket::~DiscoverySocket()
{
    _sockets->close();
}

void DiscoverySocket::tell(onvif::DiscoveryFacts facts)
{
    _sockets->tell(std::move(facts));
}

void DiscoverySocket::end()
{
    _sockets->end();
}

} // namespace camera::gateway
