// What the arguments of a run say.
#include "camera/base/RunOptions.h"

#include "camera/base/Log.h"
#include "kit/Refusal.h"
#include "kit/RowName.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace camera::base {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Words = std::vector<std::string>;

RunOptions parseRun(const Words& words)
{
    return runOptions(*parseArguments({"camera", "", "", {}}, runCommand(), words));
}

std::string refused(const Words& words)
{
    return kit::refusalOf<UsageError>([&] { parseRun(words); });
}

TEST(RunOptionsTest, hasDefaultsForEverythingButTheInput)
{
    const RunOptions options = parseRun({"film.mp4"});
    EXPECT_EQ("film.mp4", options.input);
    EXPECT_EQ(0, options.orientation);
    EXPECT_EQ(0, options.frames);
    EXPECT_TRUE(options.realSpeed);
    EXPECT_TRUE(options.loop);
    EXPECT_FALSE(options.camera.ptz);
    EXPECT_TRUE(options.camera.factory);
    EXPECT_EQ("", options.camera.stateDir);
    EXPECT_FALSE(options.oneshot);
    EXPECT_FALSE(options.waitSource);
    EXPECT_EQ(std::nullopt, options.restarts);
    EXPECT_EQ(10, options.watchdogSeconds) << "as the help of --watchdog says";
    EXPECT_EQ(0, options.watchdogFramesSeconds);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.quiet);
}

TEST(RunOptionsTest, readsEveryOptionInBothForms)
{
    const RunOptions options = parseRun({"--config",
                                         "a.xml",
                                         "film.mp4",
                                         "--config=b.xml",
                                         "--orientation",
                                         "270",
                                         "--ptz",
                                         "--preset",
                                         "Door",
                                         "--state=dir",
                                         "--frames",
                                         "12",
                                         "--speed=max",
                                         "--metadata",
                                         "m.xml",
                                         "--overlay",
                                         "o.mp4",
                                         "--picture",
                                         "p.png",
                                         "--plugin",
                                         "x.so",
                                         "--engine",
                                         "e1.so",
                                         "--engine",
                                         "e2.so",
                                         "--loop",
                                         "--restarts",
                                         "3",
                                         "--watchdog",
                                         "86400",
                                         "--json",
                                         "--quiet",
                                         "--watchdog-frames",
                                         "8",
                                         "--wait-source",
                                         "--no-factory",
                                         "--model=long"});
    EXPECT_EQ("film.mp4", options.input);
    EXPECT_THAT(options.configFiles, ElementsAre("a.xml", "b.xml"));
    EXPECT_EQ(270, options.orientation);
    EXPECT_TRUE(options.camera.ptz);
    EXPECT_EQ("Door", options.camera.preset);
    EXPECT_EQ("dir", options.camera.stateDir);
    EXPECT_EQ(12, options.frames);
    EXPECT_FALSE(options.realSpeed);
    EXPECT_EQ("m.xml", options.metadata);
    EXPECT_EQ("o.mp4", options.overlay);
    EXPECT_EQ("p.png", options.picture);
    EXPECT_EQ("x.so", options.camera.plugin);
    EXPECT_THAT(options.camera.engines, ElementsAre("e1.so", "e2.so"));
    EXPECT_TRUE(options.loop);
    EXPECT_EQ(3U, options.restarts);
    EXPECT_EQ(86400, options.watchdogSeconds);
    EXPECT_EQ(8, options.watchdogFramesSeconds);
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.quiet);
    EXPECT_TRUE(options.waitSource);
    EXPECT_FALSE(options.camera.factory);
    EXPECT_EQ("long", options.camera.model);
}

TEST(RunOptionsTest, theHelpListsTheOptionsByWhatTheyAreFor)
{
    const auto namesOf = [](const Command& command) {
        Words names;
        for (const Option& option : command.options) {
            names.push_back(option.name);
        }
        return names;
    };
    const Words video = {"--config",  "--no-factory",  "--orientation", "--frames", "--speed", "--loop",
                         "--oneshot", "--wait-source", "--size",        "--place",  "--tour",  "--metadata",
                         "--overlay", "--picture",     "--state",       "--ptz",    "--model", "--preset",
                         "--plugin",  "--engine",      "--json",        "--quiet",  "-v",      "--log-format"};
    Words run = video;
    run.insert(run.end(), {"--restarts", "--watchdog", "--watchdog-frames", "--http", "--https", "--bind",
                           "--advertise-host", "--no-discovery", "--no-network", "--users", "--user"});
    EXPECT_EQ(namesOf(runCommand()), run);
    Words pipeline = video;
    pipeline.insert(pipeline.end(), {"--bus", "--temporary-state", "--again", "--onvif", "--activity", "--counts"});
    EXPECT_EQ(namesOf(pipelineCommand()), pipeline);
    EXPECT_THAT(commandHelp({"camera", "", "", {}}, runCommand()),
                HasSubstr("\nA generated scene has:\n  size          picture size"));
}

