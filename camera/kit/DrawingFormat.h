#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace camera::kit {

/**
 * What the engines write into the drawing buffer and the motion buffer.
 *
 * Both hold records one after another, each self-delimiting, all numbers little endian:
 *
 *     0  u8   'D'
 *     1  u8   version, 1
 *     2  u8   record type
 *     3  u8   0
 *     4  u32  payload bytes that follow
 *
 *     type 1, frame:  u32 seconds, u32 nanoseconds, then the source name in UTF-8 to the end
 *     type 2, box:    u32 id, u8 kind, u8 0, u16 left, u16 top, u16 right, u16 bottom
 *     type 3, rule:   u8 state, u8 name bytes, the name, u16 points, per point u16 x, u16 y
 *     type 4, cells:  u8 kind, u8 0, u16 columns, u16 rows, then one bit per cell, row by row,
 *                     the first cell in the highest bit, padded to a whole byte at the end
 *
 * Positions are fractions of the upright picture: 0 is its left or upper edge, 65535 its right or
 * lower edge. The records of one engine follow those of the engine before, and each engine begins with a
 * frame record. A reader skips the types that it does not know.
 */
struct PicturePoint {
    double x = 0; ///< 0 left edge, 1 right edge
    double y = 0; ///< 0 upper edge, 1 lower edge
};

enum class BoxKind : std::uint8_t { kMoving = 1, kResting = 2 };
enum class RuleState : std::uint8_t { kQuiet = 1, kAlarm = 2, kDisarmed = 3 };
enum class CellsKind : std::uint8_t { kMoving = 1, kWatched = 2 };

/// Begins the records of one engine for one frame.
struct FrameRecord {
    std::uint32_t seconds = 0;
    std::uint32_t nanoseconds = 0;
    std::string source; ///< the engine's name
};

/// One object, with the id under which metadata and events name it.
struct BoxRecord {
    std::uint32_t id = 0;
    BoxKind kind = BoxKind::kMoving;
    PicturePoint upperLeft{};
    PicturePoint lowerRight{};
};

/// The region of one rule and what the rule says at the moment. A region that is no polygon is one point: there the
/// name stands.
struct RuleRecord {
    RuleState state = RuleState::kQuiet;
    std::string name{}; ///< at most 255 bytes are kept
    std::vector<PicturePoint> points{};
};

/// A grid over the whole picture.
struct CellsRecord {
    CellsKind kind = CellsKind::kMoving;
    std::uint16_t columns = 0;
    std::uint16_t rows = 0;
    std::vector<std::uint8_t> bits; ///< (columns * rows + 7) / 8 bytes

    bool at(unsigned column, unsigned row) const;
    void set(unsigned column, unsigned row);
};

using DrawingRecord = std::variant<FrameRecord, BoxRecord, RuleRecord, CellsRecord>;

/// Writes whole records into borrowed memory; a record that does not fit is left out.
/// A null buffer takes nothing. Thread: reentrant.
class DrawingWriter {
public:
    DrawingWriter(std::uint8_t* buffer, std::size_t sizeBytes);

    bool add(const FrameRecord& record);
    bool add(const BoxRecord& record);
    bool add(const RuleRecord& record);
    bool add(const CellsRecord& record);

    std::size_t usedBytes() const { return _used; }

private:
    bool begin(std::uint8_t type, std::size_t payloadBytes);
    void putByte(std::size_t value);
    void putShort(std::size_t value);
    void putWord(std::uint32_t value);
    void putFraction(double value);
    void putBytes(const void* bytes, std::size_t count);

    std::uint8_t* _buffer;
    std::size_t _size;
    std::size_t _used = 0;
};

/// Reads records from any bytes. A damaged record ends the reading; nothing outside is read.
/// Thread: reentrant.
class DrawingReader {
public:
    DrawingReader(const std::uint8_t* data, std::size_t sizeBytes);

    /// The next record of a known type, or nothing at the end or where the bytes are damaged.
    std::optional<DrawingRecord> next();

    /// Whether the reading ended before the end of the bytes.
    bool damaged() const { return _damaged; }

private:
    std::string_view _rest;
    bool _damaged = false;
};

} // namespace camera::kit
