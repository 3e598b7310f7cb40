#include "plugin/analytics/frame_utils.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using analytics_lib::YuvFrame;
using Rotation = void (*)(const YuvFrame&, YuvFrame&);

/**
 * The pictures that one run turns, one after another; its arguments are width, height and stride.
 * There are enough of them that each comes from memory, as a camera's do, and not from a cache that
 * the round before filled.
 */
class Source {
public:
    explicit Source(const benchmark::State& state)
        : _pictureBytes(static_cast<std::size_t>(state.range(2) * state.range(1) * 3 / 2)),
          _count(kPoolBytes / _pictureBytes),
          _bytes(_pictureBytes * _count, 0x55)
    {
        frame.width = static_cast<std::uint64_t>(state.range(0));
        frame.height = static_cast<std::uint64_t>(state.range(1));
        frame.bytesPerRow = static_cast<std::uint32_t>(state.range(2));
        next();
    }
    void next()
    {
        _index = (_index + 1) % _count;
        frame.data = _bytes.data() + _index * _pictureBytes;
    }
    std::size_t pixels() const { return static_cast<std::size_t>(frame.width * frame.height); }

    YuvFrame frame;

private:
    static constexpr std::size_t kPoolBytes = 256 << 20;

    std::size_t _pictureBytes;
    std::size_t _count;
    std::size_t _index = 0;
    std::vector<std::uint8_t> _bytes;
};

void finish(benchmark::State& state, const Source& source)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(source.pixels() * 3 / 2) * state.iterations());
}

/// The yardstick: the picture's rows into new memory, as a rotation brings new memory too.
void copy(benchmark::State& state)
{
    Source source(state);
    const std::size_t width = source.frame.width;
    for (auto unused : state) {
        source.next();
        auto* data = static_cast<std::uint8_t*>(std::malloc(source.pixels() * 3 / 2));
        if (width == source.frame.bytesPerRow) {
            std::memcpy(data, source.frame.data, source.pixels() * 3 / 2);
        } else {
            for (std::size_t row = 0; row < source.frame.height * 3 / 2; ++row) {
                std::memcpy(data + row * width, source.frame.data + row * source.frame.bytesPerRow, width);
            }
        }
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
        std::free(data);
    }
    finish(state, source);
}

template <Rotation rotate>
void turn(benchmark::State& state)
{
    Source source(state);
    for (auto unused : state) {
        source.next();
        YuvFrame turned = source.frame;
        rotate(source.frame, turned);
        benchmark::DoNotOptimize(turned.data);
        benchmark::ClobberMemory();
        std::free(turned.data);
    }
    finish(state, source);
}

template <int code>
void openCv(benchmark::State& state)
{
    cv::setNumThreads(1);
    Source source(state);
    const auto width = static_cast<int>(source.frame.width);
    const auto height = static_cast<int>(source.frame.height);
    const std::size_t stride = source.frame.bytesPerRow;
    for (auto unused : state) {
        source.next();
        const cv::Mat luma(height, width, CV_8UC1, source.frame.data, stride);
        const cv::Mat chroma(height / 2, width / 2, CV_8UC2, source.frame.data + stride * source.frame.height, stride);
        cv::Mat turnedLuma;
        cv::Mat turnedChroma;
        cv::rotate(luma, turnedLuma, code);
        cv::rotate(chroma, turnedChroma, code);
        benchmark::DoNotOptimize(turnedLuma.data);
        benchmark::DoNotOptimize(turnedChroma.data);
    }
    finish(state, source);
}

void plainLoopQuarterTurn(benchmark::State& state)
{
    Source source(state);
    const std::size_t width = source.frame.width;
    const std::size_t height = source.frame.height;
    const std::size_t stride = source.frame.bytesPerRow;
    for (auto unused : state) {
        source.next();
        auto* data = static_cast<std::uint8_t*>(std::malloc(source.pixels() * 3 / 2));
        for (std::size_t y = 0; y < width; ++y) {
            for (std::size_t x = 0; x < height; ++x) {
                data[y * height + x] = source.frame.data[(height - 1 - x) * stride + y];
            }
        }
        std::uint8_t* chroma = data + source.pixels();
        const std::uint8_t* from = source.frame.data + stride * height;
        for (std::size_t y = 0; y < width / 2; ++y) {
            for (std::size_t x = 0; x < height / 2; ++x) {
                std::memcpy(chroma + y * height + 2 * x, from + (height / 2 - 1 - x) * stride + 2 * y, 2);
            }
        }
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
        std::free(data);
    }
    finish(state, source);
}

void sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"width", "height", "stride"});
    for (const auto& [width, height] : {std::pair<int, int>{1920, 1080}, {3840, 2160}}) {
        for (const int stride : {width, width + 64, width == 1920 ? 2048 : 4096}) {
            bench->Args({width, height, stride});
        }
    }
    bench->Unit(benchmark::kMicrosecond);
}

namespace rotations = analytics_lib::frame_utils;

BENCHMARK(copy)->Apply(sizes);
BENCHMARK(turn<rotations::YUV420SemiPlanar_Rotate90>)->Name("turn90")->Apply(sizes);
BENCHMARK(turn<rotations::YUV420SemiPlanar_Rotate180>)->Name("turn180")->Apply(sizes);
BENCHMARK(turn<rotations::YUV420SemiPlanar_Rotate270>)->Name("turn270")->Apply(sizes);
BENCHMARK(openCv<cv::ROTATE_90_CLOCKWISE>)->Name("openCv90")->Apply(sizes);
BENCHMARK(openCv<cv::ROTATE_180>)->Name("openCv180")->Apply(sizes);
BENCHMARK(plainLoopQuarterTurn)->Name("plainLoop90")->Apply(sizes);

} // namespace
