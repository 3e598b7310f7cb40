#pragma once

#include "camera/video/Frame.h"

#include <cstdint>
#include <vector>

namespace camera::video {

/// Light and sensor noise, the last step of a scene's picture.
class SceneNoise {
public:
    /// @param deviation standard deviation in luma levels; chroma gets half of it.
    SceneNoise(std::uint64_t seed, double deviation, int rowBytes);

    /// Multiplies luma by gain, then adds noise that is different in every frame number.
    void apply(Frame& frame, double gain, std::int64_t frameNumber) const;

private:
    std::uint64_t _seed;
    bool _noisy;
    std::vector<std::int8_t> _lumaNoise; ///< rows start at random places of it
    std::vector<std::int8_t> _chromaNoise;
};

} // namespace camera::video
