#include "camera/video/SceneNoise.h"

#include "camera/video/SceneRandom.h"

#include <algorithm>
#include <cmath>

namespace camera::video {

namespace {

constexpr std::size_t kOffsets = 1U << 16U;

std::vector<std::int8_t> gaussianTable(std::uint64_t seed, double deviation, int rowBytes)
{
    SceneRandom random(seed);
    std::vector<std::int8_t> table(kOffsets + static_cast<std::size_t>(rowBytes));
    for (std::int8_t& value : table) {
        // The sum of twelve uniform values has variance 1 and is close enough to a normal distribution.
        double sum = -6;
        for (int i = 0; i < 12; ++i) {
            sum += random.between(0, 1);
        }
        value = static_cast<std::int8_t>(std::clamp(std::lround(sum * deviation), -127L, 127L));
    }
    return table;
}

// 16-bit arithmetic without branches, so that the compiler generates vector code.
void lightRow(std::uint8_t* row, int count, const std::int8_t* noise, std::uint16_t gain)
{
    for (int x = 0; x < count; ++x) {
        const auto lit = static_cast<std::uint16_t>(static_cast<std::uint16_t>(row[x] * gain) >> 7U);
        const auto value = static_cast<std::int16_t>(static_cast<std::int16_t>(lit) + noise[x]);
        row[x] = static_cast<std::uint8_t>(std::clamp<std::int16_t>(value, 0, 255));
    }
}

void noiseRow(std::uint8_t* row, int count, const std::int8_t* noise)
{
    for (int x = 0; x < count; ++x) {
        const auto value = static_cast<std::int16_t>(row[x] + noise[x]);
        row[x] = static_cast<std::uint8_t>(std::clamp<std::int16_t>(value, 0, 255));
    }
}

} // namespace

SceneNoise::SceneNoise(std::uint64_t seed, double deviation, int rowBytes)
    : _seed(seed),
      _noisy(deviation > 0),
      _lumaNoise(gaussianTable(seed * 13 + 5, deviation, rowBytes)),
      _chromaNoise(gaussianTable(seed * 17 + 6, deviation / 2, rowBytes))
{
}

void SceneNoise::apply(Frame& frame, double gain, std::int64_t frameNumber) const
{
    // Seven fraction bits: 255 times the largest gain (just below 2) stays inside 16 bits.
    const auto fixedGain = static_cast<std::uint16_t>(std::clamp(std::lround(gain * 128), 0L, 255L));
    if (!_noisy && fixedGain == 128) {
        return;
    }
    SceneRandom random(_seed * 19 + static_cast<std::uint64_t>(frameNumber));
    std::uint8_t* row = frame.data.get();
    for (int y = 0; y < frame.height; ++y, row += frame.strideBytes) {
        lightRow(row, frame.width, _lumaNoise.data() + random.next() % kOffsets, fixedGain);
    }
    for (int y = 0; y < frame.height / 2 && _noisy; ++y, row += frame.strideBytes) {
        noiseRow(row, frame.width, _chromaNoise.data() + random.next() % kOffsets);
    }
}

} // namespace camera::video
