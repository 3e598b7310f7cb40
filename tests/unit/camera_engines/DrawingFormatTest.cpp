#include "camera/kit/DrawingFormat.h"

#include "Stage.h"

#include "camera/engines/CellMask.h"

#include <gmock/gmock.h>

#include <random>

namespace {

using namespace camera::kit;
using testing::ElementsAre;

std::vector<DrawingRecord> readAll(const std::vector<std::uint8_t>& bytes, std::size_t size, bool& damaged)
{
    // A copy of exactly these bytes, so that a sanitizer sees every read beyond them.
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    DrawingReader reader(exact.data(), exact.size());
    std::vector<DrawingRecord> records;
    while (auto record = reader.next()) {
        records.push_back(*record);
    }
    damaged = reader.damaged();
    return records;
}

CellsRecord someCells()
{
    CellsRecord cells;
    cells.kind = CellsKind::kWatched;
    cells.columns = 5;
    cells.rows = 3;
    cells.set(4, 2);
    cells.set(0, 0);
    return cells;
}

std::vector<std::uint8_t> everyRecord()
{
    std::vector<std::uint8_t> bytes(1000);
    DrawingWriter writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.add(FrameRecord{17, 500, "Motion"}));
    EXPECT_TRUE(writer.add(BoxRecord{7, BoxKind::kResting, {0, 0.25}, {0.5, 1}}));
    EXPECT_TRUE(writer.add(RuleRecord{RuleState::kAlarm, "Gate", {{0, 0}, {1, 0}, {0.5, 1}}}));
    EXPECT_TRUE(writer.add(someCells()));
    bytes.resize(writer.usedBytes());
    return bytes;
}

TEST(DrawingFormatTest, readsBackWhatItWrote)
{
    const std::vector<std::uint8_t> bytes = everyRecord();
    bool damaged = true;
    const auto records = readAll(bytes, bytes.size(), damaged);
    EXPECT_FALSE(damaged);
    ASSERT_EQ(records.size(), 4U);
    const auto& frame = std::get<FrameRecord>(records[0]);
    EXPECT_EQ(frame.seconds, 17U);
    EXPECT_EQ(frame.nanoseconds, 500U);
    EXPECT_EQ(frame.source, "Motion");
    const auto& box = std::get<BoxRecord>(records[1]);
    EXPECT_EQ(box.id, 7U);
    EXPECT_EQ(box.kind, BoxKind::kResting);
    EXPECT_NEAR(box.upperLeft.y, 0.25, 1e-5);
    EXPECT_EQ(box.lowerRight.y, 1);
    const auto& rule = std::get<RuleRecord>(records[2]);
    EXPECT_EQ(rule.state, RuleState::kAlarm);
    EXPECT_EQ(rule.name, "Gate");
    ASSERT_EQ(rule.points.size(), 3U);
    EXPECT_NEAR(rule.points[2].x, 0.5, 1e-5);
    const auto& cells = std::get<CellsRecord>(records[3]);
    EXPECT_EQ(cells.kind, CellsKind::kWatched);
    EXPECT_TRUE(cells.at(4, 2));
    EXPECT_FALSE(cells.at(3, 2));
    EXPECT_FALSE(cells.at(5, 0)) << "not the first cell of the next row";
}

TEST(DrawingFormatTest, bytesAreFixed)
{
    std::vector<std::uint8_t> bytes(64);
    DrawingWriter writer(bytes.data(), bytes.size());
    ASSERT_TRUE(writer.add(BoxRecord{0x01020304, BoxKind::kMoving, {0, 1}, {-3, 7}}));
    bytes.resize(writer.usedBytes());
    EXPECT_THAT(bytes, ElementsAre('D', 1, 2, 0, 14, 0, 0, 0, 4, 3, 2, 1, 1, 0, 0, 0, 0xff, 0xff, 0, 0, 0xff, 0xff));
}

