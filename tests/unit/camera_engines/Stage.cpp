#include "Stage.h"

#include <algorithm>

namespace engine_test {

namespace {

constexpr std::int64_t kPeriod = 40'000'000;
constexpr std::int64_t kSecond = 1'000'000'000;

} // namespace

Stage::Stage(std::uint32_t startSeconds)
    : _pixels(std::size_t{kWidth} * kHeight * 3 / 2, 128), _time(startSeconds * kSecond)
{
}

analytics_lib::YuvFrame Stage::picture(int left, int top, int width, int height, int luma)
{
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool inside = x >= left && x < left + width && y >= top && y < top + height;
            const int ground = 90 + (x / 4 * 37 + y / 4 * 53) % 24;
            _pixels[static_cast<std::size_t>(y * kWidth + x)] = static_cast<std::uint8_t>(inside ? luma : ground);
        }
    }
    analytics_lib::YuvFrame frame;
    frame.timestamp[0] = static_cast<std::uint32_t>(_time / kSecond);
    frame.timestamp[1] = static_cast<std::uint32_t>(_time % kSecond);
    _time += kPeriod;
    frame.data = _pixels.data();
    frame.width = kWidth;
    frame.height = kHeight;
    frame.bytesPerRow = kWidth;
    return frame;
}

void Stage::learn(EngineBench& bench, int pictures)
{
    show(bench, pictures, 0, 0, 0, 0);
}

void Stage::show(EngineBench& bench, int pictures, int left, int top, int width, int height, int luma)
{
    for (int i = 0; i < pictures; ++i) {
        bench.show(picture(left, top, width, height, luma));
    }
}

} // namespace engine_test
