#include "camera/video/RgbPicture.h"

#include "camera/video/Yuv.h"

namespace camera::video {

void toRgb(const Frame& frame, RgbPicture& picture)
{
    picture.width = frame.width;
    picture.height = frame.height;
    picture.pixels.resize(static_cast<std::size_t>(3) * static_cast<std::size_t>(frame.width) *
                          static_cast<std::size_t>(frame.height));
    const std::uint8_t* chroma = frame.data.get() + static_cast<std::ptrdiff_t>(frame.strideBytes) * frame.height;
    libyuv::NV12ToRAW(frame.data.get(), frame.strideBytes, chroma, frame.strideBytes, picture.pixels.data(),
                      picture.strideBytes(), frame.width, frame.height);
}

} // namespace camera::video
