#pragma once

#include <cstddef>
#include <deque>
#include <limits>
#include <optional>
#include <utility>

namespace camera::base {

/**
 * Items that wait for their turn, up to a capacity in units of each item's weight. A full queue drops its oldest
 * items, never the newest: an item that weighs more than the capacity is then the only one. Reentrant.
 */
template <class Item>
class BoundedQueue {
public:
    using Weight = std::size_t (*)(const Item&);

    explicit BoundedQueue(
        std::size_t capacity = std::numeric_limits<std::size_t>::max(),
        Weight weightOf = [](const Item&) -> std::size_t { return 1; })
        : _capacity(capacity), _weightOf(weightOf)
    {
    }

    /// @return how many items were dropped.
    std::size_t push(Item item)
    {
        _weight += _weightOf(item);
        _items.push_back(std::move(item));
        std::size_t dropped = 0;
        for (; _weight > _capacity && _items.size() > 1; ++dropped) {
            take();
        }
        return dropped;
    }

    /// The oldest item; nothing when there is none.
    std::optional<Item> take()
    {
        if (_items.empty()) {
            return std::nullopt;
        }
        std::optional<Item> item(std::move(_items.front()));
        _items.pop_front();
        _weight -= _weightOf(*item);
        return item;
    }

    bool empty() const { return _items.empty(); }
    std::size_t size() const { return _items.size(); }
    std::size_t weight() const { return _weight; }

private:
    std::size_t _capacity;
    Weight _weightOf;
    std::deque<Item> _items;
    std::size_t _weight = 0;
};

} // namespace camera::base