TEST(RunOptionsTest, aRunThatEndsByItselfIsABatch)
{
    const auto batch = [](const Words& words) { return isBatch(parseRun(words)); };
    EXPECT_FALSE(batch({"film.mp4"}));
    EXPECT_FALSE(batch({"file:-"}));
    EXPECT_TRUE(batch({"-"}));
    EXPECT_TRUE(batch({"pipe:0"}));
    EXPECT_TRUE(batch({"film.mp4", "--speed=max"}));
    EXPECT_TRUE(batch({"film.mp4", "--oneshot"}));
    EXPECT_TRUE(batch({"film.mp4", "--frames=1"}));
    const kit::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_TRUE(batch({folder / "fifo"}));
    EXPECT_TRUE(batch({"file:" + (folder / "fifo").string()}));
}

TEST(RunOptionsTest, takesOutputsOfEachKind)
{
    for (const std::string name : {"a.png", "a.JPG", "b.x.jpeg"}) {
        EXPECT_EQ(name, parseRun({"a", "--picture", name}).picture);
    }
    EXPECT_EQ("A.MP4", parseRun({"a", "--overlay", "A.MP4"}).overlay);
}

TEST(RunOptionsTest, takesAPresetForACameraThatCanMove)
{
    EXPECT_TRUE(parseRun({"a", "--preset", "Door"}).camera.ptz);
}

TEST(RunOptionsTest, takesWhatFollowsTwoDashesForTheInput)
{
    EXPECT_EQ("-strange.mp4", parseRun({"--", "-strange.mp4"}).input);
    EXPECT_EQ("-", parseRun({"-"}).input);
    EXPECT_EQ("pipe:0", parseRun({"pipe:0"}).input);
}

struct RefusedRun {
    Words words;
    std::string sentence;
};

void PrintTo(const RefusedRun& row, std::ostream* out)
{
    *out << testing::PrintToString(row.words);
}

class RefusedRunTest : public testing::TestWithParam<RefusedRun> {};

