#include "camera/engines/ForegroundModel.h"

#include "camera/engines/Shadows.h"

#include <libyuv.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace camera::engines {

namespace {

constexpr double kAnalysedPixels = 640.0 * 360.0;
constexpr std::uint64_t kLargestSide = 16384;

constexpr std::int64_t kLearningTime = kNanosecondsPerSecond * 8 / 10;
constexpr unsigned kLearningFrames = 8;
constexpr std::int64_t kForgottenAfter = kNanosecondsPerSecond;
// A longer gap between two frames means that the scene may have changed: the background is learned again.
constexpr std::int64_t kLongestGap = 10 * kNanosecondsPerSecond;

// An object that stops becomes background after about 8 seconds, when its weight in the mixture reaches a
// tenth. A background that was learned recently adapts faster, so that an object which was in the picture during
// learning disappears from it.
constexpr double kMemorySeconds = 80;
constexpr double kYoungMemorySeconds = 10;
constexpr double kMemoryPerSecond = 8;
constexpr std::int64_t kBackgroundPeriod = kNanosecondsPerSecond / 2;
constexpr double kReferenceSeconds = 40;

// If more than this share of the picture changes at once, the light or the scene has changed, not an object.
constexpr double kWholePicture = 0.5;
constexpr double kSuddenLight = 0.15;
constexpr double kWeakestLight = 0.4;
constexpr double kStrongestLight = 2.5;

const cv::Size kBlocks(32, 18);

/// The squared distance in standard deviations from which a pixel counts as foreground: 64 to 4.
double variances(long sensitivity)
{
    return 64.0 * std::pow(1.0 / 16.0, static_cast<double>(sensitivity) / 100.0);
}

cv::Size analysedSize(const analytics_lib::YuvFrame& frame)
{
    const auto width = static_cast<double>(frame.width);
    const auto height = static_cast<double>(frame.height);
    const double factor = std::min(1.0, std::sqrt(kAnalysedPixels / (width * height)));
    return {std::max(1, static_cast<int>(std::lround(width * factor))),
            std::max(1, static_cast<int>(std::lround(height * factor)))};
}

cv::Mat ellipse(int size)
{
    return cv::getStructuringElement(cv::MORPH_ELLIPSE, {size, size});
}

} // namespace

bool ForegroundModel::usable(const analytics_lib::YuvFrame& frame)
{
    return frame.data != nullptr && frame.width >= 16 && frame.height >= 16 && frame.width <= kLargestSide &&
           frame.height <= kLargestSide && frame.bytesPerRow >= frame.width && frame.bytesPerRow <= 4 * kLargestSide;
}

const Foreground& ForegroundModel::update(const analytics_lib::YuvFrame& frame, std::int64_t time, long sensitivity,
                                          const std::optional<analytics_lib::ColorYuv>& blanked)
{
    const std::int64_t passed = time - _foreground.time;
    if (_subtractor && (!sameView(frame) || passed < 0 || passed > kLongestGap)) {
        forget();
    }
    _view = frame;
    _foreground.time = time;
    scale(frame);
    const double seconds = static_cast<double>(std::max(passed, kNanosecondsPerMillisecond)) / kNanosecondsPerSecond;
    evenOut(_subtractor ? seconds : 0);
    if (!_subtractor) {
        begin(time);
    }
    subtract(seconds, sensitivity);
    _foreground.known = _frames >= kLearningFrames && time - _since >= kLearningTime;
    if (_foreground.known && blanked) {
        findBlanked(frame, *blanked);
        _foreground.mask.setTo(0, _blanked);
    }
    if (_foreground.known) {
        clean();
        const auto moving = static_cast<double>(cv::countNonZero(_foreground.mask));
        if (moving > kWholePicture * static_cast<double>(_foreground.mask.total())) {
            forget();
        }
    }
    if (!_subtractor || !_foreground.known) {
        _foreground.known = false;
        _foreground.mask.setTo(0);
    }
    return _foreground;
}

void ForegroundModel::forget()
{
    _subtractor.release();
}

void ForegroundModel::forgetIfOlderThan(std::int64_t time)
{
    if (time < _foreground.time || time - _foreground.time > kForgottenAfter) {
        forget();
    }
}

bool ForegroundModel::sameView(const analytics_lib::YuvFrame& frame) const
{
    return frame.width == _view.width && frame.height == _view.height && frame.pan == _view.pan &&
           frame.tilt == _view.tilt && frame.zoom == _view.zoom;
}

