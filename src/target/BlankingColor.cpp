#include "target/BlankingColor.h"

#include <cmath>

namespace korva::meridan {

namespace {

float lumaOf(double red, double green, double blue)
{
    return static_cast<float>(std::round(std::fma(0.114, blue, std::fma(0.587, green, 0.299 * red))));
}

float differenceOf(float component, float luma, double scale)
{
    const float difference = component - luma;
    return static_cast<float>(std::round(static_cast<double>(difference) * scale)) + 128.0F;
}

std::uint8_t toByte(float value)
{
    if (!(value > 0.0F)) {
        return 0;
    }
    return value >= 255.0F ? std::uint8_t{255} : static_cast<std::uint8_t>(value);
}

} // namespace

analytics_lib::ColorYuv toColorYuv(std::uint8_t red, std::uint8_t green, std::uint8_t blue)
{
    const float luma = lumaOf(red, green, blue);
    analytics_lib::ColorYuv color;
    color.y = toByte(luma);
    color.u = toByte(differenceOf(blue, luma, 0.492));
    color.v = toByte(differenceOf(red, luma, 0.877));
    return color;
}

} // namespace korva::meridan