TEST_P(RefusedRunTest, isOneSentence)
{
    EXPECT_EQ(refused(GetParam().words), GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Words, RefusedRunTest,
    testing::Values(
        RefusedRun{{}, "camera run: INPUT is missing; see camera run --help."},
        RefusedRun{{"a", "b"}, "camera run: 'b' is too much; see camera run --help."},
        RefusedRun{{"a", "--loop", "--oneshot"},
                   "camera run: --loop and --oneshot exclude each other; keep one of them."},
        RefusedRun{{"a", "--colour"}, "camera run: there is no option --colour; see camera run --help."},
        RefusedRun{{"a", "-x"}, "camera run: there is no option -x; see camera run --help."},
        RefusedRun{{"a", "--orientation", "45"}, "--orientation takes 0, 90, 180 or 270, not '45'."},
        RefusedRun{{"a", "--orientation=90.0"}, "--orientation takes 0, 90, 180 or 270, not '90.0'."},
        RefusedRun{{"a", "--speed", "fast"}, "--speed takes real or max, not 'fast'."},
        RefusedRun{{"a", "--config"}, "camera run: --config needs FILE.xml after it."},
        RefusedRun{{"a", "--config", "--ptz"}, "camera run: --config needs FILE.xml after it."},
        RefusedRun{{"a", "--ptz=yes"}, "camera run: --ptz takes no value."},
        RefusedRun{{"a", "--state", "x", "--state", "y"}, "camera run: --state is given twice; once is enough."},
        RefusedRun{{"a", "--place="}, "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not ''."},
        RefusedRun{{"a", "--place=Gate"}, "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not 'Gate'."},
        RefusedRun{{"a", "--place=Gate="},
                   "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not 'Gate='."},
        RefusedRun{{"a", "--place==1,2,3"},
                   "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not '=1,2,3'."},
        RefusedRun{{"a", "--place=Gate=1,2"},
                   "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not 'Gate=1,2'."},
        RefusedRun{{"a", "--place=Gate=1,2,3,4"},
                   "--place takes NAME=PAN,TILT,ZOOM (degrees and magnification), not 'Gate=1,2,3,4'."},
        RefusedRun{{"a", "--place=G=361,0,1"}, "--place takes a number from -360 to 360, not '361'."},
        RefusedRun{{"a", "--place=G=0,-90.1,1"}, "--place takes a number from -90 to 90, not '-90.1'."},
        RefusedRun{{"a", "--place=G=0,0,0.5"}, "--place takes a number from 1 to 100, not '0.5'."},
        RefusedRun{{"a", "--place=G=nan,0,1"}, "--place takes a number from -360 to 360, not 'nan'."},
        RefusedRun{{"a", "--place=G=inf,0,1"}, "--place takes a number from -360 to 360, not 'inf'."},
        RefusedRun{{"a", "--place=G=,0,1"}, "--place takes a number from -360 to 360, not ''."},
        RefusedRun{{"a", "--place=G=1x,0,1"}, "--place takes a number from -360 to 360, not '1x'."},
        RefusedRun{{"a", "--size="}, "--size takes WIDTHxHEIGHT, 1280x720 for instance, not ''."},
        RefusedRun{{"a", "--size=1280"}, "--size takes WIDTHxHEIGHT, 1280x720 for instance, not '1280'."},
        RefusedRun{{"a", "--size=1280x720x2"}, "--size takes WIDTHxHEIGHT, 1280x720 for instance, not '1280x720x2'."},
        RefusedRun{{"a", "--size=1280X720"}, "--size takes WIDTHxHEIGHT, 1280x720 for instance, not '1280X720'."},
        RefusedRun{{"a", "--size=x720"}, "--size takes a whole number from 16 to 8192, not ''."},
        RefusedRun{{"a", "--size=1280x8194"}, "--size takes a whole number from 16 to 8192, not '8194'."},
        RefusedRun{{"a", "--size=-16x16"}, "--size takes a whole number from 16 to 8192, not '-16'."},
        RefusedRun{{"a", "--size=14x16"}, "--size takes a whole number from 16 to 8192, not '14'."},
        RefusedRun{{"a", "--size=17x16"}, "--size takes even numbers, not '17x16'."},
        RefusedRun{{"a", "--size=16x17"}, "--size takes even numbers, not '16x17'."},
        RefusedRun{{"a", "--tour="}, "--tour takes NAME[:SECONDS],..., not ''."},
        RefusedRun{{"a", "--tour=,"}, "--tour takes NAME[:SECONDS],..., not ','."},
        RefusedRun{{"a", "--tour=Gate,"}, "--tour takes NAME[:SECONDS],..., not 'Gate,'."},
        RefusedRun{{"a", "--tour=:3"}, "--tour takes NAME[:SECONDS],..., not ':3'."},
        RefusedRun{{"a", "--tour=Gate,:3"}, "--tour takes NAME[:SECONDS],..., not 'Gate,:3'."},
        RefusedRun{{"a", "--tour=Gate:"}, "--tour takes a number from 0 to 86400, not ''."},
        RefusedRun{{"a", "--tour=Gate:-1"}, "--tour takes a number from 0 to 86400, not '-1'."},
        RefusedRun{{"a", "--tour=Gate:soon"}, "--tour takes a number from 0 to 86400, not 'soon'."},
        RefusedRun{{"a", "--tour=Gate:86401"}, "--tour takes a number from 0 to 86400, not '86401'."},
        RefusedRun{{"a", "--frames=0"}, "--frames takes a whole number from 1 to 1000000000000, not '0'."},
        RefusedRun{{"a", "--frames=1.5"}, "--frames takes a whole number from 1 to 1000000000000, not '1.5'."},
        RefusedRun{{"a", "--frames=ten"}, "--frames takes a whole number from 1 to 1000000000000, not 'ten'."},
        RefusedRun{{"a", "--frames="}, "--frames takes a whole number from 1 to 1000000000000, not ''."},
        RefusedRun{{"a", "--frames=1e3"}, "--frames takes a whole number from 1 to 1000000000000, not '1e3'."},
        RefusedRun{{"a", "--frames=99999999999999999999"},
                   "--frames takes a whole number from 1 to 1000000000000, not '99999999999999999999'."},
        RefusedRun{{"a", "--frames= 1"}, "--frames takes a whole number from 1 to 1000000000000, not ' 1'."},
        RefusedRun{{"a", "--frames=1 "}, "--frames takes a whole number from 1 to 1000000000000, not '1 '."},
        RefusedRun{{"a", "--picture", "p.gif"},
                   "--picture takes a file whose name ends in .png, .jpg or .jpeg, not 'p.gif'."},
        RefusedRun{{"a", "--picture", ".png"},
                   "--picture takes a file whose name ends in .png, .jpg or .jpeg, not '.png'."},
        RefusedRun{{"a", "--overlay=o.avi"}, "--overlay takes a file whose name ends in .mp4, not 'o.avi'."},
        RefusedRun{{"a", "--overlay="}, "--overlay takes a file whose name ends in .mp4, not ''."},
        RefusedRun{{"a", "--metadata", "m"}, "--metadata takes a file whose name ends in .xml, not 'm'."},
        RefusedRun{{"pipe:1"}, "cannot read 'pipe:1'; of pipes - or pipe:0 is read, of files file:PATH."},
        RefusedRun{{"file:"}, "cannot read 'file:'; of pipes - or pipe:0 is read, of files file:PATH."},
        RefusedRun{{"scene:noise=31"}, "scene parameter 'noise=31' is refused: noise takes a number from 0 to 30."},
        RefusedRun{{"a", "--restarts=1000001"}, "--restarts takes a whole number from 0 to 1000000, not '1000001'."},
        RefusedRun{{"a", "--watchdog=86401"}, "--watchdog takes a whole number from 0 to 86400, not '86401'."},
        RefusedRun{{"a", "--watchdog-frames=0"}, "--watchdog-frames takes a whole number from 1 to 86400, not '0'."},
        RefusedRun{{"a", "--state="}, "camera run: --state is given an empty value; see camera run --help."},
        RefusedRun{{"a", "--frames", "-1"}, "--frames takes a whole number from 1 to 1000000000000, not '-1'."}),
    [](const auto& info) { return kit::rowName(info.index, testing::PrintToString(info.param.words)); });

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

TEST(RunOptionsTest, readsASize)
{
    EXPECT_EQ(parseRun({"clip.mp4"}).width, 0);
    const RunOptions options = parseRun({"clip.mp4", "--size", "1280x720"});
    EXPECT_EQ(options.width, 1280);
    EXPECT_EQ(options.height, 720);
    EXPECT_FALSE(options.camera.ptz);
}

TEST(RunOptionsTest, aRunAtRealSpeedBeginsAgainUnlessOnePassIsAskedFor)
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
    const auto parsePipeline = [](const Words& words) {
        return pipelineOptions(*parseArguments({"camera-pipeline", "", "", {}}, pipelineCommand(), words));
    };
    const PipelineOptions options =
        parsePipeline({"clip.mp4", "--bus", "unix:path=/run/bus", "--temporary-state", "--place", "G=1,2,3"});
    EXPECT_EQ(options.bus, "unix:path=/run/bus");
    EXPECT_TRUE(options.temporaryState);
    EXPECT_EQ(options.run.input, "clip.mp4");
    EXPECT_EQ(options.run.places.size(), 1u);
    EXPECT_FALSE(parsePipeline({"clip.mp4", "--bus=unix:path=/run/bus"}).temporaryState);
    EXPECT_THAT(refused({"a", "--bus", "unix:path=/run/bus"}), HasSubstr("there is no option --bus"));
    EXPECT_FALSE(options.again);
    const PipelineOptions again =
        parsePipeline({"clip.mp4", "--bus=b", "--again", "--activity", "/run/a", "--counts", "/run/c"});
    EXPECT_TRUE(again.again);
    EXPECT_EQ(again.activity, "/run/a");
    EXPECT_EQ(again.counts, "/run/c");
    EXPECT_THROW(parsePipeline({"clip.mp4"}), UsageError);
    EXPECT_THROW(parsePipeline({"clip.mp4", "--bus"}), UsageError);
}

TEST(LogOptionsTest, areGivenOnAsTheLogHasThemNow)
{
    setLog(*parseArguments({"camera", "", "", {}}, runCommand(), {"a", "-v", "--log-format", "json"}));
    EXPECT_EQ(LogLevel::info, Log::instance().level());
    EXPECT_THAT(logWords(), ElementsAre("-v", "--log-format=json"));
    setLog(*parseArguments({"camera", "", "", {}}, runCommand(), {"a", "-v", "-v", "--log-format", "json"}));
    EXPECT_EQ(LogLevel::debug, Log::instance().level());
    EXPECT_THAT(logWords(), ElementsAre("-v", "-v", "--log-format=json"));
    setLog(*parseArguments({"camera", "", "", {}}, runCommand(), {"a"}));
    EXPECT_THAT(logWords(), ElementsAre());
}

} // namespace
} // namespace camera::base
