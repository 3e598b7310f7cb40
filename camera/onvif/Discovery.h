#pragma once

#include "camera/onvif/SenderRate.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// What those who look for the camera are told of it.
struct DiscoveryFacts {
    std::vector<std::string> scopes; ///< in a message without room for all the last ones are left out
    bool discoverable = true;
};

/// What a question gets.
struct DiscoveryAnswer {
    std::string text; ///< the datagram
    bool oneOfMany;   ///< others answer the same question, so that the answer waits for a while
};

/**
 * WS-Discovery of April 2005, as ONVIF uses it: what the camera sends as datagrams, and what it answers to those of
 * strangers. Whether a stranger may ask at all, and by which address it reaches the camera, its caller knows.
 *
 * Thread-bound.
 */
class Discovery {
public:
    using Clock = SenderRate::Clock;

    static constexpr std::size_t kMostBytes = 4096; ///< of a datagram that is read, and of one that is sent
    static constexpr std::size_t kMostDeep = 16;    ///< elements within each other
    /// An answer has at most so many times the bytes of what asked for it: a forged sender gains little.
    static constexpr std::size_t kMostTimes = 4;
    static constexpr SenderRate::Limit kRateOfSender{8, std::chrono::milliseconds(500)};
    static constexpr SenderRate::Limit kRateOfAll{40, std::chrono::milliseconds(50)};
    static constexpr std::size_t kRemembered = 256; ///< questions that have been answered

    /// @param uuid     of the camera, without "urn:uuid:"
    /// @param started  a number that is larger with each start: seconds since 1970
    Discovery(const std::string& uuid, std::uint32_t started, DiscoveryFacts facts);

    bool discoverable() const { return _facts.discoverable; }

    /// What is told from now on. @return whether others are to hear of it.
    bool tell(DiscoveryFacts facts);

    /**
     * The answer to a datagram; nothing when it gets none: it is no valid question, does not mean this camera, has been
     * answered before, comes too soon, or the camera is not to be found.
     *
     * @param sender     the address that sent it, without the port.
     * @param addresses  where that one reaches the device service.
     */
    std::optional<DiscoveryAnswer> answer(const std::string& datagram, const std::string& sender,
                                          const std::vector<std::string>& addresses, Clock::time_point now);

    /// What is sent to all when the camera has come, and when what is told of it has changed.
    std::string hello(const std::vector<std::string>& addresses);
    /// What is sent to all when the camera goes.
    std::string bye();

private:
    class Message;

    const std::string _endpoint; ///< "urn:uuid:..."
    const std::uint32_t _instance;
    DiscoveryFacts _facts;
    std::uint32_t _version;
    std::uint32_t _sent = 0;
    SenderRate _rate{kRateOfSender, kRateOfAll};
    std::deque<std::string> _answered; ///< sender and id of questions, the oldest first
};

} // namespace camera::onvif
