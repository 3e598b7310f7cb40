#include "camera/services/DocumentQueue.h"

#include <utility>

namespace camera::services {

std::size_t DocumentQueue::push(Line line)
{
    _bytes += line->size();
    _lines.push_back(std::move(line));
    std::size_t lost = 0;
    // A line that is larger than the whole queue stands in it alone: refusing it would lose it for the quick, too.
    for (; _bytes > kCapacityBytes && _lines.size() > 1; ++lost) {
        take();
    }
    return lost;
}

Line DocumentQueue::take()
{
    if (_lines.empty()) {
        return nullptr;
    }
    Line line = std::move(_lines.front());
    _lines.pop_front();
    _bytes -= line->size();
    return line;
}

} // namespace camera::services
