// What is printed when a run has ended.
#include "camera/pipeline/RunSummary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using camera::onvif::ComponentName;
using camera::pipeline::RunSummary;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TEST(RunSummaryTest, tellsTheRunFromItsInputToItsEnd)
{
    RunSummary summary;
    summary.input = "scene:people";
    summary.report = {"  frames    3"};
    summary.eventsDropped = 2;
    summary.documents = 5;
    summary.active = {{true, "a rule", "tt:Any", ""}, {false, "a module\x1b", "tt:Any", ""}};
    summary.settings = "/state";
    summary.files = {{"a.mp4", 2048}, {"m.xml", 10, false}};
    summary.ended = "by a signal";
    EXPECT_THAT(summary.lines(),
                ElementsAre("", "  input     scene:people", "  frames    3", HasSubstr("  2 were lost"),
                            "  metadata  5 documents", HasSubstr("  active    rule 'a rule'"),
                            testing::AllOf(HasSubstr("            module 'a module"), Not(HasSubstr("\x1b"))),
                            "  settings  /state", "  written   a.mp4 (2.0 kB)", "  incomplete m.xml (10 bytes)",
                            "  ended     by a signal"));
}

TEST(RunSummaryTest, ofARunThatLeavesNothing)
{
    EXPECT_THAT(RunSummary().lines(), ElementsAre("", "  input     ", "  metadata  0 documents",
                                                  "  active    none; --config FILE.xml gives rules",
                                                  "  settings  not kept; --state DIR keeps them"));
}

TEST(RunSummaryTest, namesTheFirstEightComponentsAndCountsTheOthers)
{
    RunSummary summary;
    summary.active.assign(8, ComponentName{true, "a rule", "tt:Any", ""});
    EXPECT_THAT(summary.lines(), Not(Contains(HasSubstr("more"))));
    summary.active.resize(11, summary.active.front());
    EXPECT_THAT(summary.lines(), Contains("            and 3 more"));
    EXPECT_EQ(summary.lines().size(), 13u);
}

} // namespace
