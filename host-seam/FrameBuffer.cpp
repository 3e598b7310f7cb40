#include "host-seam/FrameBuffer.h"

#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include <algorithm>

namespace host_seam {

std::atomic<int> FrameBuffer::_alive{0};

std::int32_t MemoryFormat::GetInt(const std::string& key) const
{
    platform().reached("bufferGetInt");
    const auto entry = values.find(key);
    const std::int32_t value = entry == values.end() ? -1 : entry->second;
    journal().add(Part::Buffer, "bufferGetInt ", key, " -> ", value);
    return value;
}

FrameBuffer* FrameBuffer::image(std::int32_t width, std::int32_t height, std::uint8_t fill)
{
    auto* const buffer = new FrameBuffer;
    buffer->payload.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 / 2, fill);
    buffer->format.values = {{"width", width}, {"height", height}, {"bytesPerRow", width}};
    return buffer;
}

FrameBuffer* FrameBuffer::empty()
{
    return new FrameBuffer;
}

int FrameBuffer::alive()
{
    return _alive.load();
}

FrameBuffer::FrameBuffer()
{
    ++_alive;
}

FrameBuffer::~FrameBuffer()
{
    --_alive;
    journal().add(Part::Buffer, "buffer deleted");
}

std::size_t FrameBuffer::GetLength() const
{
    platform().reached("bufferGetLength");
    journal().add(Part::Buffer, "bufferGetLength -> ", payload.size());
    return payload.size();
}

const korva::meridan::BufferFormat& FrameBuffer::GetFormat() const
{
    platform().reached("bufferGetFormat");
    journal().add(Part::Buffer, "bufferGetFormat");
    return format;
}

std::uint8_t* FrameBuffer::GetData() const
{
    platform().reached("bufferGetData");
    journal().add(Part::Buffer, "bufferGetData");
    return payload.data();
}

const std::uint32_t* FrameBuffer::GetTimestamp() const
{
    platform().reached("bufferGetTimestamp");
    journal().add(Part::Buffer, "bufferGetTimestamp");
    const std::size_t index = std::min(_timestampReads++, timestamps.size() - 1);
    return timestamps[index].data();
}

} // namespace host_seam
