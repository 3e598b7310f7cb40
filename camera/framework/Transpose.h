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
 * Whole tiles are turned in vector registers, 16 bytes by as many rows; the rest element by element. The order of the
 * tiles decides the speed, for every row of a picture lies in another page of memory: see run() and stripeOf().
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
        // A band's rows are still in the second cache when the next stripe takes their following columns, and each
        // row of the destination receives a run of bytes long enough for the processor to fetch ahead of it.
        for (int top = 0; top < tiledRows; top += kBand) {
            const int bottom = std::min(top + kBand, tiledRows);
            for (int left = 0; left < tiledColumns; left += stripe) {
                const int right = std::min(left + stripe, tiledColumns);
                for (int row = top; row < bottom; row += kTile) {
                    for (int column = left; column < right; column += kTile) {
                        turnTile(plane, column, row);
                    }
                }
            }
        }
        turnElements(plane, tiledColumns, plane.columns, 0, plane.rows);
        turnElements(plane, 0, tiledColumns, tiledRows, plane.rows);
    }

private:
    static constexpr std::size_t kVectorBytes = 16;
    static constexpr int kTile = kVectorBytes / sizeof(Element);

    static constexpr int kHalf = kTile / 2;
    static constexpr int kBand = 512 / sizeof(Element); // rows

    typedef Element Vector __attribute__((vector_size(kVectorBytes)));
    using HalfTile = Vector[kHalf];

    /// Columns turned before the next row of tiles. A narrow stripe writes few rows of the destination at a time. With
    /// a stride of whole pages all rows fall into one set of the first cache, which cannot hold them until the next
    /// stripe: a whole cache line of each row is then used at once.
    static int stripeOf(const Plane& plane)
    {
        constexpr std::ptrdiff_t kPage = 4096;
        return plane.sourceStride % kPage == 0 ? 4 * kTile : kTile;
    }

    template <int half, std::size_t... Lane>
    static Vector zip(Vector a, Vector b, std::index_sequence<Lane...> /*lanes*/)
    {
        // Lanes of a and b in turn, from the lower or the upper half of each.
        return __builtin_shufflevector(
            a, b, (half * (kTile / 2) + static_cast<int>(Lane) / 2 + (Lane % 2 == 0 ? 0 : kTile))...);
    }

    // As many perfect shuffles as the tile has address bits transpose it. The first reads two rows and leaves the
    // tile's left half of columns apart from its right half, so that the rest needs half of the registers at a time.
    template <std::size_t... Row>
    static void load(const std::uint8_t* from, std::ptrdiff_t stride, HalfTile& left, HalfTile& right,
                     std::index_sequence<Row...> /*rows*/)
    {
        constexpr auto lanes = std::make_index_sequence<kTile>();
        const auto rowAt = [from, stride](std::size_t row) {
            Vector loaded;
            std::memcpy(&loaded, from + static_cast<std::ptrdiff_t>(row) * stride, kVectorBytes);
            return loaded;
        };
        ((left[Row] = zip<0>(rowAt(Row), rowAt(Row + kHalf), lanes),
          right[Row] = zip<1>(rowAt(Row), rowAt(Row + kHalf), lanes)),
         ...);
    }

    template <std::size_t... Row>
    static void shuffle(const HalfTile& from, HalfTile& to, std::index_sequence<Row...> /*rows*/)
    {
        constexpr auto lanes = std::make_index_sequence<kTile>();
        ((to[2 * Row] = zip<0>(from[Row], from[Row + kHalf / 2], lanes),
          to[2 * Row + 1] = zip<1>(from[Row], from[Row + kHalf / 2], lanes)),
         ...);
    }

    template <std::size_t... Row>
    static void store(std::uint8_t* to, std::ptrdiff_t stride, const HalfTile& half,
                      std::index_sequence<Row...> /*rows*/)
    {
        (std::memcpy(to + static_cast<std::ptrdiff_t>(Row) * stride, &half[Row], kVectorBytes), ...);
    }

    // Called twice: as a call of its own it would get the half tile through memory.
    [[gnu::always_inline]] static void finish(const Plane& plane, int column, int row, HalfTile& a)
    {
        constexpr auto rows = std::make_index_sequence<kHalf>();
        constexpr auto quarters = std::make_index_sequence<kHalf / 2>();
        HalfTile b;
        shuffle(a, b, quarters);
        shuffle(b, a, quarters);
        if constexpr (kTile == 16) {
            shuffle(a, b, quarters);
            store(destinationAt(plane, column, row), plane.destinationStride, b, rows);
        } else {
            store(destinationAt(plane, column, row), plane.destinationStride, a, rows);
        }
    }

    static void turnTile(const Plane& plane, int column, int row)
    {
        HalfTile left;
        HalfTile right;
        load(sourceAt(plane, column, row), plane.sourceStride, left, right, std::make_index_sequence<kHalf>());
        finish(plane, column, row, left);
        finish(plane, column + kHalf, row, right);
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
