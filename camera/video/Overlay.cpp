#include "camera/video/Overlay.h"

#include "camera/video/OverlayPainter.h"
#include "camera/video/PngWriter.h"
#include "camera/video/Timestamp.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace camera::video {

namespace {

// A name that cannot be written is refused before the first frame, not after the last.
void checkWritable(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "ab");
    if (file == nullptr) {
        throw std::runtime_error("cannot write the picture '" + path + "': " + std::strerror(errno) +
                                 "; name a file in a folder that can be written.");
    }
    const bool empty = std::ftell(file) == 0;
    std::fclose(file);
    if (empty) {
        std::remove(path.c_str());
    }
}

} // namespace

Overlay::Overlay(OverlayFiles given, int width, int height, double framesPerSecond) : files(std::move(given))
{
    if (!files.picture.empty()) {
        checkWritable(files.picture);
    }
    if (!files.video.empty()) {
        video.emplace(files.video, width, height, framesPerSecond);
    }
}

Overlay::~Overlay() = default;

void Overlay::add(const Frame& upright, const Drawing& drawing, const std::string& caption)
{
    const double interest = drawing.interest(travelled.count(drawing));
    const bool better = !files.picture.empty() && (!bestInterest || interest > *bestInterest);
    if (!video && !better) {
        return;
    }
    const std::int64_t time = nanosecondsOf(upright);
    toRgb(upright, canvas);
    paintOverlay(canvas, drawing, time, caption);
    if (better) {
        best = canvas;
        bestInterest = interest;
    }
    if (video) {
        video->add(canvas, time);
    }
}

void Overlay::finish()
{
    if (bestInterest && !wrotePicture) {
        writePng(best, files.picture);
        wrotePicture = true;
    }
    if (video) {
        video->finish();
    }
}

} // namespace camera::video
