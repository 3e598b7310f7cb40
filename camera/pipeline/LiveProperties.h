#pragma once

#include "camera/base/Event.h"
#include "camera/onvif/Notification.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * The last state of each property that engines tell with their events: an event is of a property when its tt:Message
 * has a PropertyOperation, and of the same one as another event when topic, Source and Key are the same.
 *
 * It also makes the events that an engine owes: an engine without active rules has nothing that is true, and a property
 * goes with its rule. The caller raises them.
 *
 * Thread-safe.
 */
class LiveProperties {
public:
    /// Beyond this many the one goes whose last event is the oldest: an engine may invent keys without end.
    static constexpr std::size_t kMost = 4096;

    /// An engine raises an event. One that is of no property, or no tt:Message, changes nothing.
    void raised(const std::string& engine, const base::Event& event);

    /// The engine has no active rules any more. @return for each of its properties that is still true the event that
    /// makes it false.
    std::vector<base::Event> closing(const std::string& engine);

    /// Those of rules that do not exist any more go. @return their events: false if one was true, then Deleted.
    /// @param rules  the names of all rules.
    std::vector<base::Event> deleting(const std::set<std::string>& rules);

    /// The last event of each.
    std::vector<base::Event> all() const;

    bool empty() const;

private:
    struct Property {
        std::string engine;
        std::uint64_t number = 0; ///< of its last event
        base::Event event;        ///< as it was raised
        onvif::Notification last; ///< the same
    };

    void keepWithinLimit();

    mutable std::mutex _mutex;
    std::map<std::string, Property> _all; ///< by what makes them the same
    std::uint64_t _events = 0;
};

} // namespace camera::pipeline
