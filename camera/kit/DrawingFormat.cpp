#include "camera/kit/DrawingFormat.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace camera::kit {

namespace {

constexpr std::uint8_t kMark = 'D';
constexpr std::uint8_t kDrawingVersion = 1;
constexpr std::size_t kHeaderBytes = 8;
constexpr double kFullScale = 65535.0;

enum RecordType : std::uint8_t { kFrameType = 1, kBoxType = 2, kRuleType = 3, kCellsType = 4 };

/// Reads numbers from a payload. After its end every number is zero and ok is false.
class Payload {
public:
    explicit Payload(std::string_view bytes) : _rest(bytes) {}

    std::uint32_t number(std::size_t bytes)
    {
        std::uint32_t value = 0;
        const std::string_view taken = text(bytes);
        for (std::size_t i = 0; i < taken.size(); ++i) {
            value |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(taken[i])) << (8 * i);
        }
        return value;
    }
    double fraction() { return number(2) / kFullScale; }
    std::string_view text(std::size_t bytes)
    {
        if (bytes > _rest.size()) {
            ok = false;
            return {};
        }
        const std::string_view taken = _rest.substr(0, bytes);
        _rest.remove_prefix(bytes);
        return taken;
    }
    std::string_view all() { return text(_rest.size()); }
    std::size_t left() const { return _rest.size(); }

    bool ok = true;

private:
    std::string_view _rest;
};

PicturePoint readPoint(Payload& payload)
{
    PicturePoint point;
    point.x = payload.fraction();
    point.y = payload.fraction();
    return point;
}

FrameRecord readFrame(Payload& payload)
{
    FrameRecord record;
    record.seconds = payload.number(4);
    record.nanoseconds = payload.number(4);
    record.source = payload.all();
    return record;
}

BoxRecord readBox(Payload& payload)
{
    BoxRecord record;
    record.id = payload.number(4);
    record.kind = static_cast<BoxKind>(payload.number(1));
    payload.number(1);
    record.upperLeft = readPoint(payload);
    record.lowerRight = readPoint(payload);
    payload.ok = payload.ok && (record.kind == BoxKind::kMoving || record.kind == BoxKind::kResting);
    return record;
}

RuleRecord readRule(Payload& payload)
{
    RuleRecord record;
    record.state = static_cast<RuleState>(payload.number(1));
    record.name = payload.text(payload.number(1));
    const std::size_t count = payload.number(2);
    // The count may be damaged: it is used only when the payload has the bytes for it.
    payload.ok = payload.ok && payload.left() == count * 4 && record.state >= RuleState::kQuiet &&
                 record.state <= RuleState::kDisarmed;
    for (std::size_t i = 0; payload.ok && i < count; ++i) {
        record.points.push_back(readPoint(payload));
    }
    return record;
}

CellsRecord readCells(Payload& payload)
{
    CellsRecord record;
    record.kind = static_cast<CellsKind>(payload.number(1));
    payload.number(1);
    record.columns = static_cast<std::uint16_t>(payload.number(2));
    record.rows = static_cast<std::uint16_t>(payload.number(2));
    const std::size_t cells = std::size_t{record.columns} * record.rows;
    payload.ok = payload.ok && payload.left() == (cells + 7) / 8 &&
                 (record.kind == CellsKind::kMoving || record.kind == CellsKind::kWatched);
    const std::string_view bits = payload.all();
    if (payload.ok) {
        record.bits.assign(bits.begin(), bits.end());
    }
    return record;
}

} // namespace

bool CellsRecord::at(unsigned column, unsigned row) const
{
    const std::size_t cell = std::size_t{row} * columns + column;
    return column < columns && cell / 8 < bits.size() && (bits[cell / 8] >> (7 - cell % 8) & 1) != 0;
}

void CellsRecord::set(unsigned column, unsigned row)
{
    bits.resize((std::size_t{columns} * rows + 7) / 8);
    const std::size_t cell = std::size_t{row} * columns + column;
    if (column < columns && cell / 8 < bits.size()) {
        bits[cell / 8] = static_cast<std::uint8_t>(bits[cell / 8] | (0x80U >> (cell % 8)));
    }
}

DrawingWriter::DrawingWriter(std::uint8_t* buffer, std::size_t sizeBytes)
    : _buffer(buffer), _size(buffer == nullptr ? 0 : sizeBytes)
{
}

