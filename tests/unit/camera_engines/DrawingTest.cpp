// What the engines write for the overlay.
#include "camera/kit/DrawingFormat.h"

#include "Stage.h"

#include "camera/engines/CellMask.h"

#include <gtest/gtest.h>

namespace {

using namespace camera::kit;

std::vector<DrawingRecord> recordsOf(const std::vector<std::uint8_t>& bytes)
{
    DrawingReader reader(bytes.data(), bytes.size());
    std::vector<DrawingRecord> records;
    while (auto record = reader.next()) {
        records.push_back(*record);
    }
    EXPECT_FALSE(reader.damaged());
    return records;
}

TEST(DrawingTest, enginesDescribeWhatTheySee)
{
    engine_test::EngineBench motion("Motion");
    engine_test::EngineBench simple("Simple");
    engine_test::Stage stage;
    motion.activate(engine_test::motionConfig());
    simple.activate(engine_test::simpleConfig());
    stage.learn(motion);
    engine_test::Stage again;
    again.learn(simple);
    stage.show(motion, 5, 100, 40, 40, 60);
    again.show(simple, 5, 100, 40, 40, 60);
    const auto objects = recordsOf(motion.drawing);
    ASSERT_EQ(objects.size(), 3U); // frame, rule, box
    EXPECT_EQ(std::get<FrameRecord>(objects[0]).source, "Motion");
    EXPECT_EQ(std::get<RuleRecord>(objects[1]).state, RuleState::kAlarm);
    EXPECT_NEAR(std::get<BoxRecord>(objects[2]).upperLeft.x, 100.0 / 320, 0.01);
    EXPECT_NEAR(std::get<BoxRecord>(objects[2]).lowerRight.y, 100.0 / 180, 0.02);
    EXPECT_EQ(recordsOf(motion.motion).size(), 2U); // frame, box

    const auto cells = recordsOf(simple.drawing);
    ASSERT_EQ(cells.size(), 4U); // frame, watched cells, moving cells, rule
    EXPECT_TRUE(std::get<CellsRecord>(cells[1]).at(21, 17));
    EXPECT_TRUE(std::get<CellsRecord>(cells[2]).at(8, 7));
    EXPECT_FALSE(std::get<CellsRecord>(cells[2]).at(1, 1));
    EXPECT_EQ(std::get<RuleRecord>(cells[3]).points.size(), 1U);
    EXPECT_EQ(recordsOf(simple.motion).size(), 2U);
}

TEST(DrawingTest, theNameOfACellRuleStandsAtItsFirstCell)
{
    engine_test::EngineBench simple("Simple");
    engine_test::Stage stage;
    std::vector<std::uint8_t> cells(50);
    cells[(3 * 22 + 11) / 8] = 0x80U >> ((3 * 22 + 11) % 8); // row 3, column 11
    simple.activate(
        engine_test::simpleConfig("", engine_test::simpleItem("ActiveCells", camera::engines::encodeCells(cells))));
    stage.learn(simple);
    const auto records = recordsOf(simple.drawing);
    const auto& rule = std::get<RuleRecord>(records.back());
    ASSERT_EQ(rule.points.size(), 1U);
    EXPECT_NEAR(rule.points[0].x, 0.5, 1e-4);
    EXPECT_NEAR(rule.points[0].y, 3 / 18.0, 1e-4);
}

} // namespace
