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
 * The encoder's side of the camera: what the engines wrote for each upright frame, drawn on it. Thread-bound.
 */
class Overlay {
public:
    /// Opens the files. @throws std::runtime_error with one sentence when one cannot be written.
    Overlay(OverlayFiles files, int width, int height, double framesPerSecond);
    ~Overlay();

    /// Draws on one upright frame what the engines wrote for it.
    /// @param caption what the foot line says beside time and counts.
    /// @throws std::runtime_error with one sentence when a disk is full.
    void add(const Frame& upright, const Drawing& drawing, const std::string& caption);

    /// Completes the files. Nothing is written where no frame came.
    /// @throws std::runtime_error with one sentence, as add() does.
    void finish();

    bool pictureWritten() const { return wrotePicture; }

private:
    OverlayFiles files;
    std::optional<Mp4Writer> video;
    RgbPicture canvas;
    RgbPicture best;
    TravelledObjects travelled;
    std::optional<double> bestInterest; ///< nothing: no picture was kept so far
    bool wrotePicture = false;
};

} // namespace camera::video
