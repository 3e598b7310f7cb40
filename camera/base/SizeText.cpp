#include "camera/base/SizeText.h"

#include <array>
#include <cstdio>

namespace camera::base {

namespace {

std::string oneDecimal(double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", number);
    return text.data();
}

} // namespace

std::string sizeText(std::uintmax_t bytes)
{
    if (bytes < 1000) {
        return std::to_string(bytes) + " bytes";
    }
    if (bytes < 1000000) {
        return oneDecimal(static_cast<double>(bytes) / 1e3) + " kB";
    }
    return oneDecimal(static_cast<double>(bytes) / 1e6) + " MB";
}

} // namespace camera::base
