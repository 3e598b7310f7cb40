#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace camera::services {

/// A line for several subscribers at once.
using Line = std::shared_ptr<const std::string>;

/// What one subscriber has still to get. A full queue loses its oldest lines, never the newest. Reentrant.
class DocumentQueue {
public:
    static constexpr std::size_t kCapacityBytes = 4 * 1024 * 1024;

    /// @return how many lines were lost for this one.
    std::size_t push(Line line);

    /// The oldest; null when there is none.
    Line take();

    bool empty() const { return _lines.empty(); }
    std::size_t bytes() const { return _bytes; }

private:
    std::deque<Line> _lines;
    std::size_t _bytes = 0;
};

} // namespace camera::services
