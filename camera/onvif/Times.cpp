#include "camera/onvif/Times.h"

#include "camera/base/Text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace camera::onvif {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

constexpr std::size_t kLongestTime = 64;
constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kLongestDuration = 100 * 365 * kDaySeconds;
// A time point counts nanoseconds, which last from 1678 to 2261.
constexpr std::int64_t kYear1700 = -8520336000;
constexpr std::int64_t kYear2201 = 7289654400;

// Reads a text from its beginning; what does not fit leaves it where it is.
class TimeReader {
public:
    explicit TimeReader(std::string_view text) : _rest(text) {}

    bool take(char character)
    {
        if (_rest.empty() || _rest.front() != character) {
            return false;
        }
        _rest.remove_prefix(1);
        return true;
    }

    // So many digits; 0: one or more, as many as there are.
    std::optional<std::int64_t> number(std::size_t digits = 0)
    {
        constexpr std::size_t kMostDigits = 12; // any such number of years in seconds fits
        std::size_t count = 0;
        while (count < _rest.size() && isDigit(_rest[count]) && (digits == 0 || count < digits)) {
            ++count;
        }
        if (count == 0 || count > kMostDigits || (digits != 0 && count != digits)) {
            return std::nullopt;
        }
        std::int64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            value = value * 10 + (_rest[i] - '0');
        }
        _rest.remove_prefix(count);
        return value;
    }

    // What follows a point as millionths; nothing when it is no digit.
    std::optional<std::int64_t> millionths()
    {
        std::int64_t value = 0;
        std::int64_t unit = 100000;
        std::size_t count = 0;
        for (; count < _rest.size() && isDigit(_rest[count]); ++count) {
            value += unit * (_rest[count] - '0');
            unit /= 10;
        }
        _rest.remove_prefix(count);
        return count == 0 ? std::nullopt : std::optional(value);
    }

    bool atEnd() const { return _rest.empty(); }

private:
    static bool isDigit(char character) { return character >= '0' && character <= '9'; }

    std::string_view _rest;
};

struct DurationUnit {
    char letter;
    std::int64_t seconds;
};
constexpr std::array<DurationUnit, 3> kDateUnits{
    {{'Y', 365 * kDaySeconds}, {'M', 30 * kDaySeconds}, {'D', kDaySeconds}}};
constexpr std::array<DurationUnit, 3> kTimeUnits{{{'H', 3600}, {'M', 60}, {'S', 1}}};

// Adds what stands there of "1Y2M" and the like, each unit at most once and in their order, to the milliseconds.
// Returns how many there were; nothing when one of them is wrong.
std::optional<int> addUnits(TimeReader& reader, const std::array<DurationUnit, 3>& units, std::int64_t& sum)
{
    int count = 0;
    auto unit = units.begin();
    while (const std::optional<std::int64_t> value = reader.number()) {
        std::optional<std::int64_t> fraction = 0;
        const bool hasFraction = reader.take('.');
        if (hasFraction) {
            fraction = reader.millionths();
        }
        while (unit != units.end() && !reader.take(unit->letter)) {
            ++unit;
        }
        if (!fraction || unit == units.end() || (hasFraction && unit->letter != 'S') ||
            *value > kLongestDuration / unit->seconds) {
            return std::nullopt;
        }
        sum += *value * unit->seconds * 1000 + *fraction / 1000;
        ++unit;
        ++count;
    }
    return count;
}

// "Z", an offset, or nothing: how far the clock there is ahead of UTC.
std::optional<seconds> offsetFrom(TimeReader& reader)
{
    if (reader.atEnd() || reader.take('Z')) {
        return seconds(0);
    }
    const bool behind = reader.take('-');
    if (!behind && !reader.take('+')) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> hours = reader.number(2);
    const std::optional<std::int64_t> minutes = hours && reader.take(':') ? reader.number(2) : std::nullopt;
    if (!minutes || *minutes > 59 || *hours * 60 + *minutes > 14 * 60) {
        return std::nullopt;
    }
    const seconds offset{*hours * 3600 + *minutes * 60};
    return behind ? -offset : offset;
}

