#include "camera/onvif/ReplayMemory.h"

#include <algorithm>
#include <iterator>

namespace camera::onvif {

bool ReplayMemory::isNew(const std::string& user, const Bytes& entry, std::chrono::nanoseconds named,
                         Clock::time_point now)
{
    forget(now);
    OfUser& memory = _users[user];
    const bool mayBeOneThatWent = now <= memory.refusedUntil && named <= memory.refusedUpTo;
    if (mayBeOneThatWent) {
        return false;
    }
    const auto [place, isNew] = memory.entries.insert(entry);
    if (!isNew) {
        return false;
    }
    memory.inOrder.push_back({now, named, place});
    if (memory.inOrder.size() > _most) {
        const Seen& oldest = memory.inOrder.front();
        memory.refusedUpTo = now <= memory.refusedUntil ? std::max(memory.refusedUpTo, oldest.named) : oldest.named;
        memory.refusedUntil = std::max(memory.refusedUntil, oldest.at + _kept);
        dropOldest(memory);
    }
    return true;
}

std::size_t ReplayMemory::size() const
{
    std::size_t count = 0;
    for (const auto& [user, memory] : _users) {
        count += memory.inOrder.size();
    }
    return count;
}

// An entry is kept for the whole time, its last moment included: until then it may be accepted.
void ReplayMemory::forget(Clock::time_point now)
{
    for (auto user = _users.begin(); user != _users.end();) {
        OfUser& memory = user->second;
        while (!memory.inOrder.empty() && memory.inOrder.front().at + _kept < now) {
            dropOldest(memory);
        }
        user = memory.inOrder.empty() && memory.refusedUntil < now ? _users.erase(user) : std::next(user);
    }
}

void ReplayMemory::dropOldest(OfUser& memory)
{
    memory.entries.erase(memory.inOrder.front().entry);
    memory.inOrder.pop_front();
}

} // namespace camera::onvif
