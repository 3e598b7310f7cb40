#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace camera::framework {

/**
 * Mirrors a plane at its diagonal: destination row x, column y becomes source row y, column x.
 *
 * @tparam Element      std::uint8_t for one byte a pixel, std::uint16_t for a pair of bytes that stays together.
 * @param source        First row of the source; strides are in bytes and may be negative.
 * @param columns, rows Of the source, in elements.
 *
 * Whole tiles are turned in vector registers, 16 bytes by as many rows; the rest element by element.
 * Reads and writes exactly the elements of both planes. Reentrant.
 */
template <typename Element>
class Transpose {
public:
    struct Plane {
        const std::uint8_t* source;
        std::ptrdiff_t sourceStride;
        std::uint8_t* destination;
        std::ptrdiff_t destinationStride;
        int columns;
        int rows;
    };

    static void run(const Plane& plane)
    {
        const int tiledColumns = plane.columns / kTile * kTile;
        const int tiledRows = plane.rows / kTile * kTile;
        const int stripe = stripeOf(plane);
        for (int first = 0; first < tiledColumns; first += stripe) {
            const int end = std::min(first + stripe, tiledColumns);
            for (int row = 0; row < tiledRows; row += kTile) {
                for (int column = first; column < end; column += kTile) {
                    turnTile(plane, column, row);
                }
            }
        }
        turnElements(plane, tiledColumns, plane.columns, 0, plane.rows);
        turnElements(plane, 0, tiledColumns, tiledRows, plane.rows);
    }

private:
    static constexpr std::size_t kVectorBytes = 16;
    static constexpr int kTile = kVectorBytes / sizeof(Element);

    typedef Element Vector __attribute__((vector_size(kVectorBytes)));
    using Tile = Vector[kTile];

    /// Columns turned before the next row of tiles. Narrow stripes let a processor's prefetcher follow the rows
    /// down, which it does for strides below 2 KiB; beyond, a whole cache line of each row is used at once.
    static int stripeOf(const Plane& plane)
    {
        constexpr std::ptrdiff_t kFollowedStride = 2048;
        const std::ptrdiff_t stride = plane.sourceStride < 0 ? -plane.sourceStride : plane.sourceStride;
        return stride < kFollowedStride ? kTile : 4 * kTile;
    }

    template <int half, std::size_t... Lane>
    static Vector zip(Vector a, Vector b, std::index_sequence<Lane...> /*lanes*/)
    {
        // Lanes of a and b in turn, from the lower or the upper half of each.
        return __builtin_shufflevector(
            a, b, (half * (kTile / 2) + static_cast<int>(Lane) / 2 + (Lane % 2 == 0 ? 0 : kTile))...);
    }

    // One perfect shuffle of the tile's elements; as many as the tile has address bits transpose it.
    template <std::size_t... Row>
    static void shuffle(const Tile& from, Tile& to, std::index_sequence<Row...> /*rows*/)
    {
        constexpr auto lanes = std::make_index_sequence<kTile>();
        ((to[2 * Row] = zip<0>(from[Row], from[Row + kTile / 2], lanes),
          to[2 * Row + 1] = zip<1>(from[Row], from[Row + kTile / 2], lanes)),
         ...);
    }

    template <std::size_t... Row>
    static void load(const std::uint8_t* from, std::ptrdiff_t stride, Tile& tile, std::index_sequence<Row...> /*rows*/)
    {
        (std::memcpy(&tile[Row], from + static_cast<std::ptrdiff_t>(Row) * stride, kVectorBytes), ...);
    }

    template <std::size_t... Row>
    static void store(std::uint8_t* to, std::ptrdiff_t stride, const Tile& tile, std::index_sequence<Row...> /*rows*/)
    {
        (std::memcpy(to + static_cast<std::ptrdiff_t>(Row) * stride, &tile[Row], kVectorBytes), ...);
    }

    static void turnTile(const Plane& plane, int column, int row)
    {
        constexpr auto rows = std::make_index_sequence<kTile>();
        constexpr auto halves = std::make_index_sequence<kTile / 2>();
        Tile a;
        Tile b;
        load(sourceAt(plane, column, row), plane.sourceStride, a, rows);
        shuffle(a, b, halves);
        shuffle(b, a, halves);
        shuffle(a, b, halves);
        if constexpr (kTile == 16) {
            shuffle(b, a, halves);
            store(destinationAt(plane, column, row), plane.destinationStride, a, rows);
        } else {
            store(destinationAt(plane, column, row), plane.destinationStride, b, rows);
        }
    }

    static void turnElements(const Plane& plane, int firstColumn, int endColumn, int firstRow, int endRow)
    {
        for (int column = firstColumn; column < endColumn; ++column) {
            for (int row = firstRow; row < endRow; ++row) {
                std::memcpy(destinationAt(plane, column, row), sourceAt(plane, column, row), sizeof(Element));
            }
        }
    }

    static const std::uint8_t* sourceAt(const Plane& plane, int column, int row)
    {
        return plane.source + row * plane.sourceStride + column * static_cast<std::ptrdiff_t>(sizeof(Element));
    }

    static std::uint8_t* destinationAt(const Plane& plane, int column, int row)
    {
        return plane.destination + column * plane.destinationStride +
               row * static_cast<std::ptrdiff_t>(sizeof(Element));
    }
};

} // namespace camera::framework
