#include "camera/gateway/Links.h"

#include <algorithm>
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

namespace camera::gateway {

namespace {

std::uint32_t numberOf(const sockaddr* address)
{
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

bool reachesOthers(const ifaddrs& each)
{
    constexpr unsigned kNeeded = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
    return (each.ifa_flags & (kNeeded | IFF_LOOPBACK)) == kNeeded && each.ifa_addr != nullptr &&
           each.ifa_netmask != nullptr && each.ifa_addr->sa_family == AF_INET;
}

} // namespace

std::vector<Link> linksOf(const std::string& bound)
{
    const bool all = bound == "0.0.0.0" || bound == "::";
    in_addr wanted{};
    ifaddrs* list = nullptr;
    if ((!all && ::inet_pton(AF_INET, bound.c_str(), &wanted) != 1) || ::getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, ::freeifaddrs);
    std::vector<Link> links;
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (!reachesOthers(*each) || !(all || numberOf(each->ifa_addr) == ntohl(wanted.s_addr))) {
            continue;
        }
        const unsigned index = ::if_nametoindex(each->ifa_name);
        const auto known =
            std::find_if(links.begin(), links.end(), [index](const Link& link) { return link.index == index; });
        Link& link = known == links.end() ? links.emplace_back(Link{each->ifa_name, index, {}}) : *known;
        link.addresses.push_back({numberOf(each->ifa_addr), numberOf(each->ifa_netmask)});
    }
    // A link that has gone since the list was made.
    links.erase(std::remove_if(links.begin(), links.end(), [](const Link& link) { return link.index == 0; }),
                links.end());
    return links;
}

std::optional<std::uint32_t> addressNear(const Link& link, std::uint32_t stranger)
{
    for (const auto& [address, mask] : link.addresses) {
        const std::uint32_t host = stranger & ~mask;
        const bool ofAll = ~mask > 1 && (host == 0 || host == ~mask); // the network itself, and all in it
        if ((stranger & mask) == (address & mask) && !ofAll) {
            return address;
        }
    }
    return std::nullopt;
}

} // namespace camera::gateway
