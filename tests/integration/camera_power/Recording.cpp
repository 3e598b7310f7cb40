#include "integration/camera_power/Recording.h"

#include "integration/camera_power/PowerFixture.h"

#include <algorithm>
#include <iterator>

void Recording::look(camera::store::SettingsStore& store)
{
    const auto history = store.history(kSettingsKey);
    for (auto version = history.rbegin(); version != history.rend(); ++version) {
        if (version->sequence > _sequence) {
            _documents.push_back(store.fromHistory(kSettingsKey, version->sequence).value_or("lost"));
            _sequence = version->sequence;
        }
    }
    _returned.push_back({_watch.count(), _documents.size() - 1});
}

std::size_t Recording::lastAt(const std::vector<Moment>& moments, std::size_t calls)
{
    const auto next = std::upper_bound(moments.begin(), moments.end(), calls,
                                       [](std::size_t value, const Moment& moment) { return value < moment.calls; });
    return std::prev(next)->document;
}

std::pair<std::size_t, std::size_t> Recording::allowedAfter(std::size_t calls) const
{
    const auto next = std::find_if(_returned.begin(), _returned.end(),
                                   [calls](const Moment& moment) { return moment.calls > calls; });
    return {lastAt(_returned, calls), next == _returned.end() ? _documents.size() - 1 : next->document};
}

std::size_t Recording::oldestCopyAfter(std::size_t calls) const
{
    return lastAt(_copies, calls);
}
