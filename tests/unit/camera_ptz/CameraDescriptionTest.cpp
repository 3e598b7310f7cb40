#include "camera/ptz/CameraDescription.h"
#include "unit/camera_store/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using camera::ptz::CameraDescription;
using camera::ptz::findDescription;
using camera::ptz::parseDescription;
using camera::ptz::readDescription;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string refusal(const std::string& text)
{
    try {
        parseDescription(text, "x.toml");
        return "taken";
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

TEST(CameraDescription, isAPtzCameraUnlessSomethingElseIsSaid)
{
    const CameraDescription camera = parseDescription("", "x.toml");
    EXPECT_TRUE(camera.movable);
    EXPECT_TRUE(camera.pan.endless);
    EXPECT_EQ(camera.zoom.highest, 3000);
    EXPECT_EQ(camera.optics.angleOfView(100), CameraDescription().optics.angleOfView(100));
    EXPECT_EQ(camera.stableFor.count(), 300);
}

TEST(CameraDescription, readsEveryKey)
{
    const CameraDescription camera = parseDescription(
        "model = 'mast'\nscene_angle = 90\n"
        "[lens]\nfocal_length = 10.5\nsensor_width = 7\nsensor_height = 4\n"
        "[pan]\nendless = false\nlowest = -10\nhighest = 20\nspeed = 30\nacceleration = 40\ntolerance = 0.5\n"
        "[tilt]\nlowest = -1\nhighest = 2\nspeed = 3\nacceleration = 4\ntolerance = 0.1\n"
        "[zoom]\nlargest = 12.5\nspeed = 2\nacceleration = 3\ntolerance = 0.05\n"
        "[timing]\nstable_ms = 400\narrival_margin_ms = 500\nhold_ms = 600\ndrive_ms = 700\n",
        "x.toml");
    EXPECT_EQ(camera.model, "mast");
    EXPECT_EQ(camera.sceneAngleDegrees, 90);
    EXPECT_EQ(camera.optics.shortestFocalLength, 10500u);
    EXPECT_EQ(camera.optics.sensorWidth, 7000u);
    EXPECT_EQ(camera.optics.sensorHeight, 4000u);
    EXPECT_EQ(camera.optics.largestZoom, 1250u);
    EXPECT_FALSE(camera.pan.endless);
    EXPECT_EQ(camera.pan.lowest, -10000);
    EXPECT_EQ(camera.pan.highest, 20000);
    EXPECT_EQ(camera.pan.greatestSpeed, 30000);
    EXPECT_EQ(camera.pan.acceleration, 40000);
    EXPECT_EQ(camera.pan.tolerance, 500);
    EXPECT_EQ(camera.tilt.lowest, -1000);
    EXPECT_EQ(camera.tilt.highest, 2000);
    EXPECT_EQ(camera.zoom.lowest, 100);
    EXPECT_EQ(camera.zoom.highest, 1250);
    EXPECT_EQ(camera.zoom.greatestSpeed, 200);
    EXPECT_EQ(camera.zoom.tolerance, 5);
    EXPECT_EQ(camera.stableFor.count(), 400);
    EXPECT_EQ(camera.arrivalMargin.count(), 500);
    EXPECT_EQ(camera.holdFor.count(), 600);
    EXPECT_EQ(camera.driveFor.count(), 700);
}

TEST(CameraDescription, refusesWithTheFileTheKeyAndWhatIsAllowed)
{
    EXPECT_EQ(refusal("[pan]\nspeed = 'fast'\n"), "x.toml: 'pan.speed' must be a number from 0.1 to 1000");
    EXPECT_EQ(refusal("[pan]\nspeed = 0\n"), "x.toml: 'pan.speed' must be a number from 0.1 to 1000");
    EXPECT_EQ(refusal("[pan]\nspeed = nan\n"), "x.toml: 'pan.speed' must be a number from 0.1 to 1000");
    EXPECT_EQ(refusal("[pan]\nspeed = inf\n"), "x.toml: 'pan.speed' must be a number from 0.1 to 1000");
    EXPECT_EQ(refusal("colour = 1\n"), "x.toml: 'colour' is not known here; known: model, movable, scene_angle, lens, "
                                       "pan, tilt, zoom, timing");
    EXPECT_EQ(refusal("[lens]\nzoom = 1\n"),
              "x.toml: 'lens.zoom' is not known here; known: focal_length, sensor_width, sensor_height");
    EXPECT_EQ(refusal("pan = 7\n"), "x.toml: 'pan' must be a table");
    EXPECT_EQ(refusal("model = ''\n"), "x.toml: 'model' must be a text of 1 to 64 bytes");
    EXPECT_EQ(refusal("movable = 1\n"), "x.toml: 'movable' must be true or false");
    EXPECT_EQ(refusal("movable = false\n[zoom]\n"), "x.toml: 'zoom' must not be there: the camera is fixed");
    EXPECT_EQ(refusal("[pan]\nendless = true\nlowest = -1\n"),
              "x.toml: 'pan.lowest' must not be there: the axis is endless");
    EXPECT_EQ(refusal("[pan]\nlowest = -1\n"), "x.toml: 'pan.highest' must be there: the axis is not endless");
    EXPECT_EQ(refusal("[tilt]\nlowest = 1\n"), "x.toml: 'tilt.lowest' must be at most 0: straight ahead is home");
    EXPECT_EQ(refusal("[tilt]\nhighest = -1\n"), "x.toml: 'tilt.highest' must be at least 0: straight ahead is home");
    EXPECT_EQ(refusal("[tilt]\nhighest = 91\n"), "x.toml: 'tilt.highest' must be a number from -90 to 90");
    EXPECT_EQ(refusal("[zoom]\nlargest = 101\n"), "x.toml: 'zoom.largest' must be a number from 1 to 100");
    EXPECT_EQ(refusal("[timing]\nstable_ms = 0\n"), "x.toml: 'timing.stable_ms' must be a number from 10 to 60000");
    EXPECT_EQ(refusal("scene_angle = 1\n"), "x.toml: 'scene_angle' must be a number from 10 to 360");
}

TEST(CameraDescription, refusesHostileTextInOneLine)
{
    std::string dots = "a";
    for (int level = 0; level < 20000; ++level) {
        dots += ".a";
    }
    for (const std::string& text :
         {std::string("a = "), std::string("a = \"\\u{}\""), std::string("= = ="), std::string("a = 1\na = 2\n"),
          std::string("[a]\n[a]\n"), std::string("\0\0", 2), std::string("\xff\xfe"),
          std::string("a = 99999999999999999999"), "a = " + std::string(30000, '['), "a = " + std::string(20000, '{'),
          std::string(30000, '['), dots + " = 1", "[" + dots + "]", std::string(70000, '#'),
          std::string("a = 1979-99-99"), std::string("[[pan]]\n"), std::string("a = \"\"\"")}) {
        const std::string reason = refusal(text);
        EXPECT_THAT(reason, StartsWith("x.toml: ")) << text.substr(0, 40);
        EXPECT_THAT(reason, Not(HasSubstr("\n"))) << text.substr(0, 40);
        EXPECT_LT(reason.size(), 400u);
    }
}

TEST(CameraDescription, comesThroughCutsAndChangedBytesOfAModel)
{
    std::ifstream stream(std::string(CAMERA_MODELS) + "/ptz-dome.toml");
    const std::string good((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    ASSERT_EQ(refusal(good), "taken");
    for (std::size_t at = 0; at < good.size(); at += 3) {
        refusal(good.substr(0, at));
        for (const char byte : {'[', '"', '\0', '\xff', '.', '9', '-', '='}) {
            std::string changed = good;
            changed[at] = byte;
            refusal(changed);
        }
    }
}

TEST(CameraDescription, readsTheModelsThatComeWithTheCamera)
{
    const std::string folder = CAMERA_MODELS;
    const CameraDescription fixed = readDescription(folder + "/fixed.toml");
    const CameraDescription dome = readDescription(folder + "/ptz-dome.toml");
    const CameraDescription longRange = readDescription(folder + "/ptz-long-range.toml");
    EXPECT_FALSE(fixed.movable);
    EXPECT_TRUE(dome.movable);
    EXPECT_TRUE(longRange.movable);
    EXPECT_EQ(dome.model, "ptz-dome");
    EXPECT_TRUE(dome.pan.endless);
    EXPECT_FALSE(longRange.pan.endless);
    for (const CameraDescription& camera : {dome, longRange}) {
        // Home shows half of the scene, so there is somewhere to go.
        EXPECT_NEAR(camera.optics.angleOfView(100) / 1000.0, camera.sceneAngleDegrees / 2, 0.5) << camera.model;
    }
    EXPECT_GE(fixed.optics.angleOfView(100) / 1000.0, fixed.sceneAngleDegrees) << "it sees the whole picture";
}

TEST(CameraDescription, refusesTextThatIsNotUtf8)
{
    for (const std::string text :
         {"\xFF", "model = '\xC0\x80'", "'\xED\xA0\x80' = 1", "1.'\xE2\x82'\n", "# \xF4\x90\x80\x80", "\x80",
          "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF5\x80\x80\x80"}) {
        try {
            parseDescription(text, "bytes.toml");
            FAIL() << "taken: " << text;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), "bytes.toml: is not UTF-8");
        }
    }
    EXPECT_EQ(parseDescription("model = 'Türme \xE2\x82\xAC \xF0\x9F\x8E\xA5'", "x.toml").model,
              "Türme \xE2\x82\xAC \xF0\x9F\x8E\xA5");
}

TEST(CameraDescription, isFoundByNameBesideTheProgramOrByPath)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "bin/cameras");
    std::filesystem::create_directories(folder / "share/detection/cameras");
    std::ofstream(folder / "bin/cameras/here.toml") << "model = 'here'\n";
    std::ofstream(folder / "share/detection/cameras/there.toml") << "model = 'there'\n";
    EXPECT_EQ(findDescription("here", folder / "bin").model, "here");
    EXPECT_EQ(findDescription("there", folder / "bin").model, "there");
    EXPECT_EQ(findDescription((folder / "bin/cameras/here.toml").string(), "/").model, "here");
    const auto notFound = [&](const std::string& name) {
        try {
            findDescription(name, folder / "bin");
        } catch (const std::invalid_argument& error) {
            return std::string(error.what());
        }
        return std::string("found");
    };
    EXPECT_THAT(notFound("nowhere"), StartsWith("there is no camera description 'nowhere' in '"));
    EXPECT_THAT(notFound("nowhere.toml"), HasSubstr("is no file that can be read"));
    EXPECT_THAT(notFound("bin/cameras"), HasSubstr("is no file that can be read"));
    EXPECT_THAT(notFound(""), HasSubstr("is no file that can be read"));
    std::ofstream(folder / "large.toml") << std::string(70000, '\n');
    EXPECT_THAT(notFound((folder / "large.toml").string()), HasSubstr("at most 65536 bytes"));
}

} // namespace
