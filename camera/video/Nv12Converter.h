#pragma once

#include "camera/video/FramePool.h"
#include "camera/video/Libav.h"

namespace camera::video {

/**
 * Brings decoded pictures into NV12 frames of one size: copied or repacked where the decoder's format
 * allows it, scaled where it does not or where the stream changes its size on the way. Thread-bound.
 */
class Nv12Converter {
public:
    /// Width and height are even.
    Nv12Converter(int width, int height) : _width(width), _height(height) {}

    /// @throws std::runtime_error when libav knows no way from the picture's format to NV12.
    Frame convert(const AVFrame& picture);

private:
    void scale(const AVFrame& picture, Frame& frame);

    int _width;
    int _height;
    FramePool _pool;
    ScalerPtr _scaler;
};

} // namespace camera::video
