#pragma once

#include "camera/video/Drawing.h"
#include "camera/video/Frame.h"
#include "camera/video/Mp4Writer.h"
#include "camera/video/RgbPicture.h"
#include "camera/video/TravelledObjects.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace camera::video {

/// Where the overlay goes; an empty name leaves it out.
struct OverlayFiles {
    std::string video;   ///< MP4
    std::string picture; ///< PNG of the frame with the most to see
};

/**
 * The encoder's side of the camera: its own reference to every upright frame, onto which it draws what
 * the engines wrote for the frame of the same time. Thread-bound.
 */
class Overlay {
public:
    /// Opens the files. @throws std::runtime_error with one sentence when one cannot be written.
    Overlay(OverlayFiles files, int width, int height, double framesPerSecond);
    ~Overlay();

    /// What the foot line says beside time and counts, from the next frame on.
    void caption(std::string text) { captionText = std::move(text); }

    /// The upright frame that goes to the engines next. One that nobody drew on is written as it is.
    void frame(const Frame& upright);

    /// What the engines wrote for the frame of this time; of any other time it is dropped and counted.
    void drawing(std::uint32_t seconds, std::uint32_t nanoseconds, const Drawing& drawn);

    /// Completes the files. Nothing is written where no frame came.
    /// @throws std::runtime_error with one sentence, as frame() and drawing() do, when a disk is full.
    void finish();

    std::uint64_t dropped() const { return droppedDrawings; }
    bool pictureWritten() const { return wrotePicture; }

private:
    void write(const Frame& upright, const Drawing& drawing);

    OverlayFiles files;
    std::optional<Mp4Writer> video;
    std::optional<Frame> waiting;
    std::string captionText;
    RgbPicture canvas;
    RgbPicture best;
    TravelledObjects travelled;
    std::optional<double> bestInterest; ///< nothing: no picture was kept so far
    std::uint64_t droppedDrawings = 0;
    bool wrotePicture = false;
};

} // namespace camera::video
