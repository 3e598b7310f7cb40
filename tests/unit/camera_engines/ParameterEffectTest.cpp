// Every parameter has a scene in which it alone makes the difference.
#include "Stage.h"

#include "camera/engines/CellMask.h"

#include <gmock/gmock.h>

namespace {

using namespace engine_test;
using camera::engines::encodeCells;
using testing::ElementsAre;
using testing::IsEmpty;

/// Learns, shows a resting box, then an empty picture for two seconds; the states of the events.
struct Scene {
    int left = 100;
    int top = 60;
    int width = 40;
    int height = 60;
    int luma = 230;
    int pictures = 10;
};

std::vector<bool> statesFor(const std::string& engine, const std::string& config, const Scene& scene)
{
    EngineBench bench(engine);
    Stage stage;
    bench.activate(config);
    stage.learn(bench);
    stage.show(bench, scene.pictures, scene.left, scene.top, scene.width, scene.height, scene.luma);
    stage.show(bench, 50, 0, 0, 0, 0);
    return bench.states();
}

std::vector<bool> simpleStates(const std::string& moduleItems, const std::string& ruleItems, const Scene& scene = {})
{
    return statesFor("Simple", simpleConfig(moduleItems, ruleItems), scene);
}

std::vector<bool> motionStates(const std::string& moduleItems, const std::string& ruleItems, const Scene& scene = {})
{
    return statesFor("Motion", motionConfig(moduleItems, ruleItems), scene);
}

/// ActiveCells of the default grid with these columns.
std::string columns(int first, int last)
{
    std::vector<std::uint8_t> bits(50);
    for (int row = 0; row < 18; ++row) {
        for (int column = first; column <= last; ++column) {
            const int cell = row * 22 + column;
            bits[static_cast<std::size_t>(cell / 8)] |= static_cast<std::uint8_t>(0x80 >> cell % 8);
        }
    }
    return simpleItem("ActiveCells", encodeCells(bits));
}

std::string layout(const std::string& grid, const std::string& translate, const std::string& scale)
{
    return "<tt:ElementItem Name=\"Layout\"><tt:CellLayout " + grid + "><tt:Transformation><tt:Translate " + translate +
           "/><tt:Scale " + scale + "/></tt:Transformation></tt:CellLayout></tt:ElementItem>";
}

std::string rectangle(const std::string& left, const std::string& top, const std::string& right,
                      const std::string& bottom)
{
    const auto point = [](const std::string& x, const std::string& y) {
        return "<tt:Point x=\"" + x + "\" y=\"" + y + "\"/>";
    };
    return point(left, top) + point(right, top) + point(right, bottom) + point(left, bottom);
}

const std::vector<bool> kOnOff{true, false};

TEST(CellMotionParameterTest, sensitivityDecidesHowSmallADifferenceCounts)
{
    Scene faint;
    faint.luma = 108; // up to 18 levels from the ground
    EXPECT_EQ(simpleStates(simpleItem("Sensitivity", "80"), "", faint), kOnOff);
    EXPECT_THAT(simpleStates(simpleItem("Sensitivity", "0"), "", faint), IsEmpty());
}

TEST(CellMotionParameterTest, layoutDecidesHowManyCellsAnObjectCovers)
{
    EXPECT_EQ(simpleStates("", simpleItem("MinCount", "12")), kOnOff);
    EXPECT_THAT(simpleStates(layout("Columns=\"4\" Rows=\"4\"", "x=\"-1\" y=\"1\"", "x=\"0.5\" y=\"-0.5\""),
                             simpleItem("MinCount", "12")),
                IsEmpty());
}

TEST(CellMotionParameterTest, layoutDecidesWhereTheCellsLie)
{
    const std::string leftHalf = layout("Columns=\"8\" Rows=\"8\"", "x=\"-1\" y=\"1\"", "x=\"0.125\" y=\"-0.25\"");
    const std::string rightHalf = layout("Columns=\"8\" Rows=\"8\"", "x=\"0\" y=\"1\"", "x=\"0.125\" y=\"-0.25\"");
    EXPECT_EQ(simpleStates(leftHalf, ""), kOnOff);
    EXPECT_THAT(simpleStates(rightHalf, ""), IsEmpty());
}

TEST(CellMotionParameterTest, cellsCountFromTheUpperLeftWhateverTheDirectionOfTheScale)
{
    const std::string upwards =
        layout("Columns=\"22\" Rows=\"18\"", "x=\"-1\" y=\"-1\"", "x=\"0.090909\" y=\"0.111111\"");
    std::vector<std::uint8_t> upperHalf(50);
    std::fill(upperHalf.begin(), upperHalf.begin() + 22, std::uint8_t{0xff}); // eight rows of 22 cells
    Scene above;
    above.top = 5;
    Scene below;
    below.top = 115;
    const std::string rule = simpleItem("ActiveCells", encodeCells(upperHalf));
    EXPECT_EQ(simpleStates(upwards, rule, above), kOnOff);
    EXPECT_THAT(simpleStates(upwards, rule, below), IsEmpty());
}

TEST(CellMotionParameterTest, minCountDecidesHowManyCellsMustMove)
{
    EXPECT_EQ(simpleStates("", simpleItem("MinCount", "10")), kOnOff);
    EXPECT_THAT(simpleStates("", simpleItem("MinCount", "60")), IsEmpty());
}

TEST(CellMotionParameterTest, alarmOnDelayDecidesHowLongMotionMustLast)
{
    Scene brief;
    brief.pictures = 8; // 280 ms from the first to the last
    EXPECT_EQ(simpleStates("", simpleItem("AlarmOnDelay", "280"), brief), kOnOff);
    EXPECT_THAT(simpleStates("", simpleItem("AlarmOnDelay", "281"), brief), IsEmpty());
}

TEST(CellMotionParameterTest, alarmOffDelayDecidesWhichPausesAreBridged)
{
    for (const auto& [delay, expected] :
         {std::pair<const char*, std::vector<bool>>{"200", {true, false, true, false}}, {"700", {true, false}}}) {
        EngineBench bench("Simple");
        Stage stage;
        bench.activate(simpleConfig("", simpleItem("AlarmOffDelay", delay)));
        stage.learn(bench);
        for (int i = 0; i < 2; ++i) {
            stage.show(bench, 8, 100, 60, 40, 60);
            stage.show(bench, i == 0 ? 10 : 40, 0, 0, 0, 0); // a pause of 400 ms, then the end
        }
        EXPECT_EQ(bench.states(), expected) << delay;
    }
}

TEST(CellMotionParameterTest, activeCellsDecideWhereMotionCounts)
{
    EXPECT_EQ(simpleStates("", columns(5, 11)), kOnOff); // the box lies in columns 6 to 9
    EXPECT_THAT(simpleStates("", columns(12, 21)), IsEmpty());
}

TEST(CellMotionParameterTest, activeDecidesWhetherARuleAndAModuleWork)
{
    EXPECT_EQ(simpleStates("", simpleItem("Active", "true")), kOnOff);
    EXPECT_THAT(simpleStates("", simpleItem("Active", "false")), IsEmpty());
    EXPECT_THAT(simpleStates(simpleItem("Active", "false"), ""), IsEmpty());
}

TEST(CellMotionParameterTest, aRuleWithoutAModuleGoesByTheModulesDefaults)
{
    EXPECT_EQ(statesFor("Simple", document("", rule("R", "tt:CellMotionDetector")), {}), kOnOff);
}

TEST(MotionRegionParameterTest, moduleSensitivityDecidesHowSmallADifferenceCounts)
{
    Scene faint;
    faint.luma = 108;
    EXPECT_EQ(motionStates(simpleItem("Sensitivity", "80"), "", faint), kOnOff);
    EXPECT_THAT(motionStates(simpleItem("Sensitivity", "0"), "", faint), IsEmpty());
}

TEST(MotionRegionParameterTest, minSizeDecidesWhichBoxesAreObjects)
{
    EXPECT_EQ(motionStates(simpleItem("MinSize", "4"), ""), kOnOff); // the box has 4.17 percent
    EXPECT_THAT(motionStates(simpleItem("MinSize", "5"), ""), IsEmpty());
}

TEST(MotionRegionParameterTest, polygonDecidesWhereMotionCounts)
{
    EXPECT_EQ(motionStates("", region("", rectangle("-1", "1", "0", "-1"))), kOnOff);
    EXPECT_THAT(motionStates("", region("", rectangle("0", "1", "1", "-1"))), IsEmpty());
    EXPECT_THAT(motionStates("", region("", rectangle("-1", "1", "0", "0.4"))), IsEmpty()) << "y points up";
}

TEST(MotionRegionParameterTest, ruleSensitivityDecidesHowMuchOfTheRegionMustMove)
{
    Scene small;
    small.width = 15;
    small.height = 30; // 0.8 percent of the picture
    EXPECT_EQ(motionStates("", region("Sensitivity=\"0.5\"", ""), small), kOnOff);
    EXPECT_THAT(motionStates("", region("Sensitivity=\"0\"", ""), small), IsEmpty());
}

TEST(MotionRegionParameterTest, armedDecidesWhetherTheRegionCounts)
{
    EXPECT_EQ(motionStates("", region("Armed=\"true\"", "")), kOnOff);
    EXPECT_THAT(motionStates("", region("Armed=\"false\"", "")), IsEmpty());
}

TEST(MotionRegionParameterTest, activeDecidesWhetherARuleAndAModuleWork)
{
    EXPECT_EQ(motionStates("", simpleItem("Active", "1")), kOnOff);
    EXPECT_THAT(motionStates("", simpleItem("Active", "0")), IsEmpty());
    EXPECT_THAT(motionStates(simpleItem("Active", "0"), ""), IsEmpty());
}

TEST(MotionRegionParameterTest, presetNamesThePlaceOnlyAndChangesNothingInTheEngine)
{
    EXPECT_EQ(motionStates("", simpleItem("PtzPreset", "Door")), kOnOff);
    EXPECT_EQ(simpleStates("", simpleItem("PtzPreset", "Door")), kOnOff);
}

} // namespace
