#include "camera/kit/DrawingFormat.h"

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
    ASSERT_TRUE(writer.add(RuleRecord{RuleState::kDisarmed, "ab", {{0.5, 0}}}));
    CellsRecord cells = someCells();
    cells.columns = 258;
    cells.rows = 1;
    cells.bits.assign(33, 0x5a);
    ASSERT_TRUE(writer.add(FrameRecord{0x01020304, 0x05060708, "x"}));
    bytes.resize(writer.usedBytes());
    EXPECT_THAT(bytes, ElementsAre('D', 1, 2, 0, 14, 0, 0, 0, 4, 3, 2, 1, 1, 0, 0, 0, 0xff, 0xff, 0, 0, 0xff, 0xff, //
                                   'D', 1, 3, 0, 10, 0, 0, 0, 3, 2, 'a', 'b', 1, 0, 0, 0x80, 0, 0,                  //
                                   'D', 1, 1, 0, 9, 0, 0, 0, 4, 3, 2, 1, 8, 7, 6, 5, 'x'));
    std::vector<std::uint8_t> wide(47);
    DrawingWriter exact(wide.data(), wide.size());
    ASSERT_TRUE(exact.add(cells));
    EXPECT_EQ(exact.usedBytes(), 47U);
    wide.resize(15);
    EXPECT_THAT(wide, ElementsAre('D', 1, 4, 0, 39, 0, 0, 0, 2, 0, 2, 1, 1, 0, 0x5a));
}

TEST(DrawingFormatTest, takesManyPointsAndLongNames)
{
    std::vector<std::uint8_t> bytes(1000000);
    DrawingWriter writer(bytes.data(), bytes.size());
    ASSERT_TRUE(writer.add(
        RuleRecord{RuleState::kQuiet, std::string(256, 'n'), std::vector<PicturePoint>(0x10000, PicturePoint{1, 1})}));
    ASSERT_TRUE(writer.add(FrameRecord{1, 2, std::string(70000, 's')}));
    EXPECT_EQ(writer.usedBytes(), 8 + 4 + 255 + 4 * 0xffff + 8 + 8 + 70000U);
    bool damaged = true;
    const auto records = readAll(bytes, writer.usedBytes(), damaged);
    EXPECT_FALSE(damaged);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(std::get<RuleRecord>(records[0]).name, std::string(255, 'n'));
    ASSERT_EQ(std::get<RuleRecord>(records[0]).points.size(), 0xffffU);
    EXPECT_EQ(std::get<RuleRecord>(records[0]).points.back().y, 1);
    EXPECT_EQ(std::get<FrameRecord>(records[1]).source.size(), 70000U);
}

TEST(DrawingFormatTest, refusesCellsThatDoNotFitTheirGrid)
{
    std::vector<std::uint8_t> bytes(100);
    DrawingWriter writer(bytes.data(), bytes.size());
    CellsRecord cells = someCells();
    cells.bits.push_back(0);
    EXPECT_FALSE(writer.add(cells));
    EXPECT_EQ(writer.usedBytes(), 0U);
    for (unsigned cell = 0; cell < 15; ++cell) {
        CellsRecord one;
        one.columns = 5;
        one.rows = 3;
        one.set(cell % 5, cell / 5);
        one.set(5, 0);
        one.set(0, 4);
        for (unsigned other = 0; other < 15; ++other) {
            EXPECT_EQ(one.at(other % 5, other / 5), other == cell);
        }
        EXPECT_FALSE(one.at(0, 4)) << "outside";
    }
}

// A record of which one byte says what no writer writes.
TEST(DrawingFormatTest, takesAnUnknownKindForDamage)
{
    const auto damagedBy = [](const auto& record, std::size_t at, unsigned value) {
        std::vector<std::uint8_t> bytes(100);
        DrawingWriter writer(bytes.data(), bytes.size());
        EXPECT_TRUE(writer.add(record));
        bytes[at] = static_cast<std::uint8_t>(value);
        bool damaged = false;
        const std::size_t records = readAll(bytes, writer.usedBytes(), damaged).size();
        EXPECT_EQ(records, damaged ? 0U : 1U);
        return damaged;
    };
    for (const unsigned kind : {1U, 2U}) {
        EXPECT_FALSE(damagedBy(BoxRecord{1}, 12, kind));
        EXPECT_FALSE(damagedBy(someCells(), 8, kind));
    }
    for (const unsigned state : {1U, 2U, 3U}) {
        EXPECT_FALSE(damagedBy(RuleRecord{}, 8, state));
    }
    for (const unsigned wrong : {0U, 4U}) {
        EXPECT_TRUE(damagedBy(BoxRecord{1}, 12, wrong));
        EXPECT_TRUE(damagedBy(someCells(), 8, wrong));
        EXPECT_TRUE(damagedBy(RuleRecord{}, 8, wrong));
    }
    EXPECT_TRUE(damagedBy(BoxRecord{1}, 0, 'E'));
    EXPECT_TRUE(damagedBy(BoxRecord{1}, 1, 2)) << "another version";
    EXPECT_TRUE(damagedBy(BoxRecord{1}, 4, 13)) << "a byte is missing";
    DrawingReader nothing(nullptr, 100);
    EXPECT_FALSE(nothing.next());
    EXPECT_FALSE(nothing.damaged());
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
    DrawingWriter narrow(bytes.data(), 21);
    EXPECT_FALSE(narrow.add(BoxRecord{1}));
    DrawingWriter exact(bytes.data(), 22);
    EXPECT_TRUE(exact.add(BoxRecord{1}));
    EXPECT_FALSE(exact.add(BoxRecord{1}));
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

} // namespace
