#pragma once

#include <cstdint>

namespace camera::video {

/// SplitMix64: the same numbers on every machine, unlike the distributions of the standard library.
class SceneRandom {
public:
    explicit SceneRandom(std::uint64_t seed) : _state(seed) {}

    std::uint64_t next()
    {
        _state += 0x9E3779B97F4A7C15U;
        std::uint64_t z = _state;
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }

    /// Uniform, highest excluded.
    double between(double lowest, double highest)
    {
        return lowest + (highest - lowest) * static_cast<double>(next() >> 11U) / 9007199254740992.0;
    }

private:
    std::uint64_t _state;
};

} // namespace camera::video
