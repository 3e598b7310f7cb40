// Durations and times of clients: any bytes are refused, or give a bounded time that is read back as it is written.

#include "camera/onvif/Times.h"
#include "support/Check.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace camera::onvif;
    using std::chrono::milliseconds;

    const std::string text(reinterpret_cast<const char*>(data), size);
    if (const auto duration = parseDuration(text)) {
        const milliseconds hundredYears = std::chrono::hours(24) * 365 * 100;
        fuzz::check(*duration<hundredYears&& * duration> - hundredYears, "a duration is less than a hundred years");
        fuzz::check(parseDuration(durationText(*duration)) == duration, "a duration is read back");
    }
    if (const auto time = parseDateTime(text)) {
        const auto whole = std::chrono::floor<milliseconds>(*time);
        fuzz::check(parseDateTime(dateTimeText(*time)) == whole, "a time is read back to the millisecond");
    }
    return 0;
}
