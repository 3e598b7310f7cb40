#pragma once

#include "camera/base/SceneParameters.h"
#include "camera/video/Frame.h"
#include "camera/video/Scene.h"

namespace camera::video {

/// One moving object: its lane, its colour, where it is at a time, and its pixels.
class SceneObject {
public:
    /// @param id 1 and up; objects share the picture's height in lanes, in the order of their numbers.
    SceneObject(const base::SceneParameters& parameters, int id);

    /// Paints the object as it stands at this time and returns the tight box of what it painted.
    TruthBox paint(Frame& frame, double seconds) const;

    /// Darkens the ground beside the object. Call for every object before any is painted.
    void paintShadow(Frame& frame, double seconds) const;

private:
    int leftAt(double seconds) const;
    int topAt(double seconds) const;
    double halfWidthAt(double fraction) const;

    int _id;
    base::SceneShape _shape;
    int _pictureWidth;
    int _pictureHeight;
    int _width;
    int _height;
    double _lane;        ///< 0 to 1: where between the topmost and the lowest place
    double _bobPixels;   ///< amplitude of the vertical movement
    double _startPixels; ///< position along the lane at second 0
    double _pixelsPerSecond;
    std::uint8_t _colour[3]; ///< Y, U, V
};

} // namespace camera::video
