#include "camera/gateway/Links.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>
#include <optional>

namespace camera::gateway {

namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

/// A mask of so many bits.
address_v6::bytes_type maskOf(unsigned bits)
{
    constexpr unsigned kOfByte = 8;
    address_v6::bytes_type mask{};
    for (unsigned i = 0; i < std::min<unsigned>(bits, mask.size() * kOfByte); ++i) {
        mask[i / kOfByte] |= static_cast<unsigned char>(0x80U >> (i % kOfByte));
    }
    return mask;
}

bool reachesOthers(const ifaddrs& each)
{
    constexpr unsigned kNeeded = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
    return (each.ifa_flags & (kNeeded | IFF_LOOPBACK)) == kNeeded && each.ifa_addr != nullptr &&
           each.ifa_netmask != nullptr && (each.ifa_addr->sa_family == AF_INET || each.ifa_addr->sa_family == AF_INET6);
}

std::uint32_t numberOf(const sockaddr* address)
{
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

address_v6 longOf(const sockaddr* address)
{
    address_v6::bytes_type bytes{};
    std::memcpy(bytes.data(), &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, bytes.size());
    return address_v6(bytes);
}

/// The mask is one of bits that stand together.
unsigned prefixOf(const sockaddr* mask)
{
    unsigned bits = 0;
    for (const unsigned char byte : longOf(mask).to_bytes()) {
        for (unsigned rest = byte; rest != 0; rest &= rest - 1) {
            ++bits;
        }
    }
    return bits;
}

LinkAddress linkAddressOf(const ifaddrs& each)
{
    return each.ifa_addr->sa_family == AF_INET ? LinkAddress(numberOf(each.ifa_addr), numberOf(each.ifa_netmask))
                                               : LinkAddress(longOf(each.ifa_addr), prefixOf(each.ifa_netmask));
}

bool isForLink(const Address& address)
{
    return address.is_v6() && address.to_v6().is_link_local();
}

/// What a socket is bound to.
struct Bound {
    explicit Bound(const std::string& text)
    {
        boost::system::error_code none;
        const Address parsed = boost::asio::ip::make_address(text, none);
        all = !none && parsed.is_unspecified();
        onlyShort = !none && parsed.is_v4();
        address = none || all ? std::nullopt : std::optional(parsed);
    }

    bool has(const Address& one, unsigned index) const
    {
        if (all) {
            return one.is_v4() || !onlyShort;
        }
        const bool otherZone =
            address && address->is_v6() && address->to_v6().scope_id() != 0 && address->to_v6().scope_id() != index;
        return address && !otherZone && bytesOf(*address) == bytesOf(one);
    }

    bool all = false;
    bool onlyShort = false;
    std::optional<Address> address;
};

} // namespace

address_v6::bytes_type bytesOf(const Address& address)
{
    return address.is_v4() ? boost::asio::ip::make_address_v6(boost::asio::ip::v4_mapped, address.to_v4()).to_bytes()
                           : address.to_v6().to_bytes();
}

Address plainAddress(const Address& address)
{
    const bool carried = address.is_v6() && address.to_v6().is_v4_mapped();
    return carried ? Address(boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, address.to_v6())) : address;
}

LinkAddress::LinkAddress(std::uint32_t address, std::uint32_t mask)
    : _address(address_v4(address)), _mask(bytesOf(address_v4(mask)))
{
    constexpr std::ptrdiff_t kBefore = 12; // bytes of IPv6 before one of IPv4
    std::fill(_mask.begin(), _mask.begin() + kBefore, 0xFF);
}

LinkAddress::LinkAddress(const address_v6& address, unsigned prefix)
    : _address(address_v6(address.to_bytes())), _mask(maskOf(prefix))
{
}

bool LinkAddress::isNear(const Address& stranger) const
{
    const auto own = bytesOf(_address);
    const auto other = bytesOf(stranger);
    for (std::size_t i = 0; i < own.size(); ++i) {
        if (((own[i] ^ other[i]) & _mask[i]) != 0) {
            return false;
        }
    }
    if (!_address.is_v4()) {
        return true;
    }
    const std::uint32_t mask = address_v4({_mask[12], _mask[13], _mask[14], _mask[15]}).to_uint();
    const std::uint32_t host = address_v4({other[12], other[13], other[14], other[15]}).to_uint() & ~mask;
    const bool ofAll = ~mask > 1 && (host == 0 || host == ~mask); // the network itself, and all in it
    return !ofAll;
}

std::vector<Link> linksOf(const std::string& text)
{
    const Bound bound(text);
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, ::freeifaddrs);
    std::vector<Link> links;
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (!reachesOthers(*each)) {
            continue;
        }
        const LinkAddress address = linkAddressOf(*each);
        const unsigned index = ::if_nametoindex(each->ifa_name);
        if (index == 0 || !bound.has(address.address(), index)) { // 0: it has gone since the list was made
            continue;
        }
        const auto known = std::find_if(links.begin(), links.end(), [&](const Link& link) {
            return link.index == index && link.isLong() == address.address().is_v6();
        });
        if (known == links.end()) {
            links.push_back({each->ifa_name, index, {address}});
        } else {
            known->addresses.push_back(address);
        }
    }
    for (Link& link : links) {
        std::stable_partition(link.addresses.begin(), link.addresses.end(),
                              [](const LinkAddress& each) { return !isForLink(each.address()); });
    }
    return links;
}

std::vector<Address> addressesFor(const Link& link, const Address& stranger)
{
    std::vector<Address> found;
    for (const LinkAddress& each : link.addresses) {
        if (isForLink(stranger) || each.isNear(stranger)) {
            found.push_back(each.address());
        }
    }
    const bool all = isForLink(stranger);
    found.resize(all ? found.size() : std::min<std::size_t>(found.size(), 1)); // the first one is enough
    return found;
}

} // namespace camera::gateway