bool DrawingWriter::add(const FrameRecord& record)
{
    if (!begin(kFrameType, 8 + record.source.size())) {
        return false;
    }
    putWord(record.seconds);
    putWord(record.nanoseconds);
    putBytes(record.source.data(), record.source.size());
    return true;
}

bool DrawingWriter::add(const BoxRecord& record)
{
    if (!begin(kBoxType, 14)) {
        return false;
    }
    putWord(record.id);
    putByte(static_cast<std::size_t>(record.kind));
    putByte(0);
    for (const PicturePoint& point : {record.upperLeft, record.lowerRight}) {
        putFraction(point.x);
        putFraction(point.y);
    }
    return true;
}

bool DrawingWriter::add(const RuleRecord& record)
{
    const std::size_t nameBytes = std::min<std::size_t>(record.name.size(), 255);
    const std::size_t points = std::min<std::size_t>(record.points.size(), 0xffff);
    if (!begin(kRuleType, 4 + nameBytes + 4 * points)) {
        return false;
    }
    putByte(static_cast<std::size_t>(record.state));
    putByte(nameBytes);
    putBytes(record.name.data(), nameBytes);
    putShort(points);
    for (std::size_t i = 0; i < points; ++i) {
        putFraction(record.points[i].x);
        putFraction(record.points[i].y);
    }
    return true;
}

bool DrawingWriter::add(const CellsRecord& record)
{
    const std::size_t bytes = (std::size_t{record.columns} * record.rows + 7) / 8;
    if (record.bits.size() != bytes || !begin(kCellsType, 6 + bytes)) {
        return false;
    }
    putByte(static_cast<std::size_t>(record.kind));
    putByte(0);
    putShort(record.columns);
    putShort(record.rows);
    putBytes(record.bits.data(), bytes);
    return true;
}

bool DrawingWriter::begin(std::uint8_t type, std::size_t payloadBytes)
{
    if (_size - _used < kHeaderBytes || _size - _used - kHeaderBytes < payloadBytes || payloadBytes > 0xffffffffU) {
        return false;
    }
    putByte(kMark);
    putByte(kDrawingVersion);
    putByte(type);
    putByte(0);
    putWord(static_cast<std::uint32_t>(payloadBytes));
    return true;
}

void DrawingWriter::putByte(std::size_t value)
{
    _buffer[_used++] = static_cast<std::uint8_t>(value);
}

void DrawingWriter::putShort(std::size_t value)
{
    putByte(value & 0xff);
    putByte(value >> 8 & 0xff);
}

void DrawingWriter::putWord(std::uint32_t value)
{
    putShort(value & 0xffff);
    putShort(value >> 16);
}

void DrawingWriter::putFraction(double value)
{
    putShort(static_cast<std::size_t>(std::lround(std::clamp(value, 0.0, 1.0) * kFullScale)));
}

void DrawingWriter::putBytes(const void* bytes, std::size_t count)
{
    if (count > 0) {
        std::memcpy(_buffer + _used, bytes, count);
        _used += count;
    }
}

DrawingReader::DrawingReader(const std::uint8_t* data, std::size_t sizeBytes)
    : _rest(reinterpret_cast<const char*>(data), data == nullptr ? 0 : sizeBytes)
{
}

std::optional<DrawingRecord> DrawingReader::next()
{
    while (!_rest.empty()) {
        Payload header(_rest);
        const bool known = header.number(1) == kMark && header.number(1) == kDrawingVersion;
        const std::uint32_t type = header.number(1);
        header.number(1);
        const std::uint32_t bytes = header.number(4);
        Payload payload(header.text(bytes));
        if (!known || !header.ok) {
            break;
        }
        std::optional<DrawingRecord> record;
        switch (type) {
        case kFrameType:
            record = readFrame(payload);
            break;
        case kBoxType:
            record = readBox(payload);
            break;
        case kRuleType:
            record = readRule(payload);
            break;
        case kCellsType:
            record = readCells(payload);
            break;
        default: // written by a newer engine
            break;
        }
        if (!payload.ok) {
            break;
        }
        _rest.remove_prefix(kHeaderBytes + bytes);
        if (record) {
            return record;
        }
    }
    _damaged = !_rest.empty();
    _rest = {};
    return std::nullopt;
}

} // namespace camera::kit
