#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace camera::onvif {

/**
 * An xs:duration, "PT1M" or "-P1DT0.5S" for instance. A year counts 365 days and a month 30: durations in ONVIF are
 * timeouts, which have no date to begin at. What is finer than a millisecond is cut off.
 * @return nothing for any other text, for more than 64 bytes, and for a hundred years or more.
 */
std::optional<std::chrono::milliseconds> parseDuration(const std::string& text);

/// As seconds: "PT60S", "-PT0.25S".
std::string durationText(std::chrono::milliseconds duration);

/**
 * An xs:dateTime with "Z", an offset ("+02:00") or neither, which then is UTC as well: some clients leave it away.
 * What is finer than a microsecond is cut off.
 * @return nothing for any other text, for more than 64 bytes, for a day that the calendar does not have, and for times
 *         that are before 1700 or after 2200 in UTC.
 */
std::optional<std::chrono::system_clock::time_point> parseDateTime(const std::string& text);

/// In UTC with "Z"; milliseconds only where there are some: "2024-06-30T12:00:00Z", "2024-06-30T12:00:00.250Z".
std::string dateTimeText(std::chrono::system_clock::time_point time);

} // namespace camera::onvif
