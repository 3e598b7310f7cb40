#include "camera/framework/FrameBuffer.h"

#include <atomic>
#include <utility>

namespace camera::framework {

namespace {

std::atomic<std::size_t> buffersAlive{0};

} // namespace

std::int32_t ImageFormat::GetInt(const std::string& key) const
{
    if (key == "width") {
        return _width;
    }
    if (key == "height") {
        return _height;
    }
    return key == "bytesPerRow" ? _bytesPerRow : 0;
}

FrameBuffer::FrameBuffer() : FrameBuffer(video::Frame())
{
}

FrameBuffer::FrameBuffer(video::Frame frame)
    : _frame(std::move(frame)), _format(_frame), _timestamp{_frame.seconds, _frame.nanoseconds}
{
    ++buffersAlive;
}

FrameBuffer::~FrameBuffer()
{
    --buffersAlive;
}

std::size_t FrameBuffer::alive()
{
    return buffersAlive;
}

} // namespace camera::framework
