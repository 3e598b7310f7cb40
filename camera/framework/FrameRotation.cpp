#include "plugin/analytics/frame_utils.h"

#include "camera/framework/Transpose.h"

#include <libyuv.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace analytics_lib::frame_utils {

namespace {

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

enum class Turn { clockwise, counterClockwise };

/// A quarter turn is a mirroring at the diagonal with the source's rows, or else the destination's, taken from the last
/// to the first.
template <typename Element>
void turnPlane(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
               std::ptrdiff_t targetStride, int columns, int rows, Turn turn)
{
    if (turn == Turn::clockwise) {
        source += (rows - 1) * sourceStride;
        sourceStride = -sourceStride;
    } else {
        target += (columns - 1) * targetStride;
        targetStride = -targetStride;
    }
    camera::framework::Transpose<Element>::run({source, sourceStride, target, targetStride, columns, rows});
}

void quarterTurn(const YuvFrame& source, YuvFrame& destination, Turn turn)
{
    Image turned = newImage(source, source.height, shownWidth(source));
    // A picture without rows can still claim billions of columns.
    if (turned.width != 0 && turned.height != 0) {
        const auto columns = static_cast<int>(turned.height); // of the source
        const auto rows = static_cast<int>(turned.width);
        const std::ptrdiff_t stride = source.bytesPerRow;
        turnPlane<std::uint8_t>(source.data, stride, turned.luma(), rows, columns, rows, turn);
        turnPlane<std::uint16_t>(chromaOf(source), stride, turned.chroma(), rows, columns / 2, rows / 2, turn);
    }
    turned.handOver(destination);
}

} // namespace

void YUV420SemiPlanar_Rotate90(const YuvFrame& source, YuvFrame& destination)
{
    quarterTurn(source, destination, Turn::clockwise);
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
    quarterTurn(source, destination, Turn::counterClockwise);
}

} // namespace analytics_lib::frame_utils
