#include "camera/video/View.h"

#include "camera/video/Yuv.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace camera::video {

namespace {

constexpr PictureSize kLargeOutput{1920, 1080};
constexpr PictureSize kSmallOutput{640, 360};
constexpr int kSmallestSide = 8; // a model may magnify more than the source has pixels for

int evenFloor(double number)
{
    return static_cast<int>(number / 2) * 2;
}

int evenNearest(double number)
{
    return static_cast<int>(std::lround(number / 2)) * 2;
}

// The result lies between -180 (left of the middle) and 180 degrees (right).
double signedDegrees(unsigned int pan)
{
    const double degrees = pan / 1000.0;
    return degrees > 180.0 ? degrees - 360.0 : degrees;
}

// What the camera looks at, in pixels of the source, which may lie beyond it.
std::pair<double, double> middleOf(const ptz::Position& position, double sceneAngleDegrees, PictureSize source)
{
    const double pixelsPerDegree = source.width / sceneAngleDegrees;
    return {source.width / 2.0 + signedDegrees(position.pan) * pixelsPerDegree,
            source.height / 2.0 - position.tilt / 1000.0 * pixelsPerDegree};
}

int placed(double middle, int length, int whole)
{
    return std::clamp(evenNearest(middle - length / 2.0), 0, evenFloor(whole) - length);
}

bool usable(PictureSize size)
{
    return size.width > 0 && size.height > 0 && size.width % 2 == 0 && size.height % 2 == 0;
}

} // namespace

PictureSize defaultSize(PictureSize source)
{
    const PictureSize wanted = source.width >= 2 * kLargeOutput.width ? kLargeOutput : kSmallOutput;
    const double fit = std::min(
        {1.0, static_cast<double>(source.width) / wanted.width, static_cast<double>(source.height) / wanted.height});
    return {std::max(2, evenFloor(wanted.width * fit)), std::max(2, evenFloor(wanted.height * fit))};
}

Rectangle viewOf(const ptz::Position& position, unsigned int angleOfView, double sceneAngleDegrees, PictureSize source,
                 PictureSize output)
{
    const double pixelsPerDegree = source.width / sceneAngleDegrees;
    const double shape = static_cast<double>(output.height) / output.width;
    const double widest = std::min<double>(source.width, source.height / shape);
    const double width = std::min(widest, angleOfView / 1000.0 * pixelsPerDegree);
    const auto side = [](double length, int whole) {
        return std::clamp(evenNearest(length), std::min(kSmallestSide, evenFloor(whole)), evenFloor(whole));
    };
    const auto [middleX, middleY] = middleOf(position, sceneAngleDegrees, source);
    Rectangle seen;
    seen.width = side(width, source.width);
    seen.height = side(width * shape, source.height);
    seen.x = placed(middleX, seen.width, source.width);
    seen.y = placed(middleY, seen.height, source.height);
    return seen;
}

bool isBeyondEdge(const ptz::Position& position, unsigned int angleOfView, double sceneAngleDegrees, PictureSize source,
                  PictureSize output)
{
    constexpr double kRounding = 2; // pixels: sides and places of the part are even
    const Rectangle seen = viewOf(position, angleOfView, sceneAngleDegrees, source, output);
    const auto [middleX, middleY] = middleOf(position, sceneAngleDegrees, source);
    return std::abs(seen.x + seen.width / 2.0 - middleX) > kRounding ||
           std::abs(seen.y + seen.height / 2.0 - middleY) > kRounding;
}

View::View(double sceneAngleDegrees, PictureSize output) : _sceneAngleDegrees(sceneAngleDegrees), _output(output)
{
    if (!usable(output)) {
        throw std::invalid_argument("a picture of " + std::to_string(output.width) + "x" +
                                    std::to_string(output.height) + " is not possible: both are even and at least 2");
    }
    if (!(sceneAngleDegrees > 0)) {
        throw std::invalid_argument("a scene covers more than 0 degrees");
    }
}

Frame View::of(const Frame& source, const ptz::Position& position, unsigned int angleOfView)
{
    if (!source.data || source.width < 2 || source.height < 2) {
        throw std::invalid_argument("there are no pixels to look at");
    }
    const Rectangle seen = viewOf(position, angleOfView, _sceneAngleDegrees, {source.width, source.height}, _output);
    if (seen == Rectangle{0, 0, source.width, source.height} && PictureSize{seen.width, seen.height} == _output) {
        return source;
    }
    Frame frame = _pool.take(_output.width, _output.height);
    const auto at = [](const Frame& of, int row, int column) {
        return of.data.get() + static_cast<std::ptrdiff_t>(of.strideBytes) * row + column;
    };
    libyuv::NV12Scale(at(source, seen.y, seen.x), source.strideBytes, at(source, source.height + seen.y / 2, seen.x),
                      source.strideBytes, seen.width, seen.height, at(frame, 0, 0), frame.strideBytes,
                      at(frame, frame.height, 0), frame.strideBytes, frame.width, frame.height,
                      libyuv::kFilterBilinear);
    frame.seconds = source.seconds;
    frame.nanoseconds = source.nanoseconds;
    return frame;
}

} // namespace camera::video
