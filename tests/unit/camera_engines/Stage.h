#pragma once

#include "EngineBench.h"

#include <vector>

namespace engine_test {

/// A small still picture with texture on which boxes can be put; every picture is 40 ms later.
class Stage {
public:
    static constexpr int kWidth = 320;
    static constexpr int kHeight = 180;

    explicit Stage(std::uint32_t startSeconds = 1'700'000'000);

    /// The next picture, with a box of this brightness; no box when it has no width.
    analytics_lib::YuvFrame picture(int left = 0, int top = 0, int width = 0, int height = 0, int luma = 230);

    /// Shows empty pictures until the background is learned.
    void learn(EngineBench& bench, int pictures = 30);

    /// Shows pictures with a resting box.
    void show(EngineBench& bench, int pictures, int left, int top, int width, int height, int luma = 230);

    std::vector<std::uint8_t>& pixels() { return _pixels; }

private:
    std::vector<std::uint8_t> _pixels;
    std::int64_t _time; ///< nanoseconds
};

} // namespace engine_test
