#include "camera/base/UtcText.h"

#include <array>
#include <ctime>

namespace camera::base {

std::string utcText(std::int64_t seconds, const char* format)
{
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

} // namespace camera::base
