// What a run tells about its rules and its frames.
#include "camera/pipeline/RunReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using camera::pipeline::RunReport;
using camera::pipeline::summaryLine;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Rules = std::vector<camera::pipeline::ActiveRules>;

camera::pipeline::ActiveRules at(const std::string& preset)
{
    return {"Motion", {{true, "a rule", "tt:Any", preset}}};
}

const camera::pipeline::ActiveRules simple{"Simple", {{false, "a module", "tt:Any", ""}}};
const Rules none{{"Motion", {}}, {"Simple", {}}};

constexpr std::int64_t kStart = 1700000000LL * 1000000000;

std::int64_t after(double seconds)
{
    return kStart + static_cast<std::int64_t>(seconds * 1e9);
}

std::size_t rows(const RunReport& report)
{
    std::size_t count = 0;
    for (const std::string& line : report.summary()) {
        count += line.find("from ") != std::string::npos ? 1U : 0U;
    }
    return count;
}

TEST(RunReportTest, saysWhichRulesWereActiveFromWhen)
{
    RunReport report;
    report.time(kStart);
    report.rulesChanged({at("Gate")});
    report.time(after(2.5));
    report.rulesChanged(none);
    report.time(after(4));
    report.rulesChanged({at("Yard"), simple});
    const auto lines = report.summary();
    EXPECT_THAT(lines, Contains(summaryLine("rules", "from 0.0 s  Motion at Gate")));
    EXPECT_THAT(lines, Contains(summaryLine("", "from 2.5 s  none")));
    EXPECT_THAT(lines, Contains(summaryLine("", "from 4.0 s  Motion at Yard, Simple")));
}

TEST(RunReportTest, rulesThatAreLostBeforeTheNextFrameWereNotActive)
{
    RunReport report;
    report.time(kStart);
    report.rulesChanged({at("Gate"), simple});
    report.rulesChanged(none);
    report.time(after(2));
    report.rulesChanged({at("Yard")});
    EXPECT_THAT(report.summary(), Contains(summaryLine("rules", "from 0.0 s  none")));
    EXPECT_THAT(report.summary(), Contains(summaryLine("", "from 2.0 s  Motion at Yard")));
}

TEST(RunReportTest, countsOnAfterARestartAndNamesIt)
{
    const auto counts = std::make_shared<camera::pipeline::RunCounts>();
    counts->starts = 3;
    counts->frames = 50;
    counts->events = 4;
    counts->topics[0] = {{'t', 'n', 's', '1', ':', 'A'}, 4};
    counts->firstTime = kStart;
    counts->restarts = {{{2.5, true}, {4, false}}};
    RunReport report(counts);
    report.time(after(5));
    report.rulesChanged({at("Gate")});
    report.frame(true);
    report.event({"tns1:A", "", ""});
    report.event({"tns1:B", "", ""});
    const auto lines = report.summary();
    EXPECT_THAT(lines, Contains(StartsWith("  frames    51 in ")));
    EXPECT_THAT(lines, Contains("  restarts  after a crash at 2.5 s"));
    EXPECT_THAT(lines, Contains("            on request at 4.0 s"));
    EXPECT_THAT(lines, Contains("  events    6"));
    EXPECT_THAT(lines, Contains("            5  tns1:A"));
    EXPECT_THAT(lines, Contains("            1  tns1:B"));
    EXPECT_EQ(rows(report), 0u) << "nothing is said of rules that an earlier process had";
    EXPECT_EQ(report.now().frames, 1u);
    EXPECT_THAT(report.status(), StartsWith("frames 51 "));
}

TEST(RunReportTest, namesTheFirstRestartsAndCountsTheOthers)
{
    const auto counts = std::make_shared<camera::pipeline::RunCounts>();
    counts->starts = 11;
    EXPECT_THAT(RunReport(counts).summary(), Contains("            and 2 more"));
    counts->starts = 1;
    EXPECT_THAT(RunReport(counts).summary(), Not(Contains(HasSubstr("restarts"))));
}

TEST(RunReportTest, rulesThatAreGivenAgainAreNoSwitch)
{
    RunReport report;
    report.time(kStart);
    report.rulesChanged({at("Gate"), simple});
    report.time(after(1));
    report.rulesChanged({at("Gate"), simple});
    report.time(after(2));
    report.rulesChanged(none);
    EXPECT_EQ(rows(report), 2u);
}

