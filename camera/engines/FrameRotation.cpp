#include "plugin/analytics/frame_utils.h"

#include <libyuv.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace analytics_lib::frame_utils {

namespace {

// Columns turned at a time. A stripe becomes that many rows of the destination, which stay in the
// cache until they are complete; a whole picture at once takes more than twice as long.
constexpr int kLumaStripe = 16;
constexpr int kChromaStripe = 32; // pairs of U and V

/// A packed NV12 picture in memory of its own until it is handed over.
struct Image {
    std::unique_ptr<std::uint8_t, decltype(&std::free)> data{nullptr, &std::free};
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    std::uint8_t* luma() const { return data.get(); }
    std::uint8_t* chroma() const { return data.get() + std::size_t{width} * height; }

    void handOver(YuvFrame& destination)
    {
        destination.data = data.release();
        destination.width = width;
        destination.height = height;
        destination.bytesPerRow = width;
    }
};

/// The rotations count bytes in int: a picture beyond that fails like an allocation. An odd last column
/// or row has no chroma of its own and is left out.
Image newImage(const YuvFrame& source, std::uint64_t width, std::uint64_t height)
{
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    const std::uint64_t rowBytes = std::max({source.width, std::uint64_t{source.bytesPerRow}, std::uint64_t{1}});
    if (rowBytes > kMost || source.height > kMost / rowBytes) {
        throw std::bad_alloc();
    }
    Image image;
    image.width = static_cast<std::uint32_t>(width & ~std::uint64_t{1});
    image.height = static_cast<std::uint32_t>(height & ~std::uint64_t{1});
    const std::size_t bytes = std::size_t{image.width} * image.height * 3 / 2;
    image.data.reset(static_cast<std::uint8_t*>(std::malloc(bytes == 0 ? 1 : bytes)));
    if (!image.data) {
        throw std::bad_alloc();
    }
    return image;
}

/// A row shows no more pixels than its stride holds, so the last one ends where the picture does.
std::uint64_t shownWidth(const YuvFrame& source)
{
    return std::min(source.width, std::uint64_t{source.bytesPerRow});
}

/// The chroma plane follows all luma rows of the source, also where the last one is not turned.
const std::uint8_t* chromaOf(const YuvFrame& source)
{
    return source.data + static_cast<std::size_t>(source.bytesPerRow) * source.height;
}

/// The row of the destination at which the stripe from column on begins.
std::size_t firstRow(int column, int stripe, int columns, libyuv::RotationMode mode)
{
    return static_cast<std::size_t>(mode == libyuv::kRotate90 ? column : columns - column - stripe);
}

void turnLuma(const YuvFrame& source, Image& turned, libyuv::RotationMode mode)
{
    const int columns = static_cast<int>(turned.height); // of the source
    const int rows = static_cast<int>(turned.width);
    for (int column = 0; column < columns; column += kLumaStripe) {
        const int stripe = std::min(kLumaStripe, columns - column);
        std::uint8_t* target = turned.luma() + turned.width * firstRow(column, stripe, columns, mode);
        libyuv::RotatePlane(source.data + column, static_cast<int>(source.bytesPerRow), target, rows, stripe, rows,
                            mode);
    }
}

void turnChroma(const YuvFrame& source, Image& turned, libyuv::RotationMode mode)
{
    const int columns = static_cast<int>(turned.height / 2); // of the source, in pairs
    const int rows = static_cast<int>(turned.width / 2);
    const auto stride = static_cast<int>(source.bytesPerRow);
    const std::size_t planeBytes = std::size_t{kChromaStripe} * static_cast<std::size_t>(rows);
    const std::unique_ptr<std::uint8_t[]> planes(new std::uint8_t[2 * planeBytes]);
    for (int column = 0; column < columns; column += kChromaStripe) {
        const int stripe = std::min(kChromaStripe, columns - column);
        libyuv::SplitRotateUV(chromaOf(source) + 2 * column, stride, planes.get(), rows, planes.get() + planeBytes,
                              rows, stripe, rows, mode);
        std::uint8_t* target = turned.chroma() + turned.width * firstRow(column, stripe, columns, mode);
        libyuv::MergeUVPlane(planes.get(), rows, planes.get() + planeBytes, rows, target,
                             static_cast<int>(turned.width), rows, stripe);
    }
}

void quarterTurn(const YuvFrame& source, YuvFrame& destination, libyuv::RotationMode mode)
{
    Image turned = newImage(source, source.height, shownWidth(source));
    // A picture without rows can still claim billions of columns.
    if (turned.width != 0 && turned.height != 0) {
        turnLuma(source, turned, mode);
        turnChroma(source, turned, mode);
    }
    turned.handOver(destination);
}

} // namespace

void YUV420SemiPlanar_Rotate90(const YuvFrame& source, YuvFrame& destination)
{
    quarterTurn(source, destination, libyuv::kRotate90);
}

void YUV420SemiPlanar_Rotate180(const YuvFrame& source, YuvFrame& destination)
{
    Image turned = newImage(source, shownWidth(source), source.height);
    if (turned.width != 0 && turned.height != 0) {
        // Mirrored from left to right while the rows are read from the last to the first.
        const int width = static_cast<int>(turned.width);
        const int stride = static_cast<int>(source.bytesPerRow);
        libyuv::NV12Mirror(source.data, stride, chromaOf(source), stride, turned.luma(), width, turned.chroma(), width,
                           width, -static_cast<int>(turned.height));
    }
    turned.handOver(destination);
}

void YUV420SemiPlanar_Rotate270(const YuvFrame& source, YuvFrame& destination)
{
    quarterTurn(source, destination, libyuv::kRotate270);
}

} // namespace analytics_lib::frame_utils
