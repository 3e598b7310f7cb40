#include "DeviceTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace camera::system_tests {
namespace {

using namespace testing;

constexpr long long kMillisecond = 1000000;

struct Stop {
    std::string preset;
    std::string place;
    unsigned int pan;
    int tilt;
    unsigned int zoom;
};

const std::array<Stop, 3> kStops = {Stop{"Bend", "-20,5,2", 340000, 5000, 200},
                                    Stop{"Way", "15,-8,2.2", 15000, -8000, 220}, Stop{"Square", "0,0,1", 0, 0, 100}};

/// An event line of a run.
struct Event {
    long long milliseconds = 0; ///< since 1970
    std::string rule;
    bool begins = false;
};

std::string utcTime(long long milliseconds)
{
    const std::time_t seconds = milliseconds / 1000;
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", std::gmtime(&seconds));
    const std::string fraction = std::to_string(1000 + milliseconds % 1000).substr(1);
    return text.data() + ("." + fraction + "Z");
}

/// From when on which rules were active, by the summary.
struct Interval {
    double second = 0;
    std::set<std::string> rules;
};

std::vector<Event> eventsOf(const std::string& out)
{
    static const std::regex line(
        "event  (\\d+-\\d+-\\d+T\\d+:\\d+:\\d+)\\.(\\d{3})Z  \\S+  (\\S+)  (State|IsMotion)=(true|false)");
    std::vector<Event> events;
    for (std::sregex_iterator match(out.begin(), out.end(), line), end; match != end; ++match) {
        std::tm time{};
        strptime((*match)[1].str().c_str(), "%Y-%m-%dT%H:%M:%S", &time);
        events.push_back({timegm(&time) * 1000LL + std::stoi((*match)[2]), (*match)[3], (*match)[5] == "true"});
    }
    return events;
}

std::vector<Interval> intervalsOf(const std::string& out)
{
    static const std::regex line("from ([0-9.]+) s  (.*)");
    std::vector<Interval> intervals;
    for (std::sregex_iterator match(out.begin(), out.end(), line), end; match != end; ++match) {
        Interval interval{std::stod((*match)[1]), {}};
        std::istringstream rules((*match)[2]);
        for (std::string each; std::getline(rules, each, ',');) {
            interval.rules.insert(each.substr(each.find_first_not_of(' ')));
        }
        intervals.push_back(interval);
    }
    return intervals;
}

const std::set<std::string> kMoving = {"none"};

// A preset tour over the clip with a rule of the engine "Motion" for each stop and one of "Simple" for all of them.
class TourClipTest : public DeviceTest {
protected:
    void SetUp() override
    {
        const Finished found = run({CLIP_SCRIPT});
        if (found.exitCode != 0) {
            GTEST_SKIP() << found.err;
        }
        Words words = {"run", found.out.substr(0, found.out.find('\n')), "--speed", "max", "--frames", "270"};
        for (const Stop& stop : kStops) {
            const std::string config =
                write(stop.preset + ".xml", motionConfiguration("At" + stop.preset, stop.preset));
            words.insert(words.end(), {"--place", stop.preset + "=" + stop.place, "--config", config});
        }
        words.insert(words.end(), {"--tour", "Bend:5,Way:5,Square:5", "--config", simple("Anywhere"), "--metadata",
                                   path("m.xml"), "--engine", JOURNAL_ENGINE});
        done = camera(words);
        ASSERT_EQ(0, done.exitCode) << done.err;
        events = eventsOf(done.out);
        for (const JournalFrame& frame : journalFrames()) {
            frames[frame.nanoseconds / kMillisecond] = frame;
        }
        ASSERT_THAT(frames, SizeIs(270));
    }

    // The preset at whose place the frame was taken; empty: somewhere else.
    static std::string presetOf(const JournalFrame& frame)
    {
        for (const Stop& stop : kStops) {
            const auto off = [](double is, double wanted) { return std::abs(is - wanted); };
            if (off(frame.pan, stop.pan) <= 50 && off(frame.tilt, stop.tilt) <= 50 && off(frame.zoom, stop.zoom) <= 1) {
                return stop.preset;
            }
        }
        return "";
    }

    double secondOf(long long milliseconds) const
    {
        return static_cast<double>(milliseconds - frames.begin()->first) / 1000;
    }

