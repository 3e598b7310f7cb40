#include "bench/Pairs.h"
#include "plugin/analytics/frame_utils.h"

#include <opencv2/core.hpp>

#include <array>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <vector>

namespace {

using analytics_lib::YuvFrame;
using Rotation = void (*)(const YuvFrame&, YuvFrame&);

namespace rotations = analytics_lib::frame_utils;

/**
 * The pictures that a row turns, one after another. There are enough of them that each comes from memory, as a
 * camera's do, and not from a cache that the round before filled.
 */
class Source {
public:
    Source(unsigned width, unsigned height, unsigned stride)
        : _pictureBytes(std::size_t{stride} * height * 3 / 2),
          _count(kPoolBytes / _pictureBytes),
          _bytes(_pictureBytes * _count, 0x55)
    {
        _frame.width = width;
        _frame.height = height;
        _frame.bytesPerRow = stride;
    }
    const YuvFrame& next()
    {
        _index = (_index + 1) % _count;
        _frame.data = _bytes.data() + _index * _pictureBytes;
        return _frame;
    }

private:
    static constexpr std::size_t kPoolBytes = 256 << 20;

    std::size_t _pictureBytes;
    std::size_t _count;
    std::size_t _index = 0;
    std::vector<std::uint8_t> _bytes;
    YuvFrame _frame;
};

/// The yardstick: the picture's rows into new memory, as a rotation brings new memory too.
void copy(const YuvFrame& source, YuvFrame& copied)
{
    const std::size_t width = source.width;
    const std::size_t bytes = width * source.height * 3 / 2;
    copied.bytesPerRow = static_cast<std::uint32_t>(width);
    copied.data = static_cast<std::uint8_t*>(std::malloc(bytes));
    if (width == source.bytesPerRow) {
        std::memcpy(copied.data, source.data, bytes);
        return;
    }
    for (std::size_t row = 0; row < source.height * 3 / 2; ++row) {
        std::memcpy(copied.data + row * width, source.data + row * source.bytesPerRow, width);
    }
}

void plainLoop90(const YuvFrame& source, YuvFrame& turned)
{
    const std::size_t width = source.width;
    const std::size_t height = source.height;
    const std::size_t stride = source.bytesPerRow;
    turned.data = static_cast<std::uint8_t*>(std::malloc(width * height * 3 / 2));
    for (std::size_t y = 0; y < width; ++y) {
        for (std::size_t x = 0; x < height; ++x) {
            turned.data[y * height + x] = source.data[(height - 1 - x) * stride + y];
        }
    }
    std::uint8_t* chroma = turned.data + width * height;
    const std::uint8_t* from = source.data + stride * height;
    for (std::size_t y = 0; y < width / 2; ++y) {
        for (std::size_t x = 0; x < height / 2; ++x) {
            std::memcpy(chroma + y * height + 2 * x, from + (height / 2 - 1 - x) * stride + 2 * y, 2);
        }
    }
}

/// @param read what is done with the turned picture before it is freed.
template <typename Read>
bench::Measurement turning(Source& source, Rotation rotate, Read read)
{
    return bench::timed([&source, rotate, read] {
        const YuvFrame& given = source.next();
        YuvFrame turned = given;
        rotate(given, turned);
        bench::keep(turned.data);
        read(turned);
        std::free(turned.data);
    });
}

bench::Measurement turning(Source& source, Rotation rotate)
{
    return turning(source, rotate, [](const YuvFrame& /*turned*/) {});
}

/// The same, and the mean brightness of the result, as an engine reads every pixel of what it is given.
bench::Measurement turningAndReading(Source& source, Rotation rotate)
{
    return turning(source, rotate, [](const YuvFrame& turned) {
        bench::keep(std::accumulate(turned.data, turned.data + turned.width * turned.height, 0U));
    });
}

bench::Measurement turningByOpenCv(Source& source, int code)
{
    return bench::timed([&source, code] {
        const YuvFrame& given = source.next();
        const auto width = static_cast<int>(given.width);
        const auto height = static_cast<int>(given.height);
        const std::size_t stride = given.bytesPerRow;
        const cv::Mat luma(height, width, CV_8UC1, given.data, stride);
        const cv::Mat chroma(height / 2, width / 2, CV_8UC2, given.data + stride * given.height, stride);
        cv::Mat turnedLuma;
        cv::Mat turnedChroma;
        cv::rotate(luma, turnedLuma, code);
        cv::rotate(chroma, turnedChroma, code);
        bench::keep(turnedLuma.data);
        bench::keep(turnedChroma.data);
    });
}

void compareStride(const bench::Pairs& pairs, unsigned width, unsigned height, unsigned stride)
{
    Source source(width, height, stride);
    const auto title = [&](const std::string& what, int degrees) {
        return what + " " + std::to_string(height) + "p by " + std::to_string(degrees) + ", stride " +
               std::to_string(stride);
    };
    const auto limit = [&](double ratio) {
        return height == 1080 ? std::optional(bench::atMost(ratio)) : std::nullopt;
    };
    const auto memcpyAlone = turning(source, copy);
    const auto memcpyAndReading = turningAndReading(source, copy);
    pairs.compare(title("rotate", 90), turning(source, rotations::YUV420SemiPlanar_Rotate90), "memcpy", memcpyAlone,
                  limit(2.5));
    pairs.compare(title("rotate", 180), turning(source, rotations::YUV420SemiPlanar_Rotate180), "memcpy", memcpyAlone,
                  limit(1.1));
    pairs.compare(title("rotate", 270), turning(source, rotations::YUV420SemiPlanar_Rotate270), "memcpy", memcpyAlone,
                  limit(2.5));
    pairs.compare(title("rotate and read", 90), turningAndReading(source, rotations::YUV420SemiPlanar_Rotate90),
                  "memcpy and read", memcpyAndReading, bench::atMost(2));
    pairs.compare(title("rotate and read", 270), turningAndReading(source, rotations::YUV420SemiPlanar_Rotate270),
                  "memcpy and read", memcpyAndReading, bench::atMost(2));
    pairs.compare(title("OpenCV,", 90), turningByOpenCv(source, cv::ROTATE_90_CLOCKWISE), "memcpy", memcpyAlone);
    pairs.compare(title("OpenCV,", 180), turningByOpenCv(source, cv::ROTATE_180), "memcpy", memcpyAlone);
    pairs.compare(title("plain loop,", 90), turning(source, plainLoop90), "memcpy", memcpyAlone);
}

} // namespace

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    cv::setNumThreads(1);
    for (const auto& [width, height, powerOfTwo] : {std::array<unsigned, 3>{1920, 1080, 2048}, {3840, 2160, 4096}}) {
        for (const unsigned stride : {width, width + 64, powerOfTwo}) {
            compareStride(pairs, width, height, stride);
        }
    }
}
