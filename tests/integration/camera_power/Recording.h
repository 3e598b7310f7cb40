#pragma once

#include "camera/store/SettingsStore.h"
#include "integration/camera_power/DiskCall.h"
#include "integration/camera_power/DiskWatch.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/**
 * What a device did to its folder, and which documents it handed to its store meanwhile.
 *
 * A document counts as returned from the first moment after its write at which the device called an
 * engine or answered its client.
 */
class Recording {
public:
    explicit Recording(const DiskWatch& watch) : _watch(watch) {}

    /// Looks which documents were stored since the last look. On the device's control thread or
    /// while that is idle.
    void look(camera::store::SettingsStore& store);

    /// From now on there is a copy of the document of this moment: the device has started, or copied by hand.
    void noteCopied() { _copies.push_back({_watch.count(), _returned.back().document}); }

    /// Documents by their order; the first stands for "nothing stored yet".
    const std::vector<std::string>& documents() const { return _documents; }

    /// The first and the last document that may be there after a cut behind this many calls.
    std::pair<std::size_t, std::size_t> allowedAfter(std::size_t calls) const;

    /// The oldest document that the copy may hold then; 0 when there need be no copy.
    std::size_t oldestCopyAfter(std::size_t calls) const;

private:
    struct Moment {
        std::size_t calls;
        std::size_t document;
    };

    static std::size_t lastAt(const std::vector<Moment>& moments, std::size_t calls);

    const DiskWatch& _watch;
    std::int64_t _sequence = 0;
    std::vector<std::string> _documents{"[]"};
    std::vector<Moment> _returned{{0, 0}};
    std::vector<Moment> _copies{{0, 0}};
};