bool isCalendarDay(std::int64_t year, std::int64_t month, std::int64_t day)
{
    constexpr std::array<std::int64_t, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month >= 1 && month <= 12 && day >= 1 &&
           day <= kDays[static_cast<std::size_t>(month - 1)] + (leap && month == 2 ? 1 : 0);
}

// Numbers of so many digits, each but the first behind its sign; nothing when one is missing.
std::optional<std::array<std::int64_t, 3>> three(TimeReader& reader, std::size_t firstDigits, char sign)
{
    std::array<std::int64_t, 3> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0 && !reader.take(sign)) {
            return std::nullopt;
        }
        const std::optional<std::int64_t> number = reader.number(i == 0 ? firstDigits : 2);
        if (!number) {
            return std::nullopt;
        }
        numbers[i] = *number;
    }
    return numbers;
}

std::int64_t secondsSince1970(const std::array<std::int64_t, 3>& date, const std::array<std::int64_t, 3>& time)
{
    std::tm parts{};
    parts.tm_year = static_cast<int>(date[0] - 1900);
    parts.tm_mon = static_cast<int>(date[1] - 1);
    parts.tm_mday = static_cast<int>(date[2]);
    parts.tm_hour = static_cast<int>(time[0]);
    parts.tm_min = static_cast<int>(time[1]);
    parts.tm_sec = static_cast<int>(time[2]);
    return timegm(&parts);
}

// "", ".250"
std::string fractionText(std::int64_t milliseconds)
{
    return milliseconds == 0 ? "" : "." + std::to_string(1000 + milliseconds).substr(1);
}

} // namespace

std::optional<milliseconds> parseDuration(const std::string& text)
{
    TimeReader reader(text);
    const bool negative = reader.take('-');
    if (text.size() > kLongestTime || !reader.take('P')) {
        return std::nullopt;
    }
    std::int64_t sum = 0;
    const std::optional<int> days = addUnits(reader, kDateUnits, sum);
    const std::optional<int> times = reader.take('T') ? addUnits(reader, kTimeUnits, sum) : 0;
    const bool endsInT = text.back() == 'T';
    if (!days || !times || *days + *times == 0 || endsInT || !reader.atEnd() || sum >= kLongestDuration * 1000) {
        return std::nullopt;
    }
    return milliseconds(negative ? -sum : sum);
}

std::string durationText(milliseconds duration)
{
    const std::int64_t length = duration.count() < 0 ? -duration.count() : duration.count();
    return (duration.count() < 0 ? "-PT" : "PT") + std::to_string(length / 1000) + fractionText(length % 1000) + "S";
}

std::optional<system_clock::time_point> parseDateTime(const std::string& text)
{
    TimeReader reader(text);
    if (text.size() > kLongestTime) {
        return std::nullopt;
    }
    const auto date = three(reader, 4, '-');
    const auto time = date && reader.take('T') ? three(reader, 2, ':') : std::nullopt;
    if (!time || !isCalendarDay((*date)[0], (*date)[1], (*date)[2])) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> fraction = reader.take('.') ? reader.millionths() : 0;
    const auto [hour, minute, second] = *time;
    // Midnight may be written as the end of the day before.
    const bool endOfDay = hour == 24 && minute == 0 && second == 0 && fraction == 0;
    const std::optional<seconds> offset = offsetFrom(reader);
    if (!fraction || !offset || !reader.atEnd() || !(hour <= 23 || endOfDay) || minute > 59 || second > 59) {
        return std::nullopt;
    }
    const seconds sinceEpoch = seconds(secondsSince1970(*date, *time)) - *offset;
    if (sinceEpoch.count() < kYear1700 || sinceEpoch.count() >= kYear2201) {
        return std::nullopt;
    }
    return system_clock::time_point(
        std::chrono::duration_cast<system_clock::duration>(sinceEpoch + std::chrono::microseconds(*fraction)));
}

std::string dateTimeText(system_clock::time_point time)
{
    const auto whole = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto secondsOnly = std::chrono::floor<seconds>(whole);
    return base::utcText(secondsOnly.count(), "%Y-%m-%dT%H:%M:%S") + fractionText((whole - secondsOnly).count()) + "Z";
}

} // namespace camera::onvif
