#include "camera/video/Overlay.h"

#include "camera/video/PictureWriter.h"
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

Overlay::Overlay(OverlayFiles files, int width, int height, double framesPerSecond, Failed failed)
    : _files(std::move(files)), _failed(std::move(failed))
{
    if (!_files.picture.empty() && _files.descriptor < 0) {
        checkWritable(_files.picture);
    }
    if (!_files.video.empty()) {
        _video.emplace(_files.video, width, height, framesPerSecond, "", _files.descriptor);
    }
}

Overlay::~Overlay() = default;

void Overlay::add(const Frame& upright, const Drawing& drawing, const std::string& caption)
{
    const double interest = drawing.interest(_travelled.count(drawing));
    const bool better = !_files.picture.empty() && (!_bestInterest || interest > *_bestInterest);
    if (!_video && !better) {
        return;
    }
    const std::int64_t time = nanosecondsOf(upright);
    toRgb(upright, _canvas);
    _painter.paint(_canvas, drawing, time, caption);
    if (better) {
        _best = _canvas;
        _bestInterest = interest;
    }
    writeVideo([&](Mp4Writer& video) { video.add(_canvas, time); });
}

void Overlay::addDimmed(std::int64_t time, const std::string& caption)
{
    if (!_video || _canvas.pixels.empty()) {
        return;
    }
    RgbPicture dimmed = _canvas;
    for (std::uint8_t& value : dimmed.pixels) {
        value = static_cast<std::uint8_t>(value / 3);
    }
    _painter.paint(dimmed, Drawing(), time, caption);
    writeVideo([&](Mp4Writer& video) { video.add(dimmed, time); });
}

void Overlay::writeVideo(const std::function<void(Mp4Writer&)>& action)
{
    if (!_video) {
        return;
    }
    try {
        action(*_video);
    } catch (const std::runtime_error& error) {
        _video.reset();
        _videoFailed = true;
        _failed(error.what());
    }
}

void Overlay::finish()
{
    if (_bestInterest && !_wrotePicture) {
        try {
            writePicture(_best, _files.picture, _files.descriptor);
            _wrotePicture = true;
        } catch (const std::runtime_error& error) {
            _failed(error.what());
        }
    }
    writeVideo([](Mp4Writer& video) { video.finish(); });
}

} // namespace camera::video
