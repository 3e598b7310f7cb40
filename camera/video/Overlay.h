#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/Frame.h"
#include "camera/video/Mp4Writer.h"
#include "camera/video/OverlayPainter.h"
#include "camera/video/RgbPicture.h"
#include "camera/video/TravelledObjects.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace camera::video {

/// Where the overlay goes; an empty name leaves it out.
struct OverlayFiles {
    std::string video;   ///< MP4
    std::string picture; ///< PNG or JPEG of the frame with the most to see
    int descriptor = -1; ///< not negative: the one file that is named, open and empty; borrowed
};

/**
 * Draws on each upright frame what the engines wrote for it, and writes a video and a picture. A file that cannot be
 * written any more is told once and left as it is; the other one goes on. Thread-bound.
 */
class Overlay {
public:
    /// Gets one sentence for each file that fails.
    using Failed = std::function<void(const std::string& sentence)>;

    /// Opens the files. @throws std::runtime_error with one sentence when one cannot be written.
    Overlay(OverlayFiles files, int width, int height, double framesPerSecond, Failed failed);
    ~Overlay();

    /// Draws on one upright frame what the engines wrote for it.
    /// @param caption the text of the foot line next to time and counts.
    void add(const Frame& upright, const Drawing& drawing, const std::string& caption);

    /// The last frame once more, dimmed, for a time at which there is none. Nothing before the first frame.
    void addDimmed(std::int64_t time, const std::string& caption);

    /// Completes the files. No picture is written when there was no frame.
    void finish();

    bool videoFailed() const { return _videoFailed; }
    bool pictureWritten() const { return _wrotePicture; }

private:
    void writeVideo(const std::function<void(Mp4Writer&)>& action);

    OverlayFiles _files;
    std::optional<Mp4Writer> _video;
    OverlayPainter _painter;
    RgbPicture _canvas;
    RgbPicture _best;
    TravelledObjects _travelled;
    std::optional<double> _bestInterest; ///< nothing: no picture was kept so far
    bool _videoFailed = false;
    bool _wrotePicture = false;
    const Failed _failed;
};

} // namespace camera::video