TEST(RunReportTest, tellsNothingOfACameraThatNeverMoved)
{
    RunReport report;
    report.time(kStart);
    report.rulesChanged({at("Gate")});
    report.time(after(9));
    EXPECT_EQ(rows(report), 0u);
}

TEST(RunReportTest, keepsTheLastSwitchesOfALongRun)
{
    RunReport report;
    for (int second = 0; second < 1000; ++second) {
        report.time(after(second));
        report.rulesChanged(second % 2 == 0 ? Rules{at("Gate")} : none);
    }
    const auto lines = report.summary();
    EXPECT_THAT(lines, Contains(HasSubstr("the last 40 of 1000 switches:")));
    EXPECT_THAT(lines, Contains(HasSubstr("from 999.0 s")));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("from 900.0 s"))));
    EXPECT_LE(rows(report), 40u);
}

TEST(RunReportTest, namesOfOthersAreHarmless)
{
    RunReport report;
    report.time(kStart);
    report.rulesChanged(Rules{{"Motion\x1b[2J", at("\n\x1b[2JGate").components}});
    report.rulesChanged(none);
    EXPECT_EQ(rows(report), 1u);
    for (const std::string& line : report.summary()) {
        EXPECT_EQ(line.find('\x1b'), std::string::npos) << line;
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
}

TEST(RunReportTest, tellsHowItDoesNow)
{
    RunReport report;
    EXPECT_EQ(report.now().frames, 0u);
    EXPECT_EQ(report.now().longestFrameMilliseconds, 0.0);
    report.frame(true, std::chrono::milliseconds(3));
    report.frame(false, std::chrono::milliseconds(8));
    report.frame(true, std::chrono::microseconds(500));
    EXPECT_EQ(report.now().frames, 3u);
    EXPECT_EQ(report.now().longestFrameMilliseconds, 8.0);
    EXPECT_EQ(report.takeLongestFrameMilliseconds(), 8.0);
    report.frame(true, std::chrono::milliseconds(2));
    EXPECT_EQ(report.takeLongestFrameMilliseconds(), 2.0);
    EXPECT_EQ(report.takeLongestFrameMilliseconds(), 0.0);
    EXPECT_EQ(report.now().longestFrameMilliseconds, 8.0);
    EXPECT_GT(report.now().framesPerSecond, 0.0);
}

TEST(RunReportTest, countsFramesObjectsAndEvents)
{
    RunReport report;
    report.frame(true);
    report.frame(false);
    camera::video::Drawing drawing;
    camera::kit::BoxRecord box;
    box.id = 5;
    drawing.boxes.push_back(box);
    report.drawing(drawing);
    box.id = 6;
    drawing.boxes.push_back(box);
    report.drawing(drawing);
    drawing.boxes.clear();
    report.drawing(drawing);
    report.event({"topic", "", ""});
    EXPECT_THAT(report.status(), StartsWith("frames 2  "));
    EXPECT_THAT(report.status(), HasSubstr("/s  objects 0  events 1"));
    const std::vector<std::string> lines = report.summary();
    EXPECT_THAT(lines, Contains(HasSubstr("1 of them failed")));
    EXPECT_THAT(lines, Contains("  objects   2, at most 2 at once"));
    EXPECT_THAT(lines, Contains("            1  topic"));
}

TEST(RunReportTest, countsAnObjectThatStaysOnceHoweverManyOthersPass)
{
    RunReport report;
    camera::video::Drawing drawing;
    drawing.boxes.resize(2);
    drawing.boxes[0].id = 1;
    for (std::uint32_t id = 2; id < 20002; ++id) {
        drawing.boxes[1].id = id;
        report.drawing(drawing);
    }
    EXPECT_THAT(report.summary(), Contains("  objects   20001, at most 2 at once"));
    // An id is not kept for ever, because a camera runs for years.
    drawing.boxes[1].id = 2;
    report.drawing(drawing);
    EXPECT_THAT(report.summary(), Contains("  objects   20002, at most 2 at once"));
}

TEST(RunReportTest, summaryStaysOnOneScreenWhateverTopicsThereAre)
{
    RunReport report;
    for (int i = 0; i < 1000; ++i) {
        report.event({"topic" + std::to_string(i), "", ""});
    }
    EXPECT_LT(report.summary().size(), 16U);
    EXPECT_THAT(report.summary(), Contains("  events    1000"));
}

} // namespace
