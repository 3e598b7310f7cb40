// What is printed when a run has ended.
#include "camera/pipeline/RunSummary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using camera::onvif::ComponentName;
using camera::pipeline::RunStart;
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

TEST(RunStartTest, isOnePrintableLine)
{
    RunStart start;
    start.input = "scene:x\x1b";
    start.width = 640;
    start.height = 360;
    start.framesPerSecond = 12.5;
    start.engines = {{"Simple", {}}, {"Motion", {{false, "M", "tt:A", "Gate"}, {true, "R", "tt:B", "Gate"}}}};
    start.stateFolder = "/s";
    start.runtimeFolder = "/r";
    start.silent = "its bus";
    EXPECT_EQ(start.line(),
              "scene:x\\x1b  640x360  12.5 frames/s  Simple: none  Motion: preset 'Gate', rule 'R', module "
              "'M'  state folder /s  runtime folder /r  its bus does not answer");
    start.silent.clear();
    start.runtimeFolder.clear();
    EXPECT_THAT(start.line(), testing::EndsWith("  state folder /s  ready"));
}

TEST(RunStartTest, tellsWhereOnvifClientsBeginAndHowToOpenTheCameraToOthers)
{
    RunStart start;
    EXPECT_FALSE(start.objects().front().isMember("onvif"));
    for (const std::string here : {"http://127.0.0.1:8080/o", "http://[::1]:8080/o"}) {
        start.onvif = {here};
        EXPECT_THAT(start.line(), testing::EndsWith("  onvif " + here +
                                                    "  (for this computer only, not found by discovery; --bind 0.0.0.0 "
                                                    "opens it to the network)  ready"));
        EXPECT_EQ(start.objects().front()["onvif"], here);
    }
    start.onvif = {"http://192.0.2.1:8080/o", "https://192.0.2.1:8443/o"};
    EXPECT_THAT(start.line(),
                testing::EndsWith("  onvif http://192.0.2.1:8080/o  onvif https://192.0.2.1:8443/o  ready"));
    EXPECT_EQ(start.objects().front()["onvif"], start.onvif[0]);
    EXPECT_EQ(start.objects().front()["onvifTls"], start.onvif[1]);
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
