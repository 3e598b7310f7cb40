#include "bench/JsonLines.h"
#include "bench/Pairs.h"
#include "camera/video/VideoInput.h"

#include <libyuv.h>
#include <opencv2/video/background_segm.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr int kFrames = 300;

/// Seconds for each frame of a run of the camera as it is when nothing is configured: both engines with the modules of
/// the factory configuration, no output. Counted from the start of its pipeline, as its own summary does.
double cameraSecondsPerFrame(const std::string& clip)
{
    const std::string command =
        CAMERA_PROGRAM " run '" + clip + "' --speed max --json --frames " + std::to_string(kFrames) + " 2>/dev/null";
    for (const Json::Value& object : bench::jsonLinesOf(command)) {
        if (object["part"] == "summary" && object["frames"] == kFrames && object["framesFailed"] == 0) {
            return object["seconds"].asDouble() / kFrames;
        }
    }
    throw std::runtime_error("the camera does not show " + std::to_string(kFrames) + " frames: " + command);
}

/// The same frames from the same decoder, and the background model that each engine has, on the same picture.
double loopSecondsPerFrame(const std::string& clip)
{
    const auto begin = std::chrono::steady_clock::now();
    camera::video::VideoInput input(clip);
    const auto subtractor = cv::createBackgroundSubtractorMOG2(500, 16, false);
    cv::Mat luma;
    cv::Mat foreground;
    for (int shown = 0; shown < kFrames; ++shown) {
        const auto frame = input.next();
        if (!frame) {
            throw std::runtime_error(clip + ": ends before " + std::to_string(kFrames) + " frames");
        }
        const double factor = std::sqrt(640.0 * 360.0 / (frame->width * frame->height));
        luma.create(static_cast<int>(std::lround(frame->height * factor)),
                    static_cast<int>(std::lround(frame->width * factor)), CV_8UC1);
        libyuv::ScalePlane(frame->data.get(), frame->strideBytes, frame->width, frame->height, luma.data,
                           static_cast<int>(luma.step), luma.cols, luma.rows, libyuv::kFilterBox);
        subtractor->apply(luma, foreground);
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() / kFrames;
}

} // namespace

// A third argument names the clip.
int main(int argc, char** argv)
{
    const std::string clip = argc > 3 ? argv[3] : "";
    cv::setNumThreads(1); // as the engines do
    // Hundreds of frames need few pairs.
    const int pairs = std::max(3, std::atoi(argc > 1 ? argv[1] : "") / 5);
    bench::Pairs(pairs, argc > 2 ? argv[2] : "")
        .compare(
            "bare loop over the clip, one frame", [&] { return loopSecondsPerFrame(clip); },
            "the whole camera with two engines", [&] { return cameraSecondsPerFrame(clip); });
}
