#include "camera/base/SceneParameters.h"

#include "kit/Refusal.h"

#include <gmock/gmock.h>

namespace camera::base {
namespace {

using testing::HasSubstr;

std::string refusal(const std::string& url)
{
    return kit::refusalOf([&] { parseSceneParameters(url); });
}

TEST(SceneParameters, hasDefaultsForEverything)
{
    const SceneParameters p = parseSceneParameters("scene:");
    EXPECT_EQ(1280, p.width);
    EXPECT_EQ(720, p.height);
    EXPECT_EQ(25, p.framesPerSecond);
    EXPECT_EQ(500, p.frames);
    EXPECT_EQ(1U, p.seed);
    EXPECT_EQ(3, p.objects);
    EXPECT_EQ(2, p.areaPercent);
    EXPECT_EQ(0.5, p.aspect);
    EXPECT_EQ(0.12, p.speed);
    EXPECT_EQ(70, p.contrast);
    EXPECT_EQ(SceneShape::person, p.shape);
    EXPECT_EQ(0, p.enterFrame);
    EXPECT_EQ(0, p.leaveFrame);
    EXPECT_EQ(2, p.noise);
    EXPECT_EQ(0, p.light);
    EXPECT_EQ(60, p.lightPeriodSeconds);
    EXPECT_EQ(0, p.switchFrame);
    EXPECT_EQ(-50, p.switchLevels);
    EXPECT_EQ(0, p.swayPixels);
    EXPECT_FALSE(p.shadows);
    EXPECT_EQ(0, p.startSeconds);
}

TEST(SceneParameters, readsEveryName)
{
    const SceneParameters p = parseSceneParameters(
        "scene:size=64x128,fps=5,frames=9,seed=18446744073709551615,objects=1,area=3.5,aspect=1,speed=0.5,contrast=30,"
        "shape=ellipse,enter=1,leave=8,noise=0.5,light=3,lightperiod=9,switch=4,switchlevels=20,sway=2,shadows=1,"
        "start=77");
    EXPECT_EQ(128, p.height);
    EXPECT_DOUBLE_EQ(5, p.framesPerSecond);
    EXPECT_EQ(9, p.frames);
    EXPECT_EQ(UINT64_MAX, p.seed);
    EXPECT_EQ(1, p.objects);
    EXPECT_DOUBLE_EQ(3.5, p.areaPercent);
    EXPECT_DOUBLE_EQ(1, p.aspect);
    EXPECT_DOUBLE_EQ(0.5, p.speed);
    EXPECT_DOUBLE_EQ(30, p.contrast);
    EXPECT_EQ(SceneShape::ellipse, p.shape);
    EXPECT_EQ(1, p.enterFrame);
    EXPECT_EQ(8, p.leaveFrame);
    EXPECT_DOUBLE_EQ(0.5, p.noise);
    EXPECT_DOUBLE_EQ(3, p.light);
    EXPECT_DOUBLE_EQ(9, p.lightPeriodSeconds);
    EXPECT_EQ(4, p.switchFrame);
    EXPECT_DOUBLE_EQ(20, p.switchLevels);
    EXPECT_DOUBLE_EQ(2, p.swayPixels);
    EXPECT_TRUE(p.shadows);
    EXPECT_EQ(77, p.startSeconds);
}

TEST(SceneParameters, refusesWhatItDoesNotKnowNamingWhatItHas)
{
    EXPECT_THAT(refusal("scene:wind=3"), HasSubstr("scene parameter 'wind=3' is unknown: a scene has size, fps,"));
    EXPECT_THAT(refusal("scene:objects=1,,noise=1"), HasSubstr("scene parameter '' is unknown"));
    EXPECT_THAT(refusal("clip.mp4"), HasSubstr("'clip.mp4' is no scene"));
}

TEST(SceneParameters, refusesWhatIsOutOfRangeNamingTheRange)
{
    EXPECT_EQ("scene parameter 'objects=33' is refused: objects takes a whole number from 0 to 32.",
              refusal("scene:objects=33"));
    EXPECT_EQ("scene parameter 'fps=0' is refused: fps takes a number from 0.1 to 240.", refusal("scene:fps=0"));
    for (const std::string part : {"objects=-1",       "objects=2.5",
                                   "objects=two",      "objects=",
                                   "objects",          "objects=3x",
                                   "noise=nan",        "noise=inf",
                                   "fps=1e9",          "size=63x64",
                                   "size=65x64",       "size=64",
                                   "size=64x",         "size=x64",
                                   "size=64x65",       "size=99999x64",
                                   "size=64x64x64",    "shape=cat",
                                   "shadows=2",        "shadows=yes",
                                   "seed=-1",          "seed=18446744073709551616",
                                   "frames=-1",        "area=0",
                                   "aspect=0",         "speed=-0.1",
                                   "contrast=200",     "sway=17",
                                   "light=61",         "lightperiod=0",
                                   "switchlevels=101", "start=4294967296",
                                   "noise= 1",         "noise=1 "}) {
        EXPECT_THAT(refusal("scene:" + part), HasSubstr("scene parameter '" + part + "' is refused: ")) << part;
    }
}

TEST(SceneParameters, refusesObjectsThatDoNotFitAndThatLeaveBeforeTheyEnter)
{
    EXPECT_THAT(refusal("scene:area=25,aspect=0.2"), HasSubstr("does not fit into 1280x720"));
    EXPECT_THAT(refusal("scene:enter=5,leave=4"), HasSubstr("cannot leave before enter=5"));
    EXPECT_EQ(refusal("scene:enter=5,leave=5"), "not refused");
    EXPECT_EQ(refusal("scene:size=64x64,area=25,aspect=4.5"), "scene parameters area=25,aspect=4.5 are refused: the "
                                                              "object does not fit into 64x64.");
    EXPECT_EQ(refusal("scene:area=25,aspect=0.2,objects=0"), "not refused") << "there is none";
}

TEST(SceneParameters, takesTheEndsOfTheRanges)
{
    const SceneParameters most = parseSceneParameters("scene:size=7680x4320,fps=240,objects=32,shape=box");
    EXPECT_EQ(7680, most.width);
    EXPECT_EQ(4320, most.height);
    EXPECT_EQ(240, most.framesPerSecond);
    EXPECT_EQ(32, most.objects);
    EXPECT_EQ(SceneShape::box, most.shape);
    const SceneParameters least = parseSceneParameters("scene:size=64x64,fps=0.1,objects=0,shape=person,shadows=0");
    EXPECT_EQ(64, least.width);
    EXPECT_EQ(0.1, least.framesPerSecond);
    EXPECT_EQ(0, least.objects);
    for (const std::string size : {"7682x4320", "7680x4322", "62x64", "64x62"}) {
        EXPECT_THAT(refusal("scene:size=" + size), HasSubstr("is refused: size takes WIDTHxHEIGHT")) << size;
    }
}

TEST(SceneParameters, theHelpHasALineForEachWithItsRange)
{
    EXPECT_EQ(sceneHelp(), R"(  size          picture size (WIDTHxHEIGHT, both even, from 64x64 to 7680x4320)
  fps           frames per second (a number from 0.1 to 240)
  frames        length, 0 is endless (a whole number from 0 to 1000000000)
  seed          same seed, same pixels (a whole number from 0 to 18446744073709551615)
  objects       moving objects (a whole number from 0 to 32)
  area          one object's box, percent of the picture (a number from 0.05 to 25)
  aspect        width / height of an object (a number from 0.2 to 5)
  speed         picture widths per second (a number from 0 to 2)
  contrast      luma levels between object and background (a number from 5 to 110)
  shape         outline of the objects (person, ellipse or box)
  enter         first frame with objects (a whole number from 0 to 1000000000)
  leave         first frame without them again, 0 is never (a whole number from 0 to 1000000000)
  noise         sensor noise, standard deviation in luma levels (a number from 0 to 30)
  light         slow light change, luma levels (a number from 0 to 60)
  lightperiod   its period in seconds (a number from 1 to 86400)
  switch        frame of a light switch, 0 is never (a whole number from 0 to 1000000000)
  switchlevels  luma levels the switch adds (a number from -100 to 100)
  sway          swaying texture, amplitude in pixels (a number from 0 to 16)
  shadows       objects throw shadows (0 or 1)
  start         time of the first frame, seconds since 1970, 0 is now (a whole number from 0 to 4294967295)
)");
}

} // namespace
} // namespace camera::base
