#include "camera/video/SceneBackground.h"

#include "camera/video/SceneRandom.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace camera::video {

namespace {

double smooth(double t)
{
    return t * t * (3 - 2 * t);
}

/// Random values on a grid of this many pixels, blended between: -1 to 1.
class ValueNoise {
public:
    ValueNoise(std::uint64_t key, int cellPixels) : _key(key), _cell(cellPixels) {}

    double at(int x, int y) const
    {
        const int column = x / _cell;
        const int row = y / _cell;
        const double across = smooth(static_cast<double>(x % _cell) / _cell);
        const double down = smooth(static_cast<double>(y % _cell) / _cell);
        const double upper = corner(column, row) * (1 - across) + corner(column + 1, row) * across;
        const double lower = corner(column, row + 1) * (1 - across) + corner(column + 1, row + 1) * across;
        return upper * (1 - down) + lower * down;
    }

private:
    double corner(int column, int row) const
    {
        SceneRandom random(_key ^ (static_cast<std::uint64_t>(column) << 32U) ^ static_cast<std::uint64_t>(row));
        return random.between(-1, 1);
    }

    std::uint64_t _key;
    int _cell;
};

std::uint8_t level(double value)
{
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 16L, 235L));
}

} // namespace

SceneBackground::SceneBackground(const base::SceneParameters& parameters)
    : _width(parameters.width),
      _height(parameters.height),
      _swayPixels(parameters.swayPixels),
      _luma(static_cast<std::size_t>(_width) * static_cast<std::size_t>(_height)),
      _chroma(_luma.size() / 2)
{
    makeLuma(parameters.seed);
    makeChroma(parameters.seed);
}

void SceneBackground::makeLuma(std::uint64_t seed)
{
    const ValueNoise broad(seed * 3 + 1, std::max(_width / 6, 8));
    const ValueNoise middle(seed * 5 + 2, std::max(_width / 40, 4));
    const ValueNoise fine(seed * 7 + 3, std::max(_width / 320, 2));
    const int slab = std::max(_width / 16, 8);
    std::uint8_t* out = _luma.data();
    for (int y = 0; y < _height; ++y) {
        for (int x = 0; x < _width; ++x) {
            double value = kMeanLuma + 12.0 * y / _height - 6;
            value += 12 * broad.at(x, y) + 7 * middle.at(x, y) + 5 * fine.at(x, y);
            // Lines like the joints of paving stones: they give people and engines visible edges.
            const bool joint = y % slab < 2 || (x + (y / slab % 2) * slab / 2) % slab < 2;
            const bool leaves = x >= swayLeft() && y < swayBottom();
            if (leaves) {
                value += 22 * middle.at(x, y) - 12;
            } else if (joint) {
                value -= 14;
            }
            *out++ = level(value);
        }
    }
}

void SceneBackground::makeChroma(std::uint64_t seed)
{
    const ValueNoise tint(seed * 11 + 4, std::max(_width / 12, 4));
    std::uint8_t* out = _chroma.data();
    for (int y = 0; y < _height / 2; ++y) {
        for (int x = 0; x < _width / 2; ++x) {
            const bool leaves = 2 * x >= swayLeft() && 2 * y < swayBottom();
            *out++ = level((leaves ? 112 : 124) + 2 * tint.at(x, y));
            *out++ = level((leaves ? 116 : 130) - 2 * tint.at(x, y));
        }
    }
}

void SceneBackground::paint(Frame& frame, double seconds) const
{
    const auto rowBytes = static_cast<std::size_t>(_width);
    std::uint8_t* out = frame.data.get();
    for (int y = 0; y < _height; ++y, out += frame.strideBytes) {
        std::memcpy(out, _luma.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
        if (_swayPixels > 0 && y < swayBottom()) {
            swayRow(out, y, seconds);
        }
    }
    for (int y = 0; y < _height / 2; ++y, out += frame.strideBytes) {
        std::memcpy(out, _chroma.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
    }
}

void SceneBackground::swayRow(std::uint8_t* row, int y, double seconds) const
{
    const double phase = 2 * M_PI * (seconds / 1.7 + static_cast<double>(y) / std::max(_height / 6, 1));
    const auto shift = static_cast<int>(std::lround(_swayPixels * std::sin(phase)));
    const std::uint8_t* still = _luma.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(_width);
    for (int x = swayLeft(); x < _width; ++x) {
        row[x] = still[std::clamp(x + shift, swayLeft(), _width - 1)];
    }
}

} // namespace camera::video
