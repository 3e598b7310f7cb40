#include "camera/engines/EngineLog.h"

#include "ravel/logging.h"

#include <algorithm>

namespace camera::engines {

void EngineLog::error(const std::string& text) const noexcept
{
    ravel_core_logging_log(_context, RAVEL_CORE_LOG_ERROR, "%s: %s", _engine.c_str(), text.c_str());
}

std::string forLog(std::string_view text)
{
    constexpr std::size_t kMostBytes = 80;
    std::string line(text.substr(0, kMostBytes));
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
    return text.size() > kMostBytes ? line + "..." : line;
}

} // namespace camera::engines