void ForegroundModel::scale(const analytics_lib::YuvFrame& frame)
{
    _luma.create(analysedSize(frame), CV_8UC1);
    libyuv::ScalePlane(frame.data, static_cast<int>(frame.bytesPerRow), static_cast<int>(frame.width),
                       static_cast<int>(frame.height), _luma.data, static_cast<int>(_luma.step), _luma.cols, _luma.rows,
                       libyuv::kFilterBox);
    cv::resize(_luma, _blocks, kBlocks, 0, 0, cv::INTER_AREA);
    _blocks.convertTo(_blocks, CV_32FC1);
}

void ForegroundModel::begin(std::int64_t time)
{
    _subtractor = cv::createBackgroundSubtractorMOG2(500, 16, false);
    _since = time;
    _frames = 0;
    _gain = 1;
    _reference = _blocks.clone();
    _luma.copyTo(_even);
    _background.release();
}

void ForegroundModel::evenOut(double seconds)
{
    if (seconds <= 0) {
        return;
    }
    const double gain = lightGain();
    if (std::abs(gain / _gain - 1) > kSuddenLight || gain < kWeakestLight || gain > kStrongestLight) {
        forget();
        return;
    }
    _gain = gain;
    _luma.convertTo(_even, CV_8UC1, gain);
    cv::addWeighted(_reference, 1 - seconds / kReferenceSeconds, _blocks, gain * seconds / kReferenceSeconds, 0,
                    _reference);
}

/// The median over the blocks: a change in less than half of the picture does not affect it.
double ForegroundModel::lightGain()
{
    _gains.clear();
    for (int row = 0; row < _blocks.rows; ++row) {
        const auto* now = _blocks.ptr<float>(row);
        const auto* then = _reference.ptr<float>(row);
        for (int column = 0; column < _blocks.cols; ++column) {
            // A block that is nearly black or white says nothing about the brightness of the scene.
            if (now[column] > 8 && now[column] < 245 && then[column] > 8 && then[column] < 245) {
                _gains.push_back(then[column] / now[column]);
            }
        }
    }
    if (_gains.size() < 16) {
        return _gain;
    }
    const auto middle = _gains.begin() + static_cast<std::ptrdiff_t>(_gains.size() / 2);
    std::nth_element(_gains.begin(), middle, _gains.end());
    return *middle;
}

void ForegroundModel::subtract(double seconds, long sensitivity)
{
    _subtractor->setVarThreshold(variances(sensitivity));
    const double age = static_cast<double>(_foreground.time - _since) / kNanosecondsPerSecond;
    const double memory = std::clamp(age * kMemoryPerSecond, kYoungMemorySeconds, kMemorySeconds);
    const bool learning = !_foreground.known || _frames < kLearningFrames;
    // A negative rate averages all frames so far, which gives a first background fastest.
    _subtractor->apply(_even, _foreground.mask, learning ? -1 : 1 - std::exp(-seconds / memory));
    ++_frames;
}

void ForegroundModel::findBlanked(const analytics_lib::YuvFrame& frame, const analytics_lib::ColorYuv& colour)
{
    _blanked.create(_luma.size(), CV_8UC1);
    const std::size_t stride = frame.bytesPerRow;
    for (int row = 0; row < _blanked.rows; ++row) {
        const std::size_t y =
            (static_cast<std::size_t>(row) * 2 + 1) * frame.height / (2 * static_cast<std::size_t>(_blanked.rows));
        const std::uint8_t* luma = frame.data + y * stride;
        const std::uint8_t* chroma = frame.data + (frame.height + y / 2) * stride;
        auto* out = _blanked.ptr<std::uint8_t>(row);
        for (int column = 0; column < _blanked.cols; ++column) {
            const std::size_t x = (static_cast<std::size_t>(column) * 2 + 1) * frame.width /
                                  (2 * static_cast<std::size_t>(_blanked.cols));
            const std::size_t pair = x & ~std::size_t{1};
            const bool same = luma[x] == colour.y && chroma[pair] == colour.u && chroma[pair + 1] == colour.v;
            out[column] = same ? 255 : 0;
        }
    }
    // Single pixels of the colour occur by chance. A patch is a blanked window; its border is mixed with the picture.
    cv::morphologyEx(_blanked, _blanked, cv::MORPH_OPEN, ellipse(5));
    cv::dilate(_blanked, _blanked, ellipse(5));
}

/// Removes specks, and closes gaps where an object looks like the background behind it.
void ForegroundModel::clean()
{
    cv::medianBlur(_foreground.mask, _foreground.mask, 5);
    if (_background.empty() || _foreground.time - _backgroundTime > kBackgroundPeriod) {
        _subtractor->getBackgroundImage(_background);
        _backgroundTime = _foreground.time;
    }
    removeShadows(_foreground.mask, _even, _background);
    cv::morphologyEx(_foreground.mask, _foreground.mask, cv::MORPH_CLOSE, ellipse(7));
}

} // namespace camera::engines
