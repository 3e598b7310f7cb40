#include "camera/video/SceneObject.h"

#include "camera/video/SceneBackground.h"
#include "camera/video/SceneRandom.h"

#include <algorithm>
#include <cmath>

namespace camera::video {

namespace {

constexpr std::uint8_t kHues[][2] = {{100, 168}, {156, 104}, {92, 112}, {128, 128}, {84, 150}, {140, 150}};

} // namespace

SceneObject::SceneObject(const base::SceneParameters& parameters, int id)
    : _id(id), _shape(parameters.shape), _pictureWidth(parameters.width), _pictureHeight(parameters.height)
{
    const double area = parameters.areaPercent / 100 * _pictureWidth * _pictureHeight;
    _height = std::max(static_cast<int>(std::lround(std::sqrt(area / parameters.aspect))), 2);
    _width = std::max(static_cast<int>(std::lround(_height * parameters.aspect)), 2);

    SceneRandom random(parameters.seed * 23 + static_cast<std::uint64_t>(id));
    const double free = _pictureHeight - _height;
    _lane = (id - 0.5) / parameters.objects;
    const double spare = (static_cast<double>(_pictureHeight) / parameters.objects - _height) / 4;
    _bobPixels = std::clamp(spare, 0.0, free / 10);
    _startPixels = random.between(0, 2.0 * (_pictureWidth - _width));
    _pixelsPerSecond = parameters.speed * _pictureWidth * random.between(0.7, 1.3);

    const bool bright = random.next() % 2 == 0;
    const double luma = SceneBackground::kMeanLuma + (bright ? parameters.contrast : -parameters.contrast);
    _colour[0] = static_cast<std::uint8_t>(std::clamp(std::lround(luma), 16L, 235L));
    const auto& hue = kHues[random.next() % std::size(kHues)];
    _colour[1] = hue[0];
    _colour[2] = hue[1];
}

int SceneObject::leftAt(double seconds) const
{
    const double free = _pictureWidth - _width;
    // Objects move to and fro: they never leave the picture, so their true boxes are never cut.
    const double way = std::fmod(_startPixels + _pixelsPerSecond * seconds, 2 * free);
    return static_cast<int>(std::lround(way <= free ? way : 2 * free - way));
}

int SceneObject::topAt(double seconds) const
{
    const int free = _pictureHeight - _height;
    const double bob = _pixelsPerSecond > 0 ? _bobPixels * std::sin(2 * M_PI * seconds / 6 + _id) : 0;
    const double middle = _lane * _pictureHeight - _height / 2.0;
    return std::clamp(static_cast<int>(std::lround(middle + bob)), 0, free);
}

double SceneObject::halfWidthAt(double fraction) const
{
    const double fromMiddle = 2 * fraction - 1;
    switch (_shape) {
    case base::SceneShape::box:
        return 1;
    case base::SceneShape::ellipse:
        return std::sqrt(std::max(1 - fromMiddle * fromMiddle, 0.0));
    case base::SceneShape::person:
        break;
    }
    if (fraction < 0.2) {
        const double head = fraction / 0.1 - 1;
        return std::max(0.36 * std::sqrt(std::max(1 - head * head, 0.0)), fraction > 0.1 ? 0.2 : 0.04);
    }
    if (fraction < 0.6) {
        return std::min(0.5 + (fraction - 0.2) * 5, 1.0);
    }
    return 1 - (fraction - 0.6) * 0.9;
}

TruthBox SceneObject::paint(Frame& frame, double seconds) const
{
    const int left = leftAt(seconds);
    const int top = topAt(seconds);
    int reachedLeft = _pictureWidth;
    int reachedRight = 0;
    std::uint8_t* chroma = frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * frame.height;
    for (int y = 0; y < _height; ++y) {
        const double half = std::max(halfWidthAt((y + 0.5) / _height) * _width / 2, 0.5);
        const int from = left + static_cast<int>(std::lround(_width / 2.0 - half));
        const int to = std::max(left + static_cast<int>(std::lround(_width / 2.0 + half)), from + 1);
        reachedLeft = std::min(reachedLeft, from);
        reachedRight = std::max(reachedRight, to);
        std::uint8_t* row = frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * (top + y);
        std::fill(row + from, row + to, _colour[0]);
        std::uint8_t* pairs = chroma + static_cast<std::ptrdiff_t>(frame.strideBytes) * ((top + y) / 2);
        for (int x = from / 2; x <= (to - 1) / 2; ++x) {
            pairs[2 * x] = _colour[1];
            pairs[2 * x + 1] = _colour[2];
        }
    }
    return {_id, reachedLeft, top, reachedRight - reachedLeft, _height};
}

void SceneObject::paintShadow(Frame& frame, double seconds) const
{
    const int shadowHeight = std::max(_height / 5, 2);
    const int bottom = topAt(seconds) + _height;
    const double middle = leftAt(seconds) + _width * 1.1;
    for (int y = 0; y < shadowHeight; ++y) {
        const int rowNumber = bottom - shadowHeight + y;
        const double fromMiddle = 2 * (y + 0.5) / shadowHeight - 1;
        const double half = _width * std::sqrt(1 - fromMiddle * fromMiddle);
        const int from = std::clamp(static_cast<int>(std::lround(middle - half)), 0, _pictureWidth);
        const int to = std::clamp(static_cast<int>(std::lround(middle + half)), 0, _pictureWidth);
        std::uint8_t* row = frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * rowNumber;
        for (int x = from; x < to; ++x) {
            row[x] = static_cast<std::uint8_t>(row[x] * 5 / 8);
        }
    }
}

} // namespace camera::video
