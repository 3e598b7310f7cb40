#pragma once

#include "plugin/analytics/ColorYuv.h"

#include <cstdint>

namespace korva::meridan {

/// A blanking colour as the engines know it: luma weights of ITU-R BT.601, colour differences scaled by 0.492
/// (B - Y) and 0.877 (R - Y) around 128, each component cut to 8 bits. The same bytes on every architecture.
analytics_lib::ColorYuv toColorYuv(std::uint8_t red, std::uint8_t green, std::uint8_t blue);

} // namespace korva::meridan
