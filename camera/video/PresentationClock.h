#pragma once

#include <cstdint>
#include <optional>

namespace camera::video {

/// Converts an input's own times into times since 1970 that always increase. Thread-bound.
class PresentationClock {
public:
    /// @param startNanoseconds time of the first frame; @param frameNanoseconds what one frame takes,
    ///        used where the input gives no time or one that cannot be right.
    PresentationClock(std::int64_t startNanoseconds, std::int64_t frameNanoseconds);

    /// The time of the next frame, from the input's time for it, if there is one.
    std::int64_t next(std::optional<std::int64_t> inputNanoseconds);

    /// The input begins again: its next time, whatever it is, is one frame after the last one, and so much later.
    void restart(std::int64_t laterNanoseconds = 0)
    {
        _offset.reset();
        _expected += laterNanoseconds;
    }

private:
    std::int64_t _frameNanoseconds;
    std::int64_t _expected; ///< time of the next frame if the input gives none
    std::int64_t _last = -1;
    std::optional<std::int64_t> _offset; ///< from the input's time to ours
};

} // namespace camera::video
