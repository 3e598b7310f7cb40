#pragma once

#include "camera/onvif/Digests.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>

namespace camera::onvif {

/**
 * What was accepted once and must not be accepted again. Each user has a memory of its own, of bounded size, so that a
 * client with one password disturbs no other user.
 *
 * When a memory is full its oldest entry goes. What could be that entry is then refused until the entry would have
 * been forgotten anyhow: all that names no later time than the entry did. A client that floods its own account with
 * times from the future thus shuts out this account for as long as an entry is kept, and nothing is accepted twice.
 *
 * Thread-bound.
 */
class ReplayMemory {
public:
    using Clock = std::chrono::steady_clock;

    explicit ReplayMemory(std::chrono::seconds kept, std::size_t mostOfUser = 16384) : _kept(kept), _most(mostOfUser) {}

    /// Whether the entry is new, and from now on known.
    /// @param named the time that the entry itself names, since any moment that stays the same.
    bool isNew(const std::string& user, const Bytes& entry, std::chrono::nanoseconds named, Clock::time_point now);

    /// How many entries are kept, of all users.
    std::size_t size() const;

private:
    struct Seen {
        Clock::time_point at;
        std::chrono::nanoseconds named;
        std::set<Bytes>::const_iterator entry;
    };
    struct OfUser {
        std::set<Bytes> entries;
        std::deque<Seen> inOrder;
        std::chrono::nanoseconds refusedUpTo = std::chrono::nanoseconds::min();
        Clock::time_point refusedUntil = Clock::time_point::min();
    };

    void forget(Clock::time_point now);
    static void dropOldest(OfUser& memory);

    std::chrono::seconds _kept;
    std::size_t _most;
    std::map<std::string, OfUser> _users;
};

} // namespace camera::onvif
