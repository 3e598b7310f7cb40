#pragma once

#include <boost/asio/ip/address.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace camera::gateway {

using Address = boost::asio::ip::address;

/// The same address for all its spellings: one of IPv4 as IPv6 has it, and none of a zone.
boost::asio::ip::address_v6::bytes_type bytesOf(const Address& address);

/// One of IPv4 that IPv6 carries as what it is, any other as it is.
Address plainAddress(const Address& address);

/// An address of this computer, and which others are in its network.
class LinkAddress {
public:
    /// Of IPv4, in the computer's byte order.
    LinkAddress(std::uint32_t address, std::uint32_t mask);
    /// Of IPv6. @param prefix  in bits. Of one that is for a link only it has no zone.
    LinkAddress(const boost::asio::ip::address_v6& address, unsigned prefix);

    const Address& address() const { return _address; }

    /// Whether a stranger's address is in its network.
    bool isNear(const Address& stranger) const;

    bool operator==(const LinkAddress& other) const { return _address == other._address && _mask == other._mask; }

private:
    Address _address;
    boost::asio::ip::address_v6::bytes_type _mask; ///< of bytesOf() the address
};

/// What this computer has on a network link, by IPv4 or by IPv6.
struct Link {
    std::string name; ///< "eth0"
    unsigned index = 0;
    std::vector<LinkAddress> addresses; ///< of one family, not empty; those for the link only are the last ones

    bool isLong() const { return addresses.front().address().is_v6(); }
};

/**
 * The links that are up, and on which others reach a socket that is bound to an address; a link with both families is
 * there twice.
 * @param bound  numeric; of "0.0.0.0" all links of IPv4, of "::" those of both families. Of an address for this
 * computer only there are none.
 */
std::vector<Link> linksOf(const std::string& bound);

/// By which addresses of a link one with another address reaches it; none: it belongs to none of their networks. Who
/// has an address of IPv6 that is for a link only is on it.
std::vector<Address> addressesFor(const Link& link, const Address& stranger);

} // namespace camera::gateway
