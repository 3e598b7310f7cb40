#include "camera/video/Nv12Converter.h"

#include "camera/video/Yuv.h"

#include <array>
#include <stdexcept>
#include <string>

namespace camera::video {

namespace {

std::uint8_t* chromaOf(const Frame& frame)
{
    return frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * frame.height;
}

} // namespace

Frame Nv12Converter::convert(const AVFrame& picture)
{
    Frame frame = _pool.take(_width, _height);
    // An odd last row or column of the picture is left out: the pipeline works on even sizes.
    const bool sameSize = (picture.width & ~1) == _width && (picture.height & ~1) == _height;
    const int stride = frame.strideBytes;
    if (sameSize && (picture.format == AV_PIX_FMT_YUV420P || picture.format == AV_PIX_FMT_YUVJ420P)) {
        libyuv::I420ToNV12(picture.data[0], picture.linesize[0], picture.data[1], picture.linesize[1], picture.data[2],
                           picture.linesize[2], frame.data.get(), stride, chromaOf(frame), stride, _width, _height);
    } else if (sameSize && picture.format == AV_PIX_FMT_NV12) {
        libyuv::CopyPlane(picture.data[0], picture.linesize[0], frame.data.get(), stride, _width, _height);
        libyuv::CopyPlane(picture.data[1], picture.linesize[1], chromaOf(frame), stride, _width, _height / 2);
    } else {
        scale(picture, frame);
    }
    return frame;
}

void Nv12Converter::scale(const AVFrame& picture, Frame& frame)
{
    const int sourceWidth = picture.width > 1 ? picture.width & ~1 : picture.width;
    const int sourceHeight = picture.height > 1 ? picture.height & ~1 : picture.height;
    _scaler.reset(sws_getCachedContext(_scaler.release(), sourceWidth, sourceHeight,
                                       static_cast<AVPixelFormat>(picture.format), _width, _height, AV_PIX_FMT_NV12,
                                       SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (_scaler == nullptr) {
        const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(picture.format));
        throw std::runtime_error(std::string("pictures in the format ") + (name != nullptr ? name : "unknown") +
                                 " cannot be converted.");
    }
    const std::array<std::uint8_t*, 4> planes = {frame.data.get(), chromaOf(frame), nullptr, nullptr};
    const std::array<int, 4> strides = {frame.strideBytes, frame.strideBytes, 0, 0};
    sws_scale(_scaler.get(), picture.data, picture.linesize, 0, sourceHeight, planes.data(), strides.data());
}

} // namespace camera::video