    Finished done;
    std::vector<Event> events;
    std::map<long long, JournalFrame> frames; ///< by their milliseconds
};

TEST_F(TourClipTest, raisesAtEachStopExactlyTheEventsOfItsRules)
{
    std::map<std::string, std::set<std::string>> rulesAt;
    for (const Event& event : events) {
        ASSERT_THAT(frames, Contains(Key(event.milliseconds))) << done.out;
        rulesAt[presetOf(frames[event.milliseconds])].insert(event.rule);
    }
    const std::map<std::string, std::set<std::string>> expected = {
        {"Bend", {"AtBend", "Anywhere"}}, {"Way", {"AtWay", "Anywhere"}}, {"Square", {"AtSquare", "Anywhere"}}};
    EXPECT_EQ(expected, rulesAt) << done.out;
}

TEST_F(TourClipTest, raisesEventsOnlyWhileTheSummaryHasTheirRulesActive)
{
    const std::vector<Interval> intervals = intervalsOf(done.out);
    ASSERT_GE(intervals.size(), 6U) << done.out;
    // Seconds of the summary have one decimal.
    constexpr double kRounding = 0.051;
    for (const Event& event : events) {
        const double second = secondOf(event.milliseconds);
        const std::string rules = event.rule == "Anywhere" ? "Simple" : "Motion at " + event.rule.substr(2);
        bool active = false;
        for (std::size_t i = 0; i < intervals.size(); ++i) {
            const double end = i + 1 < intervals.size() ? intervals[i + 1].second : 1e9;
            active = active || (intervals[i].rules.count(rules) != 0 && second >= intervals[i].second - kRounding &&
                                second <= end + kRounding);
        }
        EXPECT_TRUE(active) << event.rule << " at " << second << "\n" << done.out;
    }
}

TEST_F(TourClipTest, hasTheRulesOfTheStopsInTheirOrderAndNoneOnTheWay)
{
    std::vector<std::set<std::string>> order;
    for (const Interval& interval : intervalsOf(done.out)) {
        order.push_back(interval.rules);
    }
    // The tour begins with the run: nothing is active until its first stop.
    const std::set<std::string> bend = {"Simple", "Motion at Bend"};
    const std::set<std::string> way = {"Simple", "Motion at Way"};
    const std::set<std::string> square = {"Simple", "Motion at Square"};
    ASSERT_GE(order.size(), 7U) << done.out;
    order.resize(7);
    EXPECT_EQ((std::vector<std::set<std::string>>{kMoving, bend, kMoving, way, kMoving, square, kMoving}), order)
        << done.out;
}

TEST_F(TourClipTest, endsEveryEventThatItBegan)
{
    std::map<std::string, int> open;
    for (const Event& event : events) {
        open[event.rule] += event.begins ? 1 : -1;
        EXPECT_THAT(open[event.rule], testing::AnyOf(0, 1)) << event.rule << "\n" << done.out;
        const std::string preset = presetOf(frames[event.milliseconds]);
        for (const auto& [rule, count] : open) {
            EXPECT_TRUE(count == 0 || rule == "Anywhere" || rule == "At" + preset) << rule << " is open at " << preset;
        }
    }
}

TEST_F(TourClipTest, writesNoMetadataWhileItMoves)
{
    static const std::regex time("UtcTime=\"(\\d+-\\d+-\\d+T\\d+:\\d+:\\d+)\\.(\\d{3})Z\"");
    const std::string metadata = read(path("m.xml"));
    std::map<std::string, int> documents;
    for (std::sregex_iterator match(metadata.begin(), metadata.end(), time), end; match != end; ++match) {
        std::tm parts{};
        strptime((*match)[1].str().c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
        const long long milliseconds = timegm(&parts) * 1000LL + std::stoi((*match)[2]);
        ASSERT_THAT(frames, Contains(Key(milliseconds)));
        ++documents[presetOf(frames[milliseconds])];
    }
    EXPECT_EQ(0, documents[""]);
    // The tour has begun before the first frame comes.
    EXPECT_EQ(std::string::npos, metadata.find(utcTime(frames.begin()->first))) << metadata.substr(0, 300);
    for (const Stop& stop : kStops) {
        EXPECT_GT(documents[stop.preset], 0) << stop.preset;
    }
}

} // namespace
} // namespace camera::system_tests
