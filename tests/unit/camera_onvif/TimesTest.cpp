#include "camera/onvif/Times.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::system_clock;

TEST(DurationText, isReadWithEachOfItsUnits)
{
    const std::vector<std::pair<const char*, milliseconds>> rows{
        {"PT60S", 60s},
        {"PT1M", 1min},
        {"PT0S", 0s},
        {"PT1H2M3S", 3723s},
        {"P1D", 24h},
        {"P1M", 720h},
        {"P1Y", 8760h},
        {"P1DT12H", 36h},
        {"P1Y2M3DT4H5M6S", 8760h + 1440h + 72h + 4h + 5min + 6s},
        {"PT0.25S", 250ms},
        {"PT1.0009S", 1s},
        {"-PT1.5S", -1500ms},
        {"PT36000000S", 36000000s},
        {"PT0.123456789012345678901234567890S", 123ms},
        {"PT000000000005S", 5s}};
    for (const auto& [text, duration] : rows) {
        EXPECT_EQ(parseDuration(text), duration) << text;
    }
}

TEST(DurationText, isRefusedWhenItIsNoDuration)
{
    for (const char* text :
         {"",      "P",      "PT",    "-",     "-P",     "T1S",   "PT1",   "P1",     "1S",     "60",    "PT1S ",
          " PT1S", "pt1s",   "P1S",   "PT1D",  "P1DT",   "P1T5S", "PT.5S", "PT1.S",  "PT1.5M", "P1.5D", "PT1S1M",
          "P1D1Y", "PT1M1M", "PT-1S", "+PT1S", "--PT1S", "PT1SS", "PTS",   "PT1,5S", "P1W",    "PT1e3S"}) {
        EXPECT_EQ(parseDuration(text), std::nullopt) << text;
    }
    EXPECT_EQ(parseDuration(std::string("PT1S\0", 5)), std::nullopt);
}

TEST(DurationText, isRefusedFromAHundredYearsOn)
{
    EXPECT_EQ(parseDuration("P99Y364DT23H59M59.999S"), milliseconds(100 * 365 * 24h) - 1ms);
    for (const char* text : {"P100Y", "-P100Y", "P99Y365D", "PT3153600000S", "P9223372036854775807D", "PT999999999999H",
                             "P99999999999999999999Y", "PT0000000000005S"}) {
        EXPECT_EQ(parseDuration(text), std::nullopt) << text;
    }
}

TEST(DurationText, isRefusedWhenItIsLong)
{
    EXPECT_EQ(parseDuration("PT0." + std::string(59, '1') + "S"), 111ms);
    EXPECT_EQ(parseDuration("PT0." + std::string(60, '1') + "S"), std::nullopt);
}

TEST(DurationText, isWrittenInSeconds)
{
    EXPECT_EQ(durationText(60s), "PT60S");
    EXPECT_EQ(durationText(0s), "PT0S");
    EXPECT_EQ(durationText(-250ms), "-PT0.250S");
    EXPECT_EQ(durationText(1005ms), "PT1.005S");
    EXPECT_EQ(parseDuration(durationText(123456789ms)), 123456789ms);
}

system_clock::time_point at(std::chrono::microseconds time)
{
    return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(time));
}

TEST(DateTimeText, isReadWithOrWithoutItsZone)
{
    const std::vector<std::pair<const char*, std::chrono::microseconds>> rows{
        {"1970-01-01T00:00:00Z", 0s},
        {"2023-11-14T22:13:20Z", 1700000000s},
        {"2023-11-14T22:13:20", 1700000000s},
        {"2023-11-15T00:13:20+02:00", 1700000000s},
        {"2023-11-14T12:43:20-09:30", 1700000000s},
        {"2023-11-15T12:13:20+14:00", 1700000000s},
        {"2023-11-14T22:13:20+00:00", 1700000000s},
        {"2023-11-14T22:13:20.25Z", 1700000000s + 250ms},
        {"2023-11-14T22:13:20.123456789+00:00", 1700000000s + 123456us},
        {"1969-12-31T23:59:59.5Z", -500ms},
        {"2024-02-29T00:00:00Z", 1709164800s},
        {"2000-02-29T00:00:00Z", 951782400s},
        {"2023-11-14T24:00:00Z", 1700006400s}};
    for (const auto& [text, time] : rows) {
        EXPECT_EQ(parseDateTime(text), at(time)) << text;
    }
    EXPECT_TRUE(parseDateTime("1700-01-01T00:00:00Z"));
    EXPECT_TRUE(parseDateTime("1699-12-31T23:59:59-00:01"));
    EXPECT_TRUE(parseDateTime("2200-12-31T23:59:59.999999Z"));
    EXPECT_TRUE(parseDateTime("2201-01-01T13:59:59+14:00"));
}

