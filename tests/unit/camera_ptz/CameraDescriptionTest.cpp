#include "camera/ptz/CameraDescription.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using camera::ptz::CameraDescription;
using camera::ptz::findDescription;
using camera::ptz::parseDescription;
using camera::ptz::readDescription;
using kit::TemporaryFolder;
using namespace testing;

// Documents are written with ' for ".
std::string json(std::string text)
{
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

std::vector<double> valuesOf(const camera::ptz::AxisDescription& axis)
{
    return {axis.lowest, axis.highest, axis.fullTurn, axis.greatestSpeed, axis.acceleration, axis.tolerance};
}

std::string refusal(const std::string& text)
{
    return kit::refusalOf<std::invalid_argument>([&] { parseDescription(text, "x.json"); });
}

TEST(CameraDescription, isAPtzCameraUnlessSomethingElseIsSaid)
{
    const CameraDescription camera = parseDescription("{}", "x.json");
    EXPECT_TRUE(camera.movable);
    EXPECT_TRUE(camera.pan.endless);
    EXPECT_EQ(camera.zoom.highest, 3000);
    EXPECT_EQ(camera.optics.angleOfView(100), CameraDescription().optics.angleOfView(100));
    EXPECT_EQ(camera.stableFor.count(), 300);
    EXPECT_EQ(camera.arrivalMargin.count(), 3000);
    EXPECT_EQ(camera.holdFor.count(), 5000);
    EXPECT_EQ(camera.driveFor.count(), 60000);
    EXPECT_EQ(camera.sceneAngleDegrees, 128);
    EXPECT_THAT(valuesOf(camera.pan), ElementsAre(0, 0, 360000, 120000, 240000, 50));
    EXPECT_THAT(valuesOf(camera.tilt), ElementsAre(-90000, 90000, 0, 90000, 180000, 50));
    EXPECT_THAT(valuesOf(camera.zoom), ElementsAre(100, 3000, 0, 1000, 2000, 1));
    EXPECT_EQ(camera.optics.shortestFocalLength, 4300u);
    EXPECT_EQ(camera.optics.largestZoom, 3000u);
    EXPECT_EQ(camera.optics.sensorWidth, 5376u);
    EXPECT_EQ(camera.optics.sensorHeight, 3024u);
}

TEST(CameraDescription, takesTheEndsOfTheRangesAndNothingBeyond)
{
    struct Range {
        const char* section;
        const char* key;
        double lowest;
        double highest;
        const char* numbers;
    };
    const Range ranges[] = {{"", "scene_angle", 10, 360, "10 to 360"},
                            {"lens", "focal_length", 0.5, 1000, "0.5 to 1000"},
                            {"lens", "sensor_width", 0.5, 100, "0.5 to 100"},
                            {"lens", "sensor_height", 0.5, 100, "0.5 to 100"},
                            {"pan", "speed", 0.1, 1000, "0.1 to 1000"},
                            {"pan", "acceleration", 0.1, 20000, "0.1 to 20000"},
                            {"pan", "tolerance", 0.001, 5, "0.001 to 5"},
                            {"tilt", "speed", 0.1, 1000, "0.1 to 1000"},
                            {"tilt", "tolerance", 0.001, 5, "0.001 to 5"},
                            {"zoom", "largest", 1, 100, "1 to 100"},
                            {"zoom", "speed", 0.1, 100, "0.1 to 100"},
                            {"zoom", "acceleration", 0.1, 2000, "0.1 to 2000"},
                            {"zoom", "tolerance", 0.01, 1, "0.01 to 1"},
                            {"timing", "stable_ms", 10, 60000, "10 to 60000"},
                            {"timing", "arrival_margin_ms", 100, 600000, "100 to 600000"},
                            {"timing", "hold_ms", 0, 3600000, "0 to 3.6e+06"},
                            {"timing", "drive_ms", 100, 3600000, "100 to 3.6e+06"}};
    for (const Range& range : ranges) {
        const std::string section = range.section;
        const auto refusalOf = [&](double value) {
            std::ostringstream number;
            number << std::setprecision(10) << value;
            const std::string pair = "'" + std::string(range.key) + "':" + number.str();
            return refusal(json(section.empty() ? "{" + pair + "}" : "{'" + section + "':{" + pair + "}}"));
        };
        EXPECT_EQ(refusalOf(range.lowest), "not refused") << range.key;
        EXPECT_EQ(refusalOf(range.highest), "not refused") << range.key;
        const std::string sentence = "x.json: '" + section + (section.empty() ? "" : ".") + range.key +
                                     "' must be a number from " + range.numbers;
        EXPECT_EQ(refusalOf(range.lowest - 0.0005), sentence);
        EXPECT_EQ(refusalOf(range.highest + 0.0005), sentence);
    }
    EXPECT_EQ(refusal(json("{'pan':{'lowest':-180,'highest':180},'tilt':{'lowest':-90,'highest':90}}")), "not refused");
    EXPECT_EQ(refusal(json("{'pan':{'lowest':0,'highest':0},'model':'" + std::string(64, 'a') + "'}")), "not refused");
}

TEST(CameraDescription, readsEveryKey)
{
    const CameraDescription camera = parseDescription(
        json("{'model':'mast','scene_angle':90,"
             "'lens':{'focal_length':10.5,'sensor_width':7,'sensor_height':4},"
             "'pan':{'endless':false,'lowest':-10,'highest':20,'speed':30,'acceleration':40,'tolerance':0.5},"
             "'tilt':{'lowest':-1,'highest':2,'speed':3,'acceleration':4,'tolerance':0.1},"
             "'zoom':{'largest':12.5,'speed':2,'acceleration':3,'tolerance':0.05},"
             "'timing':{'stable_ms':400,'arrival_margin_ms':500,'hold_ms':600,'drive_ms':700}}"),
        "x.json");
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

struct Refused {
    std::string document;
    std::string sentence; ///< behind the name of the file
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.document.substr(0, 60);
}

class RefusedDescription : public testing::TestWithParam<Refused> {};

TEST_P(RefusedDescription, isNamedWithTheFileTheKeyAndWhatIsAllowed)
{
    EXPECT_EQ(refusal(json(GetParam().document)), "x.json: " + GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, RefusedDescription,
    testing::Values(
        Refused{"{'pan':{'speed':'fast'}}", "'pan.speed' must be a number from 0.1 to 1000"},
        Refused{"{'pan':{'speed':0}}", "'pan.speed' must be a number from 0.1 to 1000"},
        Refused{"{'pan':{'speed':true}}", "'pan.speed' must be a number from 0.1 to 1000"},
        Refused{"{'pan':{'speed':null}}", "'pan.speed' must be a number from 0.1 to 1000"},
        Refused{"{'pan':{'speed':99999999999999999999}}", "'pan.speed' must be a number from 0.1 to 1000"},
        Refused{"{'colour':1}",
                "'colour' is not known here; known: model, movable, scene_angle, lens, pan, tilt, zoom, timing"},
        Refused{"{'lens':{'zoom':1}}",
                "'lens.zoom' is not known here; known: focal_length, sensor_width, sensor_height"},
        Refused{"{'pan':7}", "'pan' must be an object"}, Refused{"{'pan':[]}", "'pan' must be an object"},
        Refused{"{'pan':null}", "'pan' must be an object"},
        Refused{"{'model':''}", "'model' must be a text of 1 to 64 bytes without control characters"},
        Refused{"{'model':7}", "'model' must be a text of 1 to 64 bytes without control characters"},
        Refused{"{'model':'a\\nb'}", "'model' must be a text of 1 to 64 bytes without control characters"},
        Refused{"{'model':'" + std::string(65, 'a') + "'}",
                "'model' must be a text of 1 to 64 bytes without control characters"},
        Refused{"{'movable':1}", "'movable' must be true or false"},
        Refused{"{'movable':false,'zoom':{}}", "'zoom' must not be there: the camera is fixed"},
        Refused{"{'pan':{'endless':true,'lowest':-1}}", "'pan.lowest' must not be there: the axis is endless"},
        Refused{"{'pan':{'lowest':-1}}", "'pan.highest' must be there: the axis is not endless"},
        Refused{"{'tilt':{'lowest':1}}", "'tilt.lowest' must be at most 0: straight ahead is home"},
        Refused{"{'tilt':{'highest':-1}}", "'tilt.highest' must be at least 0: straight ahead is home"},
        Refused{"{'pan':{'lowest':-181,'highest':0}}", "'pan.lowest' must be a number from -180 to 180"},
        Refused{"{'pan':{'lowest':0,'highest':181}}", "'pan.highest' must be a number from -180 to 180"},
        Refused{"{'tilt':{'lowest':-91}}", "'tilt.lowest' must be a number from -90 to 90"},
        Refused{"{'tilt':{'highest':91}}", "'tilt.highest' must be a number from -90 to 90"},
        Refused{"{'zoom':{'largest':101}}", "'zoom.largest' must be a number from 1 to 100"},
        Refused{"{'timing':{'stable_ms':0}}", "'timing.stable_ms' must be a number from 10 to 60000"},
        Refused{"{'scene_angle':1}", "'scene_angle' must be a number from 10 to 360"}));

INSTANTIATE_TEST_SUITE_P(
    Documents, RefusedDescription,
    testing::Values(
        Refused{"{'pan':{'speed':1,'speed':2}}", "it is no JSON document: Line 1, Column 19: Duplicate key: 'speed'"},
        Refused{"{\n'movable':yes}",
                "it is no JSON document: Line 2, Column 11: Syntax error: value, object or array expected."},
        Refused{"{'pan':{'speed':1e999}}", "it is no JSON document: Line 1, Column 17: '1e999' is not a number."},
        Refused{"[]", "it is no JSON object"}, Refused{std::string(70000, ' '), "it is larger than 65536 bytes"},
        Refused{std::string(30000, '['), "it is no JSON document"}, Refused{"\xFF", "is not UTF-8"},
        Refused{"{'model':'\xC0\x80'}", "is not UTF-8"}, Refused{"{'\xED\xA0\x80':1}", "is not UTF-8"},
        Refused{std::string("{}\0", 3), "is not UTF-8"}));

TEST(CameraDescription, refusesHostileTextInOneLine)
{
    for (const std::string& text :
         {std::string(), json("{'a':"), json("{'a':'\\u{}'}"), std::string("null"), std::string("7"),
          json("{'pan':{}} {}"), json("{'pan':{},}"), json("{'pan':NaN}"), "[" + std::string(60000, '9'),
          "[1." + std::string(60000, '-'), std::string(20000, '{'), json("{'model':'\n")}) {
        const std::string reason = refusal(text);
        EXPECT_THAT(reason, StartsWith("x.json: ")) << text.substr(0, 40);
        EXPECT_THAT(reason, Not(HasSubstr("\n"))) << text.substr(0, 40);
        EXPECT_LT(reason.size(), 400u);
    }
}

TEST(CameraDescription, comesThroughCutsAndChangedBytesOfAModel)
{
    const std::string good = kit::contentOf(std::string(CAMERA_MODELS) + "/ptz-dome.json");
    ASSERT_EQ(refusal(good), "not refused");
    for (std::size_t at = 0; at < good.size(); at += 3) {
        refusal(good.substr(0, at));
        for (const char byte : {'[', '"', '\0', '\xff', '.', '9', '-', ':'}) {
            std::string changed = good;
            changed[at] = byte;
            refusal(changed);
        }
    }
}

TEST(CameraDescription, readsTheModelsThatComeWithTheCamera)
{
    const std::string folder = CAMERA_MODELS;
    const CameraDescription fixed = readDescription(folder + "/fixed.json");
    const CameraDescription dome = readDescription(folder + "/ptz-dome.json");
    const CameraDescription longRange = readDescription(folder + "/ptz-long-range.json");
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

TEST(CameraDescription, keepsTheCharactersOfItsName)
{
    EXPECT_EQ(parseDescription(json("{'model':'Türme \xE2\x82\xAC \xF0\x9F\x8E\xA5'}"), "x.json").model,
              "Türme \xE2\x82\xAC \xF0\x9F\x8E\xA5");
}

TEST(CameraDescription, isFoundByNameNextToTheProgramOrByPath)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "bin/cameras");
    std::filesystem::create_directories(folder / "share/detection/cameras");
    std::ofstream(folder / "bin/cameras/here.json") << json("{'model':'here'}");
    std::ofstream(folder / "share/detection/cameras/there.json") << json("{'model':'there'}");
    EXPECT_EQ(findDescription("here", folder / "bin").model, "here");
    EXPECT_EQ(findDescription("there", folder / "bin").model, "there");
    EXPECT_EQ(findDescription((folder / "bin/cameras/here.json").string(), "/").model, "here");
    const auto notFound = [&](const std::string& name) {
        return kit::refusalOf<std::invalid_argument>([&] { findDescription(name, folder / "bin"); });
    };
    EXPECT_THAT(notFound("nowhere"), StartsWith("there is no camera description 'nowhere' in '"));
    EXPECT_THAT(notFound("nowhere.json"), HasSubstr("is no file that can be read"));
    EXPECT_THAT(notFound("bin/cameras"), HasSubstr("is no file that can be read"));
    EXPECT_THAT(notFound(""), HasSubstr("is no file that can be read"));
    EXPECT_EQ(notFound("my/mast.toml"), "the model 'my/mast.toml' is a TOML file; models are JSON files now: write "
                                        "the same keys to 'my/mast.json'");
    std::ofstream(folder / "large.json") << std::string(70000, '\n');
    EXPECT_THAT(notFound((folder / "large.json").string()), HasSubstr("larger than 65536 bytes"));
}

} // namespace
