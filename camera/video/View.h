#pragma once

#include "camera/ptz/Position.h"
#include "camera/video/Frame.h"
#include "camera/video/FramePool.h"

namespace camera::video {

struct PictureSize {
    int width = 0;
    int height = 0;

    bool operator==(const PictureSize& other) const { return width == other.width && height == other.height; }
};

/// A part of a picture: even numbers, inside it.
struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const Rectangle& other) const
    {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};

/// The default output size for a source of this size: 1920x1080 for sources that are at least twice as
/// wide, else 640x360; never larger than the source.
PictureSize defaultSize(PictureSize source);

/**
 * The part of a wide picture that a camera sees.
 *
 * Angles are linear: each pixel of the source covers the same part of sceneAngleDegrees, across and up.
 * Home, pan 0 and tilt 0, is the picture's middle. Beyond the edge the part stays at the edge.
 *
 * @param angleOfView  horizontal, in thousandths of a degree
 * @param source       at least 2x2
 * @param output       gives the shape; larger than 0
 */
Rectangle viewOf(const ptz::Position& position, unsigned int angleOfView, double sceneAngleDegrees, PictureSize source,
                 PictureSize output);

/// Whether the part stays at an edge, away from what the camera looks at. Arguments as viewOf().
bool isBeyondEdge(const ptz::Position& position, unsigned int angleOfView, double sceneAngleDegrees, PictureSize source,
                  PictureSize output);

/// A window on the source's picture that moves with the camera. Thread-bound; the frames it makes are not.
class View {
public:
    /// @throws std::invalid_argument for a size that is not even and positive, or a scene of no angle.
    View(double sceneAngleDegrees, PictureSize output);

    /**
     * What the camera sees of source, scaled to the output's size, with the source's time. Its memory is
     * that of earlier frames which nobody uses any more. When the whole source is seen at its own
     * size the frame is the source, its pixels shared.
     *
     * @throws std::invalid_argument for a source without pixels.
     */
    Frame of(const Frame& source, const ptz::Position& position, unsigned int angleOfView);

    PictureSize size() const { return _output; }

private:
    double _sceneAngleDegrees;
    PictureSize _output;
    FramePool _pool;
};

} // namespace camera::video