TEST(DrawingFormatTest, leavesOutARecordThatDoesNotFit)
{
    std::vector<std::uint8_t> bytes(50, 0xee);
    DrawingWriter writer(bytes.data(), 45);
    EXPECT_TRUE(writer.add(BoxRecord{1}));
    EXPECT_FALSE(writer.add(RuleRecord{RuleState::kQuiet, "a name that is too long for the rest", {}}));
    EXPECT_TRUE(writer.add(BoxRecord{2}));
    EXPECT_EQ(writer.usedBytes(), 44U);
    EXPECT_EQ(bytes[45], 0xee);
    DrawingWriter nowhere(nullptr, 1000);
    EXPECT_FALSE(nowhere.add(BoxRecord{1}));
    EXPECT_EQ(nowhere.usedBytes(), 0U);
}

TEST(DrawingFormatTest, skipsRecordsOfTypesThatItDoesNotKnow)
{
    std::vector<std::uint8_t> bytes = {'D', 1, 99, 0, 2, 0, 0, 0, 1, 2};
    const std::vector<std::uint8_t> rest = everyRecord();
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    bool damaged = true;
    EXPECT_EQ(readAll(bytes, bytes.size(), damaged).size(), 4U);
    EXPECT_FALSE(damaged);
}

TEST(DrawingFormatTest, staysInsideTheBytesWhereverTheyEnd)
{
    const std::vector<std::uint8_t> bytes = everyRecord();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        bool damaged = false;
        EXPECT_LT(readAll(bytes, size, damaged).size(), 4U);
    }
}

TEST(DrawingFormatTest, isSafeOnAnyBytes)
{
    std::mt19937 random(5);
    const std::vector<std::uint8_t> good = everyRecord();
    for (int round = 0; round < 20'000; ++round) {
        std::vector<std::uint8_t> bytes = good;
        for (int change = 0; change < 3; ++change) {
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        }
        bool damaged = false;
        EXPECT_LE(readAll(bytes, bytes.size(), damaged).size(), 4U);
    }
}

TEST(DrawingFormatTest, enginesDescribeWhatTheySee)
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
    bool damaged = true;
    const auto objects = readAll(motion.drawing, motion.drawing.size(), damaged);
    EXPECT_FALSE(damaged);
    ASSERT_EQ(objects.size(), 3U); // frame, rule, box
    EXPECT_EQ(std::get<FrameRecord>(objects[0]).source, "Motion");
    EXPECT_EQ(std::get<RuleRecord>(objects[1]).state, RuleState::kAlarm);
    EXPECT_NEAR(std::get<BoxRecord>(objects[2]).upperLeft.x, 100.0 / 320, 0.01);
    EXPECT_NEAR(std::get<BoxRecord>(objects[2]).lowerRight.y, 100.0 / 180, 0.02);
    EXPECT_EQ(readAll(motion.motion, motion.motion.size(), damaged).size(), 2U); // frame, box

    const auto cells = readAll(simple.drawing, simple.drawing.size(), damaged);
    ASSERT_EQ(cells.size(), 4U); // frame, watched cells, moving cells, rule
    EXPECT_TRUE(std::get<CellsRecord>(cells[1]).at(21, 17));
    EXPECT_TRUE(std::get<CellsRecord>(cells[2]).at(8, 7));
    EXPECT_FALSE(std::get<CellsRecord>(cells[2]).at(1, 1));
    EXPECT_EQ(std::get<RuleRecord>(cells[3]).points.size(), 1U);
    EXPECT_EQ(readAll(simple.motion, simple.motion.size(), damaged).size(), 2U);
}

TEST(DrawingFormatTest, theNameOfACellRuleStandsAtItsFirstCell)
{
    engine_test::EngineBench simple("Simple");
    engine_test::Stage stage;
    std::vector<std::uint8_t> cells(50);
    cells[(3 * 22 + 11) / 8] = 0x80U >> ((3 * 22 + 11) % 8); // row 3, column 11
    simple.activate(
        engine_test::simpleConfig("", engine_test::simpleItem("ActiveCells", camera::engines::encodeCells(cells))));
    stage.learn(simple);
    bool damaged = true;
    const auto records = readAll(simple.drawing, simple.drawing.size(), damaged);
    const auto& rule = std::get<RuleRecord>(records.back());
    ASSERT_EQ(rule.points.size(), 1U);
    EXPECT_NEAR(rule.points[0].x, 0.5, 1e-4);
    EXPECT_NEAR(rule.points[0].y, 3 / 18.0, 1e-4);
}

} // namespace
