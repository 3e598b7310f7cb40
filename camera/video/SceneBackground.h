#pragma once

#include "camera/base/SceneParameters.h"
#include "camera/video/Frame.h"

#include <cstdint>
#include <vector>

namespace camera::video {

/// The still part of a scene: a textured ground, and a texture in the upper right that can sway.
class SceneBackground {
public:
    explicit SceneBackground(const base::SceneParameters& parameters);

    /// Fills the whole frame with the picture at this time.
    void paint(Frame& frame, double seconds) const;

    /// The texture that sways lies right of column swayLeft() and above row swayBottom().
    int swayLeft() const { return _width * 3 / 4; }
    int swayBottom() const { return _height / 4; }

    static constexpr int kMeanLuma = 112;

private:
    void makeLuma(std::uint64_t seed);
    void makeChroma(std::uint64_t seed);
    void swayRow(std::uint8_t* row, int y, double seconds) const;

    int _width;
    int _height;
    double _swayPixels;
    std::vector<std::uint8_t> _luma;
    std::vector<std::uint8_t> _chroma;
};

} // namespace camera::video
