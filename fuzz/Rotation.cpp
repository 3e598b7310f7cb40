// Frames of any geometry through the rotations, which the virtual camera brings. The input is a line of numbers:
// width, height, stride, angle, and 1 for blocks that begin at a guard page instead of ending at one.

#include "plugin/analytics/frame_utils.h"
#include "support/Check.h"
#include "support/GuardedMemory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <vector>

namespace {

using analytics_lib::YuvFrame;
using fuzz::GuardedHeap;
using fuzz::GuardedMemory;
using Rotation = void (*)(const YuvFrame&, YuvFrame&);

// Larger pictures take longer and find nothing else.
constexpr std::uint64_t kLargestPicture = 1U << 18U;

struct Geometry {
    int width = 0;
    int height = 0;
    unsigned int stride = 0;
    unsigned int angle = 0;
    int fromBegin = 0;
};

bool read(const std::string& line, Geometry& geometry)
{
    return std::sscanf(line.c_str(), "%d %d %u %u %d", &geometry.width, &geometry.height, &geometry.stride,
                       &geometry.angle, &geometry.fromBegin) == 5;
}

/// 90, 180 and 270 as 0, 1 and 2; any other number as one of them.
unsigned int turnsOf(unsigned int angle)
{
    return (angle / 90 + 2) % 3;
}

Rotation rotationOf(unsigned int angle)
{
    namespace frame_utils = analytics_lib::frame_utils;
    const Rotation rotations[] = {frame_utils::YUV420SemiPlanar_Rotate90, frame_utils::YUV420SemiPlanar_Rotate180,
                                  frame_utils::YUV420SemiPlanar_Rotate270};
    return rotations[turnsOf(angle)];
}

/// Where a pixel of the turned picture comes from.
struct Place {
    std::uint64_t column;
    std::uint64_t row;
};

Place sourceOf(unsigned int angle, Place turned, std::uint64_t width, std::uint64_t height)
{
    switch (turnsOf(angle)) {
    case 0:
        return {turned.row, height - 1 - turned.column};
    case 1:
        return {width - 1 - turned.column, height - 1 - turned.row};
    default:
        return {width - 1 - turned.row, turned.column};
    }
}

/// Compares one plane, whose pixels stand for divisor columns and rows and take as many bytes.
void checkPlane(const std::uint8_t* source, std::uint64_t stride, const std::uint8_t* turned,
                const YuvFrame& destination, unsigned int angle, std::uint64_t divisor)
{
    const std::uint64_t columns = destination.width / divisor;
    const std::uint64_t rows = destination.height / divisor;
    const bool quarter = turnsOf(angle) != 1;
    const std::uint64_t width = quarter ? rows : columns;
    const std::uint64_t height = quarter ? columns : rows;
    for (std::uint64_t row = 0; columns != 0 && row < rows; ++row) {
        for (std::uint64_t column = 0; column < columns; ++column) {
            const Place from = sourceOf(angle, {column, row}, width, height);
            for (std::uint64_t byte = 0; byte < divisor; ++byte) {
                fuzz::check(turned[row * destination.bytesPerRow + column * divisor + byte] ==
                                source[from.row * stride + from.column * divisor + byte],
                            "every pixel is where the angle puts it");
            }
        }
    }
}

void checkTurned(const YuvFrame& source, const YuvFrame& destination, unsigned int angle)
{
    const std::uint64_t even = ~std::uint64_t{1};
    const std::uint64_t width = std::min(source.width, std::uint64_t{source.bytesPerRow}) & even;
    const std::uint64_t height = source.height & even;
    const bool quarter = turnsOf(angle) != 1;
    fuzz::check(destination.width == (quarter ? height : width), "the turned width");
    fuzz::check(destination.height == (quarter ? width : height), "the turned height");
    fuzz::check(destination.bytesPerRow == destination.width, "the turned picture is packed");
    checkPlane(source.data, source.bytesPerRow, destination.data, destination, angle, 1);
    checkPlane(source.data + source.bytesPerRow * source.height, source.bytesPerRow,
               destination.data + destination.width * destination.height, destination, angle, 2);
}

void turn(const YuvFrame& source, const Geometry& geometry)
{
    const GuardedHeap heap(geometry.fromBegin == 1 ? GuardedMemory::Edge::kBegin : GuardedMemory::Edge::kEnd);
    YuvFrame destination = source;
    rotationOf(geometry.angle)(source, destination);
    checkTurned(source, destination, geometry.angle);
    std::free(destination.data);
}

/// A picture that no buffer of this process could hold is refused before its first byte is looked at.
void expectRefusal(const YuvFrame& source, unsigned int angle)
{
    YuvFrame destination = source;
    bool refused = false;
    try {
        rotationOf(angle)(source, destination);
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    fuzz::check(refused && destination.data == source.data, "a picture beyond all bounds is refused");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Geometry geometry;
    if (!read(std::string(reinterpret_cast<const char*>(data), size), geometry)) {
        return 0;
    }
    YuvFrame source;
    source.width = static_cast<std::uint64_t>(std::int64_t{geometry.width});
    source.height = static_cast<std::uint64_t>(std::int64_t{geometry.height});
    source.bytesPerRow = geometry.stride;

    constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
    const std::uint64_t rowBytes = std::max({source.width, std::uint64_t{source.bytesPerRow}, std::uint64_t{1}});
    if (rowBytes > kMost || source.height > kMost / rowBytes) {
        expectRefusal(source, geometry.angle);
        return 0;
    }
    if (rowBytes * source.height * 3 / 2 > kLargestPicture) {
        return 0;
    }
    const std::uint64_t bytes = source.bytesPerRow * (source.height + source.height / 2);
    const GuardedMemory picture(bytes,
                                geometry.fromBegin == 1 ? GuardedMemory::Edge::kBegin : GuardedMemory::Edge::kEnd);
    for (std::uint64_t i = 0; i < bytes; ++i) {
        picture.data()[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
    source.data = picture.data();
    turn(source, geometry);
    return 0;
}