TEST(DateTimeText, isRefusedWhenItIsNoDateOfTheCalendar)
{
    for (const char* text :
         {"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2023-04-31T00:00:00Z", "2023-00-01T00:00:00Z",
          "2023-13-01T00:00:00Z", "2023-01-00T00:00:00Z", "2023-01-01T24:00:01Z", "2023-01-01T24:00:00.1Z",
          "2023-01-01T25:00:00Z", "2023-01-01T00:60:00Z", "2023-01-01T00:00:60Z", "1699-12-31T23:59:59Z",
          "1700-01-01T00:00:00+00:01", "2200-12-31T24:00:00Z", "2200-12-31T23:59:59-00:01", "9999-01-01T00:00:00Z",
          "2201-01-01T00:00:00Z", "0000-01-01T00:00:00Z"}) {
        EXPECT_EQ(parseDateTime(text), std::nullopt) << text;
    }
}

TEST(DateTimeText, isRefusedInAnyOtherForm)
{
    for (const char* text : {"",
                             "2023-11-14",
                             "22:13:20Z",
                             "2023-11-14 22:13:20Z",
                             "2023-11-14T22:13Z",
                             "2023-11-14T22:13:20.Z",
                             "2023-11-14T22:13:20z",
                             "2023-11-14T22:13:20+0200",
                             "2023-11-14T22:13:20+2:00",
                             "2023-11-14T22:13:20+02",
                             "2023-11-14T22:13:20+14:01",
                             "2023-11-14T22:13:20+01:60",
                             "2023-11-14T22:13:20Z ",
                             " 2023-11-14T22:13:20Z",
                             "-2023-11-14T22:13:20Z",
                             "+2023-11-14T22:13:20Z",
                             "12023-11-14T22:13:20Z",
                             "023-11-14T22:13:20Z",
                             "2023-1-14T22:13:20Z",
                             "2023-11-14T22:13:20ZZ",
                             "2023-11-14T2:13:20Z",
                             "2023-11-14T-2:13:20Z"}) {
        EXPECT_EQ(parseDateTime(text), std::nullopt) << text;
    }
    const std::string longest = "2023-11-14T22:13:20." + std::string(43, '0') + "Z";
    EXPECT_TRUE(parseDateTime(longest));
    EXPECT_EQ(parseDateTime("2023-11-14T22:13:20." + std::string(44, '0') + "Z"), std::nullopt);
}

TEST(DateTimeText, isWrittenInUtcWithZ)
{
    EXPECT_EQ(dateTimeText(at(1700000000s)), "2023-11-14T22:13:20Z");
    EXPECT_EQ(dateTimeText(at(1700000000s + 7ms)), "2023-11-14T22:13:20.007Z");
    EXPECT_EQ(dateTimeText(at(-1ms)), "1969-12-31T23:59:59.999Z");
}

TEST(DateTimeText, knowsHowManyDaysAMonthHas)
{
    const std::vector<int> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (std::size_t month = 1; month <= days.size(); ++month) {
        const auto day = [month](int number) {
            const std::string text = std::to_string(month);
            return "2023-" + std::string(2 - text.size(), '0') + text + "-" + std::to_string(number) + "T00:00:00Z";
        };
        EXPECT_TRUE(parseDateTime(day(days[month - 1]))) << month;
        EXPECT_FALSE(parseDateTime(day(days[month - 1] + 1))) << month;
    }
}

} // namespace
} // namespace camera::onvif
