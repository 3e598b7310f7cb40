// What a run's command line says about places, tours, sizes and the bus.
#include "camera/pipeline/RunOptions.h"
#include "camera/base/OptionTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using camera::base::UsageError;
using camera::pipeline::parsePipeline;
using camera::pipeline::parseRun;
using camera::pipeline::RunOptions;
using testing::HasSubstr;
using testing::StartsWith;

std::string refusal(const std::string& option, const std::string& value)
{
    try {
        parseRun({"clip.mp4", option + "=" + value});
        return "accepted";
    } catch (const UsageError& error) {
        return error.what();
    }
}

TEST(RunOptionsTest, readsPlaces)
{
    const RunOptions options =
        parseRun({"clip.mp4", "--place", "Gate=-12.5,3,1", "--place=A=B C=360,-90,100", "--place", "Yard=-360,90,1.5"});
    ASSERT_EQ(options.places.size(), 3u);
    EXPECT_EQ(options.places[0].name, "Gate");
    EXPECT_EQ(options.places[0].pan, -12.5);
    EXPECT_EQ(options.places[0].tilt, 3);
    EXPECT_EQ(options.places[0].zoom, 1);
    EXPECT_EQ(options.places[1].name, "A=B C") << "what stands before the last sign is the name";
    EXPECT_EQ(options.places[2].zoom, 1.5);
    EXPECT_TRUE(options.camera.ptz) << "only a camera that can move has places";
}

TEST(RunOptionsTest, refusesWhatIsNoPlace)
{
    for (const std::string text : {"", "Gate", "Gate=", "=1,2,3", "Gate=1,2", "Gate=1,2,3,4"}) {
        EXPECT_EQ(refusal("--place", text),
                  "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not '" + text + "'.");
    }
    EXPECT_EQ(refusal("--place", "G=361,0,1"), "--place: '361' is no number from -360 to 360.");
    EXPECT_EQ(refusal("--place", "G=0,-90.1,1"), "--place: '-90.1' is no number from -90 to 90.");
    EXPECT_EQ(refusal("--place", "G=0,0,0.5"), "--place: '0.5' is no number from 1 to 100.");
    EXPECT_EQ(refusal("--place", "G=nan,0,1"), "--place: 'nan' is no number from -360 to 360.");
    EXPECT_EQ(refusal("--place", "G=inf,0,1"), "--place: 'inf' is no number from -360 to 360.");
    EXPECT_EQ(refusal("--place", "G=,0,1"), "--place: '' is no number from -360 to 360.");
    EXPECT_EQ(refusal("--place", "G=1x,0,1"), "--place: '1x' is no number from -360 to 360.");
}

TEST(RunOptionsTest, readsATour)
{
    const RunOptions options = parseRun({"clip.mp4", "--tour", "Gate:0.5,Yard,A:B:86400"});
    ASSERT_EQ(options.tour.size(), 3u);
    EXPECT_EQ(options.tour[0].preset, "Gate");
    EXPECT_EQ(options.tour[0].seconds, 0.5);
    EXPECT_EQ(options.tour[1].preset, "Yard");
    EXPECT_EQ(options.tour[1].seconds, 5);
    EXPECT_EQ(options.tour[2].preset, "A:B");
    EXPECT_EQ(options.tour[2].seconds, 86400);
    EXPECT_TRUE(options.camera.ptz);
}

TEST(RunOptionsTest, refusesWhatIsNoTour)
{
    for (const std::string text : {"", ",", "Gate,", ":3", "Gate,:3"}) {
        EXPECT_EQ(refusal("--tour", text), "--tour takes NAME[:SECONDS],..., not '" + text + "'.");
    }
    EXPECT_EQ(refusal("--tour", "Gate:"), "--tour: '' is no number from 0 to 86400.");
    EXPECT_EQ(refusal("--tour", "Gate:-1"), "--tour: '-1' is no number from 0 to 86400.");
    EXPECT_EQ(refusal("--tour", "Gate:soon"), "--tour: 'soon' is no number from 0 to 86400.");
    EXPECT_EQ(refusal("--tour", "Gate:86401"), "--tour: '86401' is no number from 0 to 86400.");
}

TEST(RunOptionsTest, readsASize)
{
    EXPECT_EQ(parseRun({"clip.mp4"}).width, 0);
    const RunOptions options = parseRun({"clip.mp4", "--size", "1280x720"});
    EXPECT_EQ(options.width, 1280);
    EXPECT_EQ(options.height, 720);
    EXPECT_FALSE(options.camera.ptz);
}

TEST(RunOptionsTest, refusesWhatIsNoSize)
{
    for (const std::string text : {"", "1280", "1280x720x2", "1280X720"}) {
        EXPECT_EQ(refusal("--size", text), "--size takes WIDTHxHEIGHT, 1280x720 for instance, not '" + text + "'.");
    }
    EXPECT_EQ(refusal("--size", "x720"), "--size takes a whole number from 16 to 8192, not ''.");
    EXPECT_EQ(refusal("--size", "1280x8194"), "--size takes a whole number from 16 to 8192, not '8194'.");
    EXPECT_EQ(refusal("--size", "-16x16"), "--size takes a whole number from 16 to 8192, not '-16'.");
    EXPECT_EQ(refusal("--size", "14x16"), "--size takes a whole number from 16 to 8192, not '14'.");
    EXPECT_EQ(refusal("--size", "17x16"), "--size takes even numbers, not '17x16'.");
    EXPECT_EQ(refusal("--size", "16x17"), "--size takes even numbers, not '16x17'.");
}

TEST(RunOptionsTest, aRunAtRealSpeedGoesOverAndOverUnlessOnePassIsAskedFor)
{
    EXPECT_TRUE(parseRun({"clip.mp4"}).loop);
    EXPECT_FALSE(parseRun({"clip.mp4", "--oneshot"}).loop);
    EXPECT_FALSE(parseRun({"clip.mp4", "--speed=max"}).loop);
    EXPECT_TRUE(parseRun({"clip.mp4", "--speed=max", "--loop"}).loop);
    EXPECT_FALSE(parseRun({"clip.mp4", "--speed=max", "--oneshot"}).loop);
}

TEST(RunOptionsTest, aModelMakesAPtzCamera)
{
    const RunOptions options = parseRun({"clip.mp4", "--model", "ptz-dome"});
    EXPECT_EQ(options.camera.model, "ptz-dome");
    EXPECT_TRUE(options.camera.ptz);
}

TEST(RunOptionsTest, thePipelineProcessTakesABusAndARunDoesNot)
{
    const auto options =
        parsePipeline({"clip.mp4", "--bus", "unix:path=/run/bus", "--temporary-state", "--place", "G=1,2,3"});
    EXPECT_EQ(options.bus, "unix:path=/run/bus");
    EXPECT_TRUE(options.temporaryState);
    EXPECT_EQ(options.run.input, "clip.mp4");
    EXPECT_EQ(options.run.places.size(), 1u);
    EXPECT_FALSE(parsePipeline({"clip.mp4", "--bus=unix:path=/run/bus"}).temporaryState);
    EXPECT_THAT(refusal("--bus", "unix:path=/run/bus"), HasSubstr("--bus"));
    EXPECT_THROW(parsePipeline({}), UsageError);
    EXPECT_THROW(parsePipeline({"clip.mp4", "--bus"}), UsageError);
    EXPECT_TRUE(parsePipeline({"--help"}).run.help);
    try {
        parsePipeline({"clip.mp4"});
        FAIL() << "a pipeline without a bus";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(), "camera-pipeline: --bus is missing; camera run starts a bus and gives its address.");
    }
}

} // namespace
