#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/Frame.h"
#include "camera/video/Mp4Writer.h"
#include "camera/video/RgbPicture.h"
#include "camera/video/TravelledObjects.h"

#include <cstddef>
#include <optional>
#include <string>

namespace camera::video {

/// Where the overlay goes; an empty name leaves it out.
struct OverlayFiles {
    std::string video;   ///< MP4
    std::string picture; ///< PNG of the frame with the most to see
};

/**
 * Draws on each upright frame what the engines wrote for it, and writes a video and a picture. Thread-bound.
 */
class Overlay {
public:
    /// Opens the files. @throws std::runtime_error with one sentence when one cannot be written.
    Overlay(OverlayFiles files, int width, int height, double framesPerSecond);
    ~Overlay();

    /// Draws on one upright frame what the engines wrote for it.
    /// @param caption the text of the foot line next to time and counts.
    /// @throws std::runtime_error with one sentence when a disk is full.
    void add(const Frame& upright, const Drawing& drawing, const std::string& caption);

    /// Completes the files. Nothing is written when there was no frame.
    /// @throws std::runtime_error with one sentence, as add() does.
    void finish();

    bool pictureWritten() const { return _wrotePicture; }

private:
    OverlayFiles _files;
    std::optional<Mp4Writer> _video;
    RgbPicture _canvas;
    RgbPicture _best;
    TravelledObjects _travelled;
    std::optional<double> _bestInterest; ///< nothing: no picture was kept so far
    bool _wrotePicture = false;
};

} // namespace camera::video
