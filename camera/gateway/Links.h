#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace camera::gateway {

/// An IPv4 address of this computer and the mask of its network, in the computer's byte order.
struct LinkAddress {
    std::uint32_t address;
    std::uint32_t mask;
};

inline bool operator==(const LinkAddress& a, const LinkAddress& b)
{
    return a.address == b.address && a.mask == b.mask;
}

/// A network link of this computer.
struct Link {
    std::string name; ///< "eth0"
    unsigned index = 0;
    std::vector<LinkAddress> addresses; ///< not empty
};

/**
 * The links that are up, and on which others reach by IPv4 a socket that is bound to an address.
 * @param bound  numeric; of "0.0.0.0" and "::" all links. Of an address for this computer only, and of another one of
 *               IPv6, there are none.
 */
std::vector<Link> linksOf(const std::string& bound);

/// By which address of a link one with another address in the same network reaches it; nothing: it is in none of them.
std::optional<std::uint32_t> addressNear(const Link& link, std::uint32_t stranger);

} // namespace camera::gateway
